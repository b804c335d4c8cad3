"""A real lldpd lists our daemon as its neighbor."""

import json
import os

import pytest
from lab import Lab, al_mac, port_mac, wait_until


def test_lldpd_lists_the_daemon():
    if os.geteuid() != 0:
        pytest.skip("lldpd switches to a user of its own, which a user namespace with one user "
                    "does not have")
    with Lab("line", "2") as lab:
        lab.shell("dev2", "touch /tmp/vm1905_stop")
        wait_until(lambda: not lab.device("dev2")["daemons"], 10, "the daemon of dev2 ends")
        lab.shell("dev2", "mkdir -p /run/lldpd; lldpd -I eth0 -O /dev/null 2> /dev/null")
        # It sends LLDP right after its start.
        lab.restart("dev1")

        def neighbors():
            done = lab.attempt("exec", "dev2", "--", "lldpcli", "-f", "json", "show", "neighbors")
            return json.loads(done.stdout or "{}").get("lldp", {}).get("interface")

        found = wait_until(neighbors, 15, "lldpd lists a neighbor")
        # lldpcli writes a list of one entry as that entry.
        entry = (found[0] if isinstance(found, list) else found)["eth0"]
        (chassis,) = entry["chassis"].values() if "id" not in entry["chassis"] else [
            entry["chassis"]]
        assert chassis["id"] == {"type": "mac", "value": al_mac(1)}
        assert entry["port"]["id"] == {"type": "mac", "value": port_mac(1, 0)}
        assert entry["port"]["ttl"] == "180"
