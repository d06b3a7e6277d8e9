"""Molecules from and to RDKit, NumPy and files. RDKit is imported only where it is used."""

from __future__ import annotations

import os
from typing import TYPE_CHECKING, Any, Sequence, Union

import numpy as np

from qxhermite import _core, arguments
from qxhermite._core import Molecule, MoleculeGroups, QXHermiteError

if TYPE_CHECKING:
    from typing import TypeGuard

#: What stands for a molecule: see `as_molecule`. Any is an rdkit.Chem.Mol.
MoleculeLike = Union[Molecule, str, "os.PathLike[str]", "tuple[Sequence[Any], Any]", Any]

# RDKit's own numbers of bond types that the library tells apart.
_AROMATIC_ORDER = 4


def is_rdkit(source: Any) -> bool:
    """True for an rdkit.Chem.Mol, without importing RDKit."""
    return any(cls.__module__.startswith("rdkit.Chem") for cls in type(source).__mro__) and hasattr(
        source, "GetConformers"
    )


def is_path(source: Any) -> TypeGuard[str | os.PathLike[str]]:
    """True for what names a file."""
    return isinstance(source, (str, os.PathLike))


def from_rdkit(mol: Any) -> Molecule:
    """A `Molecule` of an rdkit.Chem.Mol: all its conformers, bonds, charges, its name and its data.

    Partial charges are those of `ComputeGasteigerCharges`, of a MOL2 file, or of the list under the
    SD tag PartialCharges. Isotopes, radicals and stereochemistry are not taken over. ValueError for
    a molecule without conformers: embed it first (AllChem.EmbedMolecule).
    """
    if not is_rdkit(mol):
        raise TypeError(f"mol: must be an rdkit.Chem.Mol, got {type(mol).__name__}")
    from rdkit import Chem

    conformers = list(mol.GetConformers())
    name = mol.GetProp("_Name") if mol.HasProp("_Name") else ""
    if not conformers:
        raise ValueError(
            f"{name or 'the molecule'}: has no conformer: make 3-D coordinates, for example with "
            "AllChem.EmbedMolecule"
        )
    atoms = list(mol.GetAtoms())
    kekulized = Chem.Mol(mol)  # so that files tell where the hydrogens of aromatic atoms are
    try:
        Chem.Kekulize(kekulized, clearAromaticFlags=True)
    except ValueError:
        kekulized = mol
    bonds = [
        (bond.GetBeginAtomIdx(), bond.GetEndAtomIdx(), _order(bond)) for bond in kekulized.GetBonds()
    ]
    result = Molecule(
        [atom.GetAtomicNum() for atom in atoms],
        np.array([conformer.GetPositions() for conformer in conformers]).reshape(
            len(conformers), len(atoms), 3
        ),
        bonds=np.array(bonds, dtype=np.int64).reshape(-1, 3),
        formal_charges=[atom.GetFormalCharge() for atom in atoms],
        title=name,
    )
    charges = _partial_charges(mol, atoms)
    if charges is not None:
        result.partial_charges = charges
    data = {name: mol.GetProp(name) for name in mol.GetPropNames(includePrivate=False)}
    if data:
        result.data = data
    return result


def _order(bond):
    if bond.GetIsAromatic():
        return _AROMATIC_ORDER
    order = int(bond.GetBondTypeAsDouble())
    return order if 1 <= order <= 3 else 1


def _partial_charges(mol, atoms):
    if mol.HasProp("PartialCharges"):
        texts = mol.GetProp("PartialCharges").split()
        if len(texts) == len(atoms):
            return [float(text) for text in texts]
    for name in ("_GasteigerCharge", "_TriposPartialCharge", "PartialCharge", "molFileAtomCharge"):
        if atoms and all(atom.HasProp(name) for atom in atoms):
            charges = [float(atom.GetProp(name)) for atom in atoms]
            if np.all(np.isfinite(charges)):
                return charges
    return None


