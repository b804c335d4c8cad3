"""Starts the daemon of a device and prints after how many milliseconds it sent its first frame, and
after how many both it and a peer had sent the other a topology response.

bench/mesh runs it in a device of a lab, with the daemon's command line as arguments.
"""

import os
import signal
import socket
import struct
import sys
import time

PORT = "eth0"
LIMIT = 30  # seconds
ALL_PROTOCOLS = 0x0003
PACKET_OUTGOING = 4
SO_TIMESTAMPNS = 35
IEEE1905, LLDP = b"\x89\x3a", b"\x88\xcc"
TOPOLOGY_RESPONSE = b"\x00\x03"


def frames(tap):
    """The daemons' frames: nanoseconds since the epoch, whether sent from here, the bytes."""
    while True:
        frame, stamps, _, address = tap.recvmsg(65535, 64)
        if frame[12:14] in (IEEE1905, LLDP):
            seconds, nanoseconds = struct.unpack("@qq", stamps[0][2])
            yield (seconds * 10**9 + nanoseconds, address[2] == PACKET_OUTGOING, frame)


def main():
    tap = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(ALL_PROTOCOLS))
    tap.setsockopt(socket.SOL_SOCKET, SO_TIMESTAMPNS, 1)
    tap.bind((PORT, ALL_PROTOCOLS))
    begin = time.time_ns()
    daemon = os.posix_spawn(sys.argv[1], sys.argv[1:], os.environ,
                            file_actions=[(os.POSIX_SPAWN_OPEN, 1, "/dev/null", os.O_WRONLY, 0)])
    signal.alarm(LIMIT)
    try:
        first, responses = None, set()
        for stamp, is_own, frame in frames(tap):
            if is_own and first is None:
                first = stamp
            if frame[12:14] == IEEE1905 and frame[16:18] == TOPOLOGY_RESPONSE:
                responses.add(is_own)
            if first is not None and len(responses) == 2:
                print((first - begin) / 1e6, (stamp - begin) / 1e6)
                return
    finally:
        os.kill(daemon, signal.SIGKILL)
        os.waitpid(daemon, 0)


if __name__ == "__main__":
    signal.signal(signal.SIGALRM, lambda *_: sys.exit(f"not within {LIMIT} s"))
    main()
