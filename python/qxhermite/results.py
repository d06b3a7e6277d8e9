"""What an overlay gives back: `OverlayResult`, a sequence of `Hit`, and what was `Skipped`."""

from __future__ import annotations

import os
import warnings
from collections.abc import Sequence
from typing import Any, overload

import numpy as np

from qxhermite import molecules
from qxhermite._core import (
    Molecule,
    QXHermiteError,
    QXHermiteWarning,
    ScalarGrid,
    write_molecules,
    write_report,
)

_MOST_REPORTED, _MOST_MAPS = 10000, 10
_POSE_ENDINGS = (".sdf", ".sd", ".mol", ".pdb", ".qxb")  # of files that keep coordinates


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
        if self._is_map():
            return None
        pose = self._fit.thing.conformer(self.conformer).transformed(self.transform)
        pose.data = {**pose.data, **self._texts()}
        return pose

    @property
    def map(self) -> ScalarGrid | None:
        """The moved map, resampled at its own spacing; None for a molecule."""
        if not self._is_map():
            return None
        return self._fit.thing.transformed(self.transform)

    def to_rdkit(self) -> Any:
        """The pose as an rdkit.Chem.Mol of one conformer, the scores among its properties.

        Of a molecule that came as an rdkit.Chem.Mol it is a copy of that very molecule, moved.
        """
        molecule = self.molecule
        if molecule is None:
            raise TypeError(f"{self.title}: a map has no atoms: use its .map")
        if self._fit.original is None:
            return molecules.to_rdkit(molecule)
        pose = molecules.moved_rdkit(self._fit.original, self.conformer, self.transform)
        for name, text in self._texts().items():
            pose.SetProp(name, text)
        return pose

    def _is_map(self):
        return isinstance(self._fit.thing, ScalarGrid)

    def _row(self):
        """What stands for the hit in a report: its data are the columns of the table."""
        if self._is_map():
            row = Molecule([], np.zeros((0, 3)), title=self.title)
            row.data = self._texts()
            return row
        row = self.molecule
        origin = {"Conformer": str(self.conformer + 1)}
        if self.record is not None:
            origin["Record"] = str(self.record)
        row.data = {**row.data, **origin}
        return row

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
        unreadable = fit.thing is None and isinstance(fit.source, str)
        self._error = QXHermiteError if unreadable else ValueError

    def _as_error(self) -> Exception:
        """What to raise where nothing else was given: QXHermiteError of a file, or ValueError."""
        return self._error(repr(self))

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
        """Writes the poses, best first, to a molecule file (.sdf, .mol, .pdb, .qxb).

        ValueError where there are none, or the format keeps no coordinates.
        """
        if not self._hits:
            raise ValueError(f"{os.fspath(path)}: there are no hits to write")
        self._require_new(path)
        poses = self._poses()
        if not str(path).lower().endswith(_POSE_ENDINGS):
            raise ValueError(
                f"{os.fspath(path)}: poses cannot be written in this format: name it .sdf, .pdb "
                "or .qxb"
            )
        rdkit = [hit._fit.original for hit in self._hits]
        if None not in rdkit and rdkit and str(path).lower().endswith((".sdf", ".sd")):
            molecules.write_rdkit(path, self.to_rdkit())  # keeps all that RDKit knows
        else:
            write_molecules(path, poses)

    def report(self, path: str | os.PathLike[str], title: str | None = None) -> None:
        """Writes one HTML page to look at the hits: viewer, table and histogram; works offline.

        At most the best 10,000 hits are on it; of maps, the best 10 can be seen.
        """
        if not str(path).lower().endswith((".html", ".htm")):
            raise ValueError(f"{os.fspath(path)}: not the name of a page: name it .html")
        self._require_new(path)
        shown = self._hits[:_MOST_REPORTED]
        maps = [row for row, hit in enumerate(shown) if hit._is_map()]
        settings = {name: value for name, value in self.settings.items() if value is not None}
        if len(self) > len(shown):
            text = f"{len(self)} hits: the best {_MOST_REPORTED} are reported"
            warnings.warn(text, QXHermiteWarning, 2)
        if len(maps) > _MOST_MAPS:
            settings["maps drawn"] = f"{_MOST_MAPS} of {len(maps)}: the best ones"
        write_report(
            path,
            [hit._row() for hit in shown],
            reference=self.reference,
            title=title or f"Overlay on {self.reference.title or 'the reference'}",
            settings=settings,
            maps=((row, shown[row].map) for row in maps[:_MOST_MAPS]),
        )

    def _poses(self):
        poses = [hit.molecule for hit in self._hits]
        if None in poses:
            raise TypeError("maps have no atoms: use their .map and its write")
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
