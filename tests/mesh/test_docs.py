"""The commands in README.md and docs/ work. Every block of shell commands has a mark above it:

<!-- run: lab -->         run in dev1 of a mesh of two; the other device is called attic
<!-- run: tree -->        run in a copy of the tree
<!-- tested by: NAME -->  another test runs these commands
<!-- not run: REASON -->
"""

import os
import pathlib
import re
import shutil
import subprocess
import textwrap

import pytest
from lab import ROOT, Lab

MARK = re.compile(r"<!-- (run|tested by|not run): (.+) -->$")


def blocks():
    """Parameters: place, first and second half of the mark, commands."""
    for path in (ROOT / "README.md", *sorted((ROOT / "docs").glob("*.md"))):
        lines = path.read_text(encoding="utf-8").splitlines()
        fences = [number for number, line in enumerate(lines) if line.lstrip().startswith("```")]
        for first, last in zip(fences[::2], fences[1::2]):
            place, kind = f"{path.name}:{first + 1}", lines[first].strip("` ")
            mark = MARK.search(lines[first - 1])
            if kind == "sh" or mark or not kind:
                yield pytest.param(place, kind, *(mark.groups() if mark else ("", "")),
                                   textwrap.dedent("\n".join(lines[first + 1:last])), id=place)


@pytest.fixture(scope="module")
def lab():
    with Lab("line", "2") as made:
        made.shell("dev2", """echo 'HOSTNAME = attic' > /etc/vm1905/platform.conf
            mkdir /etc/vm1905/hooks; cd /etc/vm1905/hooks; printf '#!/bin/sh\\necho "$1"' > led
            printf '#!/bin/sh\\necho log; echo ftp://192.0.2.2' > log-file-publish; chmod +x *""")
        made.shell("dev1", """mkdir /etc/vm1905/hooks; cd /etc/vm1905/hooks
            printf '#!/bin/sh\\necho hello > "/tmp/vm1905/$3"' > log-file-fetch; chmod +x *""")
        made.restart("dev2")
        made.complete()
        made.until(lambda: '"attic"' in made.model_text("dev1"), "the name is known")
        yield made


@pytest.mark.parametrize("place, kind, how, what, commands", blocks())
def test_block(place, kind, how, what, commands, request, tmp_path):
    assert kind == "sh", "not marked as sh or another language"
    if (how, what) == ("run", "lab"):
        mesh = request.getfixturevalue("lab")
        done = mesh.attempt("exec", "dev1", "--", "bash", "-ec", commands)
        assert done.returncode == 0, done.stdout + done.stderr
    elif (how, what) == ("run", "tree"):
        tree = shutil.copytree(ROOT, tmp_path / "tree", symlinks=True,
                               ignore=shutil.ignore_patterns(".git", "build", "__pycache__"))
        names = {**os.environ, "VM1905_LAB": f"docs-{os.getpid()}"}
        try:
            subprocess.run(["bash", "-ec", commands], cwd=tree, env=names, check=True, timeout=200)
        finally:
            subprocess.run([pathlib.Path(tree) / "lab/mesh", "down"], env=names, check=False)
    elif how == "tested by":
        known = subprocess.run(["ctest", "--test-dir", os.environ["VM1905_BUILD"], "-N"],
                               check=True, capture_output=True, text=True).stdout
        assert f": {what}\n" in known, f"there is no test {what}"
    else:
        assert how == "not run", "the block has no mark"
