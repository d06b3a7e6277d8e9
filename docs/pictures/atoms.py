"""Draws docs/pictures/atoms.png: the atoms that the three methods find in electron densities, and the
model of one of them.

Usage: python3 docs/pictures/atoms.py build/release/tools/qxhermite
"""

import subprocess
import sys
import tempfile

import matplotlib
from sections import LEVELS, ROOT, plane_of, read_atoms, read_map, section

matplotlib.use("Agg")
from matplotlib import pyplot  # noqa: E402


def run(*words):
    subprocess.run([str(word) for word in words], check=True, stdout=subprocess.DEVNULL)


def draw(axis, grid, name, plane, circles, title):
    """Contours on the plane, the symbols of the nuclei, and circles."""
    steps, values = section(grid, plane)
    centre, u, v = plane
    axis.contour(steps, steps, values, levels=LEVELS, cmap="viridis", linewidths=1)
    molecule, places = read_atoms(ROOT / f"examples/data/{name}.sdf")
    for atom, place in zip(molecule.GetAtoms(), places - centre):
        axis.text(place @ u, place @ v, atom.GetSymbol(), ha="center", va="center", fontsize=9,
                  color="0.4")
    if circles is not None:
        axis.plot((circles - centre) @ u, (circles - centre) @ v, "o", markersize=16,
                  markerfacecolor="none", markeredgecolor="crimson", markeredgewidth=2)
    axis.set_title(title)
    axis.set_aspect("equal")


def main():
    tool = sys.argv[1]
    figure, rows = pyplot.subplots(2, 4, figsize=(14, 7), sharex=True, sharey=True)
    with tempfile.TemporaryDirectory() as folder:
        for axes, name in zip(rows, ("formamide", "benzene")):
            source = ROOT / f"examples/data/{name}.ccp4"
            plane = plane_of(read_atoms(ROOT / f"examples/data/{name}.sdf")[1])
            for axis, method in zip(axes, ("refine", "lasso", "multistart")):
                run(tool, "atoms", source, "--out", f"{folder}/atoms.sdf", "--method", method)
                found = read_atoms(f"{folder}/atoms.sdf")[1]
                draw(axis, read_map(source), name, plane, found, f"{method}: {len(found)}")
            run(tool, "fit-grid", source, "--out", f"{folder}/model.json")
            run(tool, "grid", f"{folder}/model.json", "--out", f"{folder}/model.ccp4", "--like",
                source)
            draw(axes[3], read_map(f"{folder}/model.ccp4"), name, plane, None, "model of fit-grid")
    for axis in rows[1]:
        axis.set_xlabel("Å")
    figure.tight_layout()
    figure.savefig(ROOT / "docs/pictures/atoms.png", dpi=80)


main()
