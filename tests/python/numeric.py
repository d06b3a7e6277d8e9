"""What the tests of the bindings hold results against: NumPy and SciPy, point by point."""

import numpy as np
from scipy.special import eval_hermite

import qxhermite


def fixed(degree, lambdas):
    """Options with these widths, which nothing changes."""
    options = qxhermite.HermiteOptions(
        npolymax=degree, use_optimal_lambdas=False, use_single_lambda=False
    )
    options.lambdas = lambdas
    return options


def points_of(grid):
    """The places of all elements, (nx ny nz, 3)."""
    axes = [o + grid.spacing * np.arange(n) for o, n in zip(grid.origin, grid.shape)]
    return np.stack(np.meshgrid(*axes, indexing="ij"), axis=-1).reshape(-1, 3)


def density(gaussians, points):
    """The sum of A exp(-w |r - c|^2) of (n, 5) rows at (m, 3) points."""
    d2 = ((points[:, None] - gaussians[None, :, :3]) ** 2).sum(axis=2)
    return (gaussians[:, 3] * np.exp(-gaussians[:, 4] * d2)).sum(axis=1)


def expansion(coefficients, options, points):
    """The sum of c_lmn h_l(lambda_x x) h_m(lambda_y y) h_n(lambda_z z) at (m, 3) points."""
    t = points * np.array(options.lambdas)
    lmn = qxhermite.basis_lmn(options.npolymax)
    axes = [eval_hermite(lmn[:, a], t[:, a, None]) for a in range(3)]
    return (np.prod(axes, axis=0) * np.exp(-(t**2).sum(axis=1) / 2)[:, None]) @ coefficients


def gradient(f, x, step=1e-5):
    """Of a function of an array, by central differences."""
    x = np.asarray(x, dtype=float)
    moves = step * np.eye(x.size)
    return np.array([(f(x + move) - f(x - move)) / (2 * step) for move in moves])


def turn(axis, angle):
    """The right-handed rotation about axis 0, 1 or 2."""
    c, s = np.cos(angle), np.sin(angle)
    m = np.eye(3)
    a, b = (axis + 1) % 3, (axis + 2) % 3
    m[[a, a, b, b], [a, b, a, b]] = c, -s, s, c
    return m


def transform(rotation, shift):
    """(4, 4): p' = R p + t."""
    m = np.eye(4)
    m[:3, :3], m[:3, 3] = rotation, shift
    return m


def moved(m, points):
    return points @ m[:3, :3].T + m[:3, 3]


def cloud(seed, n=6, size=2.0):
    """Gaussians like those of atoms, at random places, exact in single precision."""
    random = np.random.default_rng(seed)
    places = random.uniform(-size, size, (n, 3))
    rest = np.column_stack([random.uniform(1, 3, n), random.uniform(0.6, 1.2, n)])
    return np.column_stack([places, rest]).astype(np.float32).astype(float)
