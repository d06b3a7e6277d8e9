"""Draws the pictures of docs/operators.md: operators.png, motion.png, objective.png, charges.png.

Usage: python3 docs/pictures/operators.py build/release/tools/qxhermite
"""

import json
import math
import pathlib
import subprocess
import sys
import tempfile

import matplotlib
import numpy
from hermite import (ROOT, Expansion, draw_bonds, first_record, functions, pairs, principal,
                     rotation_matrix, shell_order, turn_about)
from rdkit import Chem
from sections import plane_of, read_atoms

matplotlib.use("Agg")
from matplotlib import pyplot  # noqa: E402

DATA = ROOT / "examples/data"
COULOMB = 332.063713  # kcal/mol for two charges e, 1 angstrom apart


def translation_1d(degree, shift):
    """Entry (i, j): how much of h_i is in h_j moved by `shift`, by quadrature."""
    t = numpy.linspace(-20, 20, 4001)
    overlaps = functions(degree, t) @ functions(degree, t - shift).T * (t[1] - t[0])
    norms = (functions(degree, t) ** 2).sum(axis=1) * (t[1] - t[0])
    return overlaps / norms[:, None]


def draw_operators():
    """Matrices of a rotation and of a translation between functions of norm 1, degree 4."""
    degree = 4
    lmn, norms = shell_order(degree)
    scale = numpy.sqrt(norms)
    turn = turn_about(0, 0.5) @ turn_about(1, -0.8) @ turn_about(2, 1.1)
    moves = [translation_1d(degree, shift) for shift in (0.6, -0.4, 0.3)]
    shifted = numpy.prod([move[lmn[:, None, axis], lmn[None, :, axis]]
                          for axis, move in enumerate(moves)], axis=0)
    figure, axes = pyplot.subplots(1, 2, figsize=(10, 5), layout="constrained")
    for axis, matrix, title in zip(axes, (rotation_matrix(degree, turn), shifted),
                                   ("a rotation: one block a shell", "a translation: all shells")):
        picture = axis.imshow(matrix * scale[:, None] / scale, cmap="RdBu", vmin=-1, vmax=1)
        for s in range(1, degree + 1):
            edge = s * (s + 1) * (s + 2) / 6 - 0.5
            axis.axhline(edge, color="0.6", linewidth=0.6)
            axis.axvline(edge, color="0.6", linewidth=0.6)
        middles = [s * (s + 1) * (2 * s + 4) / 12 + (s + 1) * (s + 2) / 4 - 0.5 for s in range(5)]
        axis.set_xticks(middles, range(degree + 1))
        axis.set_yticks(middles, range(degree + 1))
        axis.set(title=title, xlabel="shell before", ylabel="shell after")
    figure.colorbar(picture, ax=axes, shrink=0.8)
    figure.savefig(ROOT / "docs/pictures/operators.png", dpi=70)


def draw_motion():
    """What an overlap does, and where the fit lies then, seen from the reference."""
    reference = first_record(DATA / "drugs.sdf", "naproxen")
    fit = first_record(DATA / "drugs.sdf", "ibuprofen")
    a, b = (principal(mol.GetConformer().GetPositions()) for mol in (reference, fit))
    turn, shift = turn_about(2, math.radians(40)), numpy.array([2.2, 1.4, 0])
    panels = [("as both stand", a, b),
              ("the overlap: reference turned by Q, fit moved by t", a @ turn.T, b + shift),
              ("the same, turned back by Qᵀ:\nthe fit lies at Qᵀ(P + t)", a, (b + shift) @ turn)]
    figure, axes = pyplot.subplots(1, 3, figsize=(12, 4.3), sharex=True, sharey=True)
    for axis, (title, first, second) in zip(axes, panels):
        draw_bonds(axis, reference, first[:, :2], color="0.25", linewidth=2)
        draw_bonds(axis, fit, second[:, :2], color="crimson", linewidth=2)
        axis.plot(0, 0, "+", color="black", markersize=12)
        axis.set_title(title, fontsize=10)
        axis.set_aspect("equal")
        axis.set_xlabel("Å")
    figure.tight_layout()
    figure.savefig(ROOT / "docs/pictures/motion.png", dpi=80)


