"""Molecule, and reading and writing files of them."""

import copy
import pickle

import numpy as np
import pytest

import qxhermite
from numeric import moved, transform, turn
from qxhermite import Molecule

PLACES = np.array([[0, 0, 0], [1.5, 0.25, 0], [2.0, -1.0, 1.0], [-0.5, 0.5, 0.75]])
ELEMENTS = ["C", "o", 17, np.int32(1)]
BONDS = [[0, 1, 2], [0, 2, 1], [3, 0, 1]]


@pytest.fixture
def mol():
    made = Molecule(ELEMENTS, [PLACES, PLACES + 1], BONDS, [0, -1, 0, 0], "acyl")
    made.data = {"IC50": "3.5", "note": "two\nlines"}
    made.set_data("rank", 2, conformer=1)
    made.partial_charges = [0.25, -0.5, 0.125, 0.125]
    made.set_vector("field", [[1.0, 2.0], [3.0, 4.0]])
    return made


def test_a_molecule_tells_what_it_was_made_of(mol):
    assert (mol.num_atoms, mol.num_bonds, mol.num_conformers, mol.title) == (4, 3, 2, "acyl")
    assert mol.atomic_numbers.tolist() == [6, 8, 17, 1]
    assert mol.bonds.tolist() == BONDS
    assert mol.formal_charges.tolist() == [0, -1, 0, 0]
    assert mol.partial_charges.tolist() == [0.25, -0.5, 0.125, 0.125]
    assert np.array_equal(mol.coordinates, [PLACES, PLACES + 1])
    assert mol.data == {"IC50": "3.5", "note": "two\nlines"}
    assert mol.conformer_data(1) == {**mol.data, "rank": "2"} == mol.conformer_data(-1)
    assert mol.vector("field").tolist() == [1, 2, 3, 4] and mol.vector("none") is None
    assert "acyl" in repr(mol) and "2 conformers" in repr(mol)
    mol.coordinates[:] = 7  # of a copy
    assert np.array_equal(mol.coordinates[0], PLACES)
    second = mol.conformer(1)
    assert second.num_conformers == 1 and np.array_equal(second.coordinates[0], PLACES + 1)


def test_copies_and_pickles_keep_everything(mol):
    for twin in (copy.deepcopy(mol), pickle.loads(pickle.dumps(mol))):
        assert twin == mol
        assert twin.conformer_data(1) == mol.conformer_data(1)
        assert np.array_equal(twin.vector("field"), mol.vector("field"))
        twin.title = "other"
        assert twin != mol and mol.title == "acyl"
    assert pickle.loads(pickle.dumps(Molecule([], np.zeros((0, 3))))).num_atoms == 0


def test_hydrogens_motions_and_gaussians(mol):
    heavy = mol.without_hydrogens()
    assert heavy.atomic_numbers.tolist() == [6, 8, 17] and heavy.num_conformers == 2
    motion = transform(turn(0, 0.3) @ turn(2, 1.1), [3, -2, 1])
    expected = moved(motion, PLACES)
    assert np.allclose(mol.transformed(motion).coordinates[0], expected, atol=1e-6)
    rows = mol.gaussians(radius=1.5, conformer=1)
    assert np.array_equal(rows[:, :3], PLACES + 1)
    volume = rows[:, 3] * (np.pi / rows[:, 4]) ** 1.5
    assert np.allclose(volume, 4 / 3 * np.pi * 1.5**3, rtol=1e-5)
    charge = qxhermite.mol_to_electrostatic_gaussians(mol, 0.8)
    integrals = charge[:, 3] * (np.pi / charge[:, 4]) ** 1.5
    assert np.allclose(integrals, mol.partial_charges, rtol=1e-6)


def test_gasteiger_charges_add_up_to_the_formal_charge():
    acetate = Molecule(
        ["C", "C", "O", "O"], np.eye(4, 3), [[0, 1, 1], [1, 2, 2], [1, 3, 1]], [0, 0, 0, -1]
    )
    acetate.assign_gasteiger_charges()
    charges = acetate.partial_charges
    assert charges.sum() == pytest.approx(-1, abs=1e-6) and charges[3] < charges[0]


