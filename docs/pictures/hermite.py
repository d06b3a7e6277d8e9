"""What the scripts that draw expansions have in common: the basis in NumPy, written as on
docs/expansions.md, and the shape density of a molecule."""

import functools
import json
import pathlib
import subprocess
import tempfile

import numpy
from rdkit import Chem

ROOT = pathlib.Path(__file__).resolve().parents[2]
WIDTH, AMPLITUDE = 2.34422871067 / 1.7**2, 2.7  # of the Gaussian of an atom, 1/angstrom^2


def functions(degree, t):
    """h_0(t) .. h_degree(t), one row each, by the recurrence of the Hermite polynomials."""
    rows = [numpy.exp(-t * t / 2)]
    for k in range(degree):
        rows.append(2 * t * rows[k] - (2 * k * rows[k - 1] if k else 0))
    return numpy.array(rows)


@functools.lru_cache
def shell_order(degree):
    """(l, m, n) of every coefficient, and its row of squared norms K_l K_m K_n."""
    lmn = numpy.array([(low, m, s - low - m) for s in range(degree + 1)
                       for low in range(s + 1) for m in range(s - low + 1)])
    norms = numpy.cumprod([numpy.sqrt(numpy.pi), *(2.0 * k for k in range(1, degree + 1))])
    return lmn, norms[lmn].prod(axis=1)


def basis(degree, points):
    """All functions of the basis at points (..., 3) in units of 1/lambda: (size, ...)."""
    axes = [functions(degree, points[..., axis]) for axis in range(3)]
    lmn, _ = shell_order(degree)
    return axes[0][lmn[:, 0]] * axes[1][lmn[:, 1]] * axes[2][lmn[:, 2]]


def rotation_matrix(degree, turn):
    """The matrix that turns coefficients as `turn` turns points. Functions of a shell turn into
    functions of this shell: a small linear system for each."""
    lmn, _ = shell_order(degree)
    places = numpy.random.default_rng(1).normal(size=(4 * len(lmn), 3))
    before, after = basis(degree, places @ turn), basis(degree, places)  # f(Q^T r), f(r)
    matrix = numpy.zeros((len(lmn), len(lmn)))
    for s in range(degree + 1):
        shell = numpy.flatnonzero(lmn.sum(axis=1) == s)
        matrix[numpy.ix_(shell, shell)] = numpy.linalg.lstsq(
            after[shell].T, before[shell].T, rcond=None)[0]
    return matrix


class Expansion:
    """What `qxhermite expand` writes."""

    def __init__(self, tool, source, *options):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "expansion.json"
            subprocess.run([tool, "expand", source, "--out", path, *map(str, options)], check=True,
                           stdout=subprocess.DEVNULL)
            data = json.loads(path.read_text())
        self.degree, self.width = data["options"]["NPolyMax"], data["options"]["LambdaX"]
        self.center = numpy.array(data["center"])
        self.coefficients = numpy.array(data["coefficients"])
        self.self_overlap, self.exact = data["selfOverlap"], data["exactSelfOverlap"]

    def __call__(self, points):
        values = basis(self.degree, self.width * (points - self.center))
        return numpy.tensordot(self.coefficients, values, axes=1)

    def overlap(self, coefficients):
        """With another expansion of the same degree and width about the same centre."""
        return (self.coefficients * coefficients * shell_order(self.degree)[1]).sum() / self.width**3


def first_record(path, title):
    """The first record of a title, without hydrogens and their share of the data."""
    mol = next(mol for mol in Chem.SDMolSupplier(str(path)) if mol.GetProp("_Name") == title)
    mol.ClearProp("PartialCharges")
    return mol


def pairs(a, b):
    """The overlap of two sums of atomic Gaussians."""
    squared = ((a[:, None] - b[None]) ** 2).sum(axis=-1)
    return AMPLITUDE**2 * (numpy.pi / (2 * WIDTH))**1.5 * numpy.exp(-WIDTH * squared / 2).sum()


def turn_about(axis, angle):
    """A right-handed rotation about x, y or z."""
    turn = numpy.eye(3)
    i, j = [(1, 2), (2, 0), (0, 1)][axis]
    turn[i, i] = turn[j, j] = numpy.cos(angle)
    turn[i, j], turn[j, i] = -numpy.sin(angle), numpy.sin(angle)
    return turn


def principal(points):
    """Points about their centre, their longest axis along x, then y."""
    centred = points - points.mean(axis=0)
    axes = numpy.linalg.svd(centred)[2]
    axes[2] = numpy.cross(axes[0], axes[1])
    return centred @ axes.T


def draw_bonds(axis, mol, flat, **look):
    for bond in mol.GetBonds():
        ends = flat[[bond.GetBeginAtomIdx(), bond.GetEndAtomIdx()]]
        axis.plot(*ends.T, **{"color": "0.35", "linewidth": 1.2, **look})
