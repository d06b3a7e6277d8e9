"""Makes NAME.ccp4 and NAME.sdf in data: the middle of an electron density, and its atoms.

Usage: python3 make_map.py density.ccp4 molecule.json FOLDER

density.ccp4: 32-bit floats, columns along x, start words, as python3-gemmi reads it.
molecule.json: "name", "atoms" with element and coordinates, and "smiles" in the same order.
"""

import json
import sys

import gemmi
import numpy
from rdkit import Chem
from rdkit.Geometry import Point3D

MARGIN = 2.75  # angstrom, beyond the atoms


def crop(source, target, atoms):
    """Writes the part of a map within MARGIN of the atoms."""
    whole = gemmi.read_ccp4_map(source)
    values = numpy.array(whole.grid, copy=False)
    start = [whole.header_i32(word) for word in (5, 6, 7)]
    spacing = whole.header_float(11) / whole.header_i32(8)
    low = numpy.floor((atoms.min(axis=0) - MARGIN) / spacing).astype(int) - start
    high = numpy.ceil((atoms.max(axis=0) + MARGIN) / spacing).astype(int) - start + 1
    low = numpy.maximum(low, 0)
    part = values[low[0]:high[0], low[1]:high[1], low[2]:high[2]]

    out = gemmi.Ccp4Map()
    out.grid = gemmi.FloatGrid(numpy.ascontiguousarray(part, dtype=numpy.float32))
    cell = [size * spacing for size in part.shape]
    out.grid.unit_cell = gemmi.UnitCell(*cell, 90, 90, 90)
    out.grid.spacegroup = gemmi.SpaceGroup("P1")
    out.update_ccp4_header(2, True)
    for word, value in zip((5, 6, 7), start + low):
        out.set_header_i32(word, int(value))
    out.write_ccp4_map(target)


def write_molecule(data, target):
    molecule = Chem.AddHs(Chem.MolFromSmiles(data["smiles"]))
    conformer = Chem.Conformer(molecule.GetNumAtoms())
    for index, atom in enumerate(data["atoms"]):
        assert molecule.GetAtomWithIdx(index).GetSymbol() == atom["element"]
        conformer.SetAtomPosition(index, Point3D(atom["x"], atom["y"], atom["z"]))
    molecule.AddConformer(conformer)
    molecule.SetProp("_Name", data["name"])
    with Chem.SDWriter(target) as writer:
        writer.write(molecule)


def main():
    source, molecule, folder = sys.argv[1:]
    with open(molecule, encoding="utf-8") as file:
        data = json.load(file)
    atoms = numpy.array([[atom[axis] for axis in "xyz"] for atom in data["atoms"]])
    crop(source, f"{folder}/{data['name']}.ccp4", atoms)
    write_molecule(data, f"{folder}/{data['name']}.sdf")


main()
