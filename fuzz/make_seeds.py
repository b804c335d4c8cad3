#!/usr/bin/env python3
"""Writes inputs for the fuzzers into the folders of corpus/.

  make_seeds.py                     messages of all types, well-formed and malformed; requests of
                                    all kinds; files, hook output and answers of the kernel
  make_seeds.py CAPTURE.pcap        what each device of a capture (lab/mesh capture) has received

Inputs of frame, slot and capture are a byte of switches, then steps of {options, seconds, length,
bytes}; see fuzz_device.h. Those of the other targets are described in their sources. The inputs are
built without the daemon's own code, so that they do not share its mistakes.
"""
import hmac
import pathlib
import re
import socket
import struct
import sys
from random import Random

MULTICAST = bytes.fromhex("0180c2000013")
OWN_AL = bytes.fromhex("021905000001")
OWN_MAC = bytes.fromhex("021905000100")
PEER_AL = bytes.fromhex("02aa00000001")
PEER_MAC = bytes.fromhex("02aa00000010")
OTHER_AL = bytes.fromhex("02bb00000001")
OTHER_MAC = bytes.fromhex("02bb00000010")
STATION = bytes.fromhex("0257a0000001")

KEY = bytes(range(32))

SECOND_PORT, ANSWERS, PASS, PORT_DOWN, ASK, SIGNED = 1, 2, 4, 8, 16, 64
FRAME, OWN_PID, MARKS_IDLE, LEAVES = 32, 1, 2, 8  # of the steps of slot_fuzzer
VERBOSE, NO_BRIDGES, TOPOL_OFF, REFUSING, ENROLLEE, STANDARD = 1, 2, 4, 8, 16, 32
LAST, RELAY = 0x80, 0x40


def tlv(kind, value=b"", length=None):
    return struct.pack(">BH", kind, len(value) if length is None else length) + value


END = tlv(0)
AL = tlv(1, PEER_AL)


def frame(kind, tlvs, msg_id=1, flags=LAST, dst=MULTICAST, src=PEER_MAC, frag=0, version=0xA0):
    header = dst + src + struct.pack(">HBBHHBB", 0x893A, version, 0, kind, msg_id, frag, flags)
    return (header + tlvs).ljust(64, b"\0")


def step(data, options=0, seconds=0):
    return struct.pack(">BBH", options, seconds, len(data)) + data


def case(*steps, switches=0):
    return bytes([switches]) + b"".join(steps)


def intf(mac, media, info=b""):
    return mac + struct.pack(">HB", media, len(info)) + info


def device(al, intfs):
    return tlv(3, al + bytes([len(intfs)]) + b"".join(intfs))


def response(al=PEER_AL, mac=PEER_MAC, intfs=3):
    macs = [mac[:5] + bytes([0x10 + i]) for i in range(intfs)]
    tlvs = device(al, [intf(m, 0x105 if i else 1, b"\xaa" * (10 if i else 0))
                       for i, m in enumerate(macs)])
    tlvs += tlv(4, bytes([1, len(macs)]) + b"".join(macs))
    for m in macs[:2]:
        tlvs += tlv(6, m + bytes.fromhex("02ee00000001") + bytes.fromhex("02ee00000002"))
        tlvs += tlv(7, m + OWN_AL + b"\x00" + OTHER_AL + b"\x80")
    return tlvs + tlv(1, al) + END


