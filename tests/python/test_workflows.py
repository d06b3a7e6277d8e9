"""What the command line does, as calls: the same numbers, and its files."""

import json
import os
import subprocess

import numpy as np
import pytest
from numeric import turn
from test_charges import POINTS, SITES, density

import qxhermite
from qxhermite import QXHermiteError, QXHermiteWarning, fit_charges

TOOL = os.environ.get("QXHERMITE_TOOL")
with_tool = pytest.mark.skipif(not TOOL, reason="there is no command line")


def run(*words):
    command = [TOOL, *map(str, words)]
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


# Charges a little off the sites, which no fit there reproduces exactly.
CHARGES = 332.063713 * np.array([[0.5], [-0.2], [-0.3]])
WAYS = POINTS[:, None] - (SITES + 0.2 * turn(2, 0.7))
LENGTHS = np.linalg.norm(WAYS, axis=2, keepdims=True)
DATA = dict(
    points=POINTS,
    potential=(CHARGES / LENGTHS).sum(axis=(1, 2)),
    field=(CHARGES * WAYS / LENGTHS**3).sum(axis=1),
    holdout=np.arange(len(POINTS)) % 4 == 0,
)
ATOMS = ([8, 1, 1], SITES.tolist())


@pytest.fixture
def data_file(tmp_path):
    path = tmp_path / "data.json"
    atoms = [dict(atomic_number=Z, x=x, y=y, z=z) for Z, (x, y, z) in zip(*ATOMS)]
    units = dict(length="angstrom", potential="kcal/mol/e", field="kcal/mol/e/angstrom")
    content = dict(title="water", units=units, atoms=atoms, points=DATA["points"].ravel().tolist())
    content["potential"] = DATA["potential"].tolist()
    content["holdout"] = DATA["holdout"].astype(int).tolist()
    for axis, name in enumerate("xyz"):
        content["field_" + name] = DATA["field"][:, axis].tolist()
    path.write_text(json.dumps(content))
    return path


def test_fit_from_arrays():
    with pytest.warns(QXHermiteWarning, match="held out .* fitted: take fewer functions, or"):
        fit = fit_charges(**DATA, mol=ATOMS, neutral=False)
    assert [step.functions for step in fit.steps][-1] == fit.functions
    held = DATA["holdout"]
    for part, error in ((~held, fit.errors.potential), (held, fit.errors.held_out_potential)):
        truth = DATA["potential"][part]
        difference = qxhermite.potential(fit, POINTS[part]) - truth
        assert error == pytest.approx(np.linalg.norm(difference) / np.linalg.norm(truth), rel=1e-9)
    assert fit.errors.potential < 0.02 and "relative errors" in repr(fit)
    assert fit.density.total_charge == pytest.approx(0, abs=0.02)
    few = fit_charges(**DATA, sites=SITES, neutral=False, method="pruned", functions=6, width=1.4)
    assert few.functions == 6 and few.width == 1.4 and few.molecule.num_atoms == 0
    one = fit_charges(points=POINTS, potential=DATA["potential"], mol=ATOMS, target_error=0.1)
    reached = [step.functions for step in one.steps if step.errors.potential <= 0.1]
    assert one.functions == reached[0] and np.isnan(one.errors.field)


@with_tool
@pytest.mark.parametrize(
    "keywords, words",
    [
        ({}, ""),
        (
            dict(method="relaxed", target_error=0.1, degree=1),
            "--relaxed --target-error 0.1 --npolymax 1",
        ),
        (
            dict(method="pruned", functions=5, sites="heavy", neutral=False),
            "--pruned --actives 5 --sites heavy -UseNeutralCharge false",
        ),
    ],
)
def test_fit_is_that_of_the_command_line(data_file, tmp_path, keywords, words):
    table = run("charges", "fit", data_file, "--out", tmp_path / "tool.json", *words.split())
    fit = fit_charges(data_file, **keywords)
    fit.write(tmp_path / "python.json")
    assert (tmp_path / "python.json").read_text() == (tmp_path / "tool.json").read_text()
    assert qxhermite.read_charge_density(tmp_path / "tool.json") == fit.density
    chosen = next(line for line in table.splitlines() if line.endswith("*")).split()
    assert chosen[:-1] == [str(fit.functions)] + [f"{error:.4f}" for error in fit.errors]


