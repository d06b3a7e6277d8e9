"""Molecular densities as vectors: expansions in 3-D Hermite functions, and what follows from them.

Molecules are what `overlay`, `expand` and the like take: a `Molecule`, an rdkit.Chem.Mol, a pair
(elements, coordinates) or the name of a file. Maps are a `ScalarGrid`, or the name of a file.
Lengths are in angstrom, charges in elementary charges, energies in kcal/mol.

    >>> import qxhermite
    >>> result = qxhermite.overlay("reference.sdf", "library.sdf")
    >>> result.write("hits.sdf")
"""

try:
    from qxhermite._core import __version__ as __version__
except ModuleNotFoundError as error:
    if error.name != "qxhermite._core":
        raise
    raise ImportError(
        "qxhermite: the compiled part _core is missing: build it with ./dev build, and put "
        "build/release/python in front of PYTHONPATH",
        name=error.name,
    ) from None

from qxhermite import molecules as molecules
from qxhermite._core import *  # noqa: F401,F403: the classes and functions of the library
from qxhermite.charges import ChargeFit as ChargeFit
from qxhermite.charges import field as field
from qxhermite.charges import fit_charges as fit_charges
from qxhermite.charges import interaction_energy as interaction_energy
from qxhermite.charges import potential as potential
from qxhermite.expansion import expand as expand
from qxhermite.grid_atoms import FoundAtoms as FoundAtoms
from qxhermite.grid_atoms import grid_to_atoms as grid_to_atoms
from qxhermite.molecules import as_molecule as as_molecule
from qxhermite.molecules import from_rdkit as from_rdkit
from qxhermite.molecules import read_molecules as read_molecules
from qxhermite.molecules import to_rdkit as to_rdkit
from qxhermite.overlays import overlay as overlay
from qxhermite.results import Hit as Hit
from qxhermite.results import OverlayResult as OverlayResult
from qxhermite.results import Skipped as Skipped
from qxhermite.similarity import similarity_matrix as similarity_matrix
