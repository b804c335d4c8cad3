"""With isolated hops a device hears only its direct neighbors; multicasts pass them by relaying."""

import re
import time

import pytest
from frames import DISCOVERY, NOTIFICATION, decode, messages
from lab import Lab, al_mac, port_mac, wait_until


def heard(lab, origin):
    """Which notifications of one end, by their ids, the other end has heard from the middle."""
    sent = re.findall(r"send message \(port = eth0, type = 1, id = (\d+)\)", lab.log(f"dev{origin}"))
    hop = port_mac(2, 0 if origin == 3 else 1)
    return {int(mid) for mid in sent if f"macSa = {hop}, version = 0xa0, type = 1, id = {mid}," in
            lab.log(f"dev{4 - origin}")}


@pytest.fixture(scope="module")
def start():
    with Lab("line", "3", "--isolate") as lab:
        lab("kill", "dev1", "dev2", "dev3")
        with lab.capture("dev1", "dev2") as first, lab.capture("dev2", "dev3") as second:
            lab("start", "dev1", "dev2", "dev3")
            lab.until(lambda: heard(lab, 1) and heard(lab, 3), "relayed notifications")
            end = time.time()
            time.sleep(1)  # frames sent until then have time to pass both cables
        yield lab, *([frame for frame in decode(cable.data)
                      if frame.time < end or frame.source == middle]
                     for cable, middle in ((first, port_mac(2, 0)), (second, port_mac(2, 1))))


def test_a_notification_passes_the_middle_with_the_mac_of_each_hop(start):
    lab, first, second = start
    for cable, origin, other_cable, hop in (
            (first, 1, second, port_mac(2, 1)), (second, 3, first, port_mac(2, 0))):
        sent = [frame.id for frame in messages(cable, NOTIFICATION)
                if frame.source == port_mac(origin, 0)]
        passed = [frame for frame in other_cable if frame.kind == "ieee1905" and
                  frame.sender() == al_mac(origin)]
        assert sent and {(frame.type, frame.source, frame.relayed) for frame in passed} == {
            (NOTIFICATION, hop, True)}
        # Each once; the last one may have been sent after the end.
        assert [frame.id for frame in passed][:len(sent)] == sent
        # The first may have passed before the other end was up.
        assert heard(lab, origin) & set(sent)


def test_the_bridge_carries_no_1905_frame_on(start):
    _, first, second = start
    for cable, others in ((first, {port_mac(3, 0), port_mac(2, 1)}),
                          (second, {port_mac(1, 0), port_mac(2, 0)})):
        assert messages(cable, DISCOVERY)
        assert not [frame for frame in cable if frame.source in others]


def test_the_rule_goes_with_the_daemon_and_other_traffic_passes(start):
    lab, _, _ = start
    with lab.capture("dev2", "dev3") as cable:
        lab.run("dev1", "python3", "-c", "import socket\n"
                "s = socket.socket(socket.AF_PACKET, socket.SOCK_RAW)\n"
                "s.bind(('br-lan', 0))\n"
                "s.send(b'\\xff' * 6 + bytes.fromhex('0200000001ff88b5') + b'other' * 12)")
        time.sleep(0.5)
    assert b"other" * 12 in cable.data
    lab.shell("dev2", "touch /tmp/vm1905_stop")
    wait_until(lambda: not lab.device("dev2")["daemons"], 10, "the daemon ends")
    assert "893a" not in lab.run("dev2", "nft", "list", "ruleset").lower()
