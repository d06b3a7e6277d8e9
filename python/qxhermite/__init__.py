"""Molecular densities as vectors: expansions in 3-D Hermite functions, and what follows from them.

Molecules are what `overlay`, `expand` and the like take: a `Molecule`, an rdkit.Chem.Mol, a pair
(elements, coordinates) or the name of a file. Maps are a `ScalarGrid`, or the name of a file.
Lengths are in angstrom, charges in elementary charges, energies in kcal/mol.

    >>> import qxhermite
    >>> result = qxhermite.overlay("reference.sdf", "library.sdf")
    >>> result.write("hits.sdf")
"""

from qxhermite import molecules
from qxhermite._core import *  # noqa: F401,F403: the classes and functions of the library
from qxhermite._core import __version__
from qxhermite.charges import ChargeFit, field, fit_charges, interaction_energy, potential
from qxhermite.expansion import expand
from qxhermite.grid_atoms import FoundAtoms, grid_to_atoms
from qxhermite.molecules import as_molecule, from_rdkit, read_molecules, to_rdkit
from qxhermite.overlays import Hit, OverlayResult, Skipped, overlay
from qxhermite.similarity import similarity_matrix