def to_rdkit(molecule: Molecule) -> Any:
    """An rdkit.Chem.Mol of a `Molecule`: all its conformers, its title as _Name, its data as
    properties. Chirality is perceived from the first conformer.

    A structure that RDKit cannot make sense of stays unsanitized.
    """
    if not isinstance(molecule, Molecule):
        raise TypeError(f"molecule: must be a Molecule, got {type(molecule).__name__}")
    from rdkit import Chem
    from rdkit.Geometry import Point3D

    editable = Chem.RWMol()
    bonds = np.asarray(molecule.bonds)
    for number, charge in zip(molecule.atomic_numbers, molecule.formal_charges):
        atom = Chem.Atom(int(number))
        atom.SetFormalCharge(int(charge))
        atom.SetNoImplicit(len(bonds) == 0)  # without bonds nothing tells what is missing
        editable.AddAtom(atom)
    types = {
        1: Chem.BondType.SINGLE,
        2: Chem.BondType.DOUBLE,
        3: Chem.BondType.TRIPLE,
        _AROMATIC_ORDER: Chem.BondType.AROMATIC,
    }
    for begin, end, order in bonds:
        editable.AddBond(int(begin), int(end), types.get(int(order), Chem.BondType.SINGLE))
        if int(order) == _AROMATIC_ORDER:
            editable.GetAtomWithIdx(int(begin)).SetIsAromatic(True)
            editable.GetAtomWithIdx(int(end)).SetIsAromatic(True)
    for places in molecule.coordinates:
        conformer = Chem.Conformer(len(places))
        for index, place in enumerate(places):
            conformer.SetAtomPosition(index, Point3D(*place))
        editable.AddConformer(conformer, assignId=True)
    mol = editable.GetMol()
    if Chem.SanitizeMol(mol, catchErrors=True) == Chem.SanitizeFlags.SANITIZE_NONE:
        Chem.AssignStereochemistryFrom3D(mol)
    mol.SetProp("_Name", _as_utf8(molecule.title))
    for name, text in molecule.data.items():
        mol.SetProp(_as_utf8(name), _as_utf8(text))
    return mol


def _as_utf8(text):
    """The text with what is not UTF-8 replaced, as RDKit wants it."""
    return text.encode("utf-8", "surrogateescape").decode("utf-8", "replace")


def moved_rdkit(mol: Any, conformer: int, transform: Any) -> Any:
    """A copy of an rdkit.Chem.Mol with one of its conformers, counted from 0, moved."""
    from rdkit import Chem
    from rdkit.Chem import rdMolTransforms

    moved = Chem.Mol(mol)
    kept = Chem.Conformer(list(moved.GetConformers())[conformer])  # identifiers need not be unique
    moved.RemoveAllConformers()
    moved.AddConformer(kept)
    rdMolTransforms.TransformConformer(moved.GetConformer(), np.asarray(transform, dtype=float))
    return moved


def write_rdkit(path: str | os.PathLike[str], mols: list[Any]) -> None:
    """Writes molecules of RDKit with their properties to an SD file."""
    from rdkit import Chem

    with Chem.SDWriter(os.fspath(path)) as writer:
        for mol in mols:
            writer.write(mol)


def as_molecule(source: MoleculeLike) -> Molecule:
    """A `Molecule` of one of the forms that all functions take:

    - a `Molecule` itself,
    - an rdkit.Chem.Mol with its conformers,
    - a pair (elements, coordinates): symbols or atomic numbers, and (n, 3) or (conformers, n, 3)
      numbers in angstrom,
    - the name of a molecule file, of which the first record counts.
    """
    if isinstance(source, Molecule):
        return source
    if is_rdkit(source):
        return from_rdkit(source)
    if is_path(source):
        for molecule, _ in MoleculeGroups(os.fspath(source), group=False):
            return molecule
        raise QXHermiteError(f"{os.fspath(source)}: holds no molecule: check the file")
    if isinstance(source, (tuple, list)) and len(source) == 2:
        elements, coordinates = source
        return Molecule(elements, arguments.array("coordinates", coordinates))
    raise TypeError(
        f"cannot make a molecule of {type(source).__name__}: give a Molecule, an rdkit Mol, "
        "a pair (elements, coordinates) or a file name"
    )


def read_molecules(
    path: str | os.PathLike[str], format: str = "auto", *, group: bool = False
) -> list[Molecule]:
    """All molecules of a file that can be read; warnings tell what was passed over.

    format: "auto" (by the extension), "sdf", "mol", "mol2", "pdb", "smiles" or "qxb".
    group: consecutive records of one title and the same atoms and bonds are conformers of one
        molecule, as `overlay` has them; the format is that of the extension then.
    """
    arguments.check(locals())
    arguments.path("path", path)
    if not group:
        return _core._read_molecules(path, format)
    if format != "auto":
        raise ValueError("format: cannot be chosen where records are grouped")
    return [molecule for molecule, _ in MoleculeGroups(path)]
