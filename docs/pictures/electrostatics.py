"""Draws docs/pictures/electrostatics_*.png and prints the tables of docs/electrostatics.md: charge
densities that `qxhermite charges fit` fits to the quantum mechanical potential and field of seven
molecules, against atomic point charges.

Usage: python3 docs/pictures/electrostatics.py build/release/tools/qxhermite FOLDER

FOLDER holds <molecule>.json files as examples/data/water_potential.json is one.
"""

import csv
import functools
import json
import pathlib
import subprocess
import sys
import tempfile

import matplotlib
import numpy

matplotlib.use("Agg")
from matplotlib import pyplot  # noqa: E402

ROOT = pathlib.Path(__file__).resolve().parents[2]
MOLECULES = ["water", "methanol", "formamide", "acetic_acid", "imidazole", "pyridine", "benzene"]
COULOMB = 332.063713  # kcal/mol for two charges e, 1 angstrom apart
DEBYE = 4.80320471  # in an e angstrom


class Molecule:
    def __init__(self, path):
        data = json.loads(path.read_text())
        self.path, self.name = path, path.stem.replace("_", " ")
        self.atoms = numpy.array([[atom[axis] for axis in "xyz"] for atom in data["atoms"]])
        self.points = numpy.array(data["points"]).reshape(-1, 3)
        self.potential = numpy.array(data["potential"])
        self.field = numpy.array([data[f"field_{axis}"] for axis in "xyz"]).T
        self.held_out = numpy.array(data["holdout"]) == 1
        self.shell = numpy.array(data["shell"])
        self.dipole = numpy.array(data["dipole_debye"])

    def errors(self, potential, field, places):
        """Relative RMS errors of values at all points, at some of them."""
        return (relative_rms((potential - self.potential)[places], self.potential[places]),
                relative_rms((field - self.field)[places], self.field[places]))


def relative_rms(errors, values):
    return numpy.sqrt((errors**2).mean() / (values**2).mean())


def point_charges(molecule):
    """Charges of the atoms, their sum 0, by least squares from the same data as the densities:
    their potential and field at all points, and their dipole."""
    between = molecule.points[:, None] - molecule.atoms
    distance = numpy.linalg.norm(between, axis=2)
    potential = COULOMB / distance
    field = COULOMB * numpy.moveaxis(between / distance[..., None] ** 3, 2, 1)
    neutral = numpy.linalg.svd(numpy.ones((1, len(molecule.atoms))))[2][1:].T
    fitted = ~molecule.held_out
    matrix = numpy.concatenate([potential[fitted], *field[fitted]]) @ neutral
    values = numpy.concatenate([molecule.potential[fitted], *molecule.field[fitted]])
    charges = neutral @ numpy.linalg.lstsq(matrix, values, rcond=None)[0]
    return potential @ charges, field @ charges, charges @ molecule.atoms * DEBYE


class Fit:
    """A density that the tool fitted, with its errors at the points held out."""

    def __init__(self, tool, molecule, *options):
        self.tool, self.molecule = tool, molecule
        with tempfile.TemporaryDirectory() as folder:
            density, curve = f"{folder}/density.json", f"{folder}/curve.csv"
            summary = run(tool, "charges", "fit", molecule.path, "--out", density, "--write-curve",
                          curve, *options)
            self.density = json.loads(pathlib.Path(density).read_text())
            with open(curve, newline="") as file:
                rows = {int(row["functions"]): row for row in csv.DictReader(file)}
        # The line with the star is that of the density.
        self.functions = int(next(line for line in summary.splitlines() if "*" in line).split()[0])
        row = rows[self.functions]
        self.errors = tuple(float(row[f"held-out {kind} [relative RMS]"]) for kind in "VE")
        self.width = self.density["widths"][0]
        self.dipole = numpy.array(self.density["dipole"]) * DEBYE

    def values(self):
        """Potential and field at the points of the molecule."""
        with tempfile.TemporaryDirectory() as folder:
            density, points, values = (f"{folder}/{name}" for name in ("a.json", "p.csv", "v.csv"))
            pathlib.Path(density).write_text(json.dumps(self.density))
            numpy.savetxt(points, self.molecule.points, delimiter=",", fmt="%.8f")
            run(self.tool, "charges", "potential", density, "--points", points, "--out", values)
            table = numpy.loadtxt(values, delimiter=",", skiprows=1)
        return table[:, 3], table[:, 4:]


def run(*words):
    return subprocess.run([str(word) for word in words], check=True, stdout=subprocess.PIPE,
                          text=True).stdout


METHODS = {"lasso": [], "relaxed": ["--relaxed"], "pruned": ["--pruned"]}
CHARGED = ["-UseNeutralCharge", "false"]


