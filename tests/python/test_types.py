"""The stubs tell what the module is, and the calls what they give."""

import os
import re
import subprocess
import sys

import pytest

import qxhermite

pytest.importorskip("mypy")
USER = """
import qxhermite
result = qxhermite.overlay("a.sdf", ["b.sdf"], degree=6, threads=2)
reveal_type(result[0].score)
reveal_type(result[:3])
reveal_type(qxhermite.read_molecules("a.sdf", group=True))
reveal_type(qxhermite.expand("a.sdf").degree)
qxhermite.overlay("a.sdf", "b.sdf", degre=6)
"""


def run(*words):
    package = os.path.dirname(os.path.dirname(qxhermite.__file__))
    environment = {**os.environ, "MYPYPATH": package}
    return subprocess.run(
        [sys.executable, "-m", *words], capture_output=True, text=True, env=environment
    ).stdout


def test_types_of_calls(tmp_path):
    (tmp_path / "mypy.ini").write_text("[mypy]\nignore_missing_imports = True\n")
    (tmp_path / "user.py").write_text(USER)
    told = run("mypy", "--config-file", tmp_path / "mypy.ini", tmp_path / "user.py")
    assert re.findall('Revealed type is "(.*)"', told) == [
        "builtins.float",
        "qxhermite.results.OverlayResult",
        "builtins.list[qxhermite._core.Molecule]",
        "builtins.int",
    ]
    errors = [line for line in told.splitlines() if " error: " in line]
    assert len(errors) == 1 and 'Unexpected keyword argument "degre"' in errors[0], told


def test_stubs_name_what_the_module_has():
    told = run("mypy.stubtest", "qxhermite._core", "--concise")
    assert told
    # What pybind11 does not tell: the class of classes, and the arguments of constructors.
    unknown = ("metaclass differs", "*args argument")
    errors = [line for line in told.splitlines() if line.startswith("qxhermite")]
    assert [line for line in errors if not any(word in line for word in unknown)] == []
