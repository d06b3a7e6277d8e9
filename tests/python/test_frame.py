"""Operators on coefficients, rigid motions, centres, widths and inertial frames."""

import numpy as np
import pytest

import qxhermite
from numeric import cloud, expansion, fixed, gradient, moved, transform, turn
from qxhermite import Hermite, HermiteOptions, HermiteRotation, HermiteTranslation

PLACES = np.random.default_rng(5).uniform(-2, 2, (40, 3))
ANGLES, SHIFT = [0.4, -0.7, 1.9], [0.3, -0.2, 0.1]


def test_rotation_of_coefficients():
    rotation = HermiteRotation(8)
    basis = fixed(6, 1.1)
    c = Hermite.from_gaussians(cloud(1), basis).coefficients
    Q = turn(0, ANGLES[0]) @ turn(1, ANGLES[1]) @ turn(2, ANGLES[2])
    turned = rotation.rotate(ANGLES, c)  # of a lower degree than the operator
    assert np.allclose(expansion(turned, basis, PLACES), expansion(c, basis, PLACES @ Q))
    rows = rotation.rotate_with_derivatives(ANGLES, c)
    assert np.allclose(rows[0], turned)
    expected = gradient(lambda a: rotation.rotate(a, c), ANGLES)
    assert np.allclose(rows[1:], expected, atol=1e-6)
    blocks, derivatives = rotation.matrices_with_derivatives(0.3, 3)
    assert [b.shape for b in blocks] == [(1, 1), (2, 2), (3, 3), (4, 4)]
    ahead, behind = (rotation.matrices(0.3 + step, 3) for step in (1e-5, -1e-5))
    for block, derivative, a, b in zip(blocks, derivatives, ahead, behind):
        assert np.allclose(derivative, (a - b) / 2e-5, atol=1e-7)


def test_translation_is_a_projection_on_the_other_basis():
    source, target = fixed(4, [1.0, 1.2, 0.9]), fixed(9, [0.8, 1.0, 1.1])
    c = Hermite.from_gaussians(cloud(2), source).coefficients
    translation = HermiteTranslation(9)
    got = translation.translate(SHIFT, c, source, target)
    # By quadrature with the analysis functions of the target.
    x = np.linspace(-9, 9, 61)
    points = np.stack(np.meshgrid(x, x, x, indexing="ij"), axis=-1).reshape(-1, 3)
    f = expansion(c, source, points - SHIFT).reshape(61, 61, 61)
    step = x[1] - x[0]
    tables = [
        qxhermite.calc_double_normalized_hermite(9, w * x) * w * step for w in target.lambdas
    ]
    cube = np.einsum("ijk,il,jm,kn->lmn", f, *tables, optimize=True)
    assert np.allclose(got, cube[tuple(qxhermite.basis_lmn(9).T)], atol=1e-8)

    rows = translation.translate_with_derivatives(SHIFT, c, source, target)
    unscaled = translation.translate(SHIFT, c, source, target, leave_unscaled=True)
    assert np.allclose(rows[0], unscaled)
    assert np.allclose(qxhermite.scale_coeffs_by_k(9, unscaled), got)
    expected = gradient(
        lambda t: translation.translate(t, c, source, target, leave_unscaled=True), SHIFT
    )
    scale = np.abs(expected).max()
    assert np.allclose(rows[1:] * -np.array(source.lambdas)[:, None], expected, atol=1e-7 * scale)
    T, dT = translation.matrices(1.25, -0.3, 4, 9)
    assert T.shape == dT.shape == (10, 5)
    ahead, behind = (translation.matrices(1.25, -0.3 + step, 4, 9)[0] for step in (1e-5, -1e-5))
    assert np.allclose(dT, (ahead - behind) / 2e-5, rtol=1e-6, atol=1e-6 * np.abs(dT).max())


