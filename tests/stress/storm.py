"""Runs in a device: sends mutated copies of recorded frames to a port.

usage: storm.py PORT SENDER TARGET SEED, MAC addresses of the port and of the port it talks to. Reads
a JSON list of frames in hexadecimal, then lines "COUNT RATE" (frames per second, 0: no limit), and
prints after each how many frames left.
"""

import json
import random
import socket
import struct
import sys
import time

DISCOVERY, QUERY, RESPONSE = 0, 2, 3
BURST = 100  # frames between two looks at the clock and at what the target asks


def raw(mac):
    return bytes.fromhex(mac.replace(":", ""))


def mutated(frame, frames, ids):
    """A changed copy. Its EtherType stays, and its id is new, or the target would ignore it."""
    frame = bytearray(frame)
    kind = struct.unpack_from(">H", frame, 16)[0]
    struct.pack_into(">H", frame, 18, ids.get(kind - 1, random.getrandbits(16)))
    draw = random.randrange(16)
    if draw < 2:  # a device that nobody knows
        al = bytes([2]) + random.randbytes(5)
        at = frame.find(b"\x01\x00\x06", 22)
        if at >= 0:
            frame[at + 3:at + 9] = al
        if draw == 0:
            frame[6:12] = al
    for _ in range(random.choice((0, 1, 1, 2, 3, 8))):
        at = random.randrange(14, len(frame))
        way = random.randrange(8)
        if way < 3:
            frame[at] ^= 1 << random.randrange(8)
        elif way < 5:
            frame[at] = random.choice((0, 1, 0x7f, 0x80, 0xff, random.getrandbits(8)))
        elif way == 5:
            del frame[max(at, 24):random.randrange(at, len(frame)) + 1]
        elif way == 6:
            frame[at:at] = frame[at:at + random.randrange(1, 200)]
        else:
            other = random.choice(frames)
            frame[at:] = other[random.randrange(14, len(other)):]
        if len(frame) < 60:
            frame += bytes(60 - len(frame))
    return frame[:1514]


def main():
    port, sender, target, seed = sys.argv[1:]
    random.seed(seed)
    wire = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(3))
    wire.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 1 << 16)
    wire.bind((port, 3))
    frames = []
    for frame in map(bytes.fromhex, json.loads(sys.stdin.readline())):
        multicast = frame[0] & 1
        frames.append((frame[:6] if multicast else raw(target)) + raw(sender) + frame[12:])
    ids = {}  # kind of message -> id of the latest one of the target, for the responses to it
    for line in sys.stdin:
        count, rate = map(int, line.split())
        sent, begin = 0, time.monotonic()
        for number in range(count):
            try:
                wire.send(mutated(random.choice(frames), frames, ids))
                sent += 1
            except OSError:  # no carrier, or no room
                time.sleep(0.001)
            if number % BURST:
                continue
            try:
                while True:
                    heard = wire.recv(60, socket.MSG_DONTWAIT)
                    if heard[6:12] == raw(target) and heard[12:14] == b"\x89\x3a":
                        kind, message_id = struct.unpack_from(">HH", heard, 16)
                        ids[kind] = message_id
            except OSError:
                pass  # BlockingIOError at the end of the queue, or the link is down
            if rate:
                time.sleep(max(0.0, begin + number / rate - time.monotonic()))
        print(sent, flush=True)


if __name__ == "__main__":
    main()
