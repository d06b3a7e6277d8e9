"""Runs the fenced blocks of a page in order, in a scratch folder with the example data.

Usage: run_page.py PAGE --scratch FOLDER [--tool FOLDER] [--module FOLDER] [--installed FOLDER]

sh      run with bash -e, with the built programs on the PATH
python  run one after another in one namespace
cpp     must stand as it is in one of examples/*.cpp, which are built and run by tests of their own
cmake   configured against the installed package
text    or no language, right behind one of these: what it printed on one of its streams. Blanks do
        not count, numbers may differ by one unit of the last digit shown, and a line `...` stands
        for any lines.

Comments in the page say what a reader need not see:

<!-- files: ref.sdf = reference.sdf -->  example data under another name
<!-- run instead: COMMAND -->            run in place of the next block, or to print the next output
<!-- not run: WHY -->                    the next block is neither run nor compared; it is listed

Exit status 77: the page needs the Python module or packages that are not there.
"""

import argparse
import contextlib
import io
import os
import pathlib
import re
import shutil
import subprocess
import sys
from importlib import util

ROOT = pathlib.Path(__file__).resolve().parents[2]
DIRECTIVE = re.compile(r"\s*<!-- (files|run instead|not run): (.*?) -->\s*$")
NUMBER = re.compile(r"[-+]?\d+(?:\.\d+)?(?:[eE][-+]?\d+)?")
TOKEN = re.compile(rf"{NUMBER.pattern}|[^\s\d]+|\s+")
OUTPUT = ("", "text", "console")


class Wrong(Exception):
    pass


def blocks(text):
    """(line, language, code, directives before it, whether it follows the last block directly)."""
    lines = iter(enumerate(text.splitlines(), 1))
    directives, follows, blank = {}, False, True
    for number, line in lines:
        fence = re.match(r"(`{3,}|~{3,})\s*(.*?)\s*$", line)
        if fence:
            code = []
            for _, inner in lines:
                if inner.startswith(fence[1]):
                    break
                code.append(inner)
            else:
                raise Wrong(f"line {number}: the block has no end")
            if fence[2].startswith("{"):  # a directive of the site
                continue
            yield number, fence[2], "\n".join(code) + "\n", directives, follows
            directives, follows = {}, True
        elif comment := DIRECTIVE.match(line):
            directives[comment[1]] = comment[2]
        elif line.strip() and not re.match(r"\s*<!--.*-->\s*$", line):
            if blank and line.startswith("    "):
                raise Wrong(f"line {number}: an indented block would not be run: fence it")
            follows = False
        blank = not line.strip()


def pieces(line):
    return [token for token in TOKEN.findall(line) if not token.isspace()]


def same_number(shown, got):
    mantissa, _, exponent = shown.lower().partition("e")
    if not ("." in mantissa or exponent):
        return shown == got
    unit = 10.0 ** (int(exponent or 0) - len(mantissa.partition(".")[2]))
    return abs(float(shown) - float(got)) <= 1.0001 * unit


def same_line(shown, got):
    shown, got = pieces(shown), pieces(got)
    return len(shown) == len(got) and all(
        same_number(a, b) if NUMBER.fullmatch(a) and NUMBER.fullmatch(b) else a == b
        for a, b in zip(shown, got))


def same_lines(shown, got):
    if not shown or not got:
        return not got and all(line.strip() == "..." for line in shown)
    if shown[0].strip() == "...":
        return same_lines(shown[1:], got) or same_lines(shown, got[1:])
    return same_line(shown[0], got[0]) and same_lines(shown[1:], got[1:])


def same_output(shown, got):
    return same_lines(*([line for line in text.splitlines() if line.strip()]
                        for text in (shown, got)))


