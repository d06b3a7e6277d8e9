"""Overlays of molecules, grids and coefficients."""

import numpy as np
import pytest

import qxhermite
from numeric import fixed, moved, transform, turn
from qxhermite import Hermite, HermiteShapeOverlay, Molecule, ShapeOverlay, ShapeScreen

FIXED = fixed(8, 0.9)
PLACES = np.array(
    [[2.4, 0.2, 0], [1.2, 0.8, 0.1], [0, 0, 0.2], [-1.3, 0.7, 0], [-2.5, -0.6, -0.3], [0, -1.4, 0]]
)
PLACES = PLACES - PLACES.mean(axis=0)
# What a start and a minimisation have to find again.
NUDGE = transform(turn(0, 0.15) @ turn(2, -0.2), [0.3, -0.2, 0.1])
HALF_TURN = np.diag([-1.0, 1, -1, 1]) @ NUDGE


def carbons(places, title="fit"):
    return Molecule(["C"] * len(PLACES), places, title=title)


@pytest.fixture
def ref():
    return carbons(PLACES, "ref")


@pytest.fixture
def fit():
    mol = carbons([moved(HALF_TURN, PLACES), 2 * PLACES])
    mol.partial_charges = np.linspace(-0.5, 0.5, len(PLACES))
    return mol


def expand(mol):
    return Hermite.from_gaussians(mol.gaussians(), FIXED)


def check_pose(score, pose, back=PLACES):
    assert score == pytest.approx(1, abs=1e-3)  # but for what a shift takes out of the basis
    assert pose.num_conformers == 1
    assert np.allclose(pose.coordinates[0], back, atol=0.02)


