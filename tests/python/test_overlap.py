"""Objectives of overlays."""

import threading

import numpy as np
import pytest

import qxhermite
from numeric import cloud, fixed, gradient, moved, transform, turn
from qxhermite import (
    GaussianOverlap,
    Hermite,
    HermiteOptions,
    HermiteOverlap,
    ShapeChargeComboTanimoto,
)

FIXED = fixed(6, 1.1)
X = np.array([0.3, -0.2, 0.5, 0.2, -0.3, 0.1])
REF, FIT = cloud(1, size=1.2), cloud(2, n=5, size=1.2)


def pose(x):
    """Q^T (P + t) as a transform."""
    Q = turn(0, x[0]) @ turn(1, x[1]) @ turn(2, x[2])
    return transform(Q.T, Q.T @ x[3:])


def pair_sum(a, b):
    """The overlap of two sums of Gaussians, by the plain double sum."""
    d2 = ((a[:, None, :3] - b[None, :, :3]) ** 2).sum(axis=2)
    w, v = a[:, None, 4], b[None, :, 4]
    terms = a[:, None, 3] * b[None, :, 3] * (np.pi / (w + v)) ** 1.5 * np.exp(-w * v / (w + v) * d2)
    return terms.sum()


def at(gaussians, x):
    return np.column_stack([moved(pose(x), gaussians[:, :3]), gaussians[:, 3:]])


def carbons(n, seed=3):
    return qxhermite.Molecule(["C"] * n, np.random.default_rng(seed).uniform(-1, 1, (n, 3)))


OBJECTIVES = {
    "hermite overlap": lambda: HermiteOverlap(REF, FIXED, FIT),
    "overlap of unlike bases": lambda: HermiteOverlap(
        Hermite.from_gaussians(REF, FIXED), Hermite.from_gaussians(FIT, HermiteOptions(npolymax=9))
    ),
    "gaussian overlap": lambda: GaussianOverlap(REF, FIT),
    "tanimoto": lambda: qxhermite.ShapeComboTanimoto(REF, FIXED, FIT),
    "shape and charge": lambda: ShapeChargeComboTanimoto(REF, FIXED, FIT, FIXED, 0.5, 0.1),
    "cosine": lambda: qxhermite.HermiteCosAngleFunc(Hermite.from_gaussians(REF, FIXED), carbons(2)),
}


@pytest.mark.parametrize("name", OBJECTIVES)
def test_gradients_are_those_of_the_values(name):
    f = OBJECTIVES[name]()
    assert f.num_var == 6
    value, g = f.gradient(X)
    assert value == pytest.approx(f(X), rel=1e-9)
    single = name == "cosine"  # its coordinates are those of a molecule
    expected = gradient(f, X, 2.0**-8 if single else 1e-5)
    assert np.allclose(g, expected, atol=(1e-3 if single else 1e-6) * np.abs(expected).max())
    for wrong in (X[:5], X[None], np.zeros(0)):
        with pytest.raises(ValueError, match="x: expected shape"):
            f.gradient(wrong)


def test_gaussian_overlap_is_the_double_sum_of_the_moved_fit():
    f = GaussianOverlap(REF, FIT)
    assert f(X) == pytest.approx(-pair_sum(REF, at(FIT, X)), rel=1e-12)
    assert f.ref_self_overlap == pytest.approx(pair_sum(REF, REF), rel=1e-12)
    g, hessian = f.hessian(X)
    assert np.allclose(g, f.gradient(X)[1])
    expected = gradient(lambda y: f.gradient(y)[1], X)
    assert np.allclose(hessian, expected, atol=1e-6 * np.abs(hessian).max())
    f.setup(REF)
    best = qxhermite.polish(f, [0.1, -0.05, 0.08, 0.1, 0.1, -0.1])
    assert best.overlap == pytest.approx(f.ref_self_overlap, rel=1e-6) and best.evaluations < 20
    assert np.abs(best.variables).max() < 1e-3


