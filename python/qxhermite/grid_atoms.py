"""Maps as pseudo-atoms: `grid_to_atoms`."""

from __future__ import annotations

import os
from typing import Any

import numpy as np

from qxhermite import arguments, molecules
from qxhermite._core import HermiteOptions, Molecule, ScalarGrid, _find_atoms, read_grid
from qxhermite.overlays import expansion_options
from qxhermite.progress import run_with_bar

_METHODS = ("refine", "lasso", "multistart")
_METRICS = ("cosine", "tanimoto")


class FoundAtoms:
    """Carbons whose density stands for that of a map.

    molecule: a `Molecule`; coordinates: (n, 3), angstrom; cosine: of the densities at the elements
    of the map, with atoms of this radius; objective: 1 - cosine of the expansions, under
    `options` (refine, multistart; else None); score: by the metric (lasso; else None).
    """

    def __init__(
        self, molecule: Any, cosine: Any, radius: Any, objective: Any, score: Any, options: Any
    ) -> None:
        self.molecule: Molecule = molecule
        self.cosine: float = cosine
        self.radius: float = radius
        self.objective: float | None = objective
        self.score: float | None = score
        self.options: HermiteOptions | None = options

    @property
    def coordinates(self) -> np.ndarray:
        """(n, 3), angstrom."""
        return self.molecule.coordinates[0]

    def __len__(self) -> int:
        return self.molecule.num_atoms

    def to_rdkit(self) -> Any:
        """The atoms as an rdkit.Chem.Mol of carbons without bonds."""
        return molecules.to_rdkit(self.molecule)

    def __repr__(self):
        return f"FoundAtoms({len(self)} atoms of radius {self.radius:g} A, cosine={self.cosine:.4f})"


def grid_to_atoms(
    grid: ScalarGrid | str | os.PathLike[str] | np.ndarray,
    *,
    method: str = "refine",
    radius: float = 1.3,
    min_distance: float = 0.8,
    threshold: float = 0.15,
    start_distance: float = 0.8,
    starts: int = 200,
    degree: int = 10,
    width: float | None = None,
    options: HermiteOptions | None = None,
    value_fraction: float = 0.2,
    max_atoms: int = 100,
    metric: str = "cosine",
    cut: float = 1.0,
    blur: float = 0.0,
    origin: Any = None,
    spacing: float | None = None,
    progress: bool = False,
) -> FoundAtoms:
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

    progress: show that it is going on: the search is one call without steps, and cannot be
        interrupted.

    QXHermiteError where there are no atoms to be found.
    """
    arguments.check(locals(), "width", "options", "spacing")
    if method not in _METHODS:
        raise ValueError(f"method: must be one of {', '.join(_METHODS)}, got {method!r}")
    if metric not in _METRICS:
        raise ValueError(f"metric: must be one of {', '.join(_METRICS)}, got {metric!r}")
    if options is None:
        options = expansion_options(degree, width)
    elif options.use_center_of_mass:
        raise ValueError("options: use_center_of_mass: the map is centred anyway: set it False")
    name = "the map"
    if molecules.is_path(grid):
        name = os.fspath(grid)
        grid = read_grid(name)
    elif isinstance(grid, np.ndarray):
        if spacing is None:
            raise ValueError("spacing: is missing")
        corner = np.zeros(3) if origin is None else arguments.array("origin", origin)
        grid = ScalarGrid.from_array(grid, corner, spacing)
    elif not isinstance(grid, ScalarGrid):
        raise TypeError(
            f"cannot make a map of {type(grid).__name__}: give a ScalarGrid, an array or a file name"
        )

    def search():
        return _find_atoms(
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

    return FoundAtoms(*run_with_bar(progress, search, "atoms"))
