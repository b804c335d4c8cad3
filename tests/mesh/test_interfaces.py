"""Interfaces that come and go under a running daemon."""

import pytest
from frames import DISCOVERY, decode
from lab import Lab, al_mac, wait_until
from model import al, numbered, remotes

NEW, OLD = "02:00:00:00:01:77", "02:00:00:00:01:78"


def own(lab, device):
    return [entry["InterfaceName"] for entry in numbered(al(lab.model(device)), "Interface")]


def remote(lab, device, number):
    entry = remotes(lab.model(device)).get(al_mac(number), {})
    return [interface["InterfaceId"] for interface in numbered(entry, "Interface")]


@pytest.fixture(scope="module")
def lab():
    with Lab("line", "2") as made:
        made("wait", "--seconds", "20")
        yield made


def test_a_new_interface_is_taken_in_and_a_removed_one_dropped(lab):
    (daemon,) = lab.device("dev1")["daemons"]
    lab.shell("dev1", f"""ip link add eth7 address {NEW} type veth peer name eth8 address {OLD}
        ip link set eth7 master br-lan up; ip link set eth8 up""")
    wait_until(lambda: {"eth7", "eth8"} <= set(own(lab, "dev1")), 15, "the new ones are listed")
    wait_until(lambda: {NEW, OLD} <= set(remote(lab, "dev2", 1)), 15, "the neighbor is told")
    # Its discoveries leave by the new port, too, and carry its MAC: seen from the other end.
    with lab.capture("dev1", "eth8") as cable:
        wait_until(lambda: f"port = eth7, message (type = {DISCOVERY}," in lab.log("dev1"), 70,
                   "a periodic discovery", pause=1)
    sent = [frame for frame in decode(cable.data) if frame.kind == "ieee1905"
            and frame.type == DISCOVERY and frame.source == NEW]
    assert sent and {frame.tlv(2).get("ieee1905.mac_addr") for frame in sent} == {NEW}

    lab.shell("dev1", "ip link del eth7")
    wait_until(lambda: own(lab, "dev1") == ["eth0"], 15, "the removed interfaces are gone")
    wait_until(lambda: len(remote(lab, "dev2", 1)) == 1, 15, "the neighbor is told")
    assert lab.device("dev1")["daemons"] == [daemon], "without a restart"
