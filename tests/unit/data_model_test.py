"""docs/data-model.schema.json describes the three files and nothing else, and docs/data-model.md has
every member."""

import json
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests/support"))

import schema

FILES = {"golden_device": "vm1905.json", "golden_autoconfig": "vm1905_APautoconfig.json",
         "golden_change_log": "vm1905_log.json"}


def is_valid(content, name):
    return schema.validator(name).is_valid(content)


def damage(part, content, name):
    """Every member by turns under another name, and without its value."""
    for key, value in list(part.items()):
        del part[key]
        for wrong in (key + "_", key):
            part[wrong] = None
            assert not is_valid(content, name), f"{name}: {wrong} = null is allowed"
            del part[wrong]
        part[key] = value
        if isinstance(value, dict):
            damage(value, content, name)


for golden, name in FILES.items():
    text = (ROOT / f"tests/unit/publish/{golden}.inc").read_text(encoding="utf-8")
    content = json.loads(text[text.index("{"):text.rindex("}") + 1])
    schema.check(content, name)
    damage(content, content, name)

document = (ROOT / "docs/data-model.md").read_text(encoding="utf-8")
members = set(re.findall(r'"([A-Z][\w-]+)": \{', json.dumps(schema.SCHEMA)))
missing = sorted(name for name in members if not re.search(rf"[`.]{name}[`.]", document))
if missing or len(members) < 80:
    sys.exit(f"of {len(members)} members the document lacks {missing}")
