"""What is to be laid over a reference, one after the other: `read_fits`."""

from __future__ import annotations

import os
from typing import TYPE_CHECKING, Any

import numpy as np

from qxhermite import molecules
from qxhermite._core import (
    Molecule,
    MoleculeGroups,
    QXHermiteError,
    ScalarGrid,
    count_records,
    read_grid,
)

if TYPE_CHECKING:
    from typing import TypeGuard

_GRID_ENDINGS = (".ccp4", ".map", ".mrc", ".cube", ".cub")


def is_grid_path(source: Any) -> TypeGuard[str | os.PathLike[str]]:
    """True for the name of a map file."""
    return molecules.is_path(source) and os.fspath(source).lower().endswith(_GRID_ENDINGS)


class Fit:
    """A fit and where it came from. thing: a Molecule or a ScalarGrid, or None with a problem.

    source: the name of a file, or the place among the fits.
    """

    __slots__ = ("thing", "title", "source", "records", "original", "problem")

    def __init__(self, thing, source, records=None, original=None, problem=None):
        self.thing, self.source, self.problem = thing, source, problem
        self.records, self.original = records, original
        name = os.path.basename(source) if isinstance(source, str) else f"fit {source}"
        # Maps of one program tend to have one title.
        of_file = isinstance(thing, ScalarGrid) and isinstance(source, str)
        self.title = name if of_file else getattr(thing, "title", "") or name


def is_single(fits):
    """True for one fit, as opposed to an iterable of them."""
    if isinstance(fits, (Molecule, ScalarGrid)) or molecules.is_rdkit(fits):
        return True
    if molecules.is_path(fits):
        return True
    # A pair (elements, coordinates), as opposed to a pair of fits.
    return (
        isinstance(fits, tuple)
        and len(fits) == 2
        and isinstance(fits[0], (list, tuple, np.ndarray))
        and all(isinstance(element, (str, int, np.integer)) for element in fits[0])
    )


def _are_coordinates(source):
    try:
        return np.asarray(source, dtype=float).ndim in (2, 3)
    except (TypeError, ValueError):
        return False


def _one_by_one(fits, name):
    """An iterable of fits; TypeError for what is none, under the name of the argument."""
    if is_single(fits):
        return [fits]
    if not hasattr(fits, "__iter__") and not hasattr(fits, "__getitem__"):
        raise TypeError(
            f"{name}: must be a molecule, a map, a file name or an iterable of them, "
            f"got {type(fits).__name__}"
        )
    # Two file names, by the form of it.
    if isinstance(fits, tuple) and len(fits) == 2 and isinstance(fits[0], str):
        if _are_coordinates(fits[1]):
            raise TypeError(
                f"{name}: {fits[0]!r} beside coordinates: give the elements of a molecule as a "
                f"list, {list(fits[0])}"
            )
    return fits


def read_fits(fits, group, name="fits"):
    """Yields a Fit for each molecule or map, in order; one with a problem for what is unusable.

    name: of the argument, for what is no fit at all.
    """
    for place, source in enumerate(_one_by_one(fits, name)):
        path = os.fspath(source) if molecules.is_path(source) else None
        try:
            if path is None:
                yield _fit_at_hand(source, place)
            elif is_grid_path(path):
                yield Fit(read_grid(path), path)
            else:
                yield from _fits_of_file(path, group)
        except (QXHermiteError, ValueError, OSError) as error:
            yield Fit(None, place if path is None else path, problem=str(error))


def _fit_at_hand(source, place):
    if source is None:
        return Fit(None, place, problem="could not be read by RDKit, which gave None")
    if isinstance(source, ScalarGrid):
        return Fit(source, place)
    try:
        molecule = molecules.as_molecule(source)
    except TypeError as error:
        raise TypeError(f"fit {place}: {error}") from None
    return Fit(molecule, place, original=source if molecules.is_rdkit(source) else None)


def _fits_of_file(path, group):
    groups = MoleculeGroups(path, group=group)
    found, told = 0, 0

    def unreadable():
        nonlocal told
        for bad in groups.skipped[told:]:
            told += 1
            yield Fit(None, path, [bad.record], problem=bad.reason)

    for molecule, records in groups:
        yield from unreadable()
        found += 1
        yield Fit(molecule, path, records)
    yield from unreadable()
    if found + told == 0:
        yield Fit(None, path, problem="holds no molecule: check the file")


def count_fits(fits):
    """How many conformers or records there will be, None where that cannot be told cheaply."""
    if is_single(fits):
        fits = [fits]
    elif not isinstance(fits, (list, tuple)):
        return None  # to look at them may use them up, even where they have a length
    total = 0
    for source in fits:
        if molecules.is_path(source) and not is_grid_path(source):
            records = count_records(os.fspath(source))
            if records == 0:
                return None
            total += records
        elif molecules.is_rdkit(source):
            total += source.GetNumConformers()
        elif isinstance(source, Molecule):
            total += source.num_conformers
        else:
            total += 1
    return total
