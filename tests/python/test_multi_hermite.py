"""Expansions about several sites."""

import copy
import pickle
import threading

import numpy as np
import pytest
from numeric import turn
from scipy.special import eval_hermite

import qxhermite
from qxhermite import MultiHermite, MultiHermiteBase, MultiHermiteParameters

CENTERS = np.array([[0.0, 0.1, -0.2], [1.3, 0.0, 0.4], [-0.7, 1.1, 0.2]])
PARAMS = MultiHermiteParameters([2, 3, 0], [0.8, 1.1, 0.9], CENTERS)
POINTS = np.random.default_rng(1).uniform(-2, 2, (40, 3))


def functions(params, points, exponent):
    """Every function of the layout at points, by SciPy: (n, num_basis)."""
    columns = []
    for index in range(params.num_basis):
        site = params.site(index)
        t = params.lambda_(site) * (points - params.center(site))
        lmn = params.lmn(index)
        column = np.prod([eval_hermite(k, t[:, axis]) for axis, k in enumerate(lmn)], axis=0)
        columns.append(column * np.exp(-exponent * (t**2).sum(axis=1)))
    return np.array(columns).T


def dense(params=PARAMS, seed=2):
    return np.random.default_rng(seed).normal(size=params.num_basis)


def test_layout():
    assert (PARAMS.num_sites, PARAMS.num_basis, PARAMS.largest_npolymax) == (3, 10 + 20 + 1, 3)
    assert PARAMS.start_indices == [0, 10, 30] and PARAMS.npolymax(1) == 3
    assert [PARAMS.lmn(i) for i in (10, 11, 13)] == [(0, 0, 0), (0, 0, 1), (1, 0, 0)]
    R = turn(2, 0.4)
    assert np.allclose(PARAMS.rotated(R).translated([1, 0, 0]).centers, CENTERS @ R.T + [1, 0, 0])
    assert MultiHermiteParameters(2, 0.8, np.empty((0, 3))).num_basis == 0


@pytest.mark.parametrize(
    "kind, exponent", [(MultiHermite, 0.5), (qxhermite.HermiteChargeDensity, 1.0)]
)
def test_values_are_those_of_the_functions(kind, exponent):
    c = dense()
    model = kind(PARAMS, c)
    expected = functions(PARAMS, POINTS, exponent) @ c
    assert np.allclose(model.evaluate(POINTS), expected, atol=1e-10 * np.abs(expected).max())
    R, t = turn(0, 0.3) @ turn(2, -1.1), np.array([0.5, -0.2, 0.1])
    moved = model.rotated(R).translated(t)
    assert np.allclose(moved.evaluate(POINTS @ R.T + t), expected, atol=1e-9)
    grid = model.grid(spacing=0.5, extent=0.5)
    place = np.round(grid.origin + 0.5 * np.array([2, 7, 4]), 6)
    assert grid.values[2, 7, 4] == pytest.approx(model.evaluate(place[None])[0], rel=1e-4)
    again = qxhermite.ScalarGrid(grid.shape, 0.5, grid.origin)
    model.evaluate_on_grid(again)
    assert np.array_equal(again.values, grid.values)


def test_sparse_coefficients():
    model = MultiHermite(PARAMS, [3.0, 0.0, -1.0], [12, 30, 2])
    assert MultiHermite(PARAMS).actives.dtype == model.actives.dtype == np.int64
    assert model.actives.tolist() == [2, 12, 30] and model.num_actives == 3
    assert model.coefficient(12) == 3.0 and model.coefficients[[2, 12, 30]].tolist() == [-1, 3, 0]
    assert model.site_actives(1) == [12] and model.site_coefficients(2).tolist() == [0.0]
    hermite = model.hermite(1)
    assert hermite.coefficients[2] == 3.0 and hermite.options.lambdas == (1.1, 1.1, 1.0)


def test_fit_recovers_sparse_coefficients():
    c = np.zeros(PARAMS.num_basis)
    c[[3, 14, 22]] = 1.5, -0.7, 0.9
    points = np.random.default_rng(3).uniform(-3, 3, (400, 3))
    values = functions(PARAMS, points, 0.5) @ c
    model = MultiHermite.fit(points, values, PARAMS)
    assert np.allclose(model.coefficients, c, atol=1e-6)
    assert MultiHermite.fit(points, values, PARAMS, max_actives=2).num_actives == 2
    expected = functions(PARAMS, points, 0.5)
    assert np.allclose(model.design_matrix(points), expected, atol=1e-10)


