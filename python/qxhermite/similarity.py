"""All against all: `similarity_matrix`."""

from __future__ import annotations

import warnings
from typing import Iterable

import numpy as np

from qxhermite import arguments, molecules
from qxhermite._core import Molecule, QXHermiteWarning, ScalarGrid, ShapeSearch
from qxhermite.fits import is_single, read_fits
from qxhermite.overlays import coarse_degree, expansion_options
from qxhermite.progress import progress_bar
from qxhermite.results import Skipped
from qxhermite.threads import in_order, num_threads

_NOTHING = Molecule([], np.zeros((0, 3)))
_CARBON = Molecule([6], np.zeros((1, 3)))


def similarity_matrix(
    mols: molecules.MoleculeLike | Iterable[molecules.MoleculeLike],
    *,
    degree: int = 5,
    starts: int = 4,
    polish: int = 4,
    coarse: int | None = None,
    tolerance: float = 1e-8,
    group: bool = True,
    threads: int | None = None,
    progress: bool = False,
) -> np.ndarray:
    """Shape Tanimotos of all pairs of molecules, (n, n), symmetric, 1 on the diagonal.

    mols: an iterable of what `overlay` takes as fits, or a file name. A pair has the score of its
    best two conformers, from overlays of either on the other. Rows and columns of molecules that
    cannot be expanded are NaN, told by a QXHermiteWarning; a single file that cannot be read is a
    QXHermiteError. The settings are those of `overlay`.

    The work grows with the square of the number of conformers; threads: None: one a core.
    """
    arguments.check(locals(), "coarse", "threads")
    threads = num_threads(threads)
    fits = list(read_fits(mols, group, "mols"))
    if any(isinstance(fit.thing, ScalarGrid) for fit in fits):
        raise TypeError("mols: maps cannot be compared with one another here: use overlay")
    # One without conformers stands for what cannot be used: nothing can be laid over it.
    all_mols = [fit.thing or _NOTHING for fit in fits]
    problems = [Skipped(fit, None, fit.problem) for fit in fits if fit.problem]
    options = expansion_options(degree, None)
    n = len(all_mols)
    if problems and len(problems) == n and is_single(mols):
        raise problems[0]._as_error()
    settings = dict(
        starts=starts, polish=polish, coarse=coarse_degree(coarse, starts), tolerance=tolerance
    )
    ShapeSearch(_CARBON, options, **settings)  # wrong settings are told at once

    def row(first):
        """The scores of all others on molecule `first`, and what could not be used of it."""
        scores = np.full(n, np.nan)
        problem = None
        others = all_mols[:first] + [_NOTHING] + all_mols[first + 1 :]
        for conformer in range(all_mols[first].num_conformers):
            try:
                search = ShapeSearch(all_mols[first].conformer(conformer), options, **settings)
            except ValueError as error:  # this conformer has no shape
                problem = Skipped(fits[first], conformer, str(error))
                continue
            scores[first] = 1.0
            found = search.find(others)
            np.fmax.at(scores, found["fit"], found["score"])
        return scores, problem

    matrix = np.full((n, n), np.nan)
    bar = progress_bar(progress, n, "similarity", "molecules")
    try:
        for first, (scores, problem) in enumerate(in_order(row, range(n), threads)):
            matrix[first] = scores
            if problem:
                problems.append(problem)
            bar.update()
    finally:
        bar.close()
    if problems:
        text = f"{len(problems)} skipped, which give NaN; the first: {problems[0]!r}"
        warnings.warn(text, QXHermiteWarning, 2)
    matrix = np.fmax(matrix, matrix.T)
    return matrix