def test_expansions_approach_the_exact_overlap():
    errors = []
    for degree in (4, 10, 16):
        f = HermiteOverlap(REF, HermiteOptions(npolymax=degree), FIT)
        errors.append(abs(f(X) - GaussianOverlap(REF, FIT)(X)))
    assert errors[0] > errors[1] > errors[2] and errors[2] < 2e-3 * pair_sum(REF, FIT)
    h = Hermite.from_gaussians(REF, FIXED)
    f = HermiteOverlap(h)
    assert f.overlap == pytest.approx(f.ref_self_overlap, rel=1e-6)
    assert f.overlap == np.float32(f.overlap)
    assert f.ref_options == FIXED and np.array_equal(f.ref_coefficients, h.coefficients)


def test_tanimotos_are_made_of_overlaps():
    f = HermiteOverlap(REF, FIXED, FIT)
    A, B = f.ref_self_overlap, f.fit_self_overlap
    tanimoto = -f(X) / (A + f(X) + B)
    shape = qxhermite.ShapeComboTanimoto(REF, FIXED, FIT)
    assert shape.compute_tanimoto(X) == pytest.approx(tanimoto) == pytest.approx(-shape(X))
    c = [Hermite.from_gaussians(g, FIXED).coefficients for g in (REF, FIT)]
    both = ShapeChargeComboTanimoto(c[0], FIXED, c[0], FIXED, weight=2.0, offset=0.25)
    assert both(np.zeros(6)) == pytest.approx(-1 - 2 * 1.25)
    both.setup(c[1], c[1])
    assert both.compute_shape_charge_tanimotos(X) == pytest.approx((tanimoto, tanimoto))
    assert both(X) == pytest.approx(-tanimoto - 2 * (tanimoto + 0.25))


def test_the_cosine_of_coefficients():
    ref = Hermite.from_gaussians(REF, FIXED)
    mol = carbons(3)
    f = qxhermite.HermiteCosAngleFunc(ref, mol)
    places = carbons(3, seed=4).coordinates[0]
    fit = Hermite.from_gaussians(qxhermite.make_shape_gaussians(places), FIXED)
    a, b = ref.coefficients, fit.coefficients
    expected = 1 - a @ b / np.sqrt(a @ a * (b @ b))
    assert f(places.ravel()) == pytest.approx(expected, abs=1e-12)
    g = qxhermite.compute_cos_angle_grad(FIXED, a, b, qxhermite.make_shape_gaussians(places))
    assert np.allclose(g.ravel(), f.gradient(places.ravel())[1])
    assert f.grid(0.5).values.max() == pytest.approx(fit.grid(0.5, 20).values.max())
    norms = qxhermite.compute_hermite_normalization_vector(FIXED)
    assert (a**2 * norms**2).sum() == pytest.approx(ref.self_overlap)


def test_threads_evaluate_side_by_side():
    expected = [HermiteOverlap(REF, FIXED, cloud(s))(X) for s in range(4)]
    got = [None] * 4

    def work(i):
        f = HermiteOverlap(REF, FIXED)
        for _ in range(50):
            f.setup(cloud(i), FIXED)
            got[i] = f(X)

    threads = [threading.Thread(target=work, args=(i,)) for i in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert got == expected


@pytest.mark.parametrize(
    "call, told",
    [
        (lambda: HermiteOverlap(REF[:, :4], FIXED), "gaussians: expected shape"),
        (lambda: GaussianOverlap(REF, FIT[0]), "gaussians"),
        (lambda: qxhermite.ShapeComboTanimoto(np.ones(5), FIXED), "ref: expected"),
        (lambda: qxhermite.ShapeComboTanimoto(REF, FIXED, np.ones(5)), "fit: expected"),
        (lambda: ShapeChargeComboTanimoto(REF, FIXED, np.ones(84), FIXED), "charge"),
        (lambda: ShapeChargeComboTanimoto(REF, FIXED, REF, FIXED, weight=np.nan), "weight"),
        (lambda: qxhermite.compute_cos_angle_grad(FIXED, np.ones(84), np.ones(83), REF), "fit"),
        (lambda: qxhermite.polish(GaussianOverlap(REF), [np.nan] * 6), "start"),
    ],
)
def test_what_makes_no_sense_is_refused(call, told):
    with pytest.raises(ValueError, match=told):
        call()
