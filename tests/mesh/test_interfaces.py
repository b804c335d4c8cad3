"""Interfaces and neighbors that come and go under running daemons, with the real clock."""

import time

import pytest
from frames import DISCOVERY, decode, messages
from lab import Lab, al_mac, wait_until
from model import al, numbered, remotes

LIFETIME = 130
NEW, OLD = "02:00:00:00:01:77", "02:00:00:00:01:78"


@pytest.fixture(scope="module")
def lab():
    """A line of three, of which the last is cut off while the first test is at work."""
    with Lab("line", "3") as made:
        made("wait", "--seconds", "20")
        made("cut", "dev2", "dev3")
        made.begin = time.monotonic()
        yield made


def own(lab, device):
    return [entry["InterfaceName"] for entry in numbered(al(lab.model(device)), "Interface")]


def remote(lab, device, number):
    entry = remotes(lab.model(device)).get(al_mac(number), {})
    return [interface["InterfaceId"] for interface in numbered(entry, "Interface")]


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
    sent = [frame for frame in messages(decode(cable.data), DISCOVERY) if frame.source == NEW]
    assert sent and {frame.tlv(2).get("ieee1905.mac_addr") for frame in sent} == {NEW}

    lab.shell("dev1", "ip link del eth7")
    wait_until(lambda: own(lab, "dev1") == ["eth0"], 15, "the removed interfaces are gone")
    wait_until(lambda: len(remote(lab, "dev2", 1)) == 1, 15, "the neighbor is told")
    assert lab.device("dev1")["daemons"] == [daemon], "without a restart"


def test_a_lost_neighbor_is_forgotten_and_found_again(lab):
    for number, known in ((1, {al_mac(2)}), (2, {al_mac(1)}), (3, set())):
        wait_until(lambda: (model := lab.model(f"dev{number}")) and set(remotes(model)) == known,
                   max(10, lab.begin + LIFETIME + 10 - time.monotonic()),
                   f"dev{number} knows {known} only", 1)
    for device, mac in (("dev1", al_mac(3)), ("dev2", al_mac(3)), ("dev3", al_mac(2))):
        assert f"neihbor device ({mac}) disconnected" in lab.log(device)
    # Where the port stayed up, nothing but its age told that the interface is no longer there.
    assert "remove a neighbor interface (02:00:00:00:03:00)" in lab.log("dev1")
    lab("join", "dev2", "dev3")
    lab("wait", "--seconds", "75")
