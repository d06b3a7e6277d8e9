"""Hermite, the engine under it, and the basis."""

import gc
import pickle
import threading

import numpy as np
import pytest
from scipy.special import eval_hermite, factorial

import qxhermite
from numeric import cloud, density, expansion, fixed, gradient, points_of, turn
from qxhermite import GaussianToHermite, Hermite, HermiteOptions, ScalarGrid

FIXED = fixed(6, [0.9, 1.1, 1.3])
EQUAL = fixed(6, 1.1)
PLACES = np.random.default_rng(5).uniform(-2, 2, (40, 3))


@pytest.fixture
def h():
    return Hermite.from_gaussians(cloud(1), FIXED)


def test_the_basis_is_that_of_scipy():
    x = np.linspace(-3, 3, 7)
    k = np.arange(9)
    table = eval_hermite(k, x[:, None]) * np.exp(-x[:, None] ** 2 / 2)
    norms = np.sqrt(np.pi) * 2.0**k * factorial(k)
    assert np.allclose(qxhermite.hermite_funcs(8, x), table, rtol=1e-10, atol=1e-9)
    assert np.allclose(qxhermite.hermite_func(8, x), table[:, 8], rtol=1e-10, atol=1e-9)
    assert isinstance(qxhermite.hermite_func(2, 0.5), float)
    assert np.allclose(qxhermite.calc_normalized_hermite(8, x), table / np.sqrt(norms))
    assert np.allclose(qxhermite.calc_double_normalized_hermite(8, x), table / norms)
    assert np.allclose(qxhermite.compute_ks(8), norms)
    assert np.allclose(qxhermite.calc_hermite_normalization(8), np.sqrt(norms))
    lmn = qxhermite.basis_lmn(4)
    assert len(lmn) == qxhermite.basis_size(4)
    assert [qxhermite.lmn_index(*row) for row in lmn] == list(range(len(lmn)))
    nested = np.lexsort(lmn.T[::-1])  # l, then m, then n
    c = np.arange(len(lmn), dtype=float)
    assert np.array_equal(qxhermite.reorder(4, c), nested)
    scaled = qxhermite.scale_coeffs_by_k(4, np.ones(len(lmn)))
    assert np.allclose(scaled, 1 / norms[lmn].prod(axis=1))


def test_an_expansion_approaches_the_density():
    gaussians = cloud(2, size=1.0)
    errors = []
    for degree in (4, 8, 12):
        h = Hermite.from_gaussians(gaussians, HermiteOptions(npolymax=degree))
        assert h.degree == degree and len(h) == qxhermite.basis_size(degree)
        difference = expansion(h.coefficients, h.options, PLACES) - density(gaussians, PLACES)
        errors.append(np.abs(difference).max())
    assert errors[2] < 0.05 * errors[0] and errors[1] < errors[0]
    # The largest self overlap that any width gives is that of the widths found.
    for factor in (0.95, 1.05):
        other = fixed(12, factor * h.options.lambda_x)
        assert Hermite.from_gaussians(gaussians, other).self_overlap < h.self_overlap


def test_gaussians_and_a_fine_grid_have_the_same_coefficients(h):
    grid = ScalarGrid((41, 41, 41), 0.25, (-5, -5, -5))
    qxhermite.add_gaussians(grid, cloud(1))
    by_quadrature = Hermite.from_grid(grid, FIXED)
    assert np.allclose(by_quadrature.coefficients, h.coefficients, atol=2e-5)
    assert by_quadrature.extent == 42 * 0.25 and not by_quadrature.center.any()
    made = h.grid(spacing=0.5, width=4)
    expected = expansion(h.coefficients, h.options, points_of(made))
    assert np.abs(made.values.ravel() - expected).max() < 1e-5 * np.abs(expected).max()


def test_coefficients_are_a_view_that_lives_on(h):
    view = h.coefficients
    assert np.shares_memory(view, h.coefficients) and not view.flags.writeable
    with pytest.raises(ValueError):
        view[0] = 1
    kept = view.copy()
    del h
    gc.collect()
    assert np.array_equal(view, kept)


def test_pickles_keep_what_coefficients_do_not_tell():
    centered = HermiteOptions(use_center_of_mass=True)
    h = Hermite.from_gaussians(cloud(1) + [1, 2, 3, 0, 0], centered).translated([0.5, 0, 0])
    back = pickle.loads(pickle.dumps(h))
    assert back == h and back.options.use_optimal_lambdas
    assert np.array_equal(back.center, h.center) and h.center.all()
    assert (back.extent, back.self_overlap) == (h.extent, h.self_overlap)
    assert Hermite.from_coefficients(h.coefficients, h.options, h.center) != h  # its flag
    assert repr(h).startswith("Hermite(degree=5, 56 coefficients, lambdas=(")


# About y by a right angle, the angles of a matrix do not tell the turn.
@pytest.mark.parametrize("about_y", [0.4, np.pi / 2, -np.pi / 2, np.pi])
def test_turns_and_shifts_move_the_density(about_y):
    h = Hermite.from_gaussians(cloud(1), EQUAL)
    Q = turn(0, 0.3) @ turn(1, about_y) @ turn(2, -1.2)
    for rotation in (Q, Q.astype(np.float32)):
        turned = h.rotated(rotation)
        expected = expansion(h.coefficients, h.options, PLACES @ Q)
        got = expansion(turned.coefficients, h.options, PLACES)
        assert np.allclose(got, expected, atol=1e-5 * np.abs(expected).max())
    p = [0.3, about_y, -1.2, 0.2, -0.1, 0.15]
    shifted = h.translated(p[3:])
    assert np.allclose(
        qxhermite.hermite_rigid_transform(h, p).coefficients,
        shifted.rotated(Q.T).coefficients,
        atol=1e-5 * np.abs(h.coefficients).max(),
    )
    # A shift of the Gaussians is one of the expansion, but for what leaves the basis.
    source = cloud(4, size=0.5)
    wide = fixed(20, 1.5)
    there = Hermite.from_gaussians(source + [0.2, -0.1, 0.15, 0, 0], wide)
    here = Hermite.from_gaussians(source, wide).translated([0.2, -0.1, 0.15])
    low = qxhermite.basis_size(5)
    assert np.allclose(here.coefficients[:low], there.coefficients[:low], atol=1e-3)


