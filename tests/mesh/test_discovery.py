"""Three devices in a line after power-on: their messages, as tshark reads them, and what each of
them knows."""

import re
import time
import types

import pytest
from frames import DISCOVERY, MULTICAST, NEAREST_BRIDGE, QUERY, RESPONSE, decode, messages
from lab import Lab, al_mac, port_mac
from model import al, numbered, remotes

NAMES = ("dev1", "dev2", "dev3")
MACS = [al_mac(number) for number in (1, 2, 3)]
PORTS = {MACS[0]: [port_mac(1, 0)], MACS[1]: [port_mac(2, 0), port_mac(2, 1)],
         MACS[2]: [port_mac(3, 0)]}
OWNER = {port: mac for mac, ports in PORTS.items() for port in ports}
# Under which of its interfaces each device hears the others.
HEARD = {MACS[0]: {port_mac(1, 0): {MACS[1], MACS[2]}},
         MACS[1]: {port_mac(2, 0): {MACS[0]}, port_mac(2, 1): {MACS[2]}},
         MACS[2]: {port_mac(3, 0): {MACS[0], MACS[1]}}}
# The ports at the ends of each cable.
ENDS = ((port_mac(1, 0), port_mac(2, 0)), (port_mac(2, 1), port_mac(3, 0)))


def neighbors(device):
    """Interface MAC -> AL MACs heard there, for a remote device in the data model."""
    macs = {f"Interface.{n}": entry["InterfaceId"]
            for n, entry in enumerate(numbered(device, "Interface"), 1)}
    found = {}
    for entry in numbered(device, "IEEE1905Neighbor"):
        found.setdefault(macs[entry["LocalInterface"]], set()).add(entry["NeighborDeviceId"])
    return found


def known(model):
    """AL MAC -> neighbors() of that device."""
    return {mac: neighbors(device) for mac, device in remotes(model).items()}


@pytest.fixture(scope="module")
def start():
    """The first seconds, on both cables."""
    with Lab("line", "3") as lab:
        lab("kill", *NAMES)
        with lab.capture("dev1", "dev2") as first, lab.capture("dev2", "dev3") as second:
            lab("start", *NAMES)
            begin = time.monotonic()
            missing = dict(zip(NAMES, MACS))
            while missing and time.monotonic() < begin + 10:
                for name, own in list(missing.items()):
                    if known(lab.model(name)) == {mac: HEARD[mac] for mac in MACS if mac != own}:
                        del missing[name]
            lab.pass_time(8)
        yield types.SimpleNamespace(
            missing=missing, cables=(decode(first.data), decode(second.data)),
            models={own: lab.model(name) for name, own in zip(NAMES, MACS)})


def test_each_knows_the_others_within_10_seconds(start):
    assert not start.missing, {own: known(model) for own, model in start.models.items()}


def test_the_data_model_is_complete(start):
    for own, model in start.models.items():
        assert (al(model)["IEEE1905Id"], al(model)["DeviceType"]) == (
            own, "Registrar" if own == MACS[0] else "Enrollee")
        assert [(entry["InterfaceName"], entry["InterfaceId"], entry["PowerState"])
                for entry in numbered(al(model), "Interface")] == [
                    (f"eth{n}", mac, "On") for n, mac in enumerate(PORTS[own])]
        assert al(model)["NetworkTopology"]["Status"] == "Available", own
        for mac, device in remotes(model).items():
            assert [entry["InterfaceId"] for entry in numbered(device, "Interface")] == \
                PORTS[mac], (own, mac)
            assert int(device["DeviceUptime"]) > 0, (own, mac)
            assert all("Ethernet" in entry["MediaType"] for entry in numbered(device, "Interface"))
            assert PORTS[mac] in [entry["InterfaceList"]
                                  for entry in numbered(device, "BridgingTuple")], (own, mac)


def test_every_frame_is_well_formed_and_comes_from_a_port(start):
    assert start.cables[0] and start.cables[1]
    for frame in (frame for cable in start.cables for frame in cable):
        assert frame.kind in ("ieee1905", "lldp") and not frame.malformed, frame
        assert 64 <= frame.size <= 1500 and frame.source in OWNER, frame
        if frame.kind == "ieee1905":
            assert frame.version == 0xA0 and frame.types()[-1] == 0, frame
            assert frame.types().count(0) == 1, frame


def test_discoveries_carry_the_port_they_leave_by(start):
    for cable, ends in zip(start.cables, ENDS):
        heard = messages(cable, DISCOVERY)
        assert set(ends) <= {frame.source for frame in heard}
        for frame in heard:
            assert frame.destination == MULTICAST and not frame.relayed
            assert frame.types() == [1, 2, 0]
            assert frame.tlv(2).get("ieee1905.mac_addr") == frame.source
            assert frame.sender() == OWNER[frame.source]


def test_queries_are_answered_by_their_own_responses(start):
    queries, responses = (messages(start.cables[0] + start.cables[1], kind)
                          for kind in (QUERY, RESPONSE))
    assert {OWNER[frame.source] for frame in queries} == set(MACS)
    assert {frame.sender() for frame in responses} == set(MACS)
    assert all(frame.types() == [1, 0] and frame.sender() == OWNER[frame.source]
               for frame in queries)
    for response in responses:
        assert any((query.id, query.source, query.destination) ==
                   (response.id, response.destination, response.source) for query in queries)
        assert re.fullmatch(r"3 (4 )?(6 )*(7 )*1 0", " ".join(map(str, response.types())))
        own = response.sender()
        information = response.tlv(3)
        assert own == OWNER[response.source] == information.get("ieee1905.1905_al_mac_addr")
        assert information.all("ieee1905.mac_addr") == PORTS[own]


def test_lldp_stays_on_its_cable(start):
    for cable, ends in zip(start.cables, ENDS):
        heard = [frame for frame in cable if frame.kind == "lldp"]
        assert {frame.source for frame in heard} == set(ends)
        for frame in heard:
            assert (frame.destination, frame.get("lldp.chassis.id.mac"),
                    frame.get("lldp.port.id.mac")) == (
                        NEAREST_BRIDGE, OWNER[frame.source], frame.source), frame