def seeds():
    disc = AL + tlv(2, PEER_MAC) + END
    metric_head = OWN_AL + PEER_AL
    tx = tlv(9, metric_head + PEER_MAC + OWN_MAC + struct.pack(">HBIIHHH", 1, 0, 1, 2, 3, 4, 5))
    rx = tlv(10, metric_head + PEER_MAC + OWN_MAC + struct.pack(">HIIB", 1, 1, 2, 3))
    vendor = bytes.fromhex("0a3c71") + PEER_AL + b"\0\1" + struct.pack(">HH", 45, 12)
    bodies = {
        "topology_discovery": (0, disc, LAST),
        "topology_notification": (1, disc, LAST | RELAY),
        "topology_query": (2, AL + END, LAST),
        "topology_response": (3, response(), LAST),
        "vendor_discovery": (4, tlv(11, vendor + PEER_AL + PEER_MAC) + END, LAST | RELAY),
        "metric_query_all": (5, tlv(8, b"\0" * 7 + b"\2") + END, LAST),
        "metric_query_one": (5, tlv(8, b"\1" + PEER_AL + b"\2") + END, LAST),
        "metric_response": (6, tx + rx + tlv(12, b"\0") + END, LAST),
        "autoconf_search": (7, AL + tlv(13, b"\0") + tlv(14, b"\1") + END, LAST | RELAY),
        "autoconf_response": (8, AL + tlv(15, b"\0") + tlv(16, b"\1") + END, LAST),
        "autoconf_wsc": (9, AL + tlv(17, b"\x10" * 80) + tlv(80, b"2024010203") + END, LAST),
        "autoconf_renew": (10, AL + tlv(15, b"\0") + tlv(16, b"\1") + END, LAST | RELAY),
        "push_button_event":
            (11, AL + tlv(18, b"\2" + b"\1\5\3\xaa\xbb\xcc" + b"\0\1\0") + END, LAST | RELAY),
        "push_button_join":
            (12, AL + tlv(19, PEER_AL + b"\0\7" + PEER_MAC + OTHER_MAC) + END, LAST | RELAY),
        "unsupported_tlvs": (2, tlv(5, b"\1\2") + AL + tlv(200, b"") + END, LAST),
        "unsupported_type": (13, END, LAST),
    }
    hello = step(frame(0, disc))
    for name, (kind, tlvs, flags) in bodies.items():
        yield name, case(step(frame(kind, tlvs, 9, flags)))
        answers = step(frame(kind, tlvs, 9, flags), ASK | ANSWERS | PASS, 3)
        yield "known_" + name, case(hello, answers, switches=VERBOSE)
    yield "refused", case(*(step(frame(k, t, 9, f)) for k, t, f in bodies.values()),
                          switches=REFUSING | NO_BRIDGES)
    yield "topology_off", case(*(step(frame(k, t, 9, f), PASS) for k, t, f in bodies.values()),
                               switches=TOPOL_OFF)

    own = dict(dst=OWN_MAC)
    answer = step(frame(3, response(), 0, **own), ANSWERS | PASS, 1)
    yield "exchange", case(hello, answer, step(frame(2, AL + END, 2, **own), PASS, 3))
    other = tlv(1, OTHER_AL) + tlv(2, OTHER_MAC) + END
    yield "two_neighbors", case(
        hello, answer, step(frame(0, other, src=OTHER_MAC), SECOND_PORT),
        step(frame(3, response(OTHER_AL, OTHER_MAC), 0, src=OTHER_MAC, **own),
             SECOND_PORT | ANSWERS | PASS, 2),
        step(frame(1, disc, 5, LAST | RELAY), PASS, 4),
        step(frame(1, disc, 5, LAST | RELAY), PASS | PORT_DOWN, 200))
    changed = device(PEER_AL, [intf(PEER_MAC, 1)])
    changed += tlv(6, PEER_MAC + bytes.fromhex("02ee00000009"))
    changed += tlv(7, PEER_MAC + OTHER_AL + b"\0")
    yield "changed_neighbors", case(
        hello, answer, step(frame(1, disc, 5, LAST | RELAY), PASS, 4),
        step(frame(3, changed + AL + END, 0, **own), ANSWERS | PASS, 1))
    yield "behind_bridge", case(
        step(frame(0, disc, src=OTHER_MAC)), step(frame(1, disc, 2, LAST | RELAY, src=OTHER_MAC)),
        step(frame(0, AL + tlv(2, OTHER_MAC) + END, 3, src=OTHER_MAC), PASS, 60),
        step(frame(0, disc, 4), PASS, 60), step(frame(2, AL + END, 5, **own), PASS, 60))
    for parts in (2, 5):
        pieces = [device(PEER_AL, [intf(PEER_MAC, 1)]) + END] + [
            tlv(7, PEER_MAC + OTHER_AL + b"\0") + END for _ in range(parts - 2)] + [AL + END]
        yield f"fragments_{parts}", case(hello, *(
            step(frame(3, piece, 0, LAST if i == parts - 1 else 0, frag=i, **own), ANSWERS)
            for i, piece in enumerate(pieces)))
        yield f"metric_fragments_{parts}", case(hello, *(
            step(frame(6, tx + END, 7, LAST if i == parts - 1 else 0, frag=i),
                 ANSWERS | (0 if i else ASK), 1)
            for i in range(parts)))
    yield "lone_last_fragment", case(step(frame(3, AL + END, 3, frag=2)))
    yield "unfinished_fragments", case(*(step(frame(3, AL + END, i, 0), 0, 1) for i in range(20)))
    yield "cut_header", case(step(frame(0, disc)[:20]), step(frame(0, disc)[:14]))
    yield "no_end", case(step(frame(0, AL + tlv(2, PEER_MAC))[:22 + 18]))
    yield "zero_length", case(hello, *(step(frame(3, tlv(k) + END, 0), ANSWERS | PASS, 6)
                                       for k in range(1, 21)))
    yield "endless_length", case(hello, *(
        step(frame(3, tlv(k, b"\xff" * 40, 0xFFFF), 0), ANSWERS | PASS, 6) for k in range(1, 21)))
    yield "count_beyond", case(hello, step(
        frame(3, tlv(3, PEER_AL + b"\xff" + intf(PEER_MAC, 1)) + AL + END, 0), ANSWERS))
    yield "full_frame", case(hello, step(
        frame(3, response(intfs=60) + tlv(11, b"\0" * 60), 0)[:1500], ANSWERS))
    yield "other_version", case(step(frame(0, disc, version=0)))
    zero, both = {"version": 0, **own}, LAST | RELAY
    yield "standard", case(
        step(frame(0, disc, version=0)), step(frame(3, device(PEER_AL, []), 0, 0, **zero), ANSWERS),
        step(frame(3, AL + END, 0, frag=1, **zero), ANSWERS | PASS, 3),
        *(step(frame(5, tlv(8, query + b"\2") + END, 9, **zero))
          for query in (b"\0", b"\0" * 7, b"\1" + PEER_AL, b"\1")),
        *(step(frame(kind, tlvs, 10, both, version=0)) for kind, tlvs in (
            (0x8000, AL + tlv(0xB0, b"x") + END), (4, tlv(11, b"other") + END), (1, AL + END))),
        step(frame(8, tlv(15, b"\0") + tlv(16, b"\0") + END, 0, **zero), ASK | ANSWERS | PASS, 1),
        step(frame(0, disc), PASS, 1), switches=VERBOSE | STANDARD | ENROLLEE)
    yield "own_source", case(step(frame(0, disc, src=OWN_MAC)))
    yield "own_al", case(step(frame(0, tlv(1, OWN_AL) + tlv(2, PEER_MAC) + END)))
    yield "elsewhere", case(step(frame(2, AL + END, dst=OTHER_MAC)))


