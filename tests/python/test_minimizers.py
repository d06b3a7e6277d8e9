"""Minimisers over objectives of Python and of the library, and sparse regression."""

import numpy as np
import pytest
from numeric import cloud
from scipy.optimize import minimize

import qxhermite
from qxhermite import BFGSOpt, Lasso, NewtonOpt

BASE = np.random.default_rng(1).normal(size=(4, 4))
A = BASE @ BASE.T + np.eye(4)
B = np.array([1.0, -2.0, 0.5, 3.0])


def bowl(x):
    return 0.5 * x @ A @ x - B @ x + 20.0, A @ x - B


@pytest.mark.parametrize(
    "search",
    [
        lambda: BFGSOpt()(bowl, np.zeros(4)),
        lambda: BFGSOpt(model=19 * np.linalg.inv(A), longest_step=0.2)(bowl, np.zeros(4)),
        lambda: NewtonOpt()(lambda x: (*bowl(x), A), np.zeros(4)),
    ],
)
def test_callables(search):
    result = search()
    assert result.converged and result.status.startswith("converged")
    assert np.allclose(result.x, np.linalg.solve(A, B), atol=1e-4)
    assert result.value == pytest.approx(bowl(result.x)[0])
    assert result.evaluations >= result.iterations > 0 and "iterations" in repr(result)


def test_newton_needs_one_step_and_asks_once_a_point():
    points = []

    def f(x):
        points.append(tuple(x))
        return (*bowl(x), A)

    assert np.allclose(NewtonOpt(tolerance=1e-6)(f, np.ones(4)).x, np.linalg.solve(A, B), atol=1e-9)
    assert len(points) == len(set(points)) <= 3


def test_objectives_of_the_library():
    f = qxhermite.GaussianOverlap(cloud(1), cloud(2))
    start = np.full(6, 0.1)
    scipy = minimize(f.gradient, start, jac=True, method="BFGS", options={"gtol": 1e-9})
    for minimizer in (BFGSOpt(tolerance=1e-14), NewtonOpt(tolerance=1e-8)):
        result = minimizer(f, start)
        assert result.converged and np.linalg.norm(f.gradient(result.x)[1]) < 1e-4
        assert result.value < f(start)
    assert BFGSOpt(tolerance=1e-14)(f, scipy.x).value == pytest.approx(scipy.fun, rel=1e-9)


def test_limits_and_starts():
    assert BFGSOpt(iter_limit=1)(bowl, np.zeros(4)).status == "iteration limit reached"
    stays = BFGSOpt()(lambda x: (np.nan, x), np.ones(2))
    assert not stays.converged and stays.status == "not finite at the start"


class Boom(Exception):
    pass


def boom(x):
    if np.any(x != 0):
        raise Boom
    return bowl(x)


@pytest.mark.parametrize(
    "call, error",
    [
        (lambda: BFGSOpt()(boom, np.zeros(4)), Boom),
        (lambda: BFGSOpt()(lambda x: (1.0, x[:3]), np.zeros(4)), ValueError),
        (lambda: BFGSOpt()(lambda x: (1.0, x, A), np.zeros(4)), ValueError),
        (lambda: NewtonOpt()(bowl, np.zeros(4)), ValueError),
        (lambda: NewtonOpt()(lambda x: (1.0, x, A[:3]), np.zeros(4)), ValueError),
        (lambda: BFGSOpt()(lambda x: 3.0, np.zeros(4)), TypeError),
        (lambda: BFGSOpt()(bowl, []), ValueError),
        (lambda: BFGSOpt()(3, np.zeros(4)), TypeError),
        (lambda: BFGSOpt()(qxhermite.GaussianOverlap(cloud(1), cloud(2)), np.zeros(5)), ValueError),
        (lambda: BFGSOpt(model=A)(bowl, np.zeros(3)), ValueError),
        (lambda: BFGSOpt(model=A[:2]), ValueError),
        (lambda: BFGSOpt(tolerance=-1.0), ValueError),
        (lambda: BFGSOpt(longest_step=0.0), ValueError),
        (lambda: NewtonOpt(iter_limit=-1), ValueError),
        (lambda: Lasso(A, B[:3]), ValueError),
        (lambda: qxhermite.quaternion_to_rotation([1, 0, 0]), ValueError),
    ],
)
def test_what_is_refused(call, error):
    with pytest.raises(error):
        call()


def test_lasso_satisfies_its_optimality_conditions():
    random = np.random.default_rng(5)
    X, y = random.normal(size=(60, 12)), random.normal(size=60)
    path = Lasso(X, y)
    for count, step in enumerate(path.coefficients, 1):
        b = np.zeros(12)
        b[path.actives[:count]] = step
        correlations = X.T @ (y - X @ b)
        t = np.abs(correlations).max()
        held, slack = b != 0, 1e-9 * np.abs(X.T @ y).max()
        assert np.allclose(correlations[held], t * np.sign(b[held]), atol=slack)
    assert np.allclose(b, np.linalg.lstsq(X, y, rcond=None)[0], atol=1e-8)
    assert len(Lasso(X, y, max_actives=3).actives) == 3


def test_quaternion():
    from scipy.spatial.transform import Rotation

    q = np.array([0.4, -0.2, 0.7, 0.1])
    expected = Rotation.from_quat([*q[1:], q[0]]).as_matrix()
    assert np.allclose(qxhermite.quaternion_to_rotation(q), expected)
