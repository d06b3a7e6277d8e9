"""What the scripts that draw maps have in common: reading, and sections through the plane of a
molecule."""

import pathlib

import gemmi
import numpy
from rdkit import Chem
from scipy.ndimage import map_coordinates

ROOT = pathlib.Path(__file__).resolve().parents[2]
HALF_WIDTH = 3.2  # angstrom
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
