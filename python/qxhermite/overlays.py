"""Overlays of molecules and maps by shape, or by shape and charge: `overlay`."""

from __future__ import annotations

import heapq
import os
import threading
import warnings
from copy import copy
from itertools import chain, islice
from typing import Iterable

import numpy as np

from qxhermite import arguments, molecules
from qxhermite._core import (
    HermiteOptions,
    Molecule,
    QXHermiteError,
    QXHermiteWarning,
    ScalarGrid,
    ShapeSearch,
    read_grid,
)
from qxhermite.fits import count_fits, is_grid_path, is_single, read_fits
from qxhermite.molecules import MoleculeLike
from qxhermite.progress import progress_bar
from qxhermite.results import Hit, OverlayResult, Skipped
from qxhermite.threads import chunks, in_order, num_threads

_CHUNK = 16  # molecules a task: some milliseconds of work
_LEAST_HELD = 0.5
_DEGREE, _DEGREE_OF_MAPS = 5, 8
_COARSE_DEGREE = 4  # where there are 24 starts


def with_gasteiger(molecule):
    """A copy with the partial charges of Gasteiger and Marsili."""
    charged = copy(molecule)
    charged.assign_gasteiger_charges()
    return charged


class _Searches:
    """A search for each thread, made when the thread first needs it."""

    def __init__(self, reference, options, settings):
        self._arguments = (reference, options, settings)
        self._local = threading.local()
        self._local.search = self._make()  # a reference that cannot be used is told at once

    def _make(self):
        reference, options, settings = self._arguments
        return ShapeSearch(reference, options, **settings)

    def find(self, chunk):
        if not hasattr(self._local, "search"):
            self._local.search = self._make()
        things = [fit.thing for fit in chunk]
        if isinstance(things[0], ScalarGrid):
            return chunk, self._local.search.find_grids(things)
        return chunk, self._local.search.find(things)


def overlay(
    ref: MoleculeLike | ScalarGrid,
    fits: MoleculeLike | ScalarGrid | Iterable[MoleculeLike | ScalarGrid],
    *,
    poses: int = 1,
    keep: int | None = None,
    degree: int | None = None,
    width: float | None = None,
    options: HermiteOptions | None = None,
    starts: int = 4,
    polish: int = 4,
    coarse: int | None = None,
    tolerance: float = 1e-8,
    iterations: int = 200,
    in_place: bool = False,
    charge_weight: float = 0.0,
    charge_offset: float = 0.0,
    charge_sigma: float = 1.5,
    charges: str = "given",
    cut: float = 0.5,
    group: bool = True,
    threads: int | None = None,
    progress: bool = False,
) -> OverlayResult:
    """Lays molecules or maps over a reference and ranks them: an `OverlayResult`, best first.

    The same as the command `qxhermite overlay`: heavy atoms are Gaussians of radius 1.7 angstrom;
    the overlap of the expansions is maximised from the inertial frames, the best poses are polished
    to the maximum of the exact overlap.

    ref: a Molecule, an rdkit.Chem.Mol, a pair (elements, coordinates), a ScalarGrid, or a file name;
        of a file the first record counts, of several conformers the first.
    fits: one of these or an iterable of them; a file gives all its molecules. All conformers count.
    poses: best poses kept of each molecule, over its conformers.
    keep: best hits kept over all; None: all. It bounds memory for libraries of millions.
    degree, width: of the expansion; degree None: 5, or 8 where the reference or the first fit is a
        map; width (1/angstrom) None: the best one for the reference.
    options: a HermiteOptions instead of degree and width.
    starts: 4 (half turns of the inertial frame) or 24 (any axis on any other).
    polish: so many of the best poses are carried to the optimum of the exact Tanimoto, which ranks
        then; 0: none.
    coarse: degree of a first, coarse search; 0: none; None: 4 with 24 starts, else none.
    tolerance, iterations: of the minimiser.
    in_place: start from where the fits lie instead of from inertial frames.
    charge_weight: 0: shape only; else what is maximised is shape + weight (charge + charge_offset),
        with charges as Gaussians of width charge_sigma (angstrom).
    charges: "given" (of the molecules, in e) or "gasteiger" (computed).
    cut: of the values of maps, see the command line: core peaks are cut at this share.
    group: records of a file with one title and structure are conformers of one molecule.
    threads: None: one a core.
    progress: show a bar.

    Files, molecules and conformers that cannot be used are left out, told by a QXHermiteWarning and
    listed in `skipped`, and so is None, which RDKit gives for what it cannot read. A single fit
    that cannot be used is a ValueError, a single file that cannot be read a QXHermiteError.
    """
    arguments.check(locals(), "keep", "degree", "width", "options", "coarse", "threads")
    if charges not in ("given", "gasteiger"):
        raise ValueError(f'charges: must be "given" or "gasteiger", got {charges!r}')
    threads = num_threads(threads)
    reference = _as_reference(ref)
    stream = read_fits(fits, group)
    first = list(islice(stream, 1))
    stream = chain(first, stream)
    if options is None:
        things = [reference, *(fit.thing for fit in first)]
        of_maps = any(isinstance(thing, ScalarGrid) for thing in things)
        if degree is None:
            degree = _DEGREE_OF_MAPS if of_maps else _DEGREE
        options = expansion_options(degree, width)
    settings = dict(
        poses=poses,
        starts=starts,
        polish=polish,
        coarse=coarse_degree(coarse, starts),
        tolerance=tolerance,
        iterations=iterations,
        in_place=in_place,
        charge_weight=charge_weight,
        charge_offset=charge_offset,
        charge_sigma=charge_sigma,
        cut=cut,
    )
    compute = charges == "gasteiger" and charge_weight > 0
    if compute and isinstance(reference, Molecule):
        reference = with_gasteiger(reference)
    searches = _Searches(reference, options, settings)

    skipped: list[Skipped] = []
    poorly: list[str] = []
    drawings: list[str] = []
    crowded: list[str] = []

    def usable(stream):
        for fit in stream:
            if fit.problem is None and compute and isinstance(fit.thing, Molecule):
                try:
                    fit.thing = with_gasteiger(fit.thing)
                except QXHermiteError as error:
                    fit.problem = str(error)
            if fit.problem is None:
                yield fit
            else:
                skipped.append(Skipped(fit, None, fit.problem))

    def batches(stream):  # of one kind each
        for chunk in chunks(stream, _CHUNK):
            for kind in (Molecule, ScalarGrid):
                if of_kind := [fit for fit in chunk if isinstance(fit.thing, kind)]:
                    yield of_kind

    best = _Best(keep)
    bar = progress_bar(progress, count_fits(fits) if progress else None, "overlay", "conformers")
    try:
        for chunk, found in in_order(searches.find, batches(usable(stream)), threads):
            _collect(chunk, found, best, skipped)
            poorly += [fit.title for fit, held in zip(chunk, found["held"]) if held < _LEAST_HELD]
            drawings += [chunk[place].title for place in found.get("drawings", ())]
            crowded += [f"{chunk[place].title}: {why}" for place, why in found.get("crowded", ())]
            bar.update(sum(getattr(fit.thing, "num_conformers", 1) for fit in chunk))
    finally:
        bar.close()
    if skipped and not best and is_single(fits):
        raise skipped[0]._as_error()
    _warn(skipped, poorly, drawings, crowded)
    settings = dict(
        reference=os.fspath(ref) if molecules.is_path(ref) else None,
        degree=options.npolymax,
        width=_told_width(options),
        **settings,
        charges=charges if charge_weight > 0 else None,
        group=group,
        keep="all" if keep is None else keep,
    )
    return OverlayResult(reference, best.sorted(), skipped, settings)