class Study:
    """All fits, each made once."""

    def __init__(self, tool, folder):
        self.tool = tool
        self.molecules = [Molecule(pathlib.Path(folder) / f"{name}.json") for name in MOLECULES]
        self.charges = [point_charges(molecule) for molecule in self.molecules]

    @functools.lru_cache(maxsize=None)
    def fit(self, place, method, degree, per_atom, *options):
        """Of molecule number place, with so many functions per atom."""
        molecule = self.molecules[place]
        return Fit(self.tool, molecule, "--npolymax", degree, "--actives",
                   per_atom * len(molecule.atoms), *METHODS[method], *options)

    def curve(self, place, method, degree, *options):
        """Functions per atom, errors of potential, errors of field; each at its own width."""
        size = len(self.molecules[place].atoms)
        largest = (degree + 1) * (degree + 2) * (degree + 3) // 6 - (0 if options else 1)
        counts = [n for n in (1, 2, 3, 4, 5, 6, 7, 8, 10, 12, 14, 16) if n < largest] + [largest]
        fits = [self.fit(place, method, degree, per_atom, *options) for per_atom in counts]
        return numpy.array([(fit.functions / size, *fit.errors) for fit in fits]).T

    def charge_errors(self, place):
        potential, field, _ = self.charges[place]
        molecule = self.molecules[place]
        return molecule.errors(potential, field, molecule.held_out)


def draw_errors(study, lines, name):
    """lines: label -> words for Study.curve, and a colour."""
    figure, rows = pyplot.subplots(2, len(MOLECULES), figsize=(17, 6.2), sharex=True, sharey=True)
    for place, molecule in enumerate(study.molecules):
        for quantity, axis in enumerate(rows[:, place]):
            for label, (words, color) in lines.items():
                curve = study.curve(place, *words)
                look = {"marker": "."} if curve.shape[1] > 1 else {
                    "marker": "o", "markersize": 13, "markerfacecolor": "none", "linestyle": ""}
                axis.plot(curve[0], curve[1 + quantity], color=color, label=label, **look)
            axis.plot(1, study.charge_errors(place)[quantity], "X", color="crimson", markersize=9,
                      label="point charges", zorder=3)
            axis.axvline(4, color="0.85", zorder=0)
            axis.set(xscale="log", yscale="log", xlim=(0.8, 22), ylim=(3e-4, 1.2))
            axis.set_xticks([1, 2, 4, 8, 16], ["1", "2", "4", "8", "16"])
            axis.minorticks_off()
            axis.grid(alpha=0.3)
        rows[0][place].set_title(f"{molecule.name}, {len(molecule.atoms)} atoms")
        rows[1][place].set_xlabel("functions per atom")
    rows[0][0].set_ylabel("potential, relative RMS")
    rows[1][0].set_ylabel("field, relative RMS")
    figure.legend(*rows[0][0].get_legend_handles_labels(), loc="lower center", ncols=6,
                  frameon=False)
    figure.tight_layout(rect=(0, 0.05, 1, 1))
    figure.savefig(ROOT / f"docs/pictures/{name}.png", dpi=80)


def draw_dipoles(study, series):
    """series: label -> dipoles of the molecules."""
    figure, (left, right) = pyplot.subplots(1, 2, figsize=(11, 4.4))
    truth = numpy.array([molecule.dipole for molecule in study.molecules])
    left.plot([0, 4.5], [0, 4.5], color="0.8", zorder=0)
    marks = [("X", "crimson"), ("o", "tab:cyan"), ("s", "tab:blue")]
    for (label, dipoles), (mark, color) in zip(series.items(), marks):
        lengths = numpy.linalg.norm(dipoles, axis=1)
        left.plot(numpy.linalg.norm(truth, axis=1), lengths, mark, color=color, label=label,
                  markerfacecolor="none", markersize=8)
        errors = numpy.linalg.norm(dipoles - truth, axis=1)
        right.plot(errors, range(len(truth)), mark, color=color, label=label)
    names = [molecule.name for molecule in study.molecules]
    for name, length in zip(names, numpy.linalg.norm(truth, axis=1)):
        left.annotate(name, (length, 0.15), rotation=90, fontsize=8, color="0.4", ha="center",
                      va="bottom")
    left.set(xlabel="dipole, quantum mechanics (D)", ylabel="dipole of the fitted charges (D)")
    left.legend(frameon=False, loc="upper left")
    right.set(xscale="log", xlabel="length of the error of the dipole (D)")
    right.set_yticks(range(len(names)), names)
    right.invert_yaxis()
    right.grid(alpha=0.3)
    figure.tight_layout()
    figure.savefig(ROOT / "docs/pictures/electrostatics_dipoles.png", dpi=80)


def print_table(header, rows):
    for row in [header, ["---"] * len(header), *rows]:
        print("| " + " | ".join(row) + " |")
    print()


def pair(errors):
    """In percent."""
    return ", ".join(f"{100 * error:.2g}" for error in errors)


def mean(errors):
    """Geometric, over the molecules."""
    return numpy.exp(numpy.log(errors).mean(axis=0))


