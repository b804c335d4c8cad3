"""A ring, the shape in which a message that comes back would go round for ever."""

from frames import DISCOVERY, NOTIFICATION, decode, messages
from lab import Lab, al_mac
from model import remotes

PAIRS = (("dev1", "dev2"), ("dev2", "dev3"), ("dev3", "dev1"))


def test_a_ring_is_discovered_and_nothing_circulates():
    with Lab("ring", "3") as lab:
        lab.complete()
        with lab.capture(*PAIRS[0]) as one, lab.capture(*PAIRS[1]) as two, \
                lab.capture(*PAIRS[2]) as three:
            # One that comes back makes the others talk: discoveries, then notifications.
            lab.restart("dev2")
            lab.complete()
            lab.pass_time(5)
        with lab.capture(*PAIRS[0]) as settled:
            lab.pass_time(8)
        copies = {}
        for cable in (one, two, three):
            for frame in messages(decode(cable.data), DISCOVERY, NOTIFICATION):
                key = (cable, frame.sender(), frame.type, frame.id)
                copies[key] = copies.get(key, 0) + 1
        assert any(kind == NOTIFICATION for _, _, kind, _ in copies)
        # At most: as sent, from each end of the cable as relayed, and each carried on by a bridge.
        assert max(copies.values()) <= 6, copies
        for number in (1, 2, 3):
            assert set(remotes(lab.model(f"dev{number}"))) == {
                al_mac(other) for other in (1, 2, 3) if other != number}
        # Every device has 1905 neighbors on two ports here, and has nothing new to tell of them.
        assert len([frame for frame in decode(settled.data) if frame.kind == "ieee1905"]) <= 8
