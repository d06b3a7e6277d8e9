"""Draws docs/pictures/formamide.png: an electron density in the plane of its molecule, its expansions
of degree 3, 5 and 10, and the pseudo-atoms found in it.

Usage: python3 docs/pictures/formamide.py build/release/tools/qxhermite
"""

import pathlib
import subprocess
import sys
import tempfile

import gemmi
import matplotlib
import numpy
from rdkit import Chem
from scipy.ndimage import map_coordinates

matplotlib.use("Agg")
from matplotlib import pyplot  # noqa: E402

ROOT = pathlib.Path(__file__).resolve().parents[2]
MAP = ROOT / "examples/data/formamide.ccp4"
MOLECULE = ROOT / "examples/data/formamide.sdf"
HALF_WIDTH = 3.0  # angstrom
LEVELS = [0.1, 0.3, 0.6, 1.0, 1.5, 2.0, 2.5, 3.0, 3.5]


def read_map(path):
    """Values, place of the first element and spacing."""
    file = gemmi.read_ccp4_map(str(path))
    spacing = file.header_float(11) / file.header_i32(8)
    start = numpy.array([file.header_i32(word) for word in (5, 6, 7)]) * spacing
    origin = numpy.array([file.header_float(word) for word in (50, 51, 52)])
    return numpy.array(file.grid, copy=True), start + origin, spacing


def read_atoms(path):
    molecule = next(iter(Chem.SDMolSupplier(str(path), removeHs=False)))
    return molecule, molecule.GetConformer().GetPositions()


def plane_of(points):
    """The centre of points and two unit vectors of the plane nearest to them."""
    centre = points.mean(axis=0)
    axes = numpy.linalg.svd(points - centre)[2]
    return centre, axes[0], axes[1]


def section(grid, plane):
    """Values on the plane, by linear interpolation."""
    values, first, spacing = grid
    centre, u, v = plane
    steps = numpy.linspace(-HALF_WIDTH, HALF_WIDTH, 241)
    a, b = numpy.meshgrid(steps, steps)
    points = centre + a[..., None] * u + b[..., None] * v
    places = numpy.moveaxis((points - first) / spacing, -1, 0)
    return steps, map_coordinates(values, places, order=1, cval=0.0)


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
