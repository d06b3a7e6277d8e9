"""Molecular densities as vectors: Hermite expansions, overlap, overlay and charge densities."""

from qxhermite._core import *  # noqa: F401,F403
from qxhermite._core import __version__
