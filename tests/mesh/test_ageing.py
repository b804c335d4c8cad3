"""A neighbor that falls silent is forgotten after 130 real seconds, and found again."""

import time

from lab import Lab, al_mac, wait_until
from model import remotes

LIFETIME = 130


def test_a_lost_neighbor_is_forgotten_and_found_again():
    with Lab("line", "3") as lab:
        lab("wait", "--seconds", "20")
        lab("cut", "dev2", "dev3")
        cut = time.monotonic()

        def known(device):
            return set(remotes(lab.model(device)))

        # Discoveries go out once a minute, so that the last one heard is up to a minute old.
        wait_until(lambda: al_mac(3) not in known("dev1"), LIFETIME + 10, "dev1 forgets dev3", 1)
        assert time.monotonic() - cut > LIFETIME - 60
        wait_until(lambda: known("dev3") == set(), LIFETIME + 10 - (time.monotonic() - cut),
                   "dev3 forgets both", 1)
        wait_until(lambda: known("dev2") == {al_mac(1)}, 10, "dev2 forgets dev3", 1)
        assert known("dev1") == {al_mac(2)}, "who is still heard is kept"
        for device, mac in (("dev1", al_mac(3)), ("dev2", al_mac(3)), ("dev3", al_mac(2))):
            assert f"neihbor device ({mac}) disconnected" in lab.log(device)
        # Where the port stayed up, nothing but its age told that the interface is no longer there.
        assert "remove a neighbor interface (02:00:00:00:03:00)" in lab.log("dev1")

        lab("join", "dev2", "dev3")
        lab("wait", "--seconds", "75")
