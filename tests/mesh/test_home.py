"""A home with parallel cables, ports that share a MAC, a switch, plain hosts, and bridges that forget
an address long before its owner speaks 1905 again."""

import json

import pytest
from lab import Lab, al_mac, port_mac
from model import al, numbered, remotes

STEP, SPEED = 3, 12  # seconds that pass at once, and in a second; the bridges forget as much faster
AGEING = 15 / SPEED
HOOKS = "/etc/vm1905/hooks"
HOSTS = {n: f"02:00:00:01:00:{n:02x}" for n in (1, 2, 3)}
SHARED = port_mac(1, 0)

# What the cabling says: for each device, its interfaces, whom it hears on which of them (with the
# interface of the other end and whether a bridge is in between), and the hosts there. dev1 cannot
# tell its ports apart in its messages. The spanning tree blocks eth1 of dev2 for hosts.
TRUTH = {
    1: ([SHARED] * 4,
        [(1, 2, port_mac(2, 0), False), (1, 2, port_mac(2, 1), False), (1, 3, port_mac(3, 0), True)],
        [(1, HOSTS[1]), (1, HOSTS[2]), (1, HOSTS[3])]),
    2: ([port_mac(2, 0), port_mac(2, 1), port_mac(2, 2)],
        [(1, 1, SHARED, False), (1, 3, port_mac(3, 0), True), (2, 1, SHARED, False),
         (2, 3, port_mac(3, 0), True)],
        [(1, HOSTS[1]), (1, HOSTS[3]), (3, HOSTS[2])]),
    3: ([port_mac(3, 0), port_mac(3, 1)],
        [(1, 1, SHARED, True), (1, 2, port_mac(2, 0), True), (1, 2, port_mac(2, 1), True)],
        [(1, HOSTS[1]), (1, HOSTS[2]), (2, HOSTS[3])])}


def expected(number):
    interfaces, devices, hosts = TRUTH[number]
    return {"interfaces": interfaces, "bridges": [interfaces],
            "devices": sorted((f"Interface.{local}", al_mac(other), far, bridge)
                              for local, other, far, bridge in devices),
            "hosts": sorted((f"Interface.{local}", mac) for local, mac in hosts)}


def seen(device):
    """The topology in an object of another device."""
    lists = {name: numbered(device, name) for name in (
        "Interface", "IEEE1905Neighbor", "NonIEEE1905Neighbor", "BridgingTuple")}
    for name, entries in lists.items():
        assert device[f"{name}NumberOfEntries"] == len(entries), name
    return {"interfaces": [entry["InterfaceId"] for entry in lists["Interface"]],
            "bridges": [entry["InterfaceList"] for entry in lists["BridgingTuple"]],
            "devices": sorted((entry["LocalInterface"], entry["NeighborDeviceId"],
                               entry["NeighborInterfaceId"], entry["IEEE802dot1Bridge"])
                              for entry in lists["IEEE1905Neighbor"]),
            "hosts": sorted((entry["LocalInterface"], entry["NeighborInterfaceId"])
                            for entry in lists["NonIEEE1905Neighbor"])}


def picture(lab):
    """What every device says of itself and of the others."""
    models = {n: lab.model(f"dev{n}") for n in TRUTH}
    own = {n: [entry["InterfaceId"] for entry in numbered(al(model), "Interface")]
           for n, model in models.items()}
    return own, {n: {mac: seen(device) for mac, device in remotes(model).items()}
                 for n, model in models.items()}


def right():
    return ({n: interfaces for n, (interfaces, _, _) in TRUTH.items()},
            {n: {al_mac(other): expected(other) for other in TRUTH if other != n} for n in TRUTH})


@pytest.fixture(scope="module")
def home():
    with Lab("home", "--ageing", str(AGEING)) as lab:
        lab.shell("dev2", f"""mkdir -p {HOOKS}
            printf '#!/bin/sh\\necho "$*" >>/tmp/led.calls\\necho blue\\n' >{HOOKS}/led
            chmod +x {HOOKS}/led""")
        lab.complete()
        yield lab


def test_the_picture_is_right_after_3_minutes_and_after_10(home):
    for minutes in (3, 7):
        home.pass_time(60 * minutes, STEP)
        assert picture(home) == right()


def test_the_change_log_has_no_spurious_news(home):
    for n in TRUTH:
        text = home.run(f"dev{n}", "vm1905ctl", "changes", "--json")
        changes = json.loads(text)["changes"]
        assert {change["event"] for change in changes} == {"new"}
        # A host once by each other device at most; hosts that are there from the start are no news.
        hosts = [(change["reporter"], change["neighbor_mac"]) for change in changes
                 if change["neighbor_type"] == "host"]
        assert len(hosts) == len(set(hosts)) and {mac for _, mac in hosts} <= set(HOSTS.values())


def test_an_order_over_two_cables_is_obeyed_once(home):
    for value in ("7", "8"):
        assert "done" in home.run("dev1", "vm1905ctl", "led", "dev2", value)
    assert home.shell("dev2", "cat /tmp/led.calls") == "7\n8\n"
