#!/usr/bin/env bash
# Builds the documentation site into FOLDER, without any request to a network.
#   docs/site/build.sh BUILD FOLDER     BUILD/python holds the Python module
# What it is made from is put together in FOLDER.work.
# Debian: python3-sphinx python3-myst-parser furo python3-breathe doxygen libjs-katex
set -euo pipefail
module=$(realpath "$1")/python
mkdir -p "$2" "$2.work"
site=$(realpath "$2")
out=$(realpath "$2.work")
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

rm -rf "$out/source"
mkdir -p "$out/source" "$out/doxygen"
cp -r docs/. "$out/source"
cp docs/site/conf.py "$out/source"
cp -r docs/site/static "$out/source/static"
rm -rf "$out/source/site"
mkdir -p "$out/source/static/katex/contrib"
katex=/usr/share/javascript/katex
cp "$katex/katex.min.js" "$katex/katex.min.css" "$out/source/static/katex"
cp "$katex/contrib/auto-render.js" "$out/source/static/katex/contrib"
cp -rL "$katex/fonts" "$out/source/static/katex/fonts"
(cat docs/site/Doxyfile; echo "OUTPUT_DIRECTORY = $out/doxygen") | doxygen - >"$out/doxygen.log" 2>&1 ||
  { cat "$out/doxygen.log" >&2; exit 1; }
/usr/bin/python3 docs/site/cpp_reference.py "$out/doxygen/xml" "$out/source/cpp"

export QX_DOXYGEN_XML=$out/doxygen/xml PYTHONPATH=$module LC_ALL=C.UTF-8
/usr/bin/python3 docs/site/python_reference.py "$out/source/python"
/usr/bin/python3 -m sphinx -W --keep-going -q -j auto -b html -d "$out/doctrees" \
  "$out/source" "$site"

# Debian's theme looks for this file at the root of the web server: take it along.
cp /usr/share/javascript/normalize.css/normalize.css "$site/_static/styles"
sed -i 's|/javascript/normalize.css/||' "$site/_static/styles/furo.css"
# Its script is written for a bundler: put the one that it imports in front of it.
scripts=$site/_static/scripts
{ cat "$scripts/gumshoe-patched.js"; sed '/^import Gumshoe/d' "$scripts/furo.js"; } >"$scripts/bundle.js"
mv "$scripts/bundle.js" "$scripts/furo.js"
# A page without sections has no last item to look for.
sed -i 's/if (isAtBottom() && isInView(item/if (item \&\& isAtBottom() \&\& isInView(item/' "$scripts/furo.js"
grep -q 'if (item && isAtBottom' "$scripts/furo.js" || { echo "the theme has another script" >&2; exit 1; }
# Debian's compiler of styles leaves out the dark colours of those who ask for them in the system.
styles=$site/_static/styles/furo.css
dark=$(sed -n '/^  body\[data-theme="dark"\] {/,/}$/p' "$styles" | sed '1s/.*/  body:not([data-theme="light"]) {/')
[[ $dark == *--color-background-primary* ]] || { echo "the theme has other colours" >&2; exit 1; }
printf '@media screen and (prefers-color-scheme: dark) {\n%s }\n' "$dark" >>"$styles"
