"""Standard mode: a line of three, judged by tshark, and devices of other makes on its last cable."""

import json

import pytest
from frames import DISCOVERY, MULTICAST, QUERY, RESPONSE, VENDOR, WARNING, decode, messages
from lab import Lab, al_mac, port_mac, wait_for
from model import remotes
from neighbor import GIGABIT, TARGET, TARGET_AL, Neighbor, raw, tlv

DEVICES = ("dev1", "dev2", "dev3")
METRIC_QUERY, METRICS, LATER = 5, 6, 0x8000
VENDOR_DISCOVERY = 45


@pytest.fixture(scope="module")
def lab():
    with Lab("line", "3", "--conf", "STANDARD_1905 = 1") as made:
        made("kill", *DEVICES)
        with made.capture("dev1", "dev2") as made.far, made.capture("dev2", "dev3") as made.near:
            made("start", *DEVICES)
            made.complete()
            yield made


@pytest.fixture(scope="module")
def other(lab):
    with Neighbor(lab, "dev3", "eth0", version=0) as made:
        made.hello(TARGET)
        yield made


def answer(other, kind, tlvs):
    """The answer to a query that the other make sends."""
    asked = other.send(TARGET, kind, tlvs)
    found = wait_for(lambda: [frame for frame in list(other.heard) if frame.type == kind + 1
                              and frame.id == asked and frame.source == TARGET], 5, 0.02)
    assert found, f"no answer to type {kind}"
    return found[0]


def tlvs_of(frame):
    rest, found = frame.tlvs, []
    while rest[0]:
        size = 3 + int.from_bytes(rest[1:3], "big")
        found.append((rest[0], rest[3:size]))
        rest = rest[size:]
    return found


def test_tshark_has_no_warnings(lab):
    lab.pass_time(70, 5)
    for device in DEVICES:  # they have told each other all about themselves
        assert all(int(entry["DeviceUptime"]) > 0 and entry["StandardMode"]
                   for entry in remotes(lab.model(device)).values())
    for cable in (lab.far, lab.near):
        frames = decode(cable.data)
        assert {DISCOVERY, QUERY, RESPONSE, VENDOR} <= {
            frame.type for frame in messages(frames, *range(13))}
        for frame in frames:
            assert frame.severity < WARNING and not frame.malformed, frame
            if frame.kind == "ieee1905":
                assert frame.version == 0, frame


def test_another_make_is_known_and_answered(lab, other):
    lab.until(lambda: other.al in remotes(lab.model("dev2")), "dev2 knows the other make")
    response = answer(other, QUERY, b"")
    assert dict(tlvs_of(response))[3].startswith(raw(TARGET_AL)) and response.version == 0
    lab.pass_time(70, 5)
    assert {frame.vendor for frame in other.heard if frame.type == VENDOR} == {VENDOR_DISCOVERY}
    assert {frame.version for frame in other.heard} == {0}


def test_metrics_are_in_the_places_of_the_standard(lab, other):
    nobody, ask_both = bytes(6), b"\2"
    link = raw(port_mac(2, 1)) + raw(other.mac) + bytes([0, GIGABIT])
    for query in (b"\0", b"\0" + nobody, b"\1" + raw(other.al)):
        found = tlvs_of(answer(other, METRIC_QUERY, tlv(8, query + ask_both)))
        senders = {value[:6] for kind, value in found}
        neighbors = {value[6:12] for kind, value in found}
        assert senders == {raw(TARGET_AL)}
        assert neighbors == ({raw(other.al)} if query[0] else
                             {raw(other.al), raw(al_mac(1)), raw(al_mac(3))})
        ours = {kind: value[12:] for kind, value in found if value[6:12] == raw(other.al)}
        assert ours[9].startswith(link) and len(ours[9]) == 29
        assert ours[10].startswith(link) and len(ours[10]) == 23 and ours[10][-1] == 0xFF


def test_messages_of_later_standards_are_relayed_once(lab, other):
    before = lab.log("dev2").count("LVL=2") + lab.log("dev2").count("LVL=1")
    foreign = tlv(11, bytes.fromhex("001122334455"))
    sent = {}
    for kind, tlvs in ((LATER, tlv(1, raw(other.al)) + tlv(0xB0, b"\1")), (VENDOR, foreign)):
        for flags in (0x80, 0xC0):
            sent[other.send(MULTICAST, kind, tlvs, flags=flags)] = flags == 0xC0
    wait_for(lambda: [0 for frame in messages(decode(lab.far.data), VENDOR)
                      if frame.id in sent and frame.source == port_mac(2, 0)], 10, 0.2)
    relayed = [frame.id for frame in messages(decode(lab.far.data), LATER, VENDOR)
               if frame.id in sent and frame.source == port_mac(2, 0)]
    assert relayed == [number for number, is_relayed in sent.items() if is_relayed]
    assert lab.log("dev2").count("LVL=2") + lab.log("dev2").count("LVL=1") == before


def test_a_device_in_the_default_mode_is_reported(lab):
    lab.shell("dev3", "sed -i /STANDARD_1905/d /etc/vm1905/vm1905.conf")
    lab.restart("dev3")
    lab.complete(gain=5)
    line = f"neighbor ({al_mac(3)}) sends version 0xa0"
    lab.until(lambda: all(line in lab.log(device) for device in ("dev1", "dev2")), "the report")
    lab.pass_time(140, 10)
    lab.complete(gain=5)
    assert lab.log("dev2").count(line) == 1
    shown = [json.loads(lab.run("dev2", "vm1905ctl", "--json", view))
             for view in ("status", "devices")]
    assert shown[0]["standard_mode"] is True and shown[0]["other_registrar"] is None
    assert {device["al_mac"]: device["standard_mode"] for device in shown[1]["devices"]} == {
        al_mac(1): True, al_mac(2): True, al_mac(3): False}
