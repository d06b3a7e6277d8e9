"""Overlays of molecules and maps by shape, or by shape and charge: `overlay`."""

from __future__ import annotations

import heapq
import os
import threading
import warnings
from collections import deque
from collections.abc import Sequence
from concurrent.futures import ThreadPoolExecutor
from copy import copy
from itertools import chain, islice
from typing import TYPE_CHECKING, Any, Iterable, overload

import numpy as np

from qxhermite import molecules
from qxhermite._core import (
    HermiteOptions,
    Molecule,
    MoleculeGroups,
    QXHermiteError,
    QXHermiteWarning,
    ScalarGrid,
    ShapeSearch,
    count_records,
    read_grid,
    write_molecules,
    write_report,
)
from qxhermite.molecules import MoleculeLike
from qxhermite.progress import progress_bar

if TYPE_CHECKING:
    from typing import TypeGuard

_GRID_ENDINGS = (".ccp4", ".map", ".mrc", ".cube", ".cub")
_CHUNK = 16  # molecules a task: some milliseconds of work
_LEAST_HELD = 0.5
_DEGREE, _DEGREE_OF_MAPS = 5, 8
_COARSE_DEGREE = 4  # where there are 24 starts
_MOST_REPORTED = 10000


def is_grid_path(source: Any) -> TypeGuard[str | os.PathLike[str]]:
    """True for the name of a map file."""
    return molecules.is_path(source) and os.fspath(source).lower().endswith(_GRID_ENDINGS)


class Hit:
    """One pose of an overlay.

    title, score (by which hits are ranked), tanimoto (of the expansions), exact_tanimoto (of the
    sums of Gaussians, NaN where a map takes part), charge_tanimoto (NaN unless charge was weighed),
    source (a file name, or the place in the list of fits), record (in the file, from 1; None where
    there is no file), conformer (of its molecule, from 0), transform (4 x 4: takes the coordinates
    that were given onto the reference, p' = R p + t).
    """

    def __init__(self, fit: Any, row: Any) -> None:
        self._fit = fit
        self.title: str = fit.title
        self.source: str | int = fit.source
        self.conformer = int(row["conformer"])
        self.record: int | None = fit.records[self.conformer] if fit.records else None
        self.score = float(row["score"])
        self.tanimoto = float(row["tanimoto"])
        self.exact_tanimoto = float(row["exact_tanimoto"])
        self.charge_tanimoto = float(row["charge_tanimoto"])
        self.transform: np.ndarray = row["transform"]

    def __repr__(self):
        return f"Hit({self.title!r}, score={self.score:.4f}, conformer={self.conformer})"

    @property
    def molecule(self) -> Molecule | None:
        """The pose as a `Molecule` of one conformer with its scores as data; None for a map."""
        if not isinstance(self._fit.thing, Molecule):
            return None
        pose = self._fit.thing.conformer(self.conformer).transformed(self.transform)
        pose.data = {**pose.data, **self._texts()}
        return pose

    def to_rdkit(self) -> Any:
        """The pose as an rdkit.Chem.Mol of one conformer, the scores among its properties.

        Of a molecule that came as an rdkit.Chem.Mol it is a copy of that very molecule, moved.
        """
        molecule = self.molecule
        if molecule is None:
            raise TypeError(f"{self.title}: a map has no atoms: use its transform")
        if self._fit.original is None:
            return molecules.to_rdkit(molecule)
        pose = molecules.moved_rdkit(self._fit.original, self.conformer, self.transform)
        for name, text in self._texts().items():
            pose.SetProp(name, text)
        return pose

    def _texts(self):
        combo = not np.isnan(self.charge_tanimoto)
        values = {
            "Shape Tanimoto": self.tanimoto,
            "Exact Shape Tanimoto": self.exact_tanimoto,
            "Charge Tanimoto": self.charge_tanimoto,
            "Shape + Charge Tanimoto Combo": self.score if combo else np.nan,
        }
        return {name: f"{value:.6f}" for name, value in values.items() if not np.isnan(value)}


class Skipped:
    """What could not be laid over the reference: title, source, record, conformer, reason.

    conformer: None where it was the whole molecule, record or file.
    """

    def __init__(self, fit: Any, conformer: int | None, reason: str) -> None:
        self.title: str = fit.title
        self.source: str | int = fit.source
        self.reason: str = reason
        self.conformer: int | None = conformer
        self.record: int | None = fit.records[conformer or 0] if fit.records else None

    def __repr__(self):
        place = self.source if isinstance(self.source, str) else self.title
        if self.record is not None:
            place = f"{place}:{self.record}"
        return self.reason if self.reason.startswith(place) else f"{place}: {self.reason}"


