"""Prints a header for Doxygen: what the headers write as plain text is marked up.

Usage: doxygen_filter.py HEADER

Lines of a `///` comment that are indented further are kept as they stand: they are formulas, tables
and examples. A `//` comment in front of the first namespace is the description of the file. A comment often
holds for some declarations that follow it without a blank line or another comment between them: each
gets it, marked as told together. Copies, moves and destructors that the compiler makes are left out where
they have no comment.
"""

import itertools
import re
import sys


def is_comment(line):
    return re.match(r"\s*///(?!<)", line) is not None


def marked_up(lines):
    """The text of a comment, with \\verbatim about its indented lines, those of lists aside."""
    kept = in_list = False
    blanks = []
    for line in lines:
        text = re.sub(r"^\s*/// ?", "", line)
        if not text.strip():
            blanks.append(text)
            continue
        indented = text.startswith("  ")
        if not kept and re.match(r"\s*[-*] ", text):
            in_list = True
        elif not indented:
            in_list = False
        if (indented and not in_list) == kept:
            yield from blanks
        else:
            kept = not kept
            yield from [*blanks, "\\verbatim"] if kept else ["\\endverbatim", *blanks]
        blanks = []
        yield text
    if kept:
        yield "\\endverbatim"


def distributed(lines):
    """The lines, with a comment in front of each of the declarations that it holds for."""
    comment, ended = [], False
    for line in lines:
        indent = len(line) - len(line.lstrip())
        if is_comment(line):
            if not comment or not is_comment(previous):
                comment = []
            comment.append(line)
            ended = False
        elif not line.strip() or line.lstrip().startswith(("//", "#")):
            comment = []
        elif line.lstrip().startswith("}"):
            if comment and indent < len(comment[0]) - len(comment[0].lstrip()):
                comment = []
        elif comment and indent == len(comment[0]) - len(comment[0].lstrip()):
            if ended and "///<" not in line:
                yield " " * indent + "/// *Told together with the one above:*"
                yield from comment
            ended = False
        yield line
        ended = ended or line.split("//")[0].rstrip().endswith((";", "}"))
        previous = line


def without_defaults(lines):
    """The lines, without defaulted copies, moves and destructors."""
    previous = ""
    for line in lines:
        plain = re.match(r"\s*(virtual )?(\w+& operator=\(.+\)|\w+\(.+\)|~\w+\(\))( noexcept| override)*"
                         r" = default;$", line)
        if not plain or is_comment(previous):
            yield line
        previous = line


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        lines = list(without_defaults(file.read().splitlines()))
    start = next((i for i, line in enumerate(lines) if line.startswith("namespace")), len(lines))
    lines[:start] = ["///" + line[2:] if re.match(r"//(\s|$)", line) else line
                     for line in lines[:start]]
    lines.insert(next((i for i, line in enumerate(lines[:start]) if line.startswith("///")), 0),
                 "/// \\file")
    for comment, group in itertools.groupby(distributed(lines), is_comment):
        print("\n".join(["/**", *marked_up(group), "*/"] if comment else group))


main()
