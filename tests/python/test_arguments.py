"""What the calls refuse, under the name of the argument; and what an import tells."""

import inspect
import os
import shutil
import subprocess
import sys

import numpy as np
import pytest

import qxhermite

MOL = qxhermite.Molecule([6, 6, 8], [[0.0, 0, 0], [1.5, 0, 0], [2.1, 1.2, 0.4]], title="mol")
GRID = qxhermite.expand(MOL).grid(0.8, 5).values
POINTS = np.random.default_rng(1).normal(size=(40, 3)) * [9, 9, 1] + [0, 0, 6]
VALUES = dict(points=POINTS, potential=POINTS[:, 0], mol=MOL, degree=1, width=1.3)
FIT = qxhermite.fit_charges(**VALUES)

CALLS = {
    "overlay": lambda **options: qxhermite.overlay(MOL, MOL, **options),
    "similarity_matrix": lambda **options: qxhermite.similarity_matrix([MOL], **options),
    "expand": lambda **options: qxhermite.expand(MOL, **options),
    "grid_to_atoms": lambda **options: qxhermite.grid_to_atoms(
        GRID, **{"spacing": 0.8, "method": "lasso", **options}
    ),
    "fit_charges": lambda **options: qxhermite.fit_charges(**{**VALUES, **options}),
    "interaction_energy": lambda **options: qxhermite.interaction_energy(FIT, FIT, **options),
    "potential": lambda **options: qxhermite.potential(FIT, **options),
    "field": lambda **options: qxhermite.field(FIT, **options),
}
OPTIONS = [
    (call, name)
    for call in CALLS
    for name, parameter in inspect.signature(getattr(qxhermite, call)).parameters.items()
    if parameter.kind == parameter.KEYWORD_ONLY or name in ("points", "transforms")
]


@pytest.mark.parametrize("call, name", OPTIONS)
def test_options_of_no_sense_are_told_by_name(call, name):
    with pytest.raises((TypeError, ValueError)) as told:
        CALLS[call](**{name: object()})
    assert str(told.value).startswith(f"{name}: " if name != "mol" else "cannot make a molecule")


@pytest.mark.parametrize(
    "call, option, value, error, told",
    [
        ("overlay", "poses", 2.5, TypeError, "must be a whole number, got 2.5"),
        ("overlay", "polish", None, TypeError, "must be a whole number, got None"),
        ("overlay", "poses", True, TypeError, "must be a whole number"),
        ("overlay", "poses", 0, ValueError, "must be at least 1, got 0"),
        ("overlay", "poses", 2**32, ValueError, "must be at most 4294967295"),
        ("overlay", "keep", "5", TypeError, "must be a whole number, got '5'"),
        ("overlay", "degree", "8", TypeError, "must be a whole number, got '8'"),
        ("overlay", "degree", 101, ValueError, "must be at most 100, got 101"),
        ("overlay", "charge_weight", "0.5", TypeError, "must be a number, got '0.5'"),
        ("overlay", "charge_weight", 10**400, ValueError, "is too large"),
        ("overlay", "cut", np.bool_(True), TypeError, "must be a number"),
        ("overlay", "width", -1.0, ValueError, "must be positive"),
        ("overlay", "group", "no", TypeError, "must be True or False, got 'no'"),
        ("overlay", "threads", 0, ValueError, "must be at least 1"),
        ("similarity_matrix", "threads", 0.5, TypeError, "must be a whole number"),
        ("expand", "degree", -1, ValueError, "must be at least 0, got -1"),
        ("expand", "width", [1, 2], ValueError, "must be one number or three, got 2"),
        ("grid_to_atoms", "spacing", (1, 1, 2), TypeError, r"must be a number, got \(1, 1, 2\)"),
        ("fit_charges", "points", "x", ValueError, "could not convert"),
        ("fit_charges", "mol", None, ValueError, "is missing: .*sites"),
        ("interaction_energy", "transforms", 3.0, ValueError, "expected shape"),
    ],
)
def test_what_is_told_of_options(call, option, value, error, told):
    with pytest.raises(error, match=f"^{option}: {told}"):
        CALLS[call](**{option: value})


def test_numbers_of_all_kinds_are_taken():
    options = dict(poses=np.int8(2), degree=np.array(6), cut=np.float32(0.5), threads=np.uint64(1))
    hit = CALLS["overlay"](**options, width=np.float64(0.9), in_place=np.bool_(False), keep=1)[0]
    assert hit.score == pytest.approx(1)


@pytest.mark.parametrize(
    "core, told, untold",
    [
        (None, "ImportError: qxhermite: the compiled part _core is missing: build it", "circular"),
        ("import no_such_library", "No module named 'no_such_library'", "build it"),
    ],
)
def test_what_an_import_tells(tmp_path, core, told, untold):
    shutil.copytree(
        os.path.dirname(qxhermite.__file__),
        tmp_path / "qxhermite",
        ignore=shutil.ignore_patterns("_core*", "__pycache__"),
    )
    if core:
        (tmp_path / "qxhermite" / "_core.py").write_text(core)
    environment = {**os.environ, "PYTHONPATH": str(tmp_path)}
    command = [sys.executable, "-c", "import qxhermite"]
    error = subprocess.run(command, capture_output=True, text=True, env=environment).stderr
    assert told in error and untold not in error
