"""Charge densities and the fits that make them."""

import pickle

import numpy as np
import pytest
from numeric import gradient, transform, turn

import qxhermite
from qxhermite import (
    ChargePotential,
    HermiteChargeDensity,
    HermiteInteraction,
    LassoChargeDensity,
    LassoChargeDensityOptions,
    MultiHermiteParameters,
    PrunedLassoChargeDensity,
    RelaxedLassoChargeDensity,
)

COULOMB = 332.063713
SITES = np.array([[0.0, 0.1, -0.2], [1.3, 0.0, 0.4], [-0.7, 1.1, 0.2]])
RANDOM = np.random.default_rng(1)


def density(degree=2, sites=SITES, seed=2, width=1.3):
    params = MultiHermiteParameters(degree, width, sites)
    return HermiteChargeDensity(params, np.random.default_rng(seed).normal(size=params.num_basis))


def shell(radius, center=(0.0, 0.0, 0.0), n=40):
    """Points, normals and weights of a quadrature over a sphere."""
    z, w = np.polynomial.legendre.leggauss(n)
    phi = 2 * np.pi * np.arange(2 * n) / (2 * n)
    s = np.sqrt(1 - z**2)
    axes = [np.outer(s, np.cos(phi)), np.outer(s, np.sin(phi)), np.outer(z, np.ones_like(phi))]
    normals = np.stack([axis.ravel() for axis in axes], axis=1)
    weights = np.outer(w, np.full_like(phi, np.pi / n)).ravel() * radius**2
    return radius * normals + np.asarray(center), normals, weights


@pytest.mark.parametrize("radius", [6.0, 0.2])  # around all of it, and inside, close to a site
def test_flux_is_the_charge(radius):
    rho = density()
    points, normals, weights = shell(radius, SITES[0])
    flux = ((rho.field(points) * normals).sum(axis=1) * weights).sum()
    if radius > 1:
        charge = rho.total_charge
    else:  # by cubature of the density itself
        r, w = np.polynomial.legendre.leggauss(20)
        charge = 0.0
        for x, weight in zip(radius * (r + 1) / 2, w * radius / 2):
            inner, _, area = shell(x, SITES[0], 12)
            charge += weight * (rho.evaluate(inner) * area).sum()
    assert flux == pytest.approx(4 * np.pi * COULOMB * charge, rel=1e-6)


def test_potential_and_field_anywhere():
    rho = density()
    points = np.vstack([RANDOM.uniform(-2, 2, (10, 3)), SITES + 1e-3, SITES])
    V, E = rho.potential(points), rho.field(points)
    assert np.isfinite(V).all() and np.isnan(rho.evaluate_potential(SITES)).all()
    for point, field in zip(points, E):
        expected = -gradient(lambda x: rho.potential(x[None])[0], point, 1e-4)
        assert np.allclose(field, expected, atol=1e-4 * np.abs(E).max())
    whole = rho.with_spare_degree()
    assert np.allclose(whole.evaluate_electric_field(points[:10]), E[:10], rtol=1e-8)
    once = ChargePotential(rho)
    assert np.array_equal(once.potential(points), V) and np.array_equal(once.field(points), E)
    far = np.array([[30.0, -40.0, 50.0]])
    distance = np.linalg.norm(far)
    multipoles = rho.total_charge / distance + far @ rho.dipole_moment / distance**3
    assert rho.potential(far) == pytest.approx(COULOMB * multipoles, rel=2e-2)


def charges(density):
    """Those of a density of degree 0, as points."""
    return density.coefficients * np.pi**1.5 / density.params.lambda_values[0] ** 3


def test_energy_is_that_of_point_charges_far_away():
    a, b = density(0), density(0, seed=3)
    R, t = turn(0, 0.4) @ turn(1, 1.3), np.array([9.0, -4.0, 5.0])
    moved = SITES @ R.T + t
    distances = np.linalg.norm(SITES[:, None] - moved[None], axis=2)
    expected = COULOMB * (charges(a)[:, None] * charges(b)[None] / distances).sum()
    interaction = HermiteInteraction(a, b)
    assert interaction.coulomb_energy(R, t) == pytest.approx(expected, rel=1e-10)
    assert interaction.coulomb_energy() == pytest.approx(
        HermiteInteraction(b, a).coulomb_energy(), rel=1e-9, nan_ok=True
    )
    energies = qxhermite.interaction_energy(a, b, np.array([transform(R, t), transform(R.T, -t)]))
    assert energies[0] == interaction.coulomb_energy(R, t) and energies.shape == (2,)
    assert qxhermite.interaction_energy(a, b, transform(R, t)) == energies[0]
    with pytest.warns(qxhermite.QXHermiteWarning, match="at 1 of 1 places"):
        assert np.isnan(qxhermite.interaction_energy(a, b))


POINTS = np.vstack([shell(radius, n=7)[0] for radius in (3.5, 4.2)])
TRUTH = HermiteChargeDensity(MultiHermiteParameters(1, 1.3, SITES), [0.4, -0.3, 0.2], [1, 6, 11])
DATA = dict(potential=TRUTH.potential(POINTS), field=TRUTH.field(POINTS))


