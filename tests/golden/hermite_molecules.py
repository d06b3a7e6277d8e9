#!/usr/bin/python3
"""Makes tests/data/hermite/drugs.txt, the real molecules of the tests of hermite/.

usage: hermite_molecules.py FILE.sdf TITLE... > drugs.txt

The output is plain, so that the tests need no reader of molecule files: for each molecule a line
with its title, number of atoms and number of conformers; a line "atomic-number charge" for each
atom; then, conformer by conformer, a line "x y z" (angstrom) for each atom. At most two conformers
(records of one title) of a molecule are taken. Charges are those of the SD item PartialCharges.
"""
import sys

ATOMIC_NUMBERS = {"H": 1, "C": 6, "N": 7, "O": 8, "F": 9, "S": 16, "Cl": 17}
MAX_CONFORMERS = 2


def read_record(record):
    lines = record.split("\n")
    count = int(lines[3][:3])
    atoms = [line.split()[:4] for line in lines[4:4 + count]]
    charges = lines[next(i for i, line in enumerate(lines) if "<PartialCharges>" in line) + 1]
    elements = [f"{ATOMIC_NUMBERS[a[3]]} {q}" for a, q in zip(atoms, charges.split(), strict=True)]
    return lines[0], elements, [" ".join(a[:3]) for a in atoms]


def main():
    molecules = {title: None for title in sys.argv[2:]}
    with open(sys.argv[1], encoding="ascii") as file:
        for record in file.read().split("$$$$\n")[:-1]:
            title, elements, coordinates = read_record(record)
            if title not in molecules:
                continue
            if molecules[title] is None:
                molecules[title] = (elements, [])
            if len(molecules[title][1]) < MAX_CONFORMERS:
                molecules[title][1].append(coordinates)
    for title, (elements, conformers) in molecules.items():
        print(title, len(elements), len(conformers))
        print("\n".join(elements))
        for coordinates in conformers:
            print("\n".join(coordinates))


if __name__ == "__main__":
    main()