class OverlayResult(Sequence[Hit]):
    """The hits of an overlay, best first: a sequence of `Hit`.

    scores, tanimotos, exact_tanimotos, charge_tanimotos: (n,) arrays; transforms: (n, 4, 4); titles:
    list. skipped: list of `Skipped`. reference: what the fits were laid over.
    """

    def __init__(self, reference: Any, hits: Any, skipped: Any, settings: Any) -> None:
        self.reference: Molecule | ScalarGrid = reference
        self.skipped: list[Skipped] = skipped
        self.settings: dict[str, Any] = settings
        self._hits = hits

    def __len__(self) -> int:
        return len(self._hits)

    @overload
    def __getitem__(self, index: int) -> Hit: ...

    @overload
    def __getitem__(self, index: slice) -> OverlayResult: ...

    def __getitem__(self, index):
        if isinstance(index, slice):
            return OverlayResult(self.reference, self._hits[index], self.skipped, self.settings)
        return self._hits[index]

    def _column(self, name):
        return np.array([getattr(hit, name) for hit in self._hits], dtype=float)

    @property
    def scores(self) -> np.ndarray:
        """(n,) what hits are ranked by, best first."""
        return self._column("score")

    @property
    def tanimotos(self) -> np.ndarray:
        """(n,) Tanimotos of the expansions."""
        return self._column("tanimoto")

    @property
    def exact_tanimotos(self) -> np.ndarray:
        """(n,) Tanimotos of the sums of Gaussians; NaN where a map takes part."""
        return self._column("exact_tanimoto")

    @property
    def charge_tanimotos(self) -> np.ndarray:
        """(n,) Tanimotos of the charges; NaN unless charge was weighed."""
        return self._column("charge_tanimoto")

    @property
    def transforms(self) -> np.ndarray:
        """(n, 4, 4) from the coordinates that were given onto the reference."""
        return self._column("transform").reshape(-1, 4, 4)

    @property
    def titles(self) -> list[str]:
        """Titles, best first."""
        return [hit.title for hit in self._hits]

    def to_rdkit(self) -> list[Any]:
        """The poses as rdkit.Chem.Mol of one conformer each, best first, scores as properties."""
        return [hit.to_rdkit() for hit in self._hits]

    def write(self, path: str | os.PathLike[str]) -> None:
        """Writes the poses, best first, to a molecule file (.sdf, .mol, .pdb, .smi, .qxb)."""
        self._require_new(path)
        poses = self._poses()
        rdkit = [hit._fit.original for hit in self._hits]
        if None not in rdkit and rdkit and str(path).lower().endswith((".sdf", ".sd")):
            molecules.write_rdkit(path, self.to_rdkit())  # keeps all that RDKit knows
        else:
            write_molecules(path, poses)

    def report(self, path: str | os.PathLike[str], title: str | None = None) -> None:
        """Writes one HTML page to look at the hits: viewer, table and histogram; works offline.

        At most the best 10,000 hits are on it.
        """
        if not str(path).lower().endswith((".html", ".htm")):
            raise ValueError(f"{os.fspath(path)}: not the name of a page: name it .html")
        self._require_new(path)
        if len(self) > _MOST_REPORTED:
            text = f"{len(self)} hits: the best {_MOST_REPORTED} are reported"
            warnings.warn(text, QXHermiteWarning, 2)
        name = title or f"Overlay on {self.reference.title or 'the reference'}"
        poses = self[:_MOST_REPORTED]._poses()
        write_report(path, poses, reference=self.reference, title=name, settings=self.settings)

    def _poses(self):
        poses = [hit.molecule for hit in self._hits]
        if None in poses:
            raise TypeError("maps have no atoms: use their transforms")
        return poses

    def _require_new(self, path):
        """ValueError for the name of a file that was read."""
        read = {hit.source for hit in self._hits if isinstance(hit.source, str)}
        read |= {self.settings["reference"]} - {None}
        for name in read:
            if os.path.exists(path) and os.path.exists(name) and os.path.samefile(path, name):
                raise ValueError(f"{os.fspath(path)}: was read, and would be lost: name another")

    def to_dict(self) -> dict[str, list[Any]]:
        """Columns by name, for a data frame: `pandas.DataFrame(result.to_dict())`."""
        names = ("title", "score", "tanimoto", "exact_tanimoto", "charge_tanimoto", "source")
        columns = {name: [getattr(hit, name) for hit in self._hits] for name in names}
        columns["record"] = [hit.record for hit in self._hits]
        columns["conformer"] = [hit.conformer for hit in self._hits]
        return {name: column for name, column in columns.items() if not _all_nan(column)}

    def __repr__(self):
        rows = [f"{rank:4d}  {hit.score:.6f}  {hit.title}" for rank, hit in self._numbered(10)]
        more = [f"      ... {len(self) - 10} more"] if len(self) > 10 else []
        head = f"{len(self)} hits" + (f", {len(self.skipped)} skipped" if self.skipped else "")
        return "\n".join([head, "rank     score  title", *rows, *more])

    def _repr_html_(self):
        from html import escape

        rows = "".join(
            f"<tr><td>{rank}</td><td>{hit.score:.4f}</td><td>{escape(hit.title)}</td></tr>"
            for rank, hit in self._numbered(20)
        )
        return (
            f"<p>{len(self)} hits</p><table><tr><th>rank</th><th>score</th><th>title</th></tr>"
            f"{rows}</table>"
        )

    def _numbered(self, count):
        return enumerate(self._hits[:count], start=1)