def draw_objective(tool):
    """The Tanimoto of a molecule turned about its long axis with itself, by degree."""
    mol = first_record(DATA / "drugs.sdf", "celecoxib")
    atoms = principal(mol.GetConformer().GetPositions())
    for atom, place in enumerate(atoms):
        mol.GetConformer().SetAtomPosition(atom, place.tolist())
    angles = numpy.linspace(-180, 180, 181)
    figure, axis = pyplot.subplots(figsize=(8, 4))
    with tempfile.TemporaryDirectory() as folder:
        path = f"{folder}/celecoxib.sdf"
        with Chem.SDWriter(path) as writer:
            writer.write(mol)
        for degree, color in ((2, "tab:green"), (5, "tab:blue"), (10, "tab:purple")):
            expansion = Expansion(tool, path, "--npolymax", degree)
            step = rotation_matrix(degree, turn_about(0, math.radians(2)))
            turned = numpy.linalg.matrix_power(step, 90) @ expansion.coefficients  # -180 is 180
            tanimotos = []
            for _ in angles:
                common = expansion.overlap(turned)
                tanimotos.append(common / (2 * expansion.self_overlap - common))
                turned = step @ turned
            axis.plot(angles, tanimotos, color=color, label=f"degree {degree}")
    exact = numpy.array([pairs(atoms, atoms @ turn_about(0, math.radians(angle)).T)
                         for angle in angles])
    axis.plot(angles, exact / (2 * pairs(atoms, atoms) - exact), "k--", linewidth=1, label="exact")
    axis.set(xlabel="turn of celecoxib about its long axis (degrees)", ylabel="Tanimoto with itself",
             ylim=(0, 1.02))
    axis.set_xticks(range(-180, 181, 60))
    axis.grid(alpha=0.3)
    axis.legend()
    figure.tight_layout()
    figure.savefig(ROOT / "docs/pictures/objective.png", dpi=80)


def run(*words):
    return subprocess.run([str(word) for word in words], check=True, stdout=subprocess.PIPE,
                          text=True).stdout


def draw_charges(tool):
    """Functions of a charge density, the potential of one, and an energy against distance."""
    figure, (left, middle, right) = pyplot.subplots(1, 3, figsize=(13, 4))
    t = numpy.linspace(-3, 3, 300)
    for k, row in enumerate(functions(3, t) * numpy.exp(-t * t / 2)):
        left.plot(t, row / abs(row).max(), label=f"$H_{k}(t)\\,e^{{-t^2}}$")
    left.set(xlabel="t", title="one axis, scaled to peaks of 1", yticks=[])
    left.legend(fontsize=8)

    mol, atoms = read_atoms(DATA / "formamide.sdf")
    centre, u, v = plane_of(atoms)
    steps = numpy.linspace(-6, 6, 121)
    x, y = numpy.meshgrid(steps, steps)
    points = (centre + x[..., None] * u + y[..., None] * v).reshape(-1, 3)
    with tempfile.TemporaryDirectory() as folder:
        for name in ("water", "formamide"):
            run(tool, "charges", "fit", DATA / f"{name}_potential.json", "--out",
                f"{folder}/{name}.json", "--lambda", "1.3")
        water = json.loads(pathlib.Path(f"{folder}/water.json").read_text())
        numpy.savetxt(f"{folder}/points.csv", points, delimiter=",")
        run(tool, "charges", "potential", f"{folder}/formamide.json", "--points",
            f"{folder}/points.csv", "--out", f"{folder}/values.csv")
        potential = numpy.loadtxt(f"{folder}/values.csv", delimiter=",", skiprows=1)[:, 3]
        scan = run(tool, "charges", "energy", f"{folder}/water.json", f"{folder}/water.json",
                   "--scan", "z:2:12:0.5")

    near = numpy.linalg.norm(points[:, None] - atoms, axis=2).min(axis=1) < 1.4
    potential[near] = numpy.nan
    levels = [-40, -20, -10, -5, -2, 0, 2, 5, 10, 20, 40]
    middle.contourf(x, y, potential.reshape(x.shape), levels=levels, cmap="RdBu", extend="both",
                    norm=matplotlib.colors.SymLogNorm(2, vmin=-60, vmax=60))
    lines = middle.contour(x, y, potential.reshape(x.shape), levels=levels, colors="0.3",
                           linewidths=0.5)
    middle.clabel(lines, fontsize=7)
    for atom, place in zip(mol.GetAtoms(), atoms - centre):
        middle.text(place @ u, place @ v, atom.GetSymbol(), ha="center", va="center", fontsize=9)
    middle.set(title="potential of formamide, kcal/mol/e", xlabel="Å", aspect="equal")

    rows = [line.split() for line in scan.splitlines()]
    distance, energy = numpy.array([row for row in rows if row[0][0].isdigit()], dtype=float).T
    dipole = numpy.linalg.norm(water["dipole"])
    right.loglog(distance, energy, "o", markerfacecolor="none", label="two densities of water")
    right.loglog(distance, COULOMB * dipole**2 / distance**3, color="0.5",
                 label="two dipoles, side by side")
    right.set(title="energy of one water above another, kcal/mol", xlabel="distance (Å)")
    right.set_xticks([2, 3, 4, 6, 8, 12], ["2", "3", "4", "6", "8", "12"])
    right.minorticks_off()
    right.legend(fontsize=8)
    figure.tight_layout()
    figure.savefig(ROOT / "docs/pictures/charges.png", dpi=75)


def main():
    tool = sys.argv[1]
    draw_operators()
    draw_motion()
    draw_objective(tool)
    draw_charges(tool)


main()
