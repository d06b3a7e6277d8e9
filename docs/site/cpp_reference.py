"""Writes the pages of the C++ reference: one a folder, with all that its exported headers declare.

Usage: cpp_reference.py XML FOLDER

XML: the folder that Doxygen wrote, run in the root of the repository.
"""

import collections
import pathlib
import re
import sys
from xml.etree import ElementTree

ROOT = pathlib.Path(__file__).resolve().parents[2]
TITLES = {
    "hermite/foundations": "Options and basis",
    "hermite/expansion": "Expansions",
    "hermite/frame": "Widths, centres, orientation, rigid motion",
    "hermite/overlay": "Overlap and overlay",
    "hermite/gridatoms": "Atoms from a grid",
    "hermite/multihermite": "Models about several sites",
    "hermite/charge": "Charge densities",
    "host/core": "Toolkit: options, data, reports",
    "host/molkit": "Toolkit: molecules",
    "host/grid": "Toolkit: grids",
    "host/minimizer": "Toolkit: minimisers",
    "host/numerics": "Toolkit: sparse regression, random numbers",
}


def exported():
    """Folder -> the headers that the umbrella headers include from it."""
    folders = {folder: [] for folder in TITLES}
    for umbrella in ("hermite/hermite.h", "host/host.h"):
        for header in re.findall(r'#include "(.*)"', (ROOT / umbrella).read_text()):
            folders[str(pathlib.PurePath(header).parent)].append(header)
    return folders


def declarations(xml):
    """Header -> (line, directive, qualified name, arguments) of what it declares in namespaces."""
    found = collections.defaultdict(list)
    for path in xml.glob("*.xml"):
        for compound in ElementTree.parse(path).iter("compounddef"):
            kind, name = compound.get("kind"), compound.findtext("compoundname")
            place = compound.find("location")
            # A class in a class stands with its members.
            if kind in ("class", "struct") and name.count("::") == 1:
                found[place.get("file")].append((int(place.get("line")), kind, name, ""))
            if kind == "namespace":
                for member in compound.iter("memberdef"):
                    place = member.find("location")
                    arguments = member.findtext("argsstring")
                    found[place.get("declfile") or place.get("file")].append((
                        int(place.get("declline") or place.get("line")), member.get("kind"),
                        f"{name}::{member.findtext('name')}", arguments or ""))
    return found


def directive(kind, name, arguments, overloaded):
    if kind == "function" and overloaded:
        name += re.sub(r"\s*=[^,)]*", "", arguments)
    lines = [f"```{{doxygen{kind}}} {name}"]
    if kind in ("class", "struct"):
        lines += [":members:", ":undoc-members:"]
    return "\n".join([*lines, "```", ""])


def main():
    xml, target = map(pathlib.Path, sys.argv[1:])
    target.mkdir(parents=True, exist_ok=True)
    declared = declarations(xml)
    names = collections.Counter(name for entries in declared.values() for _, _, name, _ in entries)
    pages = []
    for folder, headers in exported().items():
        page = folder.replace("/", "-")
        pages.append(page)
        parts = [f"# {TITLES[folder]}\n"]
        for header in headers:
            parts.append(f"## `{header}`\n\n```{{doxygenfile}} {header}\n"
                         ":sections: briefdescription detaileddescription\n```\n")
            parts += [directive(kind, name, arguments, names[name] > 1)
                      for _, kind, name, arguments in sorted(declared[header])]
        (target / f"{page}.md").write_text("\n".join(parts))
    (target / "index.md").write_text(
        "# C++ reference\n\n"
        "`<hermite/hermite.h>` is the library, in the namespace `QXHermiteMath`; `<host/host.h>` the\n"
        "toolkit under it. [Conventions](../conventions.md) tells what all of it shares.\n\n"
        "```{toctree}\n:maxdepth: 1\n\n" + "\n".join(pages) + "\n```\n")


main()
