"""qxhermite.overlay, similarity_matrix and expand, and their ways from and to RDKit and NumPy."""

import doctest
import json
import os
import pickle
import re
import shutil
import subprocess
import sys
import threading
import warnings

import numpy as np
import pytest

import qxhermite

DATA = os.path.join(os.path.dirname(__file__), "..", "..", "examples", "data")
REFERENCE = os.path.abspath(os.path.join(DATA, "reference.sdf"))
DRUGS = os.path.abspath(os.path.join(DATA, "drugs.sdf"))
TURN = np.array([[0, -1, 0, 4.0], [0, 0, -1, -7.0], [1, 0, 0, 2.5], [0, 0, 0, 1]])


def apply(transform, points):
    return points @ transform[:3, :3].T + transform[:3, 3]


def exact_tanimoto(a, b):
    """Of heavy atoms as Gaussians 2.7 exp(-w r^2) of radius 1.7, by the plain double sum."""
    w = 2.34422871067 / 1.7**2

    def overlap(p, q):
        distances = ((p[:, None] - q[None]) ** 2).sum(axis=2)
        return np.exp(-w / 2 * distances).sum()

    common = overlap(a, b)
    return common / (overlap(a, a) + overlap(b, b) - common)


def heavy(molecule):
    return molecule.coordinates[0][np.array(molecule.atomic_numbers) > 1]


@pytest.fixture(scope="module")
def celecoxib():
    return qxhermite.read_molecules(REFERENCE)[0]


@pytest.fixture(scope="module")
def drugs():
    return qxhermite.overlay(REFERENCE, DRUGS)


def test_transforms_take_the_input_onto_the_reference(drugs, celecoxib):
    assert np.all(np.diff(drugs.scores) <= 0)
    assert drugs.transforms.shape == (len(drugs), 4, 4)
    records = qxhermite.read_molecules(DRUGS)
    for hit in drugs[:8]:
        given = records[hit.record - 1]
        rotation = hit.transform[:3, :3]
        assert np.allclose(rotation @ rotation.T, np.eye(3), atol=1e-12)
        assert np.linalg.det(rotation) == pytest.approx(1)
        moved = apply(hit.transform, heavy(given))
        assert np.allclose(heavy(hit.molecule), moved, atol=1e-5)  # kept in single precision
        # The Gaussians of the library have single precision too.
        assert exact_tanimoto(heavy(celecoxib), moved) == pytest.approx(hit.score, abs=1e-5)


def test_a_moved_copy_comes_back(celecoxib):
    elements, places = celecoxib.atomic_numbers, celecoxib.coordinates[0]
    moved = apply(TURN, places)
    hit = qxhermite.overlay(celecoxib, (list(elements), moved.tolist()))[0]
    assert hit.score == pytest.approx(1, abs=1e-6)
    assert np.allclose(apply(hit.transform @ TURN, places), places, atol=1e-2)


def test_the_command_line_finds_the_same(drugs, tmp_path):
    tool = os.environ.get("QXHERMITE_TOOL")
    if not tool:
        pytest.skip("the tool is not built")
    csv = tmp_path / "hits.csv"
    subprocess.run(
        [tool, "overlay", "--ref", REFERENCE, "--fit", DRUGS, "--quiet"]
        + ["--out", tmp_path / "hits.sdf", "--csv", csv],
        check=True,
    )
    rows = [line.split(",") for line in csv.read_text().splitlines()]
    column = rows[0].index("exact_tanimoto")
    scores = [float(row[column]) for row in rows[1:]]
    assert np.allclose(drugs.scores, scores, atol=2e-6)
    assert drugs.titles == [row[rows[0].index("title")] for row in rows[1:]]


