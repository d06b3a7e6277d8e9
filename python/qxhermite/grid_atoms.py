"""Maps as pseudo-atoms: `grid_to_atoms`."""

import os

import numpy as np

from qxhermite import molecules
from qxhermite._core import HermiteOptions, ScalarGrid, _find_atoms, read_grid

_METHODS = ("refine", "lasso", "multistart")
_METRICS = ("cosine", "tanimoto")


class FoundAtoms:
    """Carbons whose density stands for that of a map.

    molecule: a `Molecule`; coordinates: (n, 3), angstrom; cosine: of the densities at the elements
    of the map, with atoms of this radius; objective: 1 - cosine of the expansions, under
    `options` (refine, multistart; else None); score: by the metric (lasso; else None).
    """

    def __init__(self, molecule, cosine, radius, objective, score, options):
        self.molecule = molecule
        self.cosine, self.radius = cosine, radius
        self.objective, self.score, self.options = objective, score, options

    @property
    def coordinates(self):
        return self.molecule.coordinates[0]

    def __len__(self):
        return self.molecule.num_atoms

    def to_rdkit(self):
        """The atoms as an rdkit.Chem.Mol of carbons without bonds."""
        return molecules.to_rdkit(self.molecule)

    def __repr__(self):
        return f"FoundAtoms({len(self)} atoms of radius {self.radius:g} A, cosine={self.cosine:.4f})"


def grid_to_atoms(
    grid,
    *,
    method="refine",
    radius=1.3,
    min_distance=0.8,
    threshold=0.15,
    start_distance=0.8,
    starts=200,
    degree=10,
    width=None,
    options=None,
    value_fraction=0.2,
    max_atoms=100,
    metric="cosine",
    cut=1.0,
    blur=0.0,
    origin=None,
    spacing=None,
):
    """Pseudo-atoms for a map: a `FoundAtoms`, with the defaults of `qxhermite atoms`.

    grid: a ScalarGrid, the name of a map file, or an array (nx, ny, nz) with origin, the centre of
        element 0, and spacing, in angstrom.
    method: "refine": all atoms at once, from many places on the density; "lasso": few of many fixed
        places that together give the density, fast; "multistart": one at a time, from random places.
    radius: of the atoms, min_distance: of two atoms, angstrom (refine, lasso).
    threshold: least value under an atom or a start, as a part of the largest (refine, multistart).
    start_distance: of the atoms to start from (refine). starts: random places (multistart).
    degree, width: of the expansion; width None: the best (refine, multistart). options: a
        HermiteOptions instead of both.
    value_fraction: least value under an atom, max_atoms, metric: "cosine", or "tanimoto" for maps on
        the scale of atoms, 2.7 at each (lasso).
    cut: cut off values above the one below which this share of the density lies; blur: convolve with
        a Gaussian of this standard deviation, angstrom. 0.7 and 0.3 suit core peaks.

    QXHermiteError where there are no atoms to be found. The search is one call without steps, and
    cannot be interrupted.
    """
    if method not in _METHODS:
        raise ValueError(f"method: must be one of {', '.join(_METHODS)}, got {method!r}")
    if metric not in _METRICS:
        raise ValueError(f"metric: must be one of {', '.join(_METRICS)}, got {metric!r}")
    if options is None:
        widths = {}
        if width is not None:
            widths = dict(lambda_x=width, lambda_y=width, lambda_z=width, use_optimal_lambdas=False)
        options = HermiteOptions(npolymax=degree, **widths)
    elif options.use_center_of_mass:
        raise ValueError("options: use_center_of_mass: the map is centred anyway: set it False")
    name = "the map"
    if molecules.is_path(grid):
        name = os.fspath(grid)
        grid = read_grid(name)
    elif isinstance(grid, np.ndarray):
        if spacing is None:
            raise ValueError("spacing: is missing")
        grid = ScalarGrid.from_array(grid, np.zeros(3) if origin is None else origin, spacing)
    elif not isinstance(grid, ScalarGrid):
        raise TypeError(
            f"cannot make a map of {type(grid).__name__}: give a ScalarGrid, an array or a file name"
        )
    return FoundAtoms(
        *_find_atoms(
            grid,
            name,
            cut,
            blur,
            method,
            radius,
            min_distance,
            threshold,
            start_distance,
            starts,
            options,
            value_fraction,
            max_atoms,
            metric,
        )
    )
