import os
import pathlib
import sys

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support" / "mesh"))

from neighbor import TARGET, Neighbor


def pytest_collection_modifyitems(items):
    if "RUN_AS" in os.environ.get("VM1905_CONF_LINES", "") and os.geteuid() != 0:
        for item in items:
            item.add_marker(pytest.mark.skip(reason="a second user needs real root"))


@pytest.fixture(scope="module")
def stranger(lab):
    """A neighbor on the last cable of a line of three."""
    with Neighbor(lab, "dev3", "eth0") as made:
        made.hello(TARGET)
        yield made
