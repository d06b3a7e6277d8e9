"""ScalarGrid: values without copies, files, resampling."""

import copy
import gc
import pickle

import numpy as np
import pytest
from scipy.interpolate import RegularGridInterpolator

import qxhermite
from numeric import cloud, density, points_of, transform, turn
from qxhermite import Molecule, ScalarGrid, SkewGrid

SHAPE, ORIGIN, SPACING = (4, 5, 6), (-1.0, 2.0, 0.5), 0.5


def axes(grid):
    return [o + grid.spacing * np.arange(n) for o, n in zip(grid.origin, grid.shape)]


@pytest.fixture
def values():
    return np.random.default_rng(1).normal(size=SHAPE)


@pytest.fixture
def grid(values):
    return ScalarGrid.from_array(values, ORIGIN, SPACING, title="noise")


def test_values_are_the_grid_itself(grid, values):
    assert grid.shape == SHAPE and grid.spacing == SPACING
    assert np.allclose(grid.origin, ORIGIN) and grid.title == "noise"
    view = grid.values
    assert view.dtype == np.float32 and view.flags.f_contiguous and view.flags.writeable
    assert np.array_equal(view, values.astype(np.float32))
    assert np.shares_memory(view, grid.values) and not np.shares_memory(view, values)
    view[1, 2, 3] = 9
    assert grid.values[1, 2, 3] == 9
    assert grid.interpolate([np.add(ORIGIN, SPACING * np.array([1, 2, 3]))]) == [9]
    assert not np.shares_memory(copy.copy(grid).values, view)
    del grid
    gc.collect()
    assert view[1, 2, 3] == 9 and view[0, 0, 0] == np.float32(values[0, 0, 0])


def test_pickles_keep_the_place_to_the_bit(values):
    grid = ScalarGrid.from_array(values, (0.1, 1 / 3, -7.7), 0.3)
    grid.molecule = Molecule(["C"], [[1, 2, 3]])
    back = pickle.loads(pickle.dumps(grid))
    assert back == grid and np.array_equal(back.mid, grid.mid)
    assert back.molecule == grid.molecule
    back.values[0, 0, 0] += 1
    assert back != grid
    assert "4 x 5 x 6" in repr(grid) and "spacing 0.3 A" in repr(grid)


@pytest.mark.parametrize("name", ["map.ccp4", "map.cube"])
def test_files_give_back_what_was_written(grid, tmp_path, name):
    grid.molecule = Molecule(["O"], [[1, 2, 3]])
    grid.write(tmp_path / name)
    back = ScalarGrid.read(tmp_path / name)
    assert np.allclose(back.values, grid.values, rtol=1e-5)
    assert np.allclose(back.origin, grid.origin, atol=1e-5) and back.shape == SHAPE
    if name.endswith("cube"):
        assert back.molecule.atomic_numbers.tolist() == [8]
    for call in (lambda: qxhermite.read_grid("none.ccp4"), lambda: grid.write(tmp_path / "x.png")):
        with pytest.raises(qxhermite.QXHermiteError):
            call()


def test_interpolation_is_that_of_scipy(grid):
    scipy = RegularGridInterpolator(axes(grid), grid.values.astype(float))
    low, high = points_of(grid)[[0, -1]]
    places = np.random.default_rng(2).uniform(low, high, (50, 3))
    assert np.allclose(grid.interpolate(places), scipy(places), atol=1e-5)
    outside = [low - 0.1, [np.nan, 0, 0], [1e300, 0, 0]]
    assert grid.interpolate(outside, outside=-2).tolist() == [-2] * 3
    assert grid.element_at(low + [0.2, 0.6, 0]) == ((0, 1, 0), True)
    assert grid.element_at([1e4, -1e4, 0.5]) == ((3, 0, 0), False)


def test_gaussians_and_overlaps_point_by_point():
    grid, other = (ScalarGrid((20, 21, 22), 0.4, (-4, -4, -4)) for _ in range(2))
    gaussians = cloud(3)
    qxhermite.add_gaussians(grid, gaussians)
    assert np.allclose(grid.values.ravel(), density(gaussians, points_of(grid)), atol=1e-5)
    mol = Molecule([6, 8], [[0, 0, 0], [1.5, 0, 1]])
    qxhermite.make_molecular_gaussian_grid(other, mol)
    radii = np.array([qxhermite.bondi_radius(z) for z in (6, 8)])
    atoms = np.column_stack([mol.coordinates[0], [2.7, 2.7], 2.34422871067 / radii**2])
    assert np.allclose(other.values.ravel(), density(atoms, points_of(other)), atol=1e-5)
    a, b = grid.values.astype(float), other.values.astype(float)
    expected = [(x * y).sum() * 0.4**3 for x, y in ((a, a), (b, b), (a, b))]
    assert np.allclose(qxhermite.grid_overlap(grid, other), expected, rtol=1e-5)


def test_a_quarter_turn_carries_every_element(grid):
    motion = transform(np.round(turn(2, np.pi / 2)), [5, 0, -1])
    turned = grid.transformed(motion)
    assert turned.shape == (5, 4, 6)
    assert np.allclose(turned.values, np.rot90(grid.values), atol=1e-5)
    expected = np.array([[0, -1, 0], [1, 0, 0], [0, 0, 1]]) @ grid.mid + [5, 0, -1]
    assert np.allclose(turned.mid, expected, atol=1e-6)
    skew = SkewGrid(grid)
    skew.transform(motion)
    assert skew.regular() == turned
    assert np.allclose(skew.steps, 0.5 * np.array([[0, 1, 0], [-1, 0, 0], [0, 0, 1]]))
    again = SkewGrid(grid, skew.origin, skew.steps).regular()
    assert np.array_equal(again.values, turned.values)


@pytest.mark.parametrize(
    "call, told",
    [
        (lambda g: ScalarGrid((0, 1, 1), 1), "1 to 2"),
        (lambda g: ScalarGrid((1 << 16, 1 << 16, 1), 1), "1 to 2"),
        (lambda g: ScalarGrid((-1, 1, 1), 1), "shape"),
        (lambda g: ScalarGrid((1, 1, 1), 0), "spacing: must be positive, not 0.0"),
        (lambda g: ScalarGrid((1, 1, 1), 1e-6), "1e-5 to 1e5"),
        (lambda g: ScalarGrid((1, 1, 1), 1, (0, np.inf, 0)), "origin"),
        (lambda g: ScalarGrid.from_array(np.zeros(4), (0, 0, 0), 1), "values: expected shape"),
        (lambda g: g.interpolate([1, 2, 3]), "points"),
        (lambda g: g.transformed(transform(2 * np.eye(3), [0, 0, 0])), "rigid"),
        (lambda g: g.transformed(np.eye(4), spacing=1e-4), r"2\^30"),
        (lambda g: g.transformed(transform(np.eye(3), [1e6, 0, 0])), "farther"),
        (lambda g: SkewGrid(g, (0, 0, 0), np.ones((3, 3))), "span space"),
        (lambda g: g.write("x.map", format="png"), "png"),
        (lambda g: qxhermite.add_gaussians(g, [[0, 0, 0, 1, 0]]), "widths"),
        (lambda g: qxhermite.add_atom_gaussian(g, 400, (0, 0, 0)), "atomic_number"),
    ],
)
def test_what_makes_no_sense_is_refused(grid, call, told):
    with pytest.raises(ValueError, match=told):
        call(grid)
