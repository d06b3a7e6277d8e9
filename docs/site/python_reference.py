"""Writes the pages of the Python reference from the package itself.

Usage: PYTHONPATH=BUILD/python python_reference.py FOLDER
"""

import inspect
import pathlib
import sys

import qxhermite

PAGES = {
    "calls": "Overlay, fit, convert",
    "values": "Molecules, grids, options, densities",
    "blocks": "Building blocks",
}
# What most people look for, in this order, comes before the rest.
FIRST = ["overlay", "OverlayResult", "Hit", "similarity_matrix", "expand", "grid_to_atoms",
         "FoundAtoms", "fit_charges", "ChargeFit", "potential", "field", "interaction_energy"]


def page_of(thing):
    """What is written in Python comes first; of the extension, values are what can be pickled."""
    if not thing.__module__.endswith("_core"):
        return "calls"
    return "values" if hasattr(thing, "__setstate__") else "blocks"


def main():
    target = pathlib.Path(sys.argv[1])
    target.mkdir(parents=True, exist_ok=True)
    entries = {page: [] for page in PAGES}
    rest = [name for name in vars(qxhermite) if name not in FIRST]
    for name in [*FIRST, *rest]:
        thing = getattr(qxhermite, name)
        if name.startswith("_") or not (inspect.isclass(thing) or callable(thing)):
            continue
        if inspect.isclass(thing):
            kind, options = "autoclass", ["   :members:", "   :inherited-members: object, Sequence"]
        else:
            kind, options = "autofunction", []
        if inspect.isclass(thing) and issubclass(thing, BaseException):
            kind, options = "autoexception", []
        entries[page_of(thing)].append("\n".join([f".. {kind}:: qxhermite.{name}", *options, ""]))
    for page, title in PAGES.items():
        (target / f"{page}.rst").write_text(
            "\n".join([title, "=" * len(title), "", *entries[page]]))


main()