def test_rdkit_molecules_come_back_as_they_were(tmp_path):
    Chem = pytest.importorskip("rdkit.Chem")
    AllChem = pytest.importorskip("rdkit.Chem.AllChem")
    mol = Chem.AddHs(Chem.MolFromSmiles("C[C@H](N)c1cc[nH]c1"))
    AllChem.EmbedMultipleConfs(mol, 3, randomSeed=7)
    mol.SetProp("_Name", "amine")
    mol.SetProp("pIC50", "6.5")
    result = qxhermite.overlay(mol, [mol], poses=2)
    assert result[0].conformer == 0 and result[0].score == pytest.approx(1, abs=1e-6)
    for hit, pose in zip(result, result.to_rdkit()):
        assert pose.GetNumConformers() == 1 and pose.GetProp("pIC50") == "6.5"
        assert float(pose.GetProp("Exact Shape Tanimoto")) == pytest.approx(hit.score, abs=1e-6)
        assert Chem.MolToSmiles(pose) == Chem.MolToSmiles(mol)
        places = mol.GetConformer(hit.conformer).GetPositions()
        assert np.allclose(pose.GetConformer().GetPositions(), apply(hit.transform, places))
    assert mol.GetNumConformers() == 3  # the input is left alone

    again = qxhermite.molecules.to_rdkit(qxhermite.molecules.from_rdkit(mol))
    assert Chem.MolToSmiles(again) == Chem.MolToSmiles(mol)
    assert again.GetProp("pIC50") == "6.5" and again.GetNumConformers() == 3
    flat = Chem.MolFromSmiles("CCO")
    for conformer in mol.GetConformers():
        conformer.SetId(0)  # as AddConformer leaves them
    for hit in qxhermite.overlay(mol, [mol], poses=3):
        moved = hit.to_rdkit().GetConformer().GetPositions()
        assert np.allclose(moved, hit.molecule.coordinates[0], atol=1e-4)
    aromatic = Chem.MolFromSmiles("c1cc[nH]c1")
    AllChem.EmbedMolecule(aromatic, randomSeed=7)
    qxhermite.write_molecules(tmp_path / "pyrrole.sdf", [qxhermite.from_rdkit(aromatic)])
    assert Chem.MolToSmiles(Chem.MolFromMolFile(str(tmp_path / "pyrrole.sdf"))) == "c1cc[nH]c1"
    with pytest.raises(ValueError, match="no conformer"):
        qxhermite.overlay(mol, flat)


def test_a_file_becomes_rdkit_molecules_of_the_same_structure(drugs):
    Chem = pytest.importorskip("rdkit.Chem")
    smiles = {
        mol.GetProp("_Name"): Chem.MolToSmiles(mol, isomericSmiles=False)
        for mol in Chem.SDMolSupplier(DRUGS, removeHs=False)
    }
    for pose in drugs.to_rdkit():
        assert Chem.MolToSmiles(pose, isomericSmiles=False) == smiles[pose.GetProp("_Name")]


def test_rdkit_is_imported_only_where_it_is_used():
    code = (
        "import sys, qxhermite\n"
        f"qxhermite.overlay({REFERENCE!r}, {DRUGS!r}, keep=1, threads=1)\n"
        "assert not any(name.startswith('rdkit') for name in sys.modules)"
    )
    subprocess.run([sys.executable, "-c", code], check=True)


def test_threads_and_keep_change_nothing_but_the_time(drugs):
    for threads in (1, 3):
        few = qxhermite.overlay(REFERENCE, DRUGS, threads=threads, keep=5)
        assert few.titles == drugs.titles[:5]
        assert np.array_equal(few.scores, drugs.scores[:5])


def test_charge_has_a_say(celecoxib):
    kept = qxhermite.overlay(
        celecoxib, [celecoxib.transformed(TURN)], charge_weight=0.5, charges="gasteiger"
    )[0]
    assert kept.score == pytest.approx(1.5, abs=2e-3)
    assert kept.charge_tanimoto == pytest.approx(1, abs=2e-3)
    assert np.allclose(kept.molecule.coordinates, celecoxib.coordinates, atol=5e-2)
    with pytest.raises(ValueError, match="no partial charges"):
        qxhermite.overlay(([6, 6], [[0, 0, 0], [1.5, 0, 0]]), [], charge_weight=1.0)


