"""Expansions of molecules and maps: `expand`."""

from __future__ import annotations

import os
from typing import Any, Sequence

import numpy as np

from qxhermite import arguments, molecules
from qxhermite._core import Hermite, HermiteOptions, ScalarGrid, read_grid
from qxhermite.fits import is_grid_path


def expand(
    source: molecules.MoleculeLike | ScalarGrid | np.ndarray,
    *,
    degree: int = 5,
    width: float | Sequence[float] | None = None,
    single_width: bool = True,
    center: bool = True,
    radius: float = 1.7,
    hydrogens: bool = False,
    conformer: int = 0,
    options: HermiteOptions | None = None,
) -> Hermite:
    """The expansion of a density in Hermite functions: a `Hermite`.

    source: a Molecule, an rdkit.Chem.Mol, a pair (elements, coordinates), a file name, a ScalarGrid,
        or an (n, 5) array of Gaussians: x, y, z, amplitude, width (angstrom, 1, 1/angstrom^2).
    degree: the largest total degree N, 0 to 100; there are (N + 1)(N + 2)(N + 3)/6 coefficients.
    width: lambda in 1/angstrom, or three of them; None: the best ones are found.
    single_width: one width for all axes, without which turning is only approximate.
    center: expand about the centre of the density, which `Hermite.center` tells, not the origin.
    radius: of the atoms, angstrom. hydrogens: whether they count. conformer: which one, from 0.
    options: a HermiteOptions instead of degree, width, single_width and center.
    """
    one_width = None if np.ndim(width) else width  # there may be three
    arguments.check({**locals(), "width": one_width}, "width", "options")
    if options is None:
        widths: dict[str, Any] = {}
        if width is not None:
            x, y, z = _three(width)
            if not np.all(np.isfinite([x, y, z])) or min(x, y, z) <= 0:
                raise ValueError("width: must be positive and finite")
            widths = dict(lambda_x=x, lambda_y=y, lambda_z=z, use_optimal_lambdas=False)
            single_width = x == y == z
        options = HermiteOptions(
            npolymax=degree, use_single_lambda=single_width, use_center_of_mass=center, **widths
        )
    if is_grid_path(source):
        source = read_grid(os.fspath(source))
    if isinstance(source, ScalarGrid):
        return Hermite.from_grid(source, options)
    if isinstance(source, np.ndarray):
        return Hermite.from_gaussians(source, options)
    molecule = molecules.as_molecule(source)
    if not hydrogens:
        molecule = molecule.without_hydrogens()
    return Hermite.from_gaussians(molecule.gaussians(radius=radius, conformer=conformer), options)


def _three(width):
    widths = arguments.array("width", width)
    if widths.shape not in ((), (1,), (3,)):
        raise ValueError(f"width: must be one number or three, got {widths.size}")
    return np.broadcast_to(widths, 3)