def coarse_degree(coarse, starts):
    """The degree of the coarse search, as the command line chooses it where it is None."""
    if coarse is None:
        return _COARSE_DEGREE if starts > 4 else 0
    return coarse


def expansion_options(degree, width):
    """HermiteOptions of a degree, with one best width, or with this one (1/angstrom)."""
    if width is None:
        return HermiteOptions(npolymax=degree)
    width = float(width)
    if not (np.isfinite(width) and width > 0):
        raise ValueError("width: must be positive and finite")
    return HermiteOptions(
        npolymax=degree,
        lambda_x=width,
        lambda_y=width,
        lambda_z=width,
        use_optimal_lambdas=False,
    )


def _told_width(options):
    if options.use_optimal_lambdas:
        return "the best"
    return " ".join(f"{width:g}" for width in sorted(set(options.lambdas)))


def _as_reference(ref):
    if isinstance(ref, ScalarGrid):
        return ref
    if is_grid_path(ref):
        return read_grid(os.fspath(ref))
    return molecules.as_molecule(ref)


class _Best:
    """The best hits, at most `keep` of them; equal scores stay in the order of coming."""

    def __init__(self, keep):
        self._keep, self._heap, self._count = keep, [], 0

    def add(self, hit):
        entry = (hit.score, -self._count, hit)
        self._count += 1
        if self._keep is None:
            self._heap.append(entry)
        elif len(self._heap) < self._keep:
            heapq.heappush(self._heap, entry)
        else:
            heapq.heappushpop(self._heap, entry)

    def __len__(self):
        return len(self._heap)

    def sorted(self):
        return [hit for _, _, hit in sorted(self._heap, key=lambda entry: entry[:2], reverse=True)]


def _collect(chunk, found, best, skipped):
    columns = ("conformer", "score", "tanimoto", "exact_tanimoto", "charge_tanimoto", "transform")
    for index, place in enumerate(found["fit"]):
        row = {name: found[name][index] for name in columns}
        best.add(Hit(chunk[place], row))
    skipped += [Skipped(chunk[fit], conformer, why) for fit, conformer, why in found["skipped"]]


def _warn(skipped, poorly, drawings, crowded):
    if crowded:
        warnings.warn(crowded[0], QXHermiteWarning, 3)
    if skipped:
        text = f"{len(skipped)} skipped, see `skipped`; the first: {skipped[0]!r}"
        warnings.warn(text, QXHermiteWarning, 3)
    if poorly:
        warnings.warn(
            f"the expansions of {len(poorly)} fits hold less than half of their density, the first: "
            f"{poorly[0]}: their scores are too high: raise degree",
            QXHermiteWarning,
            3,
        )
    if drawings:
        warnings.warn(
            f"{len(drawings)} fits look like drawings, all z are zero, the first: {drawings[0]}: make "
            "3-D coordinates, unless they are flat",
            QXHermiteWarning,
            3,
        )
