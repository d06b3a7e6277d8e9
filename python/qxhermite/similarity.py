"""All against all: `similarity_matrix`."""

from __future__ import annotations

import warnings
from typing import Iterable

import numpy as np

from qxhermite import molecules
from qxhermite._core import Molecule, QXHermiteWarning, ScalarGrid, ShapeSearch
from qxhermite.overlays import Skipped, _read_fits, expansion_options, in_order, num_threads
from qxhermite.progress import progress_bar

_NOTHING = Molecule([], np.zeros((0, 3)))


def similarity_matrix(
    mols: molecules.MoleculeLike | Iterable[molecules.MoleculeLike],
    *,
    degree: int = 5,
    starts: int = 4,
    polish: int = 2,
    coarse: int = 0,
    tolerance: float = 1e-6,
    group: bool = True,
    threads: int | None = None,
    progress: bool = False,
) -> np.ndarray:
    """Shape Tanimotos of all pairs of molecules, (n, n), symmetric, 1 on the diagonal.

    mols: an iterable of what `overlay` takes as fits, or a file name. A pair has the score of its
    best two conformers, each conformer of the first laid over by all of the second. Rows and columns
    of molecules that cannot be expanded are NaN.

    The work grows with the square of the number of conformers; threads: None: one a core.
    """
    threads = num_threads(threads)
    fits = list(_read_fits(mols, group))
    if any(isinstance(fit.thing, ScalarGrid) for fit in fits):
        raise TypeError("mols: maps cannot be compared with one another here: use overlay")
    # One without conformers stands for what cannot be used: nothing can be laid over it.
    all_mols = [fit.thing or _NOTHING for fit in fits]
    problems = [Skipped(fit, None, fit.problem) for fit in fits if fit.problem]
    if problems:
        text = f"{len(problems)} skipped, with rows of NaN; the first: {problems[0]!r}"
        warnings.warn(text, QXHermiteWarning, 2)
    options = expansion_options(degree, None)
    n = len(all_mols)

    def row(first):
        """The scores of molecule `first` with itself and all after it."""
        scores = np.full(n - first, np.nan)
        rest = all_mols[first:]
        for conformer in range(all_mols[first].num_conformers):
            try:
                search = ShapeSearch(
                    all_mols[first].conformer(conformer),
                    options,
                    starts=starts,
                    polish=polish,
                    coarse=coarse,
                    tolerance=tolerance,
                )
            except ValueError:  # this conformer has no shape
                continue
            scores[0] = 1.0
            found = search.find(rest[1:])
            np.fmax.at(scores, found["fit"] + 1, found["score"])
        return first, scores

    matrix = np.full((n, n), np.nan)
    bar = progress_bar(progress, n * (n + 1) // 2, "similarity", "pairs")
    try:
        for first, scores in in_order(row, range(n), threads):
            matrix[first, first:] = matrix[first:, first] = scores
            bar.update(n - first)
    finally:
        bar.close()
    return matrix