class Page:
    def __init__(self, words):
        self.words, self.namespace, self.printed = words, {}, None
        self.scratch = pathlib.Path(words.scratch).resolve()
        shutil.rmtree(self.scratch, ignore_errors=True)
        self.scratch.mkdir(parents=True)
        shutil.copytree(ROOT / "examples", self.scratch / "examples")
        for path in (ROOT / "examples/data").iterdir():
            shutil.copy(path, self.scratch)
        os.chdir(self.scratch)
        folders = [words.tool, f"{words.installed}/build", os.path.dirname(sys.executable)]
        os.environ["PATH"] = os.pathsep.join([*filter(None, folders), os.environ["PATH"]])
        if words.module:
            os.environ["PYTHONPATH"] = words.module
            sys.path.insert(0, words.module)

    def run(self):
        text = self.words.page.read_text(encoding="utf-8")
        for comment in map(DIRECTIVE.match, text.splitlines()):
            if comment and comment[1] == "files":
                for pair in comment[2].split(","):
                    name, data = pair.split("=")
                    shutil.copy(data.strip(), name.strip())
        for line, language, code, directives, follows in blocks(text):
            try:
                self.block(language, code, directives, follows)
            except Exception as error:  # whatever a block of Python raises, too
                raise Wrong(f"{self.words.page}:{line}: {error or type(error).__name__}") from error
            print(f"line {line}: {language or 'output'}", *(f"{k}: {v}" for k, v in
                                                           directives.items()))

    def block(self, language, code, directives, follows):
        if "not run" in directives:
            self.printed = None
            return
        if "run instead" in directives:
            self.sh(directives["run instead"])
        if language in OUTPUT:
            if not (follows or "run instead" in directives) or self.printed is None:
                raise Wrong("nothing that was run stands right before this output")
            if not any(same_output(code, got) for got in self.printed):
                raise Wrong("shown:\n" + code + "printed:\n" + "and, on the other stream:\n".join(
                    got for got in self.printed if got))
            self.printed = None
        elif language not in ("sh", "python", "cpp", "cmake"):
            raise Wrong(f"no way to run a block of {language}")
        elif "run instead" not in directives:
            getattr(self, language)(code)

    def sh(self, code):
        done = subprocess.run(["bash", "-eu", "-c", code], stdin=subprocess.DEVNULL,
                              capture_output=True, text=True)
        if done.returncode:
            raise Wrong(f"exit status {done.returncode}\n{done.stdout}{done.stderr}")
        self.printed = (done.stdout, done.stderr)

    def python(self, code):
        with contextlib.redirect_stdout(io.StringIO()) as out:
            exec(compile(code, f"{self.words.page} (block)", "exec"), self.namespace)
        self.printed = (out.getvalue(),)

    def cpp(self, code):
        flat = lambda text: "\n".join(line.strip() for line in text.splitlines()) + "\n"
        if not any(flat(code) in flat(path.read_text()) for path in ROOT.glob("examples/*.cpp")):
            raise Wrong("this does not stand in any of examples/*.cpp")
        self.printed = None

    def cmake(self, code):
        folder = self.scratch / "cmake"
        shutil.copytree(ROOT / "examples", folder, dirs_exist_ok=True)
        (folder / "CMakeLists.txt").write_text(code)
        self.sh(f"cmake -S {folder} -B {folder}/build "
                f"-DCMAKE_PREFIX_PATH={self.words.installed}/prefix")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("page")
    for name in ("scratch", "tool", "module", "installed"):
        parser.add_argument(f"--{name}", default="")
    words = parser.parse_args()
    words.page = pathlib.Path(words.page).resolve()
    text = words.page.read_text(encoding="utf-8")
    if re.search(r"^```python|^(python3 )?examples/.*\.py", text, re.MULTILINE):
        missing = [name for name in ("numpy", "scipy", "rdkit") if not util.find_spec(name)]
        if missing or not words.module:
            print("needs", ", ".join(missing or ["the Python module, which is not built"]))
            sys.exit(77)
    try:
        Page(words).run()
    except Wrong as error:
        sys.exit(str(error))


if __name__ == "__main__":
    main()
