"""Settings of the documentation site; docs/site/build.sh builds it."""

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
    """Docstrings are plain text: lines such as `name, name: what it is` become a list, what is
    indented otherwise stays as it stands."""
    marked, item, kept = [], False, False
    for line in lines:
        argument = re.match(r"([a-z]\w*(?:, [a-z]\w*)*): (.*)", line)
        indented = line.startswith("   ")
        if argument:
            marked += ([] if item else [""]) + [f"* **{argument[1]}**: {argument[2]}"]
        elif item and indented:
            marked.append("  " + line.strip())
        elif indented:
            marked += ([] if kept else ["", "::", ""]) + [line]
        else:
            marked += ([""] if item or kept else []) + [line]
        item = bool(argument) or (item and indented)
        kept = not item and (indented or (kept and not line.strip()))
    lines[:] = marked


def setup(app):
    app.connect("autodoc-process-docstring", mark_up)
