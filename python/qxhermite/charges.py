"""Charge densities: `fit_charges`, `potential`, `field` and `interaction_energy`."""

from __future__ import annotations

import os
from collections import namedtuple
from typing import Any, Union

import numpy as np

from qxhermite import arguments, molecules
from qxhermite._core import (
    HermiteChargeDensity,
    LassoChargeDensityOptions,
    Molecule,
    _ElectrostaticData,
    _fit_charges,
    _interaction_energies,
    read_charge_density,
    write_charge_density,
)
from qxhermite.progress import progress_bar

_PLACES = 256  # between two steps of a progress bar

Errors = namedtuple("Errors", "potential field held_out_potential held_out_field")
Errors.__doc__ = """Relative errors: root mean square over that of the values, at the points fitted
and at those held out; NaN where there are none."""

Step = namedtuple("Step", "functions density errors")
Step.__doc__ = "A density along the path of a fit: of how many functions, and its `Errors`."


#: What stands for a charge density.
DensityLike = Union[HermiteChargeDensity, "ChargeFit", str, "os.PathLike[str]"]


class ChargeFit:
    """A charge density fitted to potential and field.

    density: the `HermiteChargeDensity` chosen; functions: how many it has; errors: its `Errors`;
    steps: the `Step`s along the path, by rising number of functions; width: 1/angstrom; molecule,
    title, source: what it was fitted to.
    """

    def __init__(self, steps: Any, chosen: int, molecule: Any, title: str, source: str) -> None:
        self.steps = steps
        self.functions, self.density, self.errors = steps[chosen]
        self.molecule, self.title, self.source = molecule, title, source

    @property
    def width(self) -> float:
        """Of the functions, 1/angstrom."""
        return self.density.params.lambda_(0)

    def write(self, path: str | os.PathLike[str]) -> None:
        """Writes the density to a file (.json), as `qxhermite charges fit` does."""
        write_charge_density(
            path, self.density, title=self.title, source=self.source, molecule=self.molecule
        )

    def __repr__(self):
        names = ("fitted V", "fitted E", "held-out V", "held-out E")
        errors = [
            f"{name} {error:.4f}" for name, error in zip(names, self.errors) if not np.isnan(error)
        ]
        return (
            f"ChargeFit({self.functions} functions, width {self.width:.4g} 1/A, "
            f"relative errors: {', '.join(errors)})"
        )


def fit_charges(
    data: str | os.PathLike[str] | None = None,
    *,
    points: Any = None,
    potential: Any = None,
    field: Any = None,
    holdout: Any = None,
    mol: molecules.MoleculeLike | None = None,
    sites: Any = "all",
    degree: int = 2,
    functions: int | None = None,
    width: float | None = None,
    target_error: float | None = None,
    method: str = "lasso",
    neutral: bool = True,
    use_potential: bool | None = None,
    use_field: bool | None = None,
    title: str = "",
    record: int = 1,
    memory: int = 2048,
    progress: bool = False,
) -> ChargeFit:
    """Fits a charge density to the electrostatic potential and field of a molecule: a `ChargeFit`.

    data: the name of a file as of `qxhermite charges fit` (.json, or .sdf with SD tags, of which
        `record` counts), or instead of it points: (n, 3), angstrom, with potential: (n,), kcal/mol/e,
        and/or field: (n, 3), kcal/mol/e/angstrom; holdout: (n,), true for points to judge by alone.
    mol: the atoms, any molecule (see `overlay`). sites: "all" or "heavy" atoms, or (s, 3) numbers.
    degree: of the functions about each site, 0 to 10. width: theirs, 1/angstrom; None: the best.
    functions: how many to take; or target_error: the fewest with relative errors below this; else
        all.
    method: "lasso"; "relaxed": the functions chosen are fitted once more; "pruned": they are chosen
        among twice as many, and fitted once more: best with few functions.
    neutral: without the functions that carry charge. use_potential, use_field: None: what there is.
    memory: for the matrices, MiB. progress: a bar over the widths tried.

    Points too close to a site are left out, told by a QXHermiteWarning. ValueError for arrays that do
    not fit together, QXHermiteError where there is nothing to fit.
    """
    arguments.check(locals(), "functions", "width", "target_error", "use_potential", "use_field")
    if not isinstance(sites, str):
        sites = arguments.array("sites", sites)
    arrays = dict(points=points, potential=potential, field=field, holdout=holdout)
    if data is not None:
        if given := [name for name, value in {**arrays, "mol": mol}.items() if value is not None]:
            raise ValueError(f"{given[0]}: is in the file: leave it out, or data")
        place = arguments.path("data", data)
        read = _ElectrostaticData.read(place, record)
        if not place.lower().endswith(".json"):
            place = f"{place}:{record}"
    else:
        if points is None:
            raise ValueError("points: are missing: give them, or the name of a file")
        if mol is None and isinstance(sites, str) and sites in ("all", "heavy"):
            raise ValueError("mol: is missing: give it, or the places of sites, (n, 3)")
        molecule = Molecule([], np.empty((0, 3))) if mol is None else molecules.as_molecule(mol)
        title = title or molecule.title
        place = title or "the data"
        values = (None if v is None else arguments.array(name, v) for name, v in arrays.items())
        read = _ElectrostaticData(*values, molecule, title)
    options = LassoChargeDensityOptions(
        use_potential=read.has_potential if use_potential is None else use_potential,
        use_electric_field=read.has_field if use_field is None else use_field,
        use_neutral_charge=neutral,
    )
    bar = progress_bar(progress, 9 if width is None else 1, "charges", "fits")
    done = 0

    def update(now, _):
        nonlocal done
        bar.update(now - done)
        done = now

    try:
        steps, chosen, source = _fit_charges(
            read,
            sites,
            degree,
            width,
            functions,
            target_error,
            method,
            options,
            memory,
            place,
            update,
        )
    finally:
        bar.close()
    steps = [Step(step[0], step[1], Errors(*step[2:])) for step in steps]
    return ChargeFit(steps, chosen, read.molecule, read.title, source)