def vendor_tlv(kind, payload, length=None, al=PEER_AL, oui=bytes.fromhex("0a3c71")):
    declared = len(payload) if length is None else length
    return tlv(11, oui + al + b"\0\1" + struct.pack(">HH", kind, declared) + payload)


def text(value):
    return struct.pack(">H", len(value)) + value


def entries(*rows):
    return bytes([len(rows)]) + b"".join(rows)


def item(kind, value):
    return bytes([kind]) + text(value)


def client(mac, tx=b"t"):
    record = b"{0=%s,1=0105,2=866,3=40,4=55,5=%s,6=r,7=Main_5GH,8=02:aa:00:00:00:01}" % (
        mac.hex(":").encode(), tx)
    return b"%03d" % len(record) + record


def vendor_payloads():
    """Maps the name of an input to the (type, payload) pairs of its messages, grouped by layout."""
    own, wired = OWN_AL, struct.pack(">H", 1)
    conf = [item(n, b"1") for n in (0, 1, 4, 9)] + [item(2, b"1.2.3\n"), item(3, b"\x01\x00")]
    conf += [item(n, b"text %d" % n) for n in (5, 6, 7, 8, 10, *range(13, 17), *range(19, 26), 42)]
    conf += [item(11, b"02:aa:00:00:00:ff"), item(12, b"192.0.2.7"), item(17, b"1,2"),
             item(18, b"2"), item(26, b'"eth0:1000","eth1:0"'), item(36, b"1,2;3,4;5,6;7,8")]
    conf += [item(n, b"12") for n in (*range(27, 36), *range(37, 52))]
    addresses = [item(n, b"2001:db8::%d" % n) for n in range(101, 110)]
    report = STATION + STATION + b"\x51\x06\x01\0\x64"
    macs = own.hex(":").encode()
    lines = [b"2 " + macs, b"3 %s %s 0001 0" % (macs, OWN_MAC.hex(":").encode()),
             b"7 %s 7" % macs, b"8 %s 1" % macs, b"9 %s 6 1 ftp://192.0.2.1/fw" % macs,
             b"10 " + macs, b"5 " + macs, b"3 " + macs, b"", b"2"]
    return {
        "queries": [(n, own) for n in (0, 2, 4, 8, 13, 22, 28, 37, 39, 42, 51)],
        "conf": [(1, PEER_AL + entries(*conf)), (52, PEER_AL + entries(*addresses)),
                 (1, PEER_AL + entries(item(2, b""))), (52, PEER_AL + entries())],
        "power": [(3, PEER_AL + entries(PEER_MAC + wired + b"\2", STATION + wired + b"\0")),
                  (6, own + entries(OWN_MAC + wired, STATION + wired) + b"\2"),
                  (6, own + entries(b"\0" * 6 + wired, STATION + wired) + b"\0"),
                  (6, PEER_AL + entries(OWN_MAC + wired) + b"\3"),
                  (7, entries(PEER_MAC + wired + b"\x10")),
                  (27, PEER_AL + entries(PEER_MAC + text(b"wlan0-msh0"), STATION + text(b"")))],
        "results": [(n, bytes([code])) for n in (5, 17, 19, 21, 23, 32, 35, 54, 69, 76)
                    for code in (0, 16)],
        "wifi_state": [(9, entries(*[STATION + b"\1\5\3\x62\0\x28\x37"] * 2)),
                       (9, entries(*[STATION + b"\1\5\x62\x28\x37"] * 2)), (9, entries()),
                       (36, PEER_AL + text(client(STATION) + client(OTHER_MAC, b"x,6=y"))),
                       (36, PEER_AL + text(b"999{0=")), (36, PEER_AL + text(b""))],
        "speed_test": [(10, b"\1\2" + text(b"http://x") + b"\x66\0\0\0\0\0\0\x3c" + STATION),
                       (12, b"\0\2" + text(b"") + b"\0" * 8 + STATION),
                       (11, PEER_AL + text(b"866 Mb/s")), (26, PEER_AL + b"\0")],
        "texts": [(n, PEER_AL + text(b"it's \"$(x)\" `y`")) for n in (14, 15, 40, 41, 43, 56)],
        "options": [(n, own + bytes([value])) for n in (16, 18, 26, 30, 31, 33, 34, 38, 47, 48, 55,
                                                       74, 75) for value in (1, 33)],
        "firmware": [(20, b"\6" + struct.pack(">HB", 5, 1) + b"url!"), (20, b"\6\0\0"),
                     (46, entries(item(0, b"\6"), item(1, b"\1"), item(2, b"url"),
                                  item(3, b"file"))),
                     (46, entries()), (37, PEER_AL), (38, PEER_AL + b"\3"), (5, b"\0")],
        "commands": [(25, struct.pack(">H", n) + text(line)) for n, line in enumerate(lines)],
        "log_file": [(28, own), (29, PEER_AL + text(b"log.tgz") + text(b"ftp://192.0.2.1/")),
                     (29, PEER_AL + text(b"") + text(b"")), (30, PEER_AL + b"\0")],
        "security": [(44, PEER_AL + struct.pack(">HB", 3, n) + b"abc") for n in (1, 2, 3)],
        "network": [(49, own + b"\1\2" + text(b"command")), (50, b"\1\2\0"),
                    (53, own + text(b"DE"))],
        "hello": [(45, PEER_AL + PEER_MAC), (45, OTHER_AL + OTHER_MAC), (45, b"\0" * 12)],
        "steering": [(64, own + report + text(b"ssid")), (66, own + report + text(b"")),
                     (65, b"\0\0" + STATION + text(b"")), (67, b"\1\0" + STATION + text(b"abc")),
                     (68, own + report)] +
                    [(n, own + bytes([n & 1]) + STATION) for n in (70, 72)] +
                    [(n, b"\1\x10") for n in (71, 73)],
    }


