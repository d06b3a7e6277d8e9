"""Settings of the documentation site; docs/site/build.sh builds it."""

import itertools
import operator
import os
import re

project = "QXHermite"
copyright = "the QXHermite developers"
html_title = "QXHermite"

extensions = ["myst_parser", "breathe", "sphinx.ext.autodoc", "sphinx.ext.mathjax"]
myst_enable_extensions = ["dollarmath"]
myst_heading_anchors = 3
myst_update_mathjax = False
suppress_warnings = ["myst.header"]

highlight_language = "none"
html_theme = "furo"
html_static_path = ["static"]
html_copy_source = False
html_show_sphinx = False
mathjax_path = "math.js"
mathjax_options = {"defer": "defer"}

breathe_projects = {"qxhermite": os.environ["QX_DOXYGEN_XML"]}
breathe_default_project = "qxhermite"
breathe_show_include = False
breathe_show_define_initializer = False

autodoc_member_order = "bysource"
autodoc_typehints = "none"
autoclass_content = "both"
default_role = "literal"


def mark_up(app, what, name, thing, options, lines):
    """Docstrings are plain text. A paragraph of lines such as `name, name: what it is` becomes a list,
    one that is indented stays as it stands."""
    marked = []
    for blank, group in itertools.groupby(lines, lambda line: not line.strip()):
        paragraph = list(group)
        plain = [re.sub(r"([*|\\]|_(?!\w))", r"\\\1", line.strip()) for line in paragraph]
        plain = [re.sub(r"(`[^`]+`)(?=\w)", r"\1\\ ", line) for line in plain]
        arguments = [re.match(r"[a-z]\w*(, [a-z]\w*)*: ", line) for line in paragraph]
        indented = [line.startswith("   ") for line in paragraph]
        if all(indented):
            marked += ["::", "", *paragraph]
        elif arguments[0] and all(map(operator.or_, map(bool, arguments), indented)):
            for argument, text in zip(arguments, plain):
                marked.append(re.sub("^(.*?): ", r"* **\1**: ", text) if argument else "  " + text)
        elif re.search(r"^\s*- ", "\n".join(paragraph), re.MULTILINE):
            for line, text in zip(paragraph, plain):
                item = line.lstrip().startswith("- ")
                marked += ([""] if item else []) + [text if item or line[0] != " " else "  " + text]
        else:
            marked += plain
    lines[:] = marked


def shorten(app, what, name, thing, options, signature, returned):
    """Signatures of the extension without what says nothing."""
    texts = [text and re.sub(r"self: [\w.:]+(, )?|: (?:handle|object)\b|\w+\._core\.|numpy\.(?=nd)",
                             "", text) for text in (signature, returned)]
    return texts[0], None if texts[1] == "object" else texts[1]


def setup(app):
    app.connect("autodoc-process-docstring", mark_up)
    app.connect("autodoc-process-signature", shorten)
