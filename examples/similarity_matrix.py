#!/usr/bin/python3
"""Compares the shapes of all molecules of a file and sorts them into clusters.

Usage: similarity_matrix.py FILE.sdf
"""

import sys

from scipy.cluster.hierarchy import fcluster, linkage
from scipy.spatial.distance import squareform

import qxhermite


def main():
    molecules = {}
    for mol in qxhermite.read_molecules(sys.argv[1]):
        molecules.setdefault(mol.title, mol)  # the first conformer of each
    titles = list(molecules)
    matrix = qxhermite.similarity_matrix(molecules.values())

    distances = squareform(1 - matrix, checks=False)
    cluster_of = fcluster(linkage(distances, "average"), t=0.35, criterion="distance")
    for cluster in sorted(set(cluster_of)):
        members = [title for title, of in zip(titles, cluster_of) if of == cluster]
        if len(members) > 1:
            print(", ".join(members))


main()