def _all_nan(column):
    return bool(column) and all(isinstance(value, float) and np.isnan(value) for value in column)


class _Fit:
    """A fit and where it came from. thing: a Molecule or a ScalarGrid, or None with a problem."""

    __slots__ = ("thing", "title", "source", "records", "original", "problem")

    def __init__(self, thing, source, records=None, original=None, problem=None):
        self.thing, self.source, self.problem = thing, source, problem
        self.records, self.original = records, original
        name = os.path.basename(source) if isinstance(source, str) else f"fit {source}"
        self.title = getattr(thing, "title", "") or name


def _is_single(fits):
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


def _read_fits(fits, group):
    """Yields a _Fit for each molecule or map, in order; one with a problem for what is unusable."""
    for place, source in enumerate([fits] if _is_single(fits) else fits):
        path = os.fspath(source) if molecules.is_path(source) else None
        try:
            if path is None:
                yield _fit_at_hand(source, place)
            elif is_grid_path(path):
                yield _Fit(read_grid(path), path)
            else:
                yield from _fits_of_file(path, group)
        except (QXHermiteError, ValueError, OSError) as error:
            yield _Fit(None, place if path is None else path, problem=str(error))


def _fit_at_hand(source, place):
    if isinstance(source, ScalarGrid):
        return _Fit(source, place)
    try:
        molecule = molecules.as_molecule(source)
    except TypeError as error:
        raise TypeError(f"fit {place}: {error}") from None
    return _Fit(molecule, place, original=source if molecules.is_rdkit(source) else None)


def _fits_of_file(path, group):
    groups = MoleculeGroups(path, group=group)
    found, told = 0, 0

    def unreadable():
        nonlocal told
        for bad in groups.skipped[told:]:
            told += 1
            yield _Fit(None, path, [bad.record], problem=bad.reason)

    for molecule, records in groups:
        yield from unreadable()
        found += 1
        yield _Fit(molecule, path, records)
    yield from unreadable()
    if found + told == 0:
        yield _Fit(None, path, problem="holds no molecule: check the file")


def _count_fits(fits):
    """How many conformers or records there will be, None where that cannot be told cheaply."""
    if _is_single(fits):
        fits = [fits]
    elif not hasattr(fits, "__len__"):
        return None
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


def num_threads(threads):
    """The number of threads asked for; None stands for one a core that may be used."""
    if threads is None:
        return len(os.sched_getaffinity(0)) if hasattr(os, "sched_getaffinity") else os.cpu_count()
    if threads < 1:
        raise ValueError("threads: must be at least 1")
    return int(threads)


def in_order(work, tasks, threads):
    """Yields work(task) in the order of the tasks, some of them worked on ahead in threads."""
    if threads == 1:
        yield from map(work, tasks)
        return
    with ThreadPoolExecutor(threads) as pool:
        waiting = deque()
        try:
            for task in tasks:
                waiting.append(pool.submit(work, task))
                if len(waiting) >= 2 * threads:
                    yield waiting.popleft().result()
            while waiting:
                yield waiting.popleft().result()
        finally:
            for future in waiting:
                future.cancel()


def _chunks(iterable, size):
    iterator = iter(iterable)
    while chunk := list(islice(iterator, size)):
        yield chunk


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
    listed in `skipped`; a single fit that cannot be used is a ValueError.
    """
    if charges not in ("given", "gasteiger"):
        raise ValueError(f'charges: must be "given" or "gasteiger", got {charges!r}')
    if keep is not None and keep < 1:
        raise ValueError("keep: must be at least 1")
    threads = num_threads(threads)
    reference = _as_reference(ref)
    stream = _read_fits(fits, group)
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
        for chunk in _chunks(stream, _CHUNK):
            for kind in (Molecule, ScalarGrid):
                if of_kind := [fit for fit in chunk if isinstance(fit.thing, kind)]:
                    yield of_kind

    best = _Best(keep)
    bar = progress_bar(progress, _count_fits(fits) if progress else None, "overlay", "conformers")
    try:
        for chunk, found in in_order(
            searches.find, batches(usable(stream)), threads
        ):
            _collect(chunk, found, best, skipped)
            poorly += [fit.title for fit, held in zip(chunk, found["held"]) if held < _LEAST_HELD]
            drawings += [chunk[place].title for place in found.get("drawings", ())]
            bar.update(sum(getattr(fit.thing, "num_conformers", 1) for fit in chunk))
    finally:
        bar.close()
    if skipped and not best and _is_single(fits):
        raise ValueError(repr(skipped[0]))
    _warn(skipped, poorly, drawings)
    name = os.fspath(ref) if molecules.is_path(ref) else None
    settings = {"reference": name, "degree": options.npolymax, **settings}
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
    if not (np.isfinite(width) and width > 0):
        raise ValueError("width: must be positive and finite")
    return HermiteOptions(
        npolymax=degree,
        lambda_x=width,
        lambda_y=width,
        lambda_z=width,
        use_optimal_lambdas=False,
    )


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


def _warn(skipped, poorly, drawings):
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
