"""Draws docs/pictures/formamide.png: an electron density in the plane of its molecule, its expansions
of degree 3, 5 and 10, and the pseudo-atoms found in it.

Usage: python3 docs/pictures/formamide.py build/release/tools/qxhermite
"""

import subprocess
import sys
import tempfile

import matplotlib
import numpy
from sections import LEVELS, ROOT, plane_of, read_atoms, read_map, section

matplotlib.use("Agg")
from matplotlib import pyplot  # noqa: E402

MAP = ROOT / "examples/data/formamide.ccp4"
MOLECULE = ROOT / "examples/data/formamide.sdf"


def main():
    tool = sys.argv[1]
    molecule, atoms = read_atoms(MOLECULE)
    plane = plane_of(atoms)
    centre, u, v = plane
    flat = numpy.stack([(atoms - centre) @ u, (atoms - centre) @ v], axis=1)

    with tempfile.TemporaryDirectory() as folder:
        panels = [("density", read_map(MAP), None)]
        for degree in (3, 5, 10):
            path = f"{folder}/{degree}.ccp4"
            subprocess.run([tool, "grid", MAP, "--out", path, "--npolymax", str(degree),
                            "--spacing", "0.2"], check=True, stdout=subprocess.DEVNULL)
            size = (degree + 1) * (degree + 2) * (degree + 3) // 6
            panels.append((f"degree {degree}, {size} numbers", read_map(path), None))
        subprocess.run([tool, "atoms", MAP, "--out", f"{folder}/atoms.sdf"], check=True,
                       stdout=subprocess.DEVNULL)
        found = read_atoms(f"{folder}/atoms.sdf")[1]
        panels.append((f"{len(found)} pseudo-atoms", read_map(MAP), found))

    figure, axes = pyplot.subplots(1, len(panels), figsize=(15, 3.5), sharey=True)
    for axis, (title, grid, found) in zip(axes, panels):
        steps, values = section(grid, plane)
        axis.contour(steps, steps, values, levels=LEVELS, cmap="viridis", linewidths=1)
        for atom, (x, y) in zip(molecule.GetAtoms(), flat):
            axis.text(x, y, atom.GetSymbol(), ha="center", va="center", fontsize=9, color="0.4")
        if found is not None:
            axis.plot((found - centre) @ u, (found - centre) @ v, "o", markersize=16,
                      markerfacecolor="none", markeredgecolor="crimson", markeredgewidth=2)
        axis.set_title(title)
        axis.set_aspect("equal")
        axis.set_xlabel("Å")
    figure.tight_layout()
    figure.savefig(ROOT / "docs/pictures/formamide.png", dpi=100)


main()
