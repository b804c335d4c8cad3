"""A ring, the shape in which a message that comes back would go round for ever."""

from frames import DISCOVERY, NOTIFICATION, decode, messages
from lab import Lab

PAIRS = (("dev1", "dev2"), ("dev2", "dev3"), ("dev3", "dev1"))


def test_a_ring_is_discovered_and_nothing_circulates():
    with Lab("ring", "3") as lab:
        lab.complete()
        with lab.capture(*PAIRS[0]) as one, lab.capture(*PAIRS[1]) as two, \
                lab.capture(*PAIRS[2]) as three:
            # One that comes back makes the others talk: discoveries, then notifications. Its first
            # ones are lost while the spanning tree settles.
            lab.restart("dev2")
            lab.complete(gain=4)
            lab.pass_time(5)
        for cable, pair in zip((one, two, three), PAIRS):
            copies = {}
            for frame in messages(decode(cable.data), DISCOVERY, NOTIFICATION):
                key = (frame.sender(), frame.type, frame.id)
                copies[key] = copies.get(key, 0) + 1
            assert any(kind == NOTIFICATION for _, kind, _ in copies), pair
            # At most: as sent, as relayed from each end of the cable, and each carried on by a
            # bridge.
            assert max(copies.values()) <= 6, (pair, copies)