def vendor_seeds():
    known = [step(frame(0, AL + tlv(2, PEER_MAC) + END)),
             step(frame(3, response(), 0, dst=OWN_MAC), ANSWERS | PASS, 3)]

    def told(tlvs, switches=VERBOSE):
        """An input that sends each TLV in a message of its own, from a known device."""
        return case(*known, *(step(frame(4, one + END, 100 + i, dst=OWN_MAC), ANSWERS | PASS, 1)
                              for i, one in enumerate(tlvs)), switches=switches)

    groups = vendor_payloads()
    for name, payloads in groups.items():
        roles = {"texts": ENROLLEE, "firmware": ENROLLEE}
        yield "vendor_" + name, told([vendor_tlv(*one) for one in payloads],
                                     VERBOSE | roles.get(name, 0))
    some = {kind: payload for payloads in groups.values() for kind, payload in payloads}
    some = list(some.items())
    for n in (0, 1):  # half of the types each: an input has at most 64 steps
        yield f"vendor_cut_{n}", told([vendor_tlv(kind, payload[:-1] if payload else b"")
                                       for kind, payload in some[n::2]], 0)
    yield "vendor_counts", told([vendor_tlv(kind, payload) for kind, payload in (
        (1, PEER_AL + b"\xff" + item(7, b"x")), (3, PEER_AL + b"\x1f" + b"\0" * 279),
        (6, OWN_AL + b"\xff"), (7, b"\x1f" + b"\0" * 279), (9, b"\xff" + b"\0" * 13),
        (1, PEER_AL + entries(item(7, b"x" * 129))), (46, b"\xff" + item(2, b"u" * 1024)),
        (20, b"\1\xff\xff\1url"), (25, b"\0\0\xff\xff"), (44, PEER_AL + b"\xff\xff\1"),
        (49, OWN_AL + b"\0\1" + text(b"c" * 129)), (53, OWN_AL + text(b"C" * 17)),
        (15, PEER_AL + b"\xff\xff"), (27, PEER_AL + b"\1" + PEER_MAC + b"\xff\xff"))])
    yield "vendor_headers", told([
        vendor_tlv(4, b""), vendor_tlv(4, OWN_AL, length=0xFFFF),
        vendor_tlv(9, b"\1" + b"\0" * 13, 0),
        vendor_tlv(4, OWN_AL, oui=b"\x50\x6f\x9a"), vendor_tlv(4, OWN_AL, al=OWN_AL),
        vendor_tlv(4, OWN_AL, al=OTHER_AL), vendor_tlv(24, b"x"), vendor_tlv(63, b"x"),
        vendor_tlv(77, b"x"), vendor_tlv(0xFFFF, b"x"), tlv(11, bytes.fromhex("0a3c71")), b"",
        vendor_tlv(4, OWN_AL) + vendor_tlv(0, OWN_AL), tlv(200, b"x") + vendor_tlv(2, OWN_AL)])
    yield "vendor_silence", case(*known, *(step(frame(0, AL + tlv(2, PEER_MAC) + END, 50 + i), PASS,
                                                6) for i in range(8)), switches=VERBOSE | ENROLLEE)


def request(service, payload=b"", options=OWN_PID | PASS, seconds=0):
    return step(struct.pack("=iHB", 1, service, 0) + payload, options, seconds)


