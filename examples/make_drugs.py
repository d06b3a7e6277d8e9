#!/usr/bin/python3
"""Makes data/reference.sdf and data/drugs.sdf: well-known drugs with conformers.

Run with Debian's python3-rdkit: ./make_drugs.py. The seeds are fixed, so the same RDKit release
gives the same files. Each SMILES is checked against the drug's molecular formula, and the stereo
labels where the drug is a single stereoisomer; open centres are drawn by the seed. Every conformer
lies in a frame of its own.
"""
import pathlib
import zlib

import numpy as np
from rdkit import Chem, RDLogger
from rdkit.Chem import AllChem, rdMolDescriptors

RDLogger.DisableLog("rdApp.warning")

DATA = pathlib.Path(__file__).parent / "data"
REFERENCE = "celecoxib"
MAX_CONFORMERS = 10
WINDOW = 10.0  # kcal/mol over the lowest conformer
MIN_RMS = 0.6  # angstrom between two conformers that are kept

# title: (SMILES, molecular formula, stereo labels or "")
DRUGS = {
    "aspirin": ("CC(=O)Oc1ccccc1C(O)=O", "C9H8O4", ""),
    "caffeine": ("Cn1cnc2c1c(=O)n(C)c(=O)n2C", "C8H10N4O2", ""),
    "carbamazepine": ("NC(=O)N1c2ccccc2C=Cc2ccccc12", "C15H12N2O", ""),
    "celecoxib": ("Cc1ccc(cc1)-c1cc(C(F)(F)F)nn1-c1ccc(cc1)S(N)(=O)=O", "C17H14F3N3O2S", ""),
    "diazepam": ("CN1c2ccc(Cl)cc2C(=NCC1=O)c1ccccc1", "C16H13ClN2O", ""),
    "diclofenac": ("OC(=O)Cc1ccccc1Nc1c(Cl)cccc1Cl", "C14H11Cl2NO2", ""),
    "etoricoxib": ("CS(=O)(=O)c1ccc(cc1)-c1cc(Cl)cnc1-c1ccc(C)nc1", "C18H15ClN2O2S", ""),
    "fluoxetine": ("CNCCC(Oc1ccc(cc1)C(F)(F)F)c1ccccc1", "C17H18F3NO", ""),
    "flurbiprofen": ("CC(C(O)=O)c1ccc(c(F)c1)-c1ccccc1", "C15H13FO2", ""),
    "haloperidol": ("OC1(CCN(CCCC(=O)c2ccc(F)cc2)CC1)c1ccc(Cl)cc1", "C21H23ClFNO2", ""),
    "ibuprofen": ("CC(C)Cc1ccc(cc1)C(C)C(O)=O", "C13H18O2", ""),
    "indomethacin": ("COc1ccc2c(c1)c(CC(O)=O)c(C)n2C(=O)c1ccc(Cl)cc1", "C19H16ClNO4", ""),
    "ketoprofen": ("CC(C(O)=O)c1cccc(c1)C(=O)c1ccccc1", "C16H14O3", ""),
    "lidocaine": ("CCN(CC)CC(=O)Nc1c(C)cccc1C", "C14H22N2O", ""),
    "metoprolol": ("COCCc1ccc(OCC(O)CNC(C)C)cc1", "C15H25NO3", ""),
    "morphine": ("CN1CC[C@]23c4c5ccc(O)c4O[C@H]2[C@@H](O)C=C[C@H]3[C@H]1C5", "C17H19NO3",
                 "SRSRR"),
    "naproxen": ("COc1ccc2cc(ccc2c1)[C@H](C)C(O)=O", "C14H14O3", "S"),
    "nifedipine": ("COC(=O)C1=C(C)NC(C)=C(C1c1ccccc1[N+]([O-])=O)C(=O)OC", "C17H18N2O6", ""),
    "omeprazole": ("COc1ccc2[nH]c(nc2c1)S(=O)Cc1ncc(C)c(OC)c1C", "C17H19N3O3S", ""),
    "paracetamol": ("CC(=O)Nc1ccc(O)cc1", "C8H9NO2", ""),
    "rofecoxib": ("CS(=O)(=O)c1ccc(cc1)C1=C(C(=O)OC1)c1ccccc1", "C17H14O4S", ""),
    "sertraline": ("CN[C@H]1CC[C@@H](c2ccc(Cl)c(Cl)c2)c2ccccc12", "C17H17Cl2N", "SS"),
    "sulfamethoxazole": ("Cc1cc(NS(=O)(=O)c2ccc(N)cc2)no1", "C10H11N3O3S", ""),
    "trimethoprim": ("COc1cc(Cc2cnc(N)nc2N)cc(OC)c1OC", "C14H18N4O3", ""),
    "valdecoxib": ("Cc1onc(c1-c1ccc(cc1)S(N)(=O)=O)-c1ccccc1", "C16H14N2O3S", ""),
    "warfarin": ("CC(=O)CC(c1ccccc1)C1=C(O)c2ccccc2OC1=O", "C19H16O4", ""),
}


