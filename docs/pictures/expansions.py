"""Draws the pictures of docs/expansions.md, basis.png, shape_degrees.png and shape_convergence.png,
and prints its table.

Usage: python3 docs/pictures/expansions.py build/release/tools/qxhermite
"""

import sys
import tempfile

import matplotlib
import numpy
from hermite import AMPLITUDE, ROOT, WIDTH, Expansion, draw_bonds, first_record, functions
from rdkit import Chem

matplotlib.use("Agg")
from matplotlib import pyplot  # noqa: E402

DRUGS = ROOT / "examples/data/drugs.sdf"


def draw_basis():
    figure = pyplot.figure(figsize=(11, 4.6))
    left = figure.add_axes((0.05, 0.12, 0.36, 0.8))
    t = numpy.linspace(-5, 5, 400)
    rows = functions(4, t)
    for k, row in enumerate(rows):
        norm = numpy.sqrt(numpy.trapz(row * row, t))
        left.plot(t, row / norm - 1.3 * k)
        left.text(5.1, -1.3 * k, f"$h_{k}$", va="center")
        left.axhline(-1.3 * k, color="0.88", linewidth=0.7, zorder=0)
    left.set(xlabel="t", yticks=[], xlim=(-5, 5.8), title="one axis, scaled to norm 1")
    x, y = numpy.meshgrid(t[::4], t[::4])
    for s in range(4):
        for low in range(s + 1):
            axis = figure.add_axes((0.76 - 0.062 * s + 0.124 * low - 0.055, 0.71 - 0.225 * s,
                                    0.112, 0.2))
            values = functions(3, x)[low] * functions(3, y)[s - low]
            most = abs(values).max()
            axis.imshow(values, cmap="RdBu", vmin=-most, vmax=most, origin="lower")
            axis.set(xticks=[], yticks=[])
            axis.text(3, 3, f"{low}{s - low}0", fontsize=8)
        figure.text(0.445, 0.80 - 0.225 * s, f"shell {s}: {(s + 1) * (s + 2) // 2}", fontsize=9)
    figure.text(0.71, 0.95, "shells: sections at z = 0 of the functions with n = 0", fontsize=11,
                ha="center")
    figure.savefig(ROOT / "docs/pictures/basis.png", dpi=90)


def projected(density, places, frame):
    """A density integrated along the third axis of a frame, on a mesh of the other two."""
    u, v, depth = places
    points = (u[..., None, None] * frame[0] + v[..., None, None] * frame[1] +
              depth[:, None] * frame[2])
    return density(points).sum(axis=-1) * (depth[1] - depth[0])


def draw_degrees(tool):
    mol = first_record(DRUGS, "celecoxib")
    atoms = mol.GetConformer().GetPositions()
    frame = numpy.linalg.svd(atoms - atoms.mean(axis=0))[2]
    middle = atoms.mean(axis=0)
    u, v = numpy.meshgrid(numpy.linspace(-8.5, 8.5, 90), numpy.linspace(-7.5, 7.5, 80))
    places = (u, v, numpy.linspace(-6, 6, 41))

    def exact(points):
        return sum(AMPLITUDE * numpy.exp(-WIDTH * ((points + middle - atom) ** 2).sum(axis=-1))
                   for atom in atoms)

    panels = []
    with tempfile.TemporaryDirectory() as folder:
        path = f"{folder}/celecoxib.sdf"
        with Chem.SDWriter(path) as writer:
            writer.write(mol)
        for degree in (2, 4, 6, 10, 20):
            expansion = Expansion(tool, path, "--npolymax", degree)
            share = expansion.self_overlap / expansion.exact
            panels.append((f"degree {degree}, {len(expansion.coefficients)} numbers\n"
                           f"Tanimoto {share:.4f}",
                           projected(lambda points, e=expansion: e(points + middle), places, frame)))
    panels.append(("exact: 26 Gaussians", projected(exact, places, frame)))

    levels = numpy.linspace(0, 1, 10)[1:] * panels[-1][1].max()
    figure, axes = pyplot.subplots(2, 3, figsize=(11, 6.4), sharex=True, sharey=True)
    flat = (atoms - middle) @ frame[:2].T
    for axis, (title, values) in zip(axes.flat, panels):
        axis.contourf(u, v, values, levels=[*levels, 2 * levels[-1]], cmap="YlGnBu")
        axis.contour(u, v, values, levels=levels, colors="tab:blue", linewidths=0.4)
        draw_bonds(axis, mol, flat)
        axis.set_title(title, fontsize=10)
        axis.set_aspect("equal")
    for axis in axes[1]:
        axis.set_xlabel("Å")
    figure.tight_layout()
    figure.savefig(ROOT / "docs/pictures/shape_degrees.png", dpi=80)


def draw_convergence(tool):
    figure, (left, right) = pyplot.subplots(1, 2, figsize=(11, 4))
    degrees = range(0, 21)
    print("| degree | coefficients | " + " | ".join(f"{name}" for name in NAMES) + " |")
    shares = {}
    with tempfile.TemporaryDirectory() as folder:
        for name, color in NAMES.items():
            mol = first_record(DRUGS, name)
            path = f"{folder}/{name}.sdf"
            with Chem.SDWriter(path) as writer:
                writer.write(mol)
            expansions = [Expansion(tool, path, "--npolymax", n) for n in degrees]
            share = shares[name] = numpy.array([e.self_overlap / e.exact for e in expansions])
            label = f"{name}, {mol.GetNumAtoms()} atoms"
            left.plot(degrees, share, ".-", color=color, label=f"{label}: Tanimoto")
            left.plot(degrees, numpy.sqrt(share), ":", color=color, label="cosine")
            right.plot(degrees, 1 - share, ".-", color=color, label=label)
    for n in (2, 4, 6, 8, 10, 14, 20):
        print(f"| {n} | {(n + 1) * (n + 2) * (n + 3) // 6} | " +
              " | ".join(f"{share[n]:.4f}, {share[n] ** 0.5:.4f}" for share in shares.values()),
              "|")
    left.set(xlabel="degree", ylabel="expansion against density", ylim=(0, 1.02))
    left.legend(fontsize=8)
    right.set(xlabel="degree", ylabel="1 - Tanimoto", yscale="log", ylim=(1e-5, 1))
    right.legend(fontsize=8)
    for axis in (left, right):
        axis.set_xticks(range(0, 21, 4))
        axis.grid(alpha=0.3)
    figure.tight_layout()
    figure.savefig(ROOT / "docs/pictures/shape_convergence.png", dpi=80)


NAMES = {"caffeine": "tab:green", "celecoxib": "tab:blue", "haloperidol": "tab:orange"}


def main():
    draw_basis()
    draw_degrees(sys.argv[1])
    draw_convergence(sys.argv[1])


main()