@pytest.mark.parametrize("name", ["mols.sdf", "mols.qxb"])
def test_files_give_back_what_was_written(mol, tmp_path, name):
    path = tmp_path / name
    qxhermite.write_molecules(path, [mol, Molecule(["N"], [[0, 0, 1]], title="ammonia")])
    back = qxhermite.read_molecules(path)
    if name.endswith(".qxb"):
        assert back[0] == mol
    else:  # one record a conformer
        assert [m.title for m in back] == ["acyl", "acyl", "ammonia"]
        assert back[1].data["rank"] == "2"
        assert np.allclose(back[1].coordinates[0], PLACES + 1, atol=1e-4)
        assert back[0].bonds.tolist() == BONDS
    with qxhermite.MoleculeWriter(path) as out:
        out.write(mol)
    with pytest.raises(ValueError, match="closed"):
        out.write(mol)


def test_a_broken_record_is_a_warning_and_noted(mol, tmp_path):
    path = tmp_path / "mols.sdf"
    qxhermite.write_molecules(path, [mol.conformer(0)] * 3)
    records = path.read_text().split("$$$$\n")
    records[1] = "broken\n\n\n  x y\n"
    path.write_text("$$$$\n".join(records))
    reader = qxhermite.MoleculeReader(path)
    with pytest.warns(qxhermite.QXHermiteWarning, match="mols.sdf:2"):
        assert len(list(reader)) == 2
    assert [(s.record, s.title) for s in reader.skipped] == [(2, "broken")]
    with pytest.raises(qxhermite.QXHermiteError, match="none.sdf"):
        qxhermite.read_molecules(tmp_path / "none.sdf")
    with pytest.raises(qxhermite.QXHermiteError):
        qxhermite.write_molecules(tmp_path / "no" / "mols.sdf", [mol])


@pytest.mark.parametrize(
    "call, error, told",
    [
        (lambda m: Molecule(["Q"], [[0, 0, 0]]), ValueError, "no element is 'Q'"),
        (lambda m: Molecule([119], [[0, 0, 0]]), ValueError, "no element is 119"),
        (lambda m: Molecule(["C"], [0, 0, 0]), ValueError, r"coordinates: expected shape \(1, 3\)"),
        (lambda m: Molecule(["C"], np.zeros((2, 2, 3))), ValueError, r"got \(2, 2, 3\)"),
        (lambda m: Molecule(["C"], np.zeros((0, 1, 3))), ValueError, "at least one"),
        (lambda m: Molecule(["C"], [[0, 0, 1e39]]), ValueError, "finite"),
        (lambda m: Molecule("CC", np.eye(2, 3), [[0, 2, 1]]), ValueError, "row 0"),
        (lambda m: Molecule("CC", np.eye(2, 3), [[0, 0]]), ValueError, "row 0"),
        (lambda m: Molecule("CC", np.eye(2, 3), [[0, 1], [1, 0]]), ValueError, "repeats"),
        (lambda m: Molecule("CC", np.eye(2, 3), [[0, 1, 7]]), ValueError, "order"),
        (lambda m: Molecule("CC", np.eye(2, 3), [[0, 1.5]]), ValueError, "integers"),
        (lambda m: Molecule("CC", np.eye(2, 3), [[0, 1], [1]]), ValueError, "inhomogeneous"),
        (lambda m: Molecule("CC", np.eye(2, 3), None, [0]), ValueError, "formal_charges"),
        (lambda m: setattr(m, "partial_charges", [0.0]), ValueError, "partial_charges"),
        (lambda m: m.gaussians(radius=0), ValueError, "radius: must be positive, not 0.0"),
        (lambda m: m.conformer(2), IndexError, "2 of 2"),
        (lambda m: m.transformed(np.diag([1.0, 1, -1, 1])), ValueError, "rigid"),
        (lambda m: m.transformed(np.eye(3)), ValueError, r"\(4, 4\)"),
        (lambda m: Molecule.__new__(Molecule).__setstate__(b"x"), ValueError, "molecule"),
        (lambda m: qxhermite.read_molecules("x.sdf", "sdx"), ValueError, "sdx"),
    ],
)
def test_what_makes_no_sense_is_refused(mol, call, error, told):
    with pytest.raises(error, match=told):
        call(mol)