def slot_seeds():
    index, word, item = bytes([1]), struct.pack("=I", 1), bytes([0, 1])
    wired = OWN_MAC + b"\0" + struct.pack("=H", 1) + b"\1"
    known = [step(frame(0, AL + tlv(2, PEER_MAC) + END), FRAME),
             step(frame(3, response(), 0, dst=OWN_MAC), FRAME | ANSWERS | PASS, 3)]
    report = STATION + STATION + b"\x51\x06\1" + struct.pack("=H", 100) + b"ssid"
    local = {n: wired for n in (4, 6, 8, 10, 12)}
    local |= {n: index for n in (0, 20, 24, 26, 28, 30, 32, 34, 44, 46)}
    local |= {n: PEER_AL + b"\0" for n in (36, 38, 40, 42, 132)} | {n: item for n in (128, 130)}
    local |= {n: b"\0" + word * 3 for n in (18, 22, *range(138, 143), *range(151, 159),
                                           *range(163, 173), 181, 183, 185, 191, 212, 216)}
    local |= {177: b"\0" * 9 + b"Busy", 189: b"All".ljust(17, b"\0") + word * 2,
              200: PEER_MAC + b"\0" + struct.pack("=H", 2) + AL + END}
    orders = {n: PEER_AL + b"\0" * 3 + word for n in (134, 143, 145, 149, 161, 214, 218)}
    orders |= {136: PEER_AL + (b"\1" + wired[:6] + wired[7:9]).ljust(241, b"\0") + b"\2",
               147: PEER_AL + b"\6\1\0ftp://192.0.2.1/fw", 159: PEER_AL + b"\0\0\x002 x",
               179: PEER_AL + b"\1\2\0" + word * 2 + STATION + b"http://x",
               187: PEER_AL, 197: PEER_AL + b"\0\1\0command"}
    orders |= {n: PEER_AL + report for n in (202, 204, 206, 208, 210)}
    yield "own_records", case(*(request(n, p) for n, p in local.items()), switches=VERBOSE)
    yield "other_devices", case(*known, *(request(n, p) for n, p in local.items()))
    yield "orders", case(*known, *(request(n, p, seconds=1) for n, p in orders.items()),
                         switches=VERBOSE)
    yield "orders_to_strangers", case(*(request(n, OTHER_AL + p[6:]) for n, p in orders.items()))
    yield "orders_to_all", case(*known, *(request(n, b"\0" * 6 + p[6:])
                                          for n, p in orders.items()))
    results = {134: 5, 136: 7, 143: 17, 145: 19, 147: 21, 149: 23, 159: 32, 161: 35, 202: 65,
               204: 67, 206: 69, 208: 71, 214: 76}
    heard = {7: b"\1" + OWN_MAC + b"\1\5\0", 65: b"\0\0" + STATION + b"\0\0",
             67: b"\1\0" + STATION + b"\0\3abc", 71: b"\0\0"}
    yield "answered", case(*known, *(
        one for n, kind in results.items() for one in (
            request(n, orders[n]),
            step(frame(4, vendor_tlv(kind, heard.get(kind, b"\0")) + END, 0, dst=OWN_MAC),
                 FRAME | ANSWERS | PASS))))
    yield "cut", case(*known, *(request(n, p[:len(p) // 2]) for n, p in (local | orders).items()))
    yield "unknown", case(*(request(n) for n in (1, 3, 217, 254, 255, 0xFFFF)))
    yield "interfaces", case(*(request(2, bytes([n]), options, 1) for n in (0, 1, 2, 255)
                               for options in (OWN_PID, OWN_PID | MARKS_IDLE, 0, MARKS_IDLE)))
    random = Random(1905)
    for n in range(8):
        yield f"random_{n}", case(*known, *(
            request(random.randrange(220), random.choice((PEER_AL, b"")) + random.randbytes(240))
            for _ in range(60)))
    yield "uncollected", case(*(request(0, b"", OWN_PID | LEAVES) for _ in range(4)))


def packets(capture):
    data = pathlib.Path(capture).read_bytes()
    fraction = {0xA1B23C4D: 10**9, 0xA1B2C3D4: 10**6}.get(struct.unpack_from("<I", data)[0])
    if fraction is None:
        sys.exit(f"{capture}: no little-endian pcap file")
    at = 24
    while at < len(data):
        seconds, rest, size = struct.unpack_from("<III", data, at)
        yield seconds + rest / fraction, data[at + 16:at + 16 + size]
        at += 16 + size


def heard(capture):
    """One input per device whose AL MAC is known, with that device as the one under test."""
    frames = [(t, f) for t, f in packets(capture) if f[12:14] == b"\x89\x3a"]
    # These types begin with a TLV that holds the sender's AL MAC, and are not relayed.
    devices = {f[6:12]: f[25:31] for _, f in frames if f[17] in (0, 3)}
    for mac, al in devices.items():
        steps, last = [], frames[0][0]
        for time, data in frames:
            if data[6:12] == mac:
                continue
            answers = ANSWERS if data[17] in (3, 6, 8) else 0
            data = data.replace(al, OWN_AL).replace(mac, OWN_MAC)
            steps.append(step(data, answers | PASS, min(255, int(time) - int(last))))
            last = time
        yield case(*steps[:64])


def manifest_seeds():
    good = {"MODEL": "m1", "VERSION": "v1.10-2", "SIZE": "16", "SHA256": "0aF" * 21 + "b",
            "HOSTS": "attic* cel?ar, [a-z]"}

    def manifest(end="\n", **changes):
        return "".join(f"{k} = {v}{end}" for k, v in (good | changes).items()).encode()

    yield "good", manifest()
    yield "line_ends", b"# comment\r\n" + manifest("\r\n") + b"=\n= =\nno value\nHOSTS"
    yield "twice", manifest(SIZE="0x10") + manifest(VERSION="2", SHA256="short")
    yield "bytes", manifest(HOSTS="\0[\\") + bytes(range(256))
    yield "long", manifest(VERSION="9" * 127, HOSTS="*" * 2000)
    yield "outside", manifest(SIZE=str(2**64 + 16), MODEL="-m", SHA256="g" * 64)


def attributes(*pairs):
    return b"".join(struct.pack(">HH", kind, len(value)) + value for kind, value in pairs)


def wsc_seeds():
    common = ((0x1004, b"\0\x61"), (0x1010, b"\0\x09"), (0x100D, b"\1"), (0x1008, b"\2\x80"))
    own = (0x1049, bytes.fromhex("0a3c71") + b"\1\1\x21")
    wfa = (0x1049, bytes.fromhex("00372a") + b"\0\1\x20")
    m1 = ((0x104A, b"\x10"), (0x1022, b"\4"), (0x1047, b"\5" * 16), (0x1020, PEER_AL),
          (0x101A, b"\1" * 16), (0x1032, b"\7" * 192), *common, (0x103C, b"\2"))
    yield "m1", b"\0" + attributes(*m1, wfa, own)
    yield "m1_without_extension", b"\0" + attributes(*m1, (0x1011, b"a" * 32), wfa)
    yield "m1_item_beyond", b"\0" + attributes(*m1, (0x1049, bytes.fromhex("0a3c71") + b"\2\xff\1"))
    yield "m1_long", b"\0" + attributes(*m1, (0x1050, b"x" * 1000))
    yield "m2", b"\1" + attributes(
        (0x104A, b"\x10"), (0x1022, b"\5"), (0x101A, b"\1" * 16), (0x1039, b"\2" * 16),
        (0x1032, b"\7" * 192), *common, own, (0x1018, b"\3" * 64), (0x1005, b"\4" * 8))
    settings = ((0x1045, b"home"), (0x1003, b"\0\x60"), (0x100F, b"\0\x08"), (0x1020, PEER_AL))
    yield "settings", b"\2" + attributes(*settings, (0x1027, b"12345678"))
    yield "settings_open", b"\2" + attributes((0x1045, bytes(range(32))), (0x1003, b"\0\1"),
                                             (0x100F, b"\0\1"), (0x1027, b""))
    yield "settings_repeated", b"\2" + attributes(*settings, *settings, (0x1027, b"k" * 65))


def signed(kind, tlvs, counter, al=PEER_AL, **addresses):
    """A frame with the MIC of the key."""
    message = frame(kind, b"", counter & 0xFFFF, **addresses)
    origin = counter.to_bytes(6, "big") + al
    flags = hmac.digest(KEY, b"vm1905 mesh key", "sha256")[0] & 0xC0 | 0x10
    mic = hmac.digest(KEY, message[14:20] + message[:6] + origin + tlvs, "sha256")
    integrity = tlv(0xAB, bytes([flags]) + origin + struct.pack(">H", len(mic)) + mic)
    return frame(kind, tlvs + integrity + END, counter & 0xFFFF, **addresses)


def capture_seeds():
    first, own = 1 << 24, dict(dst=OWN_MAC)
    known = [step(frame(0, AL + tlv(2, PEER_MAC) + END)),
             step(frame(3, response(), 0, **own), ANSWERS | PASS, 3)]
    strangers = [step(frame(0, tlv(1, OTHER_AL) + tlv(2, OTHER_MAC) + END, 2, src=OTHER_MAC),
                      SECOND_PORT, 1)]

    def keyed(*steps, key=1):
        return bytes([0, key]) + b"".join(steps)

    groups = vendor_payloads()
    names = ("options", "commands", "power", "steering", "security", "hello", "network")
    orders = [vendor_tlv(*one) for name in names for one in groups[name]]
    yield "orders", keyed(*known, *(step(signed(4, one, first + i, **own), 0, i % 3)
                                    for i, one in enumerate(orders)))
    yield "orders_without_key", keyed(*known, *(
        step(frame(4, one + END, i, **own), 0, i % 3) for i, one in enumerate(orders[::3])), key=0)
    led = vendor_tlv(33, OWN_AL + b"\1")
    good = signed(4, led, first + 70, **own)
    bad = good[:-20] + bytes([good[-20] ^ 1]) + good[-19:]
    yield "replays", keyed(*known, *(step(one, 0, seconds) for one, seconds in (
        (good, 0), (good, 1), (good, 9), (bad, 0), (signed(4, led, first, **own), 0),
        (signed(4, led, first + 69, **own), 0), (signed(4, led, first + 300, **own), 0),
        (signed(4, led, first + 71, **own), 0), (frame(4, led + END, 5, **own), 0),
        (signed(4, led, first + 1, OTHER_AL, **own), 0), (signed(4, led, 0, OWN_AL, **own), 0))))
    proofs = {9: tlv(17, b"\x10" * 80), 10: tlv(15, b"\0") + tlv(16, b"\1"),
              11: tlv(18, b"\1\1\5\0"), 12: tlv(19, PEER_AL + b"\0\7" + PEER_MAC + OTHER_MAC)}
    yield "standard", keyed(*(step(signed(n, AL + tlvs, first + n, flags=LAST | RELAY))
                              for n, tlvs in proofs.items()))
    yield "resigned", keyed(*known, step(signed(3, response()[:-3], first, **own),
                                         ANSWERS | SIGNED, 3), *(
        step(signed(4, vendor_tlv(n, b"\0"), first + n, **own), ANSWERS | SIGNED, 2)
        for n in (5, 17, 19, 32, 35)))
    yield "hours", keyed(*known, *strangers, *(step(frame(0, AL + tlv(2, PEER_MAC) + END, 10 + i),
                                                    PORT_DOWN * (i % 4 == 3), 60)
                                               for i in range(12)), key=0)
    yield "two_ports", keyed(*known, *strangers, *(
        step(frame(1, tlv(1, al) + END, 20 + i, LAST | RELAY, src=mac), port | ASK * (i % 2), 1)
        for i in range(10) for al, mac, port in ((PEER_AL, PEER_MAC, 0),
                                                 (OTHER_AL, OTHER_MAC, SECOND_PORT))))


def config_seeds():
    numbers = ["DEBUG_LEVEL", "ENABLE_NET_TOPOL", "MAX_CHANGE_LOG_ENTRIES", "ENABLE_LOG",
               "LOG_INDEX", "READ_LLDP", *(f"ENABLE_{of}_FROM_NBR" for of in (
                   "REBOOT", "INTF_PWR_CTRL", "RESET", "FIRMWARE", "NETWORK", "SYSTEM", "WIFI"))]
    yield "numbers", "".join(f"{key} = {n};\n" for n, key in enumerate(numbers)).encode()
    yield "extremes", b"".join(key.encode() + b"=" + value + b"\r\n" for key, value in zip(
        numbers, (b"-1", b"4294967296", b"65536", b"99999999999999999999", b"0x10", b"", b" 1")))
    yield "texts", (b"# comment\n\rDATA_MODEL_FOLDER=/tmp\nLOG_FOLDER =\nMESH_KEY=/a/b\n"
                    b"MESH_KEY_NEXT = /c\nCONTROL_FILES_FROM=any\nORDERS_FROM=registrar\n")
    yield "orders_from", (b"ORDERS_FROM = 02:aa:00:00:00:01,2:3:4:5:6:7,,02:aa:00:00:00:011,x\n")
    yield "long", b"LOG_FOLDER = " + b"/x" * 150 + b"\n" + b"a" * 127 + b"\nLOG_INDEX = 3"
    yield "version", (b"AppVersion = 1.2\nL2DeviveCtrl=3\nWiFiAutoCfg=\nWiFiOnOff=4\n"
                      b"FwUpgrade=1502\nLEDOnOff=x\nDSI=1\nvm1905Version=2147483648\n")
    yield "platform", (b'AL_MAC = 02:aa:00:00:00:01\nEXCLUDE = eth[0-9] "tap*, ?\n'
                       b'MEDIA_TYPE.eth0 = 0x105 # text\nSECURITY_MODE = 1\n'
                       b'HOSTNAME = "a # b"\nEXCLUDE = \nWIFI_ROLE.wlan0 = "open\nUNKNOWN = 1\n')
    yield "wifi", (b'[home]\nBAND = 2.4, 5\nSSID = " a # b"\nAUTHENTICATION = wpa2+wpa3\n'
                   b'KEY = 12345678 # c\n[x.y]\r\nBAND=6\nSSID_HEX=00ff\nAUTHENTICATION=wpa3-sae\n'
                   b'KEY="# 345678"\n[free]\nBAND = guest-5\nSSID=x\nAUTHENTICATION = open\n')
    yield "bytes", bytes(range(256)) + b"\nAL_MAC=\0\n\0=\0"


def hook_seeds():
    station = b"02:57:a0:00:00:01,0x0105,866,40,55,866.7 Mb/s,6.0 Mb/s,Main_5G\n"
    yield "stations", b"\0" + station + station.replace(b"866,", b"65536,") + b",,,,,,,\n\n"
    yield "long_stations", b"\0" + station.replace(b"Main", b"Main" * 50) * 3
    yield "hex", b"\0" + b"00 ff\n0A " * 20
    yield "odd_hex", b"\x000"
    yield "beacon", b"\0" + b"5a" * 601
    yield "security", b"\x0002:aa:00:00:00:01 0102\n\n02:aa:00:00:00:02\nno address 01\n"
    yield "lines", b"\0 on \r\n 80%\nthird"
    yield "long_lines", b"\0" + b"u" * 1500 + b"\n" + b"f" * 600 + b"\n"
    yield "bytes", b"\0" + bytes(range(256))
    yield "failed", b"\x10text"
    yield "silent", b"\0"


def attr(kind, value):
    return struct.pack("=HH", 4 + len(value), kind) + value + b"\0" * (-len(value) % 4)


def u32(value):
    return struct.pack("=I", value)


def message(kind, body):
    return struct.pack("=IHHII", 16 + len(body), kind, 2, 1, 0) + body


def answer(*messages):
    data = b"".join(messages)
    return struct.pack(">H", len(data)) + data


def link(index, name, mac, kind=b"", master=0, more=b""):
    head = struct.pack("=BxHiII", 0, 1, index, 0x11043, 0)
    return message(16, head + attr(3, name + b"\0") + attr(1, mac) + attr(16, b"\6") +
                   attr(10, u32(master)) + attr(18, attr(1, kind + b"\0")) + more)


def neighbor(index, mac, family=7, state=2):
    return message(28, struct.pack("=BxxxiHBB", family, index, state, 0, 0) + attr(2, mac))


def radio(kind=3, frequency=5180):
    return message(28, b"\x07\1\0\0" + attr(3, u32(3)) + attr(6, OWN_MAC) + attr(5, u32(kind)) +
                   attr(38, u32(frequency)) + attr(159, u32(3)) + attr(160, u32(5210)))


def station(rates, signal):
    return message(28, b"\x13\1\0\0" + attr(6, STATION) + attr(21, attr(8, rates) +
                                                              attr(14, rates) + signal))


FAMILY = message(16, b"\1\2\0\0" + attr(1, b"\x1c\0"))
NO_ANSWER = answer()


def netlink_seeds():
    links = [link(1, b"lo", b"\0" * 6), link(2, b"eth0", OWN_MAC, master=4, more=attr(5, u32(9))),
             link(3, b"wlan0", OTHER_MAC), link(4, b"br0", OWN_AL, b"bridge")]
    hosts = answer(neighbor(2, STATION), neighbor(2, PEER_MAC), neighbor(2, OWN_MAC),
                   neighbor(2, PEER_AL, state=0x80), neighbor(9, PEER_MAC))
    others = answer(neighbor(3, PEER_MAC, 2), neighbor(3, b"\1" * 6, 10))
    radios = answer(FAMILY) + NO_ANSWER + answer(radio())
    first = answer(*links) + radios + hosts + others
    changed = answer(links[0], link(2, b"eth0", STATION), link(5, b"veth1", PEER_MAC, b"veth", 4),
                     links[3])
    later = answer(link(2, b"eth0", OWN_MAC)) + changed + answer(FAMILY) + NO_ANSWER * 2
    yield "picture", first
    yield "described", first + b"\1" + first + answer(link(2, b"eth0", OWN_MAC,
                                                          more=attr(23, b"\1" * 200))) * 2
    yield "changes", first + b"\0" + later + others + hosts + b"\0" + answer(
        neighbor(3, STATION)) + NO_ANSWER * 2
    ip = struct.pack("=BBBBI", socket.AF_INET, 24, 0x80, 0, 4) + attr(2, b"\xc0\0\2\1")
    ipv6 = struct.pack("=BBBBI", socket.AF_INET6, 64, 0x80, 0, 4) + attr(1, b"\x20\1" + b"\1" * 14)
    local = struct.pack("=BBBBI", socket.AF_INET6, 64, 0x80, 253, 4) + attr(1, b"\xfe\x80" * 8)
    ssh = message(20, b"\2\x0a\0\0\0\x16" + b"\0" * 66)
    yield "state", first + b"\2" + answer(message(20, ip)) + answer(
        message(20, local), *[message(20, ipv6)] * 40) + answer(ssh) * 2
    yield "cut", answer(*links)[:-7]
    yield "short_attributes", answer(message(16, struct.pack("=BxHiII", 0, 1, 2, 0, 0) + b"".join(
        attr(n, b"\1") for n in (1, 3, 5, 10, 16, 18, 23)))) + hosts
    yield "many", answer(*(link(n, b"eth%d" % n, OWN_MAC[:5] + bytes([n])) for n in range(1, 40)))


def nl80211_seeds():
    wide = attr(1, b"\x10\0") + attr(5, u32(8667))
    for name, one in (("ap", radio()), ("station", radio(2, 2437)), ("mesh", radio(7, 2484)),
                      ("off", radio(3, 0)), ("60g", radio(9, 58320)), ("6g", radio(8, 5955)),
                      ("low", radio(3, 1)), ("high", radio(3, 0xFFFFFFFF))):
        yield name, answer(FAMILY) + answer(one) + answer(
            station(wide, attr(13, b"\xc4")), station(attr(1, b"\x36\0"), attr(7, b"\x30")),
            station(attr(5, b"\xff" * 4), b""), station(b"", attr(13, b"")))
    yield "short", answer(FAMILY) + answer(message(28, b"\x07\1\0\0" + b"".join(
        attr(n, b"\1") for n in (3, 5, 6, 38, 159, 160, 161)))) + answer(
            station(attr(1, b"\1") + attr(5, b"\1"), b""), message(28, b"\x13\1\0\0"))
    yield "no_family", answer(message(16, b"\1\2\0\0" + attr(1, b"\x1c"))) + answer(radio())


def json_seeds():
    golden = pathlib.Path(__file__).parent.parent / "tests/unit/publish"
    for name in ("device", "autoconfig", "change_log"):
        text = (golden / f"golden_{name}.inc").read_text()
        yield name, re.search(r'R"(\w*)\((.*)\)\1"', text, re.S)[2].encode()

    def model(*devices):
        rest = "".join(f',"IEEE1905Device.{n}":{{{one}}}' for n, one in enumerate(devices))
        return ('{"Device":{"X_5E1F09_IEEE1905":{"AL":{"IEEE1905Id":"02:00:00:00:00:01",\n'
                '"Interface.1":{"InterfaceId":"02:00:00:00:01:01","InterfaceName":"eth0"}\n,'
                f'"NetworkTopology":{{"Status":"Available"{rest}}}}}}}}}}}').encode()

    def device(n, *hears, name="attic", more=""):
        near = "".join(f',"IEEE1905Neighbor.{i}":{{"LocalInterface":"Interface.1",'
                       f'"NeighborDeviceId":"02:00:00:00:00:0{m}",'
                       f'"NeighborInterfaceId":"02:00:00:00:0{m}:01"}}'
                       for i, m in enumerate(hears))
        return (f'"IEEE1905Id":"02:00:00:00:00:0{n}",\n"Hostname": "{name}",\n"Interface.1":'
                f'{{"InterfaceId":"02:00:00:00:0{n}:01"}}{near}{more}')

    yield "line", model(device(2, 1, 3), device(3, 2, 4), device(4, 3, 7))
    yield "ring", model(device(2, 1, 3), device(3, 2, 4), device(4, 3, 1))
    yield "texts", model(device(2, 1, name='a "b" \\ \x1b[2J'), device(3, name="a\nb\","))
    yield "kinds", model(device(2, more=',"DeviceUptime":"99999999999","Authorized":0,'
                                        '"IPv6IP":[1,[2,{"a":null}]],"DeviceType":1.5e300'),
                         '"IEEE1905Id":7,"Hostname":{},"Interface.1":[]')
    yield "configuration", b"DATA_MODEL_FOLDER = /a; b\n DATA_MODEL_FOLDER=\nDATA_MODEL_FOLDERS=/c"
    yield "deep", model(device(2, more=',"IPv6IP":' + "[" * 500 + "]" * 500))


def write(folder, inputs):
    folder = pathlib.Path(__file__).parent / "corpus" / folder
    folder.mkdir(parents=True, exist_ok=True)
    for name, data in inputs:
        (folder / name).write_bytes(data)
    print(f"{len(inputs)} inputs in {folder}")


def main():
    if len(sys.argv) > 1:
        name = pathlib.Path(sys.argv[1]).stem
        write("frame", [(f"{name}_{i}", data) for i, data in enumerate(heard(sys.argv[1]))])
        return
    write("frame", [*seeds(), *vendor_seeds()])
    write("slot", list(slot_seeds()))
    write("manifest", list(manifest_seeds()))
    write("wsc", list(wsc_seeds()))
    write("capture", list(capture_seeds()))
    write("config", list(config_seeds()))
    write("hook", list(hook_seeds()))
    write("json", list(json_seeds()))
    write("netlink", list(netlink_seeds()))
    write("nl80211", list(nl80211_seeds()))


if __name__ == "__main__":
    main()