def test_rigid_motions_in_all_forms():
    p = np.array(ANGLES + SHIFT)
    Q = turn(0, p[0]) @ turn(1, p[1]) @ turn(2, p[2])
    assert np.allclose(qxhermite.rot_from_euler_xyz(*p[:3]), Q, atol=1e-14)
    assert np.allclose(qxhermite.generate_rotation_matrix(*p[:3]), Q, atol=1e-6)
    assert np.allclose(qxhermite.pose_rotation(p), Q.T, atol=1e-6)
    assert np.allclose(qxhermite.euler_xyz(Q), p[:3])
    motion = qxhermite.get_transform_from_hermite_params(p)
    assert np.allclose(moved(motion, PLACES), (PLACES + SHIFT) @ Q, atol=1e-6)
    half = 0.35  # a turn about z, by a quaternion, and a shift
    pose = [[np.cos(half), 0, 0, np.sin(half), 1, 2, 3]]
    variables = qxhermite.adapt_hermite_var(pose)
    there = moved(qxhermite.get_transform_from_hermite_params(variables[0]), PLACES)
    assert np.allclose(there, moved(transform(turn(2, 2 * half), [1, 2, 3]), PLACES), atol=1e-5)


def test_frames_from_gaussians():
    gaussians = cloud(3) * [1, 3, 2, 1, 1] + [4, 5, 6, 0, 0]
    centre, rotation = qxhermite.find_inertial_frame(gaussians)
    assert np.allclose(centre, gaussians[:, :3].mean(axis=0), atol=1e-6)
    assert np.allclose(rotation @ rotation.T, np.eye(3)) and np.linalg.det(rotation) > 0
    assert qxhermite.find_inertial_frame(np.zeros((0, 5))) is None
    centred, center = qxhermite.center_gaussians(gaussians)
    assert np.allclose(center, centre) and np.allclose(centred[:, :3].mean(axis=0), 0, atol=1e-6)
    there = qxhermite.translate_gaussians(qxhermite.rotate_gaussians(centred, rotation), SHIFT)
    assert np.allclose(there[:, :3], centred[:, :3] @ rotation.T + SHIFT, atol=1e-5)

    orient = qxhermite.orient_by_hermite_moments_of_inertia
    oriented, _, axes, tensor, values = orient(centred, 8, [0.7] * 3)
    assert np.all(np.diff(values) <= 0)
    assert np.allclose(axes @ tensor @ axes.T, np.diag(values), atol=1e-8 * values[0])
    assert np.allclose(oriented[:, :3], centred[:, :3] @ axes.T, atol=1e-5)


def test_turns_of_axes():
    turns = qxhermite.axis_turns()
    assert len({m.tobytes() for m in turns}) == 24 and np.allclose(np.linalg.det(turns), 1)
    assert np.array_equal(turns[1:4], [np.diag(d) for d in ([1, -1, -1], [-1, 1, -1], [-1, -1, 1])])
    basis = fixed(4, 1.1)
    h = Hermite.from_gaussians(cloud(1), basis)
    for i, m in enumerate(turns):
        c = qxhermite.turn_coefficients(h.coefficients, i)
        expected = expansion(h.coefficients, basis, PLACES @ m)
        assert np.allclose(expansion(c, basis, PLACES), expected)
    halves = [qxhermite.turn_coefficients(h.coefficients, i) for i in (1, 2, 3)]
    assert np.array_equal(h.inertial_vectors(), halves)
    assert np.array_equal(
        qxhermite.compute_inertial_hermite_vectors(h.coefficients, h.options), halves
    )


def test_centres_of_mass_vanish_where_they_are_found():
    gaussians = cloud(4) + [0.4, -0.3, 0.2, 0, 0]
    center = qxhermite.optimization_search_of_hermite_com(gaussians, 6, 1.0)
    there = qxhermite.translate_gaussians(gaussians, -center)
    assert np.abs(qxhermite.hermite_cm(there, 6, [1, 1, 1])).max() < 1e-4
    iterated, back = qxhermite.iterative_search_of_hermite_com(gaussians, 6, [1, 1, 1], 1e-6)
    assert np.allclose(iterated, center, atol=1e-4) and np.allclose(back, there, atol=1e-3)


