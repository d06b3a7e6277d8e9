"""Maps as pseudo-atoms."""

import os
import subprocess

import numpy as np
import pytest
from numeric import density
from scipy.spatial import cKDTree

import qxhermite
from qxhermite import (
    GridToAtoms,
    GridToMultiHermite,
    HermiteOptions,
    LassoAtoms,
    LassoGaussians,
    MultistartGridToAtoms,
    ScalarGrid,
    grid_to_atoms,
)

# Atoms as the library's, far enough apart to be told from one another.
PLACES = np.array([[0.0, 0.0, 0.0], [2.1, 0.2, 0.0], [-0.4, 2.2, 0.3], [0.5, -1.1, 1.9]])
SPACING = 0.4
ORIGIN = np.array([-5.0, -4.8, -4.4])
SHAPE = (26, 26, 24)


def atoms_map(places=PLACES, radius=1.3):
    """(nx, ny, nz) values of the sum of Gaussians 2.7 exp(-2.344 r^2/radius^2)."""
    index = np.stack(np.meshgrid(*map(np.arange, SHAPE), indexing="ij"), axis=-1).reshape(-1, 3)
    width = 2.34422871067 / radius**2
    gaussians = np.column_stack([places, np.full(len(places), 2.7), np.full(len(places), width)])
    return density(gaussians, ORIGIN + SPACING * index).reshape(SHAPE)


VALUES = atoms_map()
GRID = ScalarGrid.from_array(VALUES, ORIGIN, SPACING)
FIXED = HermiteOptions(
    npolymax=10, lambda_x=1.3, lambda_y=1.3, lambda_z=1.3, use_optimal_lambdas=False
)


# Single atoms are wide: they go to places that are far from one another.
FAR = np.array([[-2.2, 0.1, 0.3], [2.1, 0.0, -0.2]])


def farthest(coordinates, places=PLACES):
    """From a place to the atom found nearest to it."""
    return cKDTree(np.reshape(coordinates, (-1, 3))).query(places)[0].max()


@pytest.mark.parametrize(
    "method, places, slack",
    [("refine", PLACES, 0.1), ("lasso", PLACES, SPACING), ("multistart", FAR, 0.1)],
)
def test_finds_the_atoms_of_a_map(method, places, slack):
    values = atoms_map(places)
    found = grid_to_atoms(values, origin=ORIGIN, spacing=SPACING, method=method, starts=40)
    assert farthest(found.coordinates, places) < slack and len(found) <= 2 * len(places)
    width = 2.34422871067 / found.radius**2
    rows = np.column_stack([found.coordinates, np.full((len(found), 2), [2.7, width])])
    index = np.stack(np.meshgrid(*map(np.arange, SHAPE), indexing="ij"), axis=-1).reshape(-1, 3)
    ours = density(rows, ORIGIN + SPACING * index)
    cosine = ours @ values.ravel() / np.linalg.norm(ours) / np.linalg.norm(values)
    assert found.cosine == pytest.approx(cosine, abs=1e-4)
    assert (found.score is None) == (method != "lasso") == (found.objective is not None)
    assert f"{len(found)} atoms" in repr(found)
    assert found.to_rdkit().GetNumAtoms() == len(found)


def test_is_that_of_the_command_line(tmp_path):
    tool = os.environ.get("QXHERMITE_TOOL")
    if not tool:
        pytest.skip("there is no command line")
    path = tmp_path / "map.ccp4"
    GRID.write(path)
    out = tmp_path / "atoms.sdf"
    words = "--method lasso --cut 0.9 --blur 0.2 --max-atoms 7".split()
    text = subprocess.run(
        [tool, "atoms", path, "--out", out, *words], capture_output=True, text=True, check=True
    ).stdout
    found = grid_to_atoms(path, method="lasso", cut=0.9, blur=0.2, max_atoms=7)
    assert f"Atoms      {len(found)}\n" in text and f"Cosine     {found.cosine:.6f}," in text
    (mol,) = qxhermite.read_molecules(out)
    assert np.allclose(mol.coordinates[0], found.coordinates, atol=1e-4)


