"""The samples of configuration files have the keys of the tables, and no others."""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]


def table(file, name):
    text = (ROOT / file).read_text(encoding="utf-8")
    rows = re.search(rf"{name}.*?= {{(.*?)}};", text, re.S)[1]
    return re.findall(r'"([A-Z][A-Z0-9_]*\.?)"', rows)


for sample, file, name in (("vm1905.conf.in", "src/db/conf_file.cpp", "kConfigKeys"),
                           ("platform.conf", "platform_linux/common/conf.cpp", "kKeys")):
    lines = (ROOT / "packaging/conf" / sample).read_text(encoding="utf-8").splitlines()
    keys = re.findall(r"^#?([A-Z][A-Z0-9_]+\.?)\w* =", "\n".join(lines), re.M)
    known = table(file, name)
    if sorted(keys) != sorted(known) or not known:
        sys.exit(f"{sample}: {sorted(set(keys) ^ set(known))} differ, or a key occurs twice")
    # A longer line would be read as two.
    if any(len(line) > 126 for line in lines):
        sys.exit(f"{sample}: a line is longer than 126 characters")