@with_tool
def test_energy_is_that_of_the_command_line(tmp_path):
    a, b = tmp_path / "a.json", tmp_path / "b.json"
    qxhermite.write_charge_density(a, density(), title="a")
    qxhermite.write_charge_density(b, density(seed=3).translated([6, 0, 0]))
    energy = qxhermite.interaction_energy(a, str(b))
    assert run("charges", "energy", a, b) == f"{energy:.6f} kcal/mol\n"
    many = np.tile(np.eye(4), (300, 1, 1))
    many[:, 0, 3] = np.linspace(0, 9, 300)
    energies = qxhermite.interaction_energy(a, b, many)
    assert energies[0] == energy
    assert np.array_equal(qxhermite.interaction_energy(a, b, many, progress=True), energies)


def test_progress_and_what_it_raises():
    calls = []

    class Stop(Exception):
        pass

    def update(done, total):
        calls.append((done, total))
        if done == 3:
            raise Stop

    from qxhermite import _core

    nothing = qxhermite.Molecule([], np.empty((0, 3)))
    data = _core._ElectrostaticData(POINTS, DATA["potential"], None, None, nothing, "")
    options = qxhermite.LassoChargeDensityOptions(use_electric_field=False)
    with pytest.raises(Stop):
        _core._fit_charges(data, SITES, 1, None, None, None, "lasso", options, 100, "", update)
    assert calls == [(0, 9), (1, 9), (2, 9), (3, 9)]


@pytest.mark.parametrize(
    "keywords, error, text",
    [
        ({}, ValueError, "points: are missing"),
        (dict(points=POINTS, mol=ATOMS), ValueError, "nothing to fit"),
        (dict(DATA, sites="heavy"), ValueError, "mol: is missing: .*sites"),
        (dict(DATA, mol=ATOMS, sites="some"), ValueError, "sites"),
        (dict(DATA, mol=ATOMS, degree=11), ValueError, "degree"),
        (dict(DATA, mol=ATOMS, degree=0), ValueError, "neutral=False"),
        (dict(DATA, mol=ATOMS, width=-1.0), ValueError, "width"),
        (dict(DATA, mol=ATOMS, functions=0), ValueError, "functions"),
        (dict(DATA, mol=ATOMS, functions=3, target_error=0.1), ValueError, "target_error"),
        (dict(DATA, mol=ATOMS, method="ridge"), ValueError, "method"),
        (dict(DATA, mol=ATOMS, field=DATA["field"].ravel()), ValueError, "field: expected shape"),
        (dict(DATA, mol=ATOMS, potential=DATA["potential"] * np.nan), ValueError, "finite"),
        (dict(DATA, mol=ATOMS, memory=0), QXHermiteError, "raise memory, or lower degree"),
        (dict(DATA, mol=ATOMS, data="x.json"), ValueError, "points: is in the file"),
        (dict(data="no such file.json"), QXHermiteError, "cannot be opened"),
        (dict(data="no such file.sdf"), QXHermiteError, "no such file"),
    ],
)
def test_what_is_refused(keywords, error, text):
    with pytest.raises(error, match=text):
        fit_charges(**keywords)


def test_warnings_name_the_arguments():
    near, values = np.vstack([POINTS, SITES[0] + 1e-3]), np.append(DATA["potential"], 9.0)
    with pytest.warns(QXHermiteWarning, match="the data: 1 point to be fitted.*left out"):
        fit_charges(points=near, potential=values, sites=SITES, width=1.4)
    with pytest.warns(QXHermiteWarning, match="functions 99: no step of the path has as many"):
        fit_charges(**DATA, sites=SITES, degree=1, functions=99)


def test_models(tmp_path):
    model = qxhermite.MultiHermite(density().params, density().coefficients)
    qxhermite.write_multi_hermite(tmp_path / "model.json", model, title="m")
    assert qxhermite.read_multi_hermite(tmp_path / "model.json") == model
    with pytest.raises(QXHermiteError, match="model.json: field format"):
        qxhermite.read_charge_density(tmp_path / "model.json")
    with pytest.raises(QXHermiteError, match="cannot be written"):
        qxhermite.write_multi_hermite(tmp_path / "none" / "model.json", model)