def test_maps_take_part_on_either_side(tmp_path):
    benzene = qxhermite.read_molecules(os.path.join(DATA, "benzene.sdf"))[0]
    path = os.path.join(DATA, "benzene.ccp4")
    hit = qxhermite.overlay(path, [benzene], cut=0.7)[0]
    # The ring lies where the density is highest.
    grid = qxhermite.read_grid(path)
    places = np.rint((apply(hit.transform, heavy(benzene)) - grid.origin) / grid.spacing)
    values = grid.values[tuple(places.astype(int).T)]
    assert values.min() > 0.1 * grid.values.max()
    coarser = qxhermite.overlay(path, [benzene], cut=0.7, degree=8)[0]  # that of the tool for maps
    assert coarser.score == hit.score
    onto = qxhermite.overlay(path, [grid])[0]
    assert onto.score == pytest.approx(1, abs=1e-6) and onto.molecule is None
    turn = np.array([[0.0, -1, 0, 2], [1, 0, 0, 3], [0, 0, 1, 4], [0, 0, 0, 1]])
    grid.molecule = benzene
    result = qxhermite.overlay(path, [grid.transformed(turn), benzene], cut=0.7)
    (moved,) = (hit.map for hit in result if hit.map)
    for carried, field in [(moved, grid), (grid, moved)]:  # its atoms and its values came back
        places = np.rint((heavy(carried.molecule) - field.origin) / field.spacing)
        assert field.values[tuple(places.astype(int).T)].min() > 0.1 * field.values.max()
    two = np.array([np.zeros((2, 3)), np.ones((2, 3))])  # conformers
    grid.molecule = qxhermite.Molecule([6, 6], two)
    assert np.allclose(grid.transformed(turn).molecule.coordinates, apply(turn, two))
    grid.molecule = qxhermite.Molecule([], np.zeros((0, 3)))
    many = qxhermite.overlay(path, [benzene, *[grid] * 11], cut=0.7)
    many.report(tmp_path / "maps.html")
    page = (tmp_path / "maps.html").read_text()
    rows = [int(row) for row in re.findall(r'"row":(\d+)', page)]
    assert rows == [row for row, hit in enumerate(many) if hit.map][:10] and "10 of 11" in page
    with pytest.raises(TypeError, match="maps have no atoms"):
        result.write(tmp_path / "maps.sdf")


def test_what_cannot_be_used_is_told(celecoxib, tmp_path):
    bad = tmp_path / "bad.sdf"
    with open(DRUGS) as file:
        record = file.read().split("$$$$\n")[0] + "$$$$\n"
    bad.write_text(record + "broken\n\n\nno counts line\n$$$$\n" + record)
    hydrogen = ([1], np.zeros((1, 3)))
    with warnings.catch_warnings(record=True) as told:
        warnings.simplefilter("always")
        fits = [str(bad), hydrogen, "missing.sdf", "missing.ccp4", ([6, 6], np.zeros((3, 3)))]
        result = qxhermite.overlay(celecoxib, fits, group=False)
    texts = [str(warning.message) for warning in told]
    assert len(result) == 2 and len(result.skipped) == 5
    for reason in ("bad.sdf:2", "no heavy atoms", "missing.sdf", "missing.ccp4", "coordinates"):
        assert any(reason in repr(one) for one in result.skipped), reason
    assert any(f"{bad}:2" in text for text in texts), texts
    assert {warning.filename for warning in told} == {__file__}  # the line of the caller
    assert any("5 skipped" in text for text in texts)
    assert all(issubclass(w.category, qxhermite.QXHermiteWarning) for w in told)

    with pytest.warns(qxhermite.QXHermiteWarning, match="fit 0: two heavy atoms are 0.14 A apart"):
        qxhermite.overlay(celecoxib, [([6, 6], [[0, 0, 0], [0, 0, 0.14]])])  # nanometres

    empty = tmp_path / "empty.sdf"
    empty.touch()
    with pytest.raises(qxhermite.QXHermiteError, match="missing.sdf"):
        qxhermite.similarity_matrix("missing.sdf")
    wrong = [
        (dict(ref="missing.sdf", fits=[]), qxhermite.QXHermiteError, "missing.sdf"),
        (dict(ref=str(empty), fits=[]), qxhermite.QXHermiteError, "holds no molecule"),
        (dict(ref=hydrogen, fits=[]), ValueError, "no heavy atoms"),
        (dict(ref=celecoxib, fits=[], starts=5), ValueError, "starts"),
        (dict(ref=celecoxib, fits=None), TypeError, "fits: must be"),
        (dict(ref=celecoxib, fits=5), TypeError, "fits: must be"),
        (dict(ref=celecoxib, fits=("CO", [[0, 0, 0], [1, 0, 0]])), TypeError, "fits: 'CO'.*list"),
        (dict(ref=celecoxib, fits=[42]), TypeError, "fit 0"),
        (dict(ref=celecoxib, fits=hydrogen), ValueError, "no heavy atoms"),
        (dict(ref=celecoxib, fits="missing.sdf"), qxhermite.QXHermiteError, "missing.sdf"),
        (dict(ref=celecoxib, fits=str(empty)), qxhermite.QXHermiteError, "holds no molecule"),
        (dict(ref=([6, 6], np.zeros((3, 3))), fits=[]), ValueError, "coordinates"),
    ]
    for arguments, kind, text in wrong:
        with pytest.raises(kind, match=text):
            qxhermite.overlay(arguments.pop("ref"), arguments.pop("fits"), **arguments)


