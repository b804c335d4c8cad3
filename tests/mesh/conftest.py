import pathlib
import sys

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support" / "mesh"))

from neighbor import TARGET, Neighbor


@pytest.fixture(scope="module")
def stranger(lab):
    """A neighbor on the last cable of a line of three."""
    with Neighbor(lab, "dev3", "eth0") as made:
        made.hello(TARGET)
        yield made
