"""Draws docs/pictures/accuracy.png and prints the table beside it: exact Tanimotos and time of overlays
against the degree of the expansions.

Usage: PYTHONPATH=build/release/python python3 docs/pictures/accuracy.py DRUGS.sdf

DRUGS.sdf: molecules of one conformer each. Every tenth of them is a reference, and all of them are
laid over it, on one core. Times are CPU times of the search, with the files read before; the least of
three.
"""

import sys
import time

import matplotlib
import numpy

import qxhermite
from hermite import ROOT

matplotlib.use("Agg")
from matplotlib import pyplot  # noqa: E402

DEGREES = (2, 3, 4, 5, 6, 8, 10, 14, 20)


class Setting:
    """Overlays of all fits on all references: told and exact Tanimotos (references, fits), time."""

    def __init__(self, references, fits, degree, **words):
        options = qxhermite.HermiteOptions(npolymax=degree)
        searches = [qxhermite.ShapeSearch(ref, options, **words) for ref in references]
        times = []
        for _ in range(3):
            start = time.process_time()
            found = [search.find(fits) for search in searches]
            times.append(time.process_time() - start)
        self.degree, self.words = degree, words
        self.micro_seconds = 1e6 * min(times) / (len(references) * len(fits))
        self.told, self.exact = (numpy.full((len(references), len(fits)), numpy.nan)
                                 for _ in range(2))
        for row, result in enumerate(found):
            self.told[row, result["fit"]] = result["tanimoto"]
            self.exact[row, result["fit"]] = result["exact_tanimoto"]


def main():
    fits = qxhermite.read_molecules(sys.argv[1])
    references = fits[::10]
    plain = [Setting(references, fits, n, polish=0) for n in DEGREES]
    polished = [Setting(references, fits, n, polish=4) for n in DEGREES]
    many = [Setting(references, fits, 5, polish=4, starts=24, coarse=4),
            Setting(references, fits, 10, polish=24, starts=24)]
    settings = [*plain, *polished, *many]
    best = numpy.max([setting.exact for setting in settings], axis=0)
    assert numpy.isfinite(best).all()
    print(f"{len(references)} references, {len(fits)} fits; mean of the best {best.mean():.4f}")

    print("| degree | starts | polished | of the expansions | exact | below the best | within 0.01 | time |")
    print("|---:|---:|---:|---:|---:|---:|---:|---:|")
    for setting in settings:
        lost = best - setting.exact
        words = setting.words
        print(f"| {setting.degree} | {words.get('starts', 4)} | {words['polish']} | "
              f"{setting.told.mean():.4f} | {setting.exact.mean():.4f} | {lost.mean():.4f} | "
              f"{100 * (lost < 0.01).mean():.0f} % | {setting.micro_seconds:.0f} µs |")

    figure, (left, right) = pyplot.subplots(1, 2, figsize=(11, 4.2))
    for group, color, label in ((plain, "tab:orange", "maxima of the expansions"),
                                (polished, "tab:blue", "four polished")):
        left.plot(DEGREES, [s.exact.mean() for s in group], "o-", color=color,
                  label=f"exact, {label}")
        left.plot(DEGREES, [s.told.mean() for s in group], ":", color=color,
                  label=f"of the expansions, {label}")
        right.plot([s.micro_seconds for s in group], [(best - s.exact).mean() for s in group], "o-",
                   color=color, label=label)
        for s in group:
            right.annotate(str(s.degree), (s.micro_seconds, (best - s.exact).mean()), fontsize=8,
                           xytext=(3, 4), textcoords="offset points")
    right.plot([s.micro_seconds for s in many[:1]], [(best - s.exact).mean() for s in many[:1]], "s",
               color="tab:green", label="degree 5, 24 starts, four polished")
    left.set(xlabel="degree", ylabel="mean Tanimoto", xticks=range(2, 21, 2))
    left.legend(fontsize=8)
    right.set(xlabel="µs a conformer, one core", ylabel="mean exact Tanimoto below the best found",
              xscale="log", yscale="log")
    right.legend(fontsize=8)
    for axis in (left, right):
        axis.grid(alpha=0.3)
    figure.tight_layout()
    figure.savefig(ROOT / "docs/pictures/accuracy.png", dpi=80)


main()