@pytest.mark.parametrize("single", [True, False])
def test_objectives_of_widths_and_centres(single):
    basis = HermiteOptions(npolymax=6, use_single_lambda=single)
    f = qxhermite.HermiteSelfOverlap(cloud(5), basis)
    x = np.array([0.1, -0.1, 0.2])[: f.num_var]
    assert f.num_var == (1 if single else 3)
    value, g = f.gradient(x)
    there = Hermite.from_gaussians(cloud(5), fixed(6, np.exp(np.resize(x, 3))))
    assert value == pytest.approx(f(x)) == pytest.approx(-there.self_overlap)
    assert np.allclose(g, gradient(f, x), rtol=1e-6, atol=1e-6)
    g, hessian = f.hessian(x)
    if single:  # one variable has no second derivative there
        assert np.isnan(hessian).all()
    else:
        assert np.allclose(hessian, gradient(lambda y: f.gradient(y)[1], x), rtol=1e-5, atol=1e-5)

    com = qxhermite.HermiteCOMFunc(cloud(5), fixed(6, 1.0))
    step = 2.0**-8  # Gaussians have single precision
    _, g = com.gradient([0.1, 0.2, 0.3])
    expected = gradient(com, [0.1, 0.2, 0.3], step)
    assert np.allclose(g, expected, atol=1e-2 * np.abs(expected).max())
    grid = qxhermite.ScalarGrid((9, 9, 9), 0.5, (-2, -2, -2))
    qxhermite.add_gaussians(grid, [[0, 0, 0, 1, 1]])
    # Values above a quarter of the largest reach to sqrt(log 4) = 1.18, so to element 1.0.
    widths = qxhermite.approx_hermite_best_lambda_of_grid(grid, basis)
    assert np.allclose(widths, 2 * 7 ** (1 / 6) / 1.5)
    assert np.allclose(
        qxhermite.approx_hermite_best_lambda([[3, 0, -1.5, 1, 1]], basis),
        2 * 7 ** (1 / 6) / np.array([4, 2, 2.5]),
    )


HIGH, LOW = fixed(3, 1.0), fixed(2, 1.0)


@pytest.mark.parametrize(
    "call, told",
    [
        (lambda: HermiteRotation(3).rotate([0, 0], np.ones(20)), "angles"),
        (lambda: HermiteRotation(3).rotate([0, 0, 0], np.ones(35)), "35 are no basis"),
        (lambda: HermiteRotation(3).matrices(0.1, 4), "degree: must be 0 to 3"),
        (lambda: HermiteTranslation(2).translate(SHIFT, np.ones(20), HIGH, LOW), "source degree"),
        (lambda: HermiteTranslation(3).translate(SHIFT, np.ones(10), HIGH, LOW), "coefficients"),
        (lambda: HermiteTranslation(3).matrices(0, 0.1, 2, 2), "r: must be positive"),
        (lambda: qxhermite.get_transform_from_hermite_params([0] * 5), "variables"),
        (lambda: qxhermite.euler_xyz(np.ones((3, 3))), "rotation"),
        (lambda: qxhermite.adapt_hermite_var(np.ones((2, 6))), "poses"),
        (lambda: qxhermite.turn_coefficients(np.ones(4), 24), "turn"),
        (lambda: qxhermite.hermite_cm(cloud(1), 3, [1, 1, 0]), "lambdas"),
        (lambda: qxhermite.translate_gaussians(cloud(1), [0, np.nan, 0]), "shift"),
        (lambda: qxhermite.HermiteCOMFunc(cloud(1), HermiteOptions())([0, 0]), "x: expected"),
    ],
)
def test_what_makes_no_sense_is_refused(call, told):
    with pytest.raises(ValueError, match=told):
        call()