def test_shape_overlay(ref, fit, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    there = transform(turn(1, 0.5), [7, 8, 9])
    overlay = ShapeOverlay(expand(ref), 1e-8, transform=there)
    score, pose = overlay.find_best_overlay(fit)
    check_pose(score, pose, moved(there, PLACES))
    assert float(pose.data["Shape Tanimoto"]) == pytest.approx(score, abs=1e-4)
    assert len(qxhermite.read_molecules("fit.qxb")) == 16  # four starts and poses a conformer
    near = carbons(moved(NUDGE, PLACES))
    score, pose, c = overlay.find_local_minimum(near, expand(near).coefficients)
    check_pose(score, pose)
    assert np.allclose(c, expand(ref).coefficients, atol=0.02 * np.abs(c).max())


def test_shape_and_charge_overlay(ref, fit):
    ref.partial_charges = fit.partial_charges
    overlay = qxhermite.ShapeChargeOverlay(ref, FIXED, FIXED, weight=0.5, tolerance=1e-8)
    score, pose = overlay.find_best_overlay(fit)
    check_pose(score / 1.5, pose)
    assert {"Shape Tanimoto", "Charge Tanimoto"} <= set(pose.data)


@pytest.mark.parametrize("form", ["molecule", "coefficients", "grid"])
def test_the_general_overlay(ref, fit, form):
    h = expand(ref)
    grid = h.grid(0.5, 12)
    source = {"molecule": ref, "coefficients": h.coefficients, "grid": grid}[form]
    overlay = HermiteShapeOverlay(source, 8, 0.9, tolerance=1e-8, make_grid=True)
    assert overlay.options.lambdas == (0.9, 0.9, 0.9)
    score, pose = overlay.find_best_overlay(fit)
    check_pose(score, pose)
    assert pose.attached_grid("hermite grid", 0).shape[0] > 10
    assert len(pose.vector("Hermite Shape Inertial Vector", 0)) == len(h)
    start = overlay.find_best_start(expand(fit).coefficients)
    assert start.start == 2
    assert np.allclose(moved(start.transform, fit.coordinates[0]), PLACES, atol=0.02)
    assert overlay.find_best_start(expand(fit).coefficients, single_start=True).start == 0
    score, ref_grid, fit_grid, resampled = overlay.find_best_overlay(grid)
    assert score == pytest.approx(1, abs=1e-3)
    assert (ref_grid is None) == (form != "grid")
    # The grid that was read and the one that was moved are one.
    points = np.random.default_rng(1).uniform(-2, 2, (50, 3))
    assert np.allclose(resampled.interpolate(points), grid.interpolate(points), atol=0.05)
    near = carbons(moved(NUDGE, PLACES))
    score, pose, _, variables = overlay.find_local_minimum(near, expand(near).coefficients)
    check_pose(score, pose)
    assert np.allclose(qxhermite.find_pose(near, variables).coordinates, pose.coordinates)


@pytest.mark.parametrize("starts", [4, 24])
def test_a_screen_finds_a_moved_copy(ref, starts):
    turned = transform(qxhermite.axis_turns()[3 if starts == 4 else 17], [0, 0, 0]) @ NUDGE
    there = moved(turned, PLACES)
    gaussians = [qxhermite.make_shape_gaussians(p) for p in (2 * PLACES, there)]
    screen = ShapeScreen(expand(ref), ref.gaussians(), starts=starts, polish=2, search_degree=4)
    forms = [gaussians[0], (gaussians[1], Hermite.from_gaussians(gaussians[1], FIXED).coefficients)]
    poses = screen.find_poses(forms, 3)
    assert poses[0].conformer == 1 and poses[0].exact_tanimoto == pytest.approx(1, abs=1e-6)
    assert np.allclose(moved(poses[0].transform, there), PLACES, atol=2e-3)
    scores = [pose.exact_tanimoto for pose in poses]
    assert scores == sorted(scores, reverse=True)
    bare = ShapeScreen(expand(ref)).find_poses([forms[1][1]])[0]
    assert np.isnan(bare.exact_tanimoto) and bare.tanimoto <= 1


def test_poses_are_sorted_and_moved(ref):
    poses = [(0.3, carbons(PLACES + 1)), (0.9, ref), (np.nan, ref), (0.5, carbons(PLACES + 2))]
    best, result = qxhermite.post_process_overlay_data(poses, 2, transform(np.eye(3), [0, 0, 5]))
    assert best == 0.9 and result.title == "ref" and result.num_conformers == 2
    assert np.allclose(result.coordinates - [0, 0, 5], [PLACES, PLACES + 2], atol=1e-5)
    assert qxhermite.post_process_overlay_data([], 2)[1].num_atoms == 0


UNEQUAL = Hermite.from_coefficients(np.ones(4), fixed(1, [1, 1, 2]))


@pytest.mark.parametrize(
    "call, told",
    [
        (lambda r: ShapeScreen(expand(r), starts=25), "starts: must be 0 to 24"),
        (lambda r: ShapeScreen(expand(r), starts=0), "starts"),
        (lambda r: ShapeScreen(UNEQUAL, starts=24), "equal widths"),
        (lambda r: ShapeScreen(expand(r)).find_poses([np.ones(4)]), "fits: expected"),
        (lambda r: ShapeScreen(expand(r)).find_poses([(np.ones(165),)]), "pairs"),
        (lambda r: ShapeScreen(expand(r)).find_poses([], -1), "n_poses"),
        (lambda r: ShapeOverlay(expand(r)).find_local_minimum(r, np.ones(4)), "coefficients"),
        (lambda r: ShapeOverlay(expand(r), iteration_limit=-1), "iteration_limit"),
        (lambda r: HermiteShapeOverlay(np.ones(4), 8, 1.0), "ref: expected"),
        (lambda r: HermiteShapeOverlay(r, 8, 0.0), "lambda_"),
        (lambda r: HermiteShapeOverlay(r, 8, 1.0).find_best_start(np.ones(4)), "coefficients"),
        (lambda r: qxhermite.find_pose(r, [0] * 7), "variables"),
        (lambda r: qxhermite.ShapeChargeOverlay(r, FIXED, FIXED, sigma=0), "sigma"),
    ],
)
def test_what_makes_no_sense_is_refused(ref, call, told):
    with pytest.raises(ValueError, match=told):
        call(ref)