def test_results_can_be_written_pickled_and_read(drugs, tmp_path):
    path = tmp_path / "hits.sdf"
    drugs[:3].write(path)
    written = qxhermite.read_molecules(str(path))
    assert [mol.title for mol in written] == drugs.titles[:3]
    assert float(written[1].data["Exact Shape Tanimoto"]) == pytest.approx(drugs[1].score, abs=1e-6)
    again = pickle.loads(pickle.dumps(drugs[:3]))
    assert np.array_equal(again.scores, drugs[:3].scores) and again.titles == drugs.titles[:3]
    for wrong in (REFERENCE, DRUGS):  # what was read
        with pytest.raises(ValueError, match="would be lost"):
            drugs.write(wrong)
    for result, name, told in [(drugs, "x.smi", "name it .sdf"), (drugs[:0], "x.sdf", "no hits")]:
        with pytest.raises(ValueError, match=told):
            result.write(tmp_path / name)
        assert not (tmp_path / name).exists()
    with pytest.raises(ValueError, match=".html"):
        drugs.report(tmp_path / "hits.sdf")
    assert "celecoxib" in repr(drugs) and drugs.to_dict()["title"] == drugs.titles


def test_reports_tell_where_hits_are_from(drugs, celecoxib, tmp_path):
    def page(result):
        result.report(tmp_path / "hits.html")
        data = re.search('id="data">(.*?)</script>', (tmp_path / "hits.html").read_text(), re.S)[1]
        found = json.loads(data)
        columns = {column["name"]: column.get("numbers") for column in found["columns"]}
        return columns, dict(found["settings"])

    columns, settings = page(drugs)
    assert columns["Conformer"] == [hit.conformer + 1 for hit in drugs]
    assert columns["Record"] == [hit.record for hit in drugs]
    assert "Record" not in drugs[0].molecule.data
    assert (settings["keep"], settings["width"], settings["group"]) == ("all", "the best", "True")
    given = dict(width=0.5, keep=1, charge_weight=0.5, charges="gasteiger")
    columns, settings = page(qxhermite.overlay(celecoxib, celecoxib, **given))
    assert "Record" not in columns and "reference" not in settings
    assert {name: settings[name] for name in given} == {k: str(v) for k, v in given.items()}


def test_what_rdkit_could_not_read_is_skipped(tmp_path):
    Chem = pytest.importorskip("rdkit.Chem")
    path = tmp_path / "some.sdf"
    with open(DRUGS) as file:
        records = file.read().split("$$$$\n")[:3]
    path.write_text("$$$$\n".join([records[0], "broken\n\n\nno counts line\n", records[1], ""]))
    supplier = Chem.SDMolSupplier(str(path))
    with pytest.warns(qxhermite.QXHermiteWarning, match="1 skipped.*fit 1: .*RDKit"):
        result = qxhermite.overlay(REFERENCE, supplier, progress=True)  # to count uses nothing up
    assert len(result) == 2 and [one.source for one in result.skipped] == [1]
    with pytest.warns(qxhermite.QXHermiteWarning, match="1 skipped.*fit 1: .*RDKit"):
        matrix = qxhermite.similarity_matrix(supplier)
    assert np.isnan(matrix).tolist() == [[False, True, False], [True] * 3, [False, True, False]]
    with pytest.raises(TypeError, match="mol: must be an rdkit.Chem.Mol"):
        qxhermite.from_rdkit(None)