def test_the_derivatives_of_the_engine():
    gaussians = cloud(6)
    engine = GaussianToHermite(6, derivatives=2)

    def at(widths, order=0):
        engine.expand(gaussians, fixed(6, widths), order)
        return engine

    widths = np.array([0.9, 1.1, 1.3])
    expected = gradient(lambda w: at(w).coefficients.copy(), widths)
    assert np.allclose(at(widths, 1).first_derivatives, expected, atol=1e-7)
    expected = gradient(lambda w: at(w, 1).self_overlap_lambda_derivatives.copy(), widths)
    second = at(widths, 2).self_overlap_lambda_second_derivatives
    assert np.allclose(second, expected[np.tril_indices(3)], rtol=1e-5, atol=1e-5)

    q = np.random.default_rng(7).normal(size=84)
    step = 2.0**-10  # exact in the single precision of Gaussians

    def form(t):
        engine.expand(gaussians + np.append(t, [0, 0]), FIXED)
        return q @ engine.coefficients

    expected = gradient(form, np.zeros(3), step)
    for _ in range(2):  # a second expansion does not see the first
        engine.expand(gaussians, FIXED, 4)
        got = engine.translational_derivative_convolution(q)
        assert np.allclose(got, expected, rtol=1e-3, atol=1e-3)
    assert engine.translational_second_derivative_convolution(q).shape == (6,)
    f = engine.build_f(0.8, 0.5, 10, 1.2)
    x = np.linspace(-9, 9, 4001)
    integrand = np.exp(-0.8 * (x - 0.5) ** 2)[:, None] * qxhermite.hermite_funcs(10, 1.2 * x)
    assert np.allclose(f, 1.2 * integrand.sum(axis=0) * (x[1] - x[0]), rtol=1e-8)


def test_threads_expand_side_by_side():
    results = [None] * 4

    def work(i):
        results[i] = Hermite.from_gaussians(cloud(i, n=40), HermiteOptions(npolymax=8))

    threads = [threading.Thread(target=work, args=(i,)) for i in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    for i, made in enumerate(results):
        assert made == Hermite.from_gaussians(cloud(i, n=40), HermiteOptions(npolymax=8))


NAN_GRID = ScalarGrid.from_array(np.full((2, 2, 2), np.nan), (0, 0, 0), 1)
ONE, TWO = [0, 0, 0, 1, 1], [1.0, 1.0]


@pytest.mark.parametrize(
    "call, told",
    [
        (lambda h: Hermite.from_gaussians([1, 2, 3]), r"gaussians: expected shape \(n, 5\)"),
        (lambda h: Hermite.from_gaussians([[0, 0, 0, 1, -1]]), "widths"),
        (lambda h: Hermite.from_gaussians([[0, 0, 1e39, 1, 1]]), "finite"),
        (lambda h: Hermite.from_coefficients(np.ones(55), HermiteOptions()), r"shape \(56,\)"),
        (lambda h: Hermite.from_coefficients(np.ones(56), HermiteOptions(), [0, 0]), "center"),
        (lambda h: Hermite.from_grid(NAN_GRID), "8 values are not finite"),
        (lambda h: h.rotated(np.eye(4)), "rotation"),
        (lambda h: h.rotated(-np.eye(3)), "rotation"),
        (lambda h: h.rotated(np.full((3, 3), np.nan)), "rotation"),
        (lambda h: h.translated([np.inf, 0, 0]), "shift"),
        (lambda h: h.grid(spacing=0), "spacing"),
        (lambda h: h.grid(width=-1), "width"),
        (lambda h: h.grid(transform=np.zeros((4, 4))), "rigid"),
        (lambda h: GaussianToHermite(101), "degree: must be 0 to 100, not 101"),
        (lambda h: GaussianToHermite(3).expand(cloud(1), FIXED), "-NPolyMax"),
        (lambda h: GaussianToHermite(6, 1).expand(cloud(1), FIXED, 4), "derivatives=2"),
        (lambda h: GaussianToHermite(6, 1).translational_derivative_convolution([1.0]), "order"),
        (lambda h: GaussianToHermite(6).build_f_derivative(4, 1.0, np.ones(6)), "at least 7"),
        (lambda h: GaussianToHermite(6).coefficients_convolution(0, ONE, TWO, TWO, TWO), "f[123]"),
        (lambda h: qxhermite.lmn_index(50, 50, 1), r"l \+ m \+ n"),
        (lambda h: qxhermite.reorder(3, np.ones(4)), "coefficients"),
        (lambda h: qxhermite.basis_size(-1), "degree"),
        (lambda h: qxhermite.hermite_funcs(101, 0.0), "n: must be"),
        (lambda h: qxhermite.make_gaussians([1, 2], [1], np.eye(2, 3)), "widths"),
        (lambda h: qxhermite.make_shape_gaussians(np.eye(2, 3), 0), "radius"),
    ],
)
def test_what_makes_no_sense_is_refused(h, call, told):
    with pytest.raises(ValueError, match=told):
        call(h)