def test_a_family_of_python():
    def cosines(t, n):
        return np.cos(np.arange(n + 1) * t)

    family = MultiHermiteBase(PARAMS, cosines, [2.0], [15])
    t = 1.1 * (POINTS - CENTERS[1])
    expected = 2 * np.prod(np.cos(t * PARAMS.lmn(15)), axis=1)
    assert np.allclose(family.evaluate(POINTS), expected)
    with pytest.raises(ZeroDivisionError):
        MultiHermiteBase(PARAMS, lambda t, n: 1 / 0, [2.0], [15]).evaluate(POINTS)
    with pytest.raises(ValueError, match=r"functions\(t, n\): expected shape"):
        MultiHermiteBase(PARAMS, lambda t, n: [1.0] * n, [2.0], [15]).evaluate(POINTS)


@pytest.mark.parametrize(
    "value", [PARAMS, MultiHermite(PARAMS, dense()), MultiHermite(PARAMS, [2.0, 0.0], [9, 4])]
)
def test_values_pickle_and_compare(value):
    for other in (pickle.loads(pickle.dumps(value)), copy.copy(value), copy.deepcopy(value)):
        assert other == value and other is not value
    assert value != MultiHermite(PARAMS) and "sites" in repr(value)


@pytest.mark.parametrize(
    "call, error",
    [
        (lambda: MultiHermiteParameters([1, 2], 1.0, CENTERS), ValueError),
        (lambda: MultiHermiteParameters(101, 1.0, CENTERS), ValueError),
        (lambda: MultiHermiteParameters(-1, 1.0, CENTERS), ValueError),
        (lambda: MultiHermiteParameters(1.5, 1.0, CENTERS), TypeError),
        (lambda: MultiHermiteParameters(2, 0.0, CENTERS), ValueError),
        (lambda: MultiHermiteParameters(2, np.nan, CENTERS), ValueError),
        (lambda: MultiHermiteParameters(2, 1.0, CENTERS[:, :2]), ValueError),
        (lambda: MultiHermiteParameters(2, 1.0, CENTERS + np.inf), ValueError),
        (lambda: MultiHermiteParameters(100, 1.0, np.zeros((1000, 3))), ValueError),
        (lambda: PARAMS.lmn(31), IndexError),
        (lambda: PARAMS.center(-1), IndexError),
        (lambda: PARAMS.site([1, 2]), TypeError),
        (lambda: MultiHermite(PARAMS, [1.0, 2.0]), ValueError),
        (lambda: MultiHermite(PARAMS, [1.0], [31]), IndexError),
        (lambda: MultiHermite(PARAMS, [1.0, 2.0], [3, 3]), ValueError),
        (lambda: MultiHermite(PARAMS, [1.0, 2.0], [3]), ValueError),
        (lambda: MultiHermite(PARAMS).coefficient(3), IndexError),
        (lambda: MultiHermite(PARAMS).evaluate(POINTS[0]), ValueError),
        (lambda: MultiHermite(PARAMS).rotated(np.zeros((3, 3))), ValueError),
        (lambda: MultiHermite(PARAMS).translated([0, np.inf, 0]), ValueError),
        (lambda: MultiHermite(PARAMS).grid(spacing=0.0), ValueError),
        (lambda: MultiHermite(PARAMS).grid(extent=-1.0), ValueError),
        (lambda: MultiHermite.fit(POINTS, np.zeros(39), PARAMS), ValueError),
    ],
)
def test_what_is_refused(call, error):
    with pytest.raises(error):
        call()


def test_threads_on_separate_objects():
    points = np.random.default_rng(4).uniform(-2, 2, (20000, 3))
    models = [MultiHermite(PARAMS, dense(seed=seed)) for seed in range(4)]
    expected = [model.evaluate(points) for model in models]
    found = [None] * len(models)

    def work(i):
        found[i] = [models[i].evaluate(points) for _ in range(5)]

    threads = [threading.Thread(target=work, args=(i,)) for i in range(len(models))]
    [thread.start() for thread in threads]
    [thread.join() for thread in threads]
    assert all(np.array_equal(one, expected[i]) for i in range(4) for one in found[i])
