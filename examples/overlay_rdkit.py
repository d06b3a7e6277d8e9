#!/usr/bin/python3
"""Makes conformers of some drugs from their SMILES and lays them over a reference by shape.

Usage: overlay_rdkit.py REFERENCE.sdf POSES.sdf
"""

import sys

from rdkit import Chem
from rdkit.Chem import AllChem

import qxhermite

SMILES = {
    "etoricoxib": "CS(=O)(=O)c1ccc(cc1)-c1cc(Cl)cnc1-c1ccc(C)nc1",
    "rofecoxib": "CS(=O)(=O)c1ccc(cc1)C1=C(C(=O)OC1)c1ccccc1",
    "naproxen": "COc1ccc2cc(ccc2c1)[C@H](C)C(O)=O",
    "paracetamol": "CC(=O)Nc1ccc(O)cc1",
}


def with_conformers(title, smiles):
    mol = Chem.AddHs(Chem.MolFromSmiles(smiles))
    mol.SetProp("_Name", title)
    AllChem.EmbedMultipleConfs(mol, 10, randomSeed=1)
    AllChem.MMFFOptimizeMoleculeConfs(mol)
    return mol


def main():
    reference, poses = sys.argv[1:]
    celecoxib = Chem.MolFromMolFile(reference)
    fits = [with_conformers(*item) for item in SMILES.items()]
    result = qxhermite.overlay(celecoxib, fits)
    print("rank  title        Tanimoto")
    for rank, hit in enumerate(result, start=1):
        print(f"{rank:4d}  {hit.title:12} {hit.score:.2f}")
    with Chem.SDWriter(poses) as writer:
        for pose in result.to_rdkit():  # one conformer each, moved onto the reference
            writer.write(pose)


main()
