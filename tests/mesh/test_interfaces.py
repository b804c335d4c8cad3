"""Interfaces and neighbors that come and go under running daemons."""

import time

import pytest
from frames import DISCOVERY, decode, messages
from lab import Lab, al_mac, port_mac, wait_until
from model import al, numbered, remotes

DISCOVERY_PERIOD, LIFETIME = 60, 130  # seconds
NEW, OLD = "02:00:00:00:01:77", "02:00:00:00:01:78"


@pytest.fixture(scope="module")
def lab():
    with Lab("line", "3") as made:
        made.complete()
        yield made


def own(lab, device):
    return [entry["InterfaceName"] for entry in numbered(al(lab.model(device)), "Interface")]


def remote(lab, device, number):
    entry = remotes(lab.model(device)).get(al_mac(number), {})
    return [interface["InterfaceId"] for interface in numbered(entry, "Interface")]


def discoveries_of(lab, source, *cable):
    """The next periodic discoveries from this MAC on a cable."""
    def found():
        return [frame for frame in messages(decode(recording.data), DISCOVERY)
                if frame.source == source]

    with lab.capture(*cable) as recording:
        lab.advance(DISCOVERY_PERIOD)
        return lab.until(found, f"a periodic discovery of {source}")


def test_a_new_interface_is_taken_in_and_a_removed_one_dropped(lab):
    (daemon,) = lab.device("dev1")["daemons"]
    lab.shell("dev1", f"""ip link add eth7 address {NEW} type veth peer name eth8 address {OLD}
        ip link set eth7 master br-lan up; ip link set eth8 up""")
    lab.until(lambda: {"eth7", "eth8"} <= set(own(lab, "dev1")), "the new ones are listed")
    lab.until(lambda: {NEW, OLD} <= set(remote(lab, "dev2", 1)), "the neighbor knows")
    # Its discoveries leave by the new port, too, and carry its MAC: seen from the other end.
    sent = discoveries_of(lab, NEW, "dev1", "eth8")
    assert {frame.tlv(2).get("ieee1905.mac_addr") for frame in sent} == {NEW}

    lab.shell("dev1", "ip link del eth7")
    lab.until(lambda: own(lab, "dev1") == ["eth0"], "the removed interfaces are gone")
    lab.until(lambda: len(remote(lab, "dev2", 1)) == 1, "the neighbor knows")
    assert lab.device("dev1")["daemons"] == [daemon], "without a restart"


def test_an_interface_with_the_default_route_takes_no_part(lab):
    lab.shell("dev1", "echo EXCLUDE_DEFAULT_ROUTE = 1 >> /etc/vm1905/vm1905.conf")
    lab.restart("dev1")
    lab.shell("dev1", f"""ip link add eth7 address {NEW} type veth peer name eth8 address {OLD}
        ip link set eth7 up; ip link set eth8 up; ip address add 192.0.2.1/24 dev eth7""")
    lab.until(lambda: {"eth7", "eth8"} <= set(own(lab, "dev1")), "the new ones are listed")
    lab.shell("dev1", "ip route replace default via 192.0.2.2")
    lab.until(lambda: "eth7" not in own(lab, "dev1"), "the uplink is gone")
    assert "eth7 takes no part: it holds the default route" in lab.log("dev1")
    lab.shell("dev1", "ip route del default")
    lab.until(lambda: "eth7" in own(lab, "dev1"), "it is back")
    lab.shell("dev1", "ip link del eth7")
    lab.complete()


def links(lab, device):
    """Whom each other device hears, and on which interface, as this device sees it."""
    return {mac: [(entry["LocalInterface"], entry["NeighborDeviceId"])
                  for entry in numbered(remote, "IEEE1905Neighbor")]
            for mac, remote in remotes(lab.model(device)).items()}


def test_a_cable_that_was_cut_shortly_is_no_loss(lab):
    devices = ("dev1", "dev2", "dev3")

    def once():
        """The links, if none is listed twice, as it is until an address of a former test is gone."""
        found = {device: links(lab, device) for device in devices}
        rows = [row for remote in found.values() for row in remote.values()]
        return found if all(len(set(row)) == len(row) for row in rows) else None

    before = wait_until(once, 150, "each link is listed once")
    lab("cut", "dev2", "dev3")
    time.sleep(3)
    with lab.capture("dev2", "dev3") as cable:
        lab("join", "dev2", "dev3")
        time.sleep(10)
    assert {device: links(lab, device) for device in devices} == before
    assert {port_mac(2, 1), port_mac(3, 0)} <= {
        frame.source for frame in messages(decode(cable.data), DISCOVERY)}, "announced at once"


def test_a_port_of_a_bridge_with_a_new_mac_still_speaks(lab):
    lab.shell("dev3", f"ip link set eth0 address {NEW}")
    lab.until(lambda: remote(lab, "dev2", 3) == [NEW], "the neighbor knows")
    discoveries_of(lab, NEW, "dev2", "dev3")
    tuples = numbered(remotes(lab.model("dev2"))[al_mac(3)], "BridgingTuple")
    assert [entry["InterfaceList"] for entry in tuples] == [[NEW]]
    lab.shell("dev3", f"ip link set eth0 address {port_mac(3, 0)}")
    lab.until(lambda: remote(lab, "dev2", 3) == [port_mac(3, 0)], "the neighbor knows again")


def test_the_listed_state_of_a_port_follows_the_kernel(lab):
    def is_listed(state):
        lab.run("dev3", "vm1905ctl", "debug-level", "tables")
        return state in lab.log("dev3").rpartition("\nports:")[2]

    for change, state in (("mtu 1400", "mtu 1400"), ("down", "  down  "), ("up mtu 1500", "  up  ")):
        lab.shell("dev3", f"ip link set eth0 {change}")
        lab.until(lambda state=state: is_listed(state), f"the port is listed: {state}")


def test_a_lost_neighbor_is_forgotten_and_found_again(lab):
    lab("cut", "dev2", "dev3")
    # dev1 and dev2 hear each other meanwhile.
    lab.pass_time(LIFETIME, step=2)
    for device, known in (("dev1", {al_mac(2)}), ("dev2", {al_mac(1)}), ("dev3", set())):
        lab.until(lambda: (model := lab.model(device)) and set(remotes(model)) == known,
                  f"{device} knows {known or 'nobody'} only")
    for device, mac in (("dev1", al_mac(3)), ("dev2", al_mac(3)), ("dev3", al_mac(2))):
        assert f"neihbor device ({mac}) disconnected" in lab.log(device), device
    lab.until(lambda: "  dev3  " in lab.run("dev1", "vm1905ctl", "changes", "--filter", "event=lost"),
              "the lost device has its name")
    # The port of dev1 stayed up: only silence shows that dev3 is gone.
    assert "remove a neighbor interface (02:00:00:00:03:00)" in lab.log("dev1")
    lab("join", "dev2", "dev3")
    lab.advance(DISCOVERY_PERIOD)
    lab.complete()
