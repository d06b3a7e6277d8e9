#!/usr/bin/python3
"""Writes tests/data/molkit/drawings.sdf: 2-D drawings whose titles are their canonical SMILES.

Run from the repository root with Debian's python3-rdkit.
"""

from rdkit import Chem
from rdkit.Chem import AllChem

SMILES = [
    "C[C@H](N)C(=O)O", "F/C=C/Cl", "F/C=C\\Cl", "C[C@@](F)(Cl)Br", "[2H]C([2H])O", "C[CH]C",
    "[Na+].[Cl-]", "c1cc[nH]c1", "[O-][n+]1ccccc1", "C[S@](=O)CC", "[13CH4]", "C=C(C)CC=CC",
    "[NH4+]", "*CC", "[CH2]", "O=[N+]([O-])c1ccccc1", "N[Pt](N)(Cl)Cl",
    "C[C@H]1CC[C@@H](O)CC1",
]

with open("tests/data/molkit/drawings.sdf", "w") as out:
    for i, smiles in enumerate(SMILES):
        mol = Chem.MolFromSmiles(smiles)
        mol.SetProp("_Name", Chem.MolToSmiles(mol))
        AllChem.Compute2DCoords(mol)
        # Every third one as V3000, so that both forms are read.
        out.write(Chem.MolToMolBlock(mol, forceV3000=i % 3 == 2) + "$$$$\n")