def test_classes():
    search = GridToAtoms(GRID, FIXED, radius=1.3, min_distance=0.8, value_fraction=0.15)
    start = search.sample_starting_point()
    found, misfit = search.find_local_minimum(start)
    assert -1e-9 < misfit < 0.5 and 0 < found.num_atoms <= start.num_atoms

    far = ScalarGrid.from_array(atoms_map(FAR), ORIGIN, SPACING)
    single = MultistartGridToAtoms(FIXED, far).sample(30)
    assert farthest(single.coordinates, FAR) < 0.2
    assert MultistartGridToAtoms(FIXED, far).sample(30) == single

    lasso = LassoAtoms(GRID, 0.2)
    assert np.allclose(lasso.grid_values, GRID.interpolate(lasso.grid_coordinates), atol=1e-4)
    assert len(lasso.grid_values) == (VALUES > 0.2 * VALUES.max()).sum()
    value, place = lasso.sample_grid_local_maximum(0)
    assert value >= lasso.grid_values[0]
    assert np.abs(place - lasso.grid_coordinates[0]).max() <= SPACING
    candidates = lasso.sample_atoms(0.5, 0.5)
    assert np.min(cKDTree(candidates).query(candidates, 2)[0][:, 1]) >= 0.5
    assert lasso.is_duplicate(candidates, candidates[0] + 0.1, 0.2)
    atoms = lasso.find_atoms(1.3, 1.0, 0.3, 9)
    best, score = lasso.optimize_number_of_atoms(atoms, "cosine")
    assert 0.5 < score <= 1 and best.num_atoms <= atoms.num_atoms
    kept = lasso.deduplicate_atoms(atoms, np.arange(atoms.num_atoms, 0, -1.0), 50.0, 9)
    assert np.allclose(kept.coordinates, atoms.coordinates[:, :1])
    assert qxhermite.grid_to_mol(GRID, 1.3, 1.0, 0.3, 9, "cosine")[0].num_atoms <= 9

    fit = GridToMultiHermite()
    assert fit.find_hermite_sites().shape == (0, 3)
    model = fit.fit_multi_hermite(GRID, 2, 1.3, 1.2, 0.2, 8)
    assert model.num_actives <= model.params.num_basis / 2
    assert farthest(fit.find_hermite_sites(1.2, 0.2, 8)) < 0.5


def test_lasso_gaussians_recover_theirs():
    rng = np.random.default_rng(1)
    centers = np.vstack([PLACES, rng.uniform(-3, 3, (20, 3))])
    points = rng.uniform(-4, 4, (500, 3))
    rows = np.column_stack([PLACES, [1.0, 2.0, -1.5, 0.7], np.full(4, 2.34422871067 / 1.5**2)])
    fit = LassoGaussians(centers, 1.5)
    fit.setup(points, density(rows, points), 24)
    assert np.allclose(fit.evaluate(points), density(rows, points), atol=1e-5)
    assert set(np.array(fit.actives)[np.abs(fit.coefficients) > 1e-4]) == {0, 1, 2, 3}
    matrix, norms = fit.normalized_design_matrix(points)
    assert np.allclose(np.linalg.norm(matrix, axis=0), 1) and (norms > 0).all()


FAINT = ScalarGrid.from_array(VALUES * 1e-6, ORIGIN, SPACING)
REMOTE = ScalarGrid.from_array(VALUES, ORIGIN + 9e4, 0.05)
CARBON = qxhermite.Molecule(["C"], PLACES[:1])
BROKEN = ScalarGrid.from_array(np.where(VALUES > 2, np.nan, VALUES), ORIGIN, SPACING)


@pytest.mark.parametrize(
    "call, error",
    [
        (lambda: grid_to_atoms(VALUES), ValueError),
        (lambda: grid_to_atoms(VALUES[0], spacing=0.4), ValueError),
        (lambda: grid_to_atoms(-VALUES, spacing=0.4), ValueError),
        (lambda: grid_to_atoms(BROKEN), ValueError),
        (lambda: grid_to_atoms(3), TypeError),
        (lambda: grid_to_atoms("no such map.ccp4"), (OSError, qxhermite.QXHermiteError)),
        (lambda: grid_to_atoms(GRID, method="guess"), ValueError),
        (lambda: grid_to_atoms(GRID, metric="l1"), ValueError),
        (lambda: grid_to_atoms(GRID, cut=0.0), ValueError),
        (lambda: grid_to_atoms(GRID, blur=11.0), ValueError),
        (lambda: grid_to_atoms(GRID, threshold=2.0), ValueError),
        (lambda: grid_to_atoms(GRID, radius=np.nan), ValueError),
        (lambda: grid_to_atoms(GRID, degree=101), ValueError),
        (lambda: GridToAtoms(GRID, FIXED, radius=-1.0), ValueError),
        (lambda: GridToAtoms(BROKEN, FIXED), ValueError),
        (lambda: GridToAtoms(GRID, FIXED, transform=np.ones((4, 4))), ValueError),
        (lambda: MultistartGridToAtoms(FIXED, FAINT), ValueError),  # it would never find a start
        (lambda: MultistartGridToAtoms(FIXED, REMOTE), ValueError),
        (lambda: LassoAtoms(GRID).sample_grid_local_maximum(10**6), IndexError),
        (lambda: LassoAtoms(GRID).optimize_number_of_atoms(CARBON, "l1"), ValueError),
        (lambda: LassoAtoms(GRID).deduplicate_atoms(CARBON, [], 1.0, 3), ValueError),
        (lambda: LassoGaussians(PLACES, 1.5).setup(PLACES, [1.0], 3), ValueError),
        (lambda: qxhermite.grid_to_mol(GRID, min_distance=-1.0), ValueError),
        (lambda: GridToMultiHermite().fit_multi_hermite(GRID, lambda_=0.0), ValueError),
    ],
)
def test_what_is_refused(call, error):
    with pytest.raises(error):
        call()


def test_no_atoms_and_poor_ones():
    with pytest.warns(qxhermite.QXHermiteWarning, match="the map: .*raise degree"):
        grid_to_atoms(GRID, degree=1, width=3.0)
