"""Writes the examples that the comments of the headers show, one file each, to be included by a test:
extract.py SOURCE_FOLDER TEST FOLDER

The examples of hermite/overlay/overlap.h are FOLDER/hermite/overlay/overlap_1.inc and so on. Fails when the
TEST does not include one of them. Formulas, which are indented as well, have no semicolons at the ends
of lines, and tables begin with a number.
"""

import pathlib
import re
import sys

source, test, folder = map(pathlib.Path, sys.argv[1:])
included = set(re.findall(r'#include "(.*\.inc)"', test.read_text()))
found = set()


def write(header, lines):
    name = header.relative_to(source).with_suffix("").as_posix()
    number = 1 + sum(other.startswith(f"{name}_") for other in found)
    found.add(f"{name}_{number}.inc")
    path = folder / f"{name}_{number}.inc"
    text = "\n".join(lines) + "\n"
    path.parent.mkdir(parents=True, exist_ok=True)
    if not path.exists() or path.read_text() != text:
        path.write_text(text)


for header in sorted([*source.glob("host/**/*.h"), *source.glob("hermite/**/*.h")]):
    block = []
    for line in [*header.read_text().splitlines(), ""]:
        match = re.match(r"\s*///   +(?=\S)(.*)", line)
        if match:
            block.append(match[1])
            continue
        if any(re.search(r";(\s*//.*)?$", text) for text in block) and not block[0][0].isdigit():
            write(header, block)
        block = []

if included != found:
    sys.exit(f"{test}: not included: {sorted(found - included)}; not there: {sorted(included - found)}")
