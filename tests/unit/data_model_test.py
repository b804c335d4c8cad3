"""docs/data-model.md has every member of the three files."""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
DOCUMENT = (ROOT / "docs/data-model.md").read_text(encoding="utf-8")

golden = [path.read_text(encoding="utf-8") for path in ROOT.glob("tests/unit/publish/golden_*.inc")]
code = [path.read_text(encoding="utf-8") for path in ROOT.glob("src/publish/json_*.cpp")]
members = set(re.findall(r'"([\w-]+)(?:\.\d+)?":', "".join(golden)))
members |= set(re.findall(r'out\.\w+\("([A-Z][\w-]+)\.?"', "".join(code)))
missing = sorted(name for name in members if not re.search(rf"[`.]{name}[`.]", DOCUMENT))
if missing or len(members) < 80:
    sys.exit(f"of {len(members)} members the document lacks {missing}")
