#!/usr/bin/env python3
"""Checks JSON files of the daemon, and of folders those below, against docs/data-model.schema.json.

usage: schema.py [--copies] PATH...    --copies: those for a web server
"""

import functools
import json
import pathlib
import sys

import jsonschema

DOCS = pathlib.Path(__file__).resolve().parents[2] / "docs"
SCHEMA = json.loads((DOCS / "data-model.schema.json").read_text(encoding="utf-8"))
jsonschema.Draft202012Validator.check_schema(SCHEMA)


@functools.cache
def validator(definition):
    assert definition in SCHEMA["$defs"], definition
    # Without anyOf, the error says what is wrong.
    chosen = {"$defs": SCHEMA["$defs"], "$ref": f"#/$defs/{definition}"}
    return jsonschema.Draft202012Validator(chosen)


def check(content, name, where=""):
    """Fails unless the parsed file is as its definition says."""
    for error in validator(name).iter_errors(content):
        raise AssertionError(f"{where}{name}: {error.json_path}: {error.message}")


if __name__ == "__main__":
    prefix = "copy_" if sys.argv[1] == "--copies" else ""
    paths = map(pathlib.Path, sys.argv[2 if prefix else 1:])
    for path in [file for path in paths
                 for file in (path.rglob("vm1905*.json") if path.is_dir() else [path])]:
        check(json.loads(path.read_text(encoding="utf-8")), prefix + path.name, f"{path}: ")