def _as_density(source):
    """A density of a density, a fit, or the name of a file."""
    if isinstance(source, HermiteChargeDensity):
        return source
    if isinstance(source, ChargeFit):
        return source.density
    if molecules.is_path(source):
        return read_charge_density(os.fspath(source))
    raise TypeError(
        f"cannot make a charge density of {type(source).__name__}: give a HermiteChargeDensity, a "
        "ChargeFit or a file name"
    )


def potential(density: DensityLike, points: Any) -> np.ndarray:
    """The potential of a density at points (n, 3), anywhere: (n,), kcal/mol/e.

    density: a HermiteChargeDensity, a ChargeFit, or the name of a file.
    """
    return _as_density(density).potential(arguments.array("points", points))


def field(density: DensityLike, points: Any) -> np.ndarray:
    """The field of a density at points (n, 3), anywhere: (n, 3), kcal/mol/e/angstrom."""
    return _as_density(density).field(arguments.array("points", points))


def interaction_energy(
    a: DensityLike, b: DensityLike, transforms: Any = None, *, progress: bool = False
) -> Any:
    """The Coulomb energy of two charge densities, kcal/mol.

    a, b: each a HermiteChargeDensity, a ChargeFit, or the name of a file. transforms: (4, 4) for a
    rigid motion p' = R p + t of b, or (n, 4, 4) for many. A float, or (n,) for many. NaN, with a
    QXHermiteWarning, where a site of one comes too close to a site of the other; a warning as well
    where sites are closer than 1.5 angstrom, for the molecules run into each other there. progress: a
    bar over the transforms.
    """
    arguments.check(locals())
    a, b = _as_density(a), _as_density(b)
    motions = np.eye(4) if transforms is None else arguments.array("transforms", transforms)
    if motions.ndim == 2:
        return float(_interaction_energies(a, b, motions[np.newaxis])[0])
    if motions.ndim != 3:
        raise ValueError(f"transforms: expected shape (4, 4) or (n, 4, 4), got {motions.shape}")
    bar = progress_bar(progress, len(motions), "energies", "transforms")
    part = _PLACES if progress else max(len(motions), 1)
    try:
        energies = []
        for first in range(0, max(len(motions), 1), part):
            energies.append(_interaction_energies(a, b, motions[first : first + part]))
            bar.update(len(energies[-1]))
        return np.concatenate(energies)
    finally:
        bar.close()