def seed_of(title, salt=""):
    return zlib.crc32((title + salt).encode()) & 0x7FFFFFFF


def checked_molecule(title, smiles, formula, labels):
    mol = Chem.MolFromSmiles(smiles)
    found = rdMolDescriptors.CalcMolFormula(mol)
    if found != formula:
        raise SystemExit(f"{title}: formula {found}, expected {formula}")
    found = Chem.FindMolChiralCenters(mol, useLegacyImplementation=False)
    centres = "".join(label for _, label in found)
    if centres != labels:
        raise SystemExit(f"{title}: stereo centres {centres}, expected {labels}")
    return Chem.AddHs(mol)


def conformers(title, mol):
    """MMFF94-minimised conformers, lowest first, mutually at least MIN_RMS apart."""
    first = AllChem.EmbedMolecule(mol, randomSeed=seed_of(title))
    if first != 0:
        raise SystemExit(f"{title}: no coordinates")
    Chem.AssignStereochemistryFrom3D(mol)  # all conformers are of one stereoisomer
    ids = list(AllChem.EmbedMultipleConfs(mol, 60, randomSeed=seed_of(title)))
    energies = [e for _, e in AllChem.MMFFOptimizeMoleculeConfs(mol, maxIters=5000)]
    heavy = Chem.RemoveHs(mol)
    kept = []
    for conf_id in sorted(ids, key=lambda i: energies[i]):
        if energies[conf_id] > min(energies) + WINDOW or len(kept) == MAX_CONFORMERS:
            break
        probe = Chem.Mol(heavy)
        if all(AllChem.GetBestRMS(probe, Chem.Mol(heavy), conf_id, k, maxMatches=1000) >= MIN_RMS
               for k in kept):
            kept.append(conf_id)
    return kept


def random_motion(rng):
    """A rotation from a random unit quaternion and a shift of up to 10 angstrom."""
    w, x, y, z = (q := rng.normal(size=4)) / np.linalg.norm(q)
    turn = np.array([[1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y)],
                     [2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x)],
                     [2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y)]])
    return turn, rng.uniform(-10, 10, size=3)


def write(writer, title, mol, conf_id, salt):
    rng = np.random.default_rng(seed_of(title, f"{salt}{conf_id}"))
    turn, shift = random_motion(rng)
    out = Chem.Mol(mol, confId=conf_id)
    xyz = out.GetConformer().GetPositions() @ turn.T + shift
    for atom, position in enumerate(xyz):
        out.GetConformer().SetAtomPosition(atom, position.tolist())
    out.SetProp("_Name", title)
    charges = (atom.GetDoubleProp("_GasteigerCharge") for atom in out.GetAtoms())
    out.SetProp("PartialCharges", " ".join(f"{charge:.4f}" for charge in charges))
    writer.write(out)


def main():
    DATA.mkdir(exist_ok=True)
    with Chem.SDWriter(str(DATA / "drugs.sdf")) as drugs, \
         Chem.SDWriter(str(DATA / "reference.sdf")) as reference:
        for title, (smiles, formula, labels) in DRUGS.items():
            mol = checked_molecule(title, smiles, formula, labels)
            kept = conformers(title, mol)
            AllChem.ComputeGasteigerCharges(mol)
            for conf_id in kept:
                write(drugs, title, mol, conf_id, "library")
            if title == REFERENCE:
                write(reference, title, mol, kept[0], "reference")
            print(f"{title:18} {formula:16} {len(kept):2} conformers")


if __name__ == "__main__":
    main()