def test_texts_need_not_be_utf8(tmp_path):
    with open(REFERENCE, "rb") as file:
        record = file.read().split(b"$$$$")[0]
    for text in (b"> <IC50>\n5 \xb5M\n\n", b"> <Gr\xfc\xdfe>\n5\n\n"):
        path = tmp_path / os.fsdecode(b"gr\xfcn.sdf")
        path.write_bytes(b"Gr\xfcn" + record[record.index(b"\n") :] + text + b"$$$$\n")
        result = qxhermite.overlay(path, path)
        result.write(tmp_path / "hits.sdf")
        result.report(tmp_path / "hits.html")
        assert text[2:8] in (tmp_path / "hits.sdf").read_bytes()
        assert result.to_rdkit()[0].GetProp("_Name") == "Gr\ufffdn"


def test_similarities_are_symmetric_and_those_of_overlays(drugs):
    grouped = qxhermite.read_molecules(DRUGS, group=True)
    assert len(grouped) == 26 and sum(mol.num_conformers for mol in grouped) == 144
    hydrogen = qxhermite.Molecule([1], [[0.0, 0.0, 0.0]])
    mols = [*grouped[:2], *qxhermite.read_molecules(DRUGS)[20:24], hydrogen]
    with pytest.warns(qxhermite.QXHermiteWarning, match="1 skipped.*no heavy atoms"):
        matrix = qxhermite.similarity_matrix(mols, threads=2)
    assert matrix.shape == (7, 7) and np.array_equal(matrix, matrix.T, equal_nan=True)
    assert np.all(np.isnan(matrix[6])) and np.all(np.diag(matrix)[:6] == 1)
    for i, j in [(0, 1), (2, 5), (3, 4)]:
        scores = [
            qxhermite.overlay(mols[ref].conformer(k), [mols[fit]]).scores[0]
            for ref, fit in ((i, j), (j, i))
            for k in range(mols[ref].num_conformers)
        ]
        assert matrix[i, j] == max(scores)
    for wrong in (dict(starts=8), dict(tolerance=-1.0), dict(threads=0)):
        with pytest.raises(ValueError):
            qxhermite.similarity_matrix(mols, **wrong)


def test_expansions_take_all_sources(celecoxib):
    of_molecule = qxhermite.expand(celecoxib, degree=6)
    of_file = qxhermite.expand(REFERENCE, degree=6)
    assert np.array_equal(of_molecule.coefficients, of_file.coefficients)
    of_atoms = qxhermite.expand((celecoxib.atomic_numbers, celecoxib.coordinates[0]), degree=6)
    assert np.allclose(of_atoms.coefficients, of_file.coefficients)
    assert np.allclose(of_molecule.center, heavy(celecoxib).mean(axis=0), atol=1e-5)
    wide = qxhermite.expand(celecoxib, width=0.4)
    assert wide.options.lambda_x == 0.4 and not wide.options.use_optimal_lambdas
    for width in (0, -1, np.nan, [1, 2]):
        with pytest.raises(ValueError):
            qxhermite.expand(celecoxib, width=width)


def test_progress_is_shown_on_stderr(capsys):
    qxhermite.overlay(REFERENCE, DRUGS, keep=1, progress=True)
    qxhermite.similarity_matrix([REFERENCE], progress=True)
    qxhermite.grid_to_atoms(os.path.join(DATA, "benzene.ccp4"), method="lasso", progress=True)
    told = capsys.readouterr().err
    assert all(label in told for label in ("overlay", "similarity", "atoms"))


def test_overlays_run_side_by_side(drugs):
    results = [None] * 3

    def work(place):
        results[place] = qxhermite.overlay(REFERENCE, DRUGS, threads=1).scores

    threads = [threading.Thread(target=work, args=(place,)) for place in range(3)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert all(np.array_equal(scores, drugs.scores) for scores in results)


def test_the_example_of_the_package_runs(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    shutil.copy(REFERENCE, "reference.sdf")
    shutil.copy(DRUGS, "library.sdf")
    (example,) = doctest.DocTestFinder(recurse=False).find(qxhermite)
    results = doctest.DocTestRunner().run(example)
    assert results.attempted == 3 and results.failed == 0 and os.path.exists("hits.sdf")