def print_tables(study):
    places = range(len(MOLECULES))
    columns = [*((method, 2, 4) for method in METHODS), ("relaxed", 2, 8), ("relaxed", 3, 19)]
    rows = []
    for place, molecule in enumerate(study.molecules):
        fits = [study.fit(place, *column) for column in columns]
        rows.append([molecule.name, pair(study.charge_errors(place)),
                     *(pair(fit.errors) for fit in fits),
                     ", ".join(f"{fit.width:.2g}" for fit in fits)])
    print_table(["molecule", "point charges", *map(str, columns), "widths"], rows)

    rows = []
    for per_atom in (2, 3, 4, 5, 6, 8):
        row = [str(per_atom)]
        for method in METHODS:
            errors = numpy.array([study.fit(place, method, 2, per_atom).errors for place in places])
            gains = numpy.array([study.charge_errors(place) for place in places]) / errors
            row += [pair(mean(errors)), f"{gains[:, 0].min():.1f}, {gains[:, 1].min():.1f}"]
        rows.append(row)
    titles = [f"{name}{what}" for name in METHODS for what in ("", ", least gain")]
    print_table(["functions per atom", *titles], rows)

    widths = [*numpy.geomspace(0.9, 2.2, 8), 4.0]
    cells = []
    for method, per_atom in (("pruned", 4), ("relaxed", 8)):
        errors = numpy.array([
            [study.fit(place, method, 2, per_atom, *options).errors for place in places]
            for options in [(), *(("--lambda", f"{width:.6g}") for width in widths)]])
        cells.append([pair(mean(row)) for row in errors])
        both = numpy.linalg.norm(errors, axis=2)
        print(f"{method}: chosen against the best width of each molecule, at most",
              f"{(both[0] / both[1:-1].min(axis=0)).max():.2f}")
    print_table(["width", "4 per atom, pruned", "8 per atom, relaxed"],
                list(zip(["chosen", *(f"{width:.2f}" for width in widths)], *cells)))

    rows = []
    for label, options in {"both": (), "potential": ("-UseElectricField", "false"),
                           "field": ("-UsePotential", "false")}.items():
        row = [label]
        for degree, per_atom, charged in ((2, 8, ()), (1, 3, ()), (1, 4, CHARGED)):
            fits = [study.fit(place, "relaxed", degree, per_atom, *charged, *options)
                    for place in places]
            row.append(pair(mean(numpy.array([fit.errors for fit in fits]))))
        rows.append(row)
    print_table(["fitted", "degree 2", "degree 1", "degree 1, with charges"], rows)

    for title, fits in {
            "degree 2": [study.fit(place, "relaxed", 2, 4) for place in places],
            "degree 1, with charges, to the potential": [
                study.fit(place, "relaxed", 1, 4, *CHARGED, "-UseElectricField", "false")
                for place in places]}.items():
        errors = [fit.values()[0] - fit.molecule.potential for fit in fits]
        means = [abs(error[~fit.molecule.held_out].mean()) for fit, error in zip(fits, errors)]
        print(f"{title}: mean error of the potential up to {max(means):.2g} kcal/mol/e\n")

    rows = []
    for shell in (1.4, 1.6, 1.8, 2.0):
        row = [str(shell)]
        for values in ([charges[:2] for charges in study.charges],
                       [study.fit(place, "pruned", 2, 4).values() for place in places],
                       [study.fit(place, "relaxed", 2, 8).values() for place in places]):
            errors = [molecule.errors(*value, molecule.held_out & (molecule.shell == shell))
                      for molecule, value in zip(study.molecules, values)]
            row.append(pair(mean(numpy.array(errors))))
        rows.append(row)
    print_table(["shell", "point charges", "4 per atom, pruned", "8 per atom, relaxed"], rows)


def main():
    study = Study(*sys.argv[1:])
    print_tables(study)
    draw_errors(study, {
        "degree 0, with charges": (("lasso", 0, *CHARGED), "black"),
        "degree 1, with charges": (("lasso", 1, *CHARGED), "tab:orange"),
        "degree 1": (("lasso", 1), "tab:green"),
        "degree 2": (("lasso", 2), "tab:blue"),
        "degree 3": (("lasso", 3), "tab:purple")}, "electrostatics_degrees")
    draw_errors(study, {
        "lasso": (("lasso", 2), "tab:blue"),
        "relaxed": (("relaxed", 2), "tab:green"),
        "pruned": (("pruned", 2), "tab:orange")}, "electrostatics_methods")
    places = range(len(MOLECULES))
    draw_dipoles(study, {
        "point charges": numpy.array([charges[2] for charges in study.charges]),
        "4 functions per atom, pruned": numpy.array(
            [study.fit(place, "pruned", 2, 4).dipole for place in places]),
        "8 functions per atom, relaxed": numpy.array(
            [study.fit(place, "relaxed", 2, 8).dipole for place in places])})


main()