def test_right_angles_turn_as_all_others_do():
    """Where Euler angles do not tell a rotation: y onto a right angle, and by rounding beyond."""
    a, b = density(), density(sites=SITES + [5, 1, 2], seed=3)
    points = RANDOM.normal(size=(4, 3)) * 3 + [4, 0, 0]
    slanted = qxhermite.axis_turns()[10].copy()
    slanted[np.abs(slanted) == 1] *= np.nextafter(1, 2)
    for turn_matrix in [*qxhermite.axis_turns(), slanted]:
        turned = b.rotated(turn_matrix)
        assert np.allclose(turned.potential(points @ turn_matrix.T), b.potential(points))
        angles = qxhermite.euler_xyz(turn_matrix)
        assert np.allclose(qxhermite.rot_from_euler_xyz(*angles), turn_matrix)
        motion = transform(turn_matrix, [0.3, -7.0, 1.0])
        there = qxhermite.interaction_energy(a, b, motion)
        assert there == pytest.approx(qxhermite.interaction_energy(b, a, np.linalg.inv(motion)))
        energy = HermiteInteraction(a, b).coulomb_energy(turn_matrix, [0.3, -7.0, 1.0])
        assert there == pytest.approx(energy)


def test_lasso_finds_the_density_that_made_the_data():
    fit = LassoChargeDensity(TRUTH.params)
    fit.prep_data(POINTS, **DATA)
    assert fit.candidates == [1, 2, 3, 5, 6, 7, 9, 10, 11]  # neutral
    assert fit.design_matrix.shape == (4 * len(POINTS), 9)
    fit.fit()
    found = fit.last_charge_density()
    assert np.allclose(found.coefficients, TRUTH.coefficients, atol=1e-6)
    two = fit.charge_density(2)
    assert two.site_actives(two.params.site(fit.actives[0]))[0] == fit.actives[0]
    assert list(fit.coefficient_path[1]) == [two.coefficient(i) for i in fit.actives[:2]]
    fit.fit(max_actives=2)
    assert fit.max_num_actives == 2


def test_data_attached_to_a_molecule():
    mol = qxhermite.Molecule([8, 1, 1], SITES)
    fit, same = LassoChargeDensity(TRUTH.params), prepared()
    mol.set_vector("grid", POINTS.ravel())
    with pytest.raises(qxhermite.QXHermiteError, match="Potential data on molecule not found."):
        fit.prep_data(mol)
    mol.set_vector("potential", DATA["potential"])
    mol.set_vector("electric field", DATA["field"].T.ravel())
    fit.prep_data(mol)
    fit.fit()
    same.fit()
    assert fit.last_charge_density() == same.last_charge_density()
    mol.set_vector("potential", DATA["potential"][1:])
    with pytest.raises(ValueError, match="potential: must have one value"):
        fit.prep_data(mol)


@pytest.mark.parametrize("kind", [RelaxedLassoChargeDensity, PrunedLassoChargeDensity])
def test_fits_in_stages(kind):
    fit = kind(TRUTH.params, LassoChargeDensityOptions(use_potential=False))
    fit.feature_selection(POINTS, field=DATA["field"])
    assert set(fit.features(3)) == {1, 6, 11}
    assert np.allclose(fit.charge_density(3).coefficients, TRUTH.coefficients, atol=1e-8)
    assert fit.charge_density(0).num_actives == 0
    with pytest.raises(ValueError, match="n: "):
        fit.charge_density(fit.max_num_features + 1)


def test_options():
    options = LassoChargeDensityOptions(use_neutral_charge=False)
    options["-UseElectricField"] = False
    assert dict(options) == {
        "-UsePotential": True,
        "-UseElectricField": False,
        "-UseNeutralCharge": False,
    }
    assert pickle.loads(pickle.dumps(options)) == options and "use_potential=True" in repr(options)
    assert pickle.loads(pickle.dumps(TRUTH)) == TRUTH and "charge=" in repr(TRUTH)


def prepared():
    fit = LassoChargeDensity(TRUTH.params)
    fit.prep_data(POINTS, **DATA)
    return fit


def removed():
    fit = prepared()
    fit.remove_charged_actives()
    fit.fit()


@pytest.mark.parametrize(
    "call, error",
    [
        (lambda: LassoChargeDensity(TRUTH.params).fit(), ValueError),
        (lambda: LassoChargeDensity(TRUTH.params, None, [12]), IndexError),
        (lambda: LassoChargeDensity(TRUTH.params).prep_data(POINTS, DATA["potential"]), ValueError),
        (lambda: prepared().prep_data(POINTS, DATA["potential"][1:], DATA["field"]), ValueError),
        (lambda: prepared().prep_data(POINTS, DATA["potential"], DATA["field"].T), ValueError),
        (lambda: prepared().charge_density(1), ValueError),
        (removed, ValueError),
        (lambda: TRUTH.potential(POINTS[0]), ValueError),
        (lambda: HermiteInteraction(TRUTH, TRUTH).coulomb_energy(np.ones((3, 3))), ValueError),
        (lambda: qxhermite.interaction_energy(TRUTH, TRUTH, np.ones((4, 4))), ValueError),
        (lambda: qxhermite.interaction_energy(TRUTH, TRUTH, np.ones((2, 3, 4))), ValueError),
        (lambda: qxhermite.interaction_energy(TRUTH, 3), TypeError),
    ],
)
def test_what_is_refused(call, error):
    with pytest.raises(error):
        call()


def test_points_on_sites_warn():
    fit = LassoChargeDensity(TRUTH.params)
    points = np.vstack([POINTS, SITES[:1]])
    fit.prep_data(points, np.zeros(len(points)), np.zeros((len(points), 3)))
    with pytest.warns(qxhermite.QXHermiteWarning):
        fit.fit()
    assert fit.last_charge_density().num_actives == 0
