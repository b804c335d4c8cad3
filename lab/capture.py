"""Records the frames of one interface of the current network namespace in pcap format."""

import errno
import select
import signal
import socket
import struct
import sys
import time

ALL_PROTOCOLS = 0x0003
NANOSECOND_PCAP = 0xA1B23C4D
ETHERNET = 1
LONGEST = 65535
SO_TIMESTAMPNS = 35
SO_RCVBUFFORCE = 33


def main():
    interface, path, seconds = sys.argv[1], sys.argv[2], float(sys.argv[3])
    for number in (signal.SIGINT, signal.SIGTERM):
        signal.signal(number, lambda *_: sys.exit(0))
    tap = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(ALL_PROTOCOLS))
    for option in (SO_RCVBUFFORCE, socket.SO_RCVBUF):
        try:
            tap.setsockopt(socket.SOL_SOCKET, option, 8 << 20)
            break
        except PermissionError:
            continue
    tap.setsockopt(socket.SOL_SOCKET, SO_TIMESTAMPNS, 1)
    try:
        tap.bind((interface, ALL_PROTOCOLS))
    except OSError as error:
        sys.exit(f"{interface}: {error.strerror}")
    count = 0
    with sys.stdout.buffer if path == "-" else open(path, "wb") as file:
        file.write(struct.pack("<IHHiIII", NANOSECOND_PCAP, 2, 4, 0, 0, LONGEST, ETHERNET))
        file.flush()
        print(f"capturing {interface} into {path}", file=sys.stderr, flush=True)
        end = time.monotonic() + seconds
        try:
            while True:
                left = end - time.monotonic() if seconds else None
                if left is not None and left <= 0:
                    break
                ready = select.select([tap, sys.stdin], [], [], left)[0]
                if sys.stdin in ready or not ready:  # the parent has ended, or time is up
                    break
                try:
                    frame, stamps, _, _ = tap.recvmsg(LONGEST, 64)
                except OSError as error:
                    if error.errno == errno.ENETDOWN:  # reported once when the cable is cut
                        continue
                    raise
                stamp = struct.unpack("@qq", stamps[0][2]) if stamps else divmod(time.time_ns(),
                                                                                10**9)
                file.write(struct.pack("<IIII", *stamp, len(frame), len(frame)) + frame)
                file.flush()
                count += 1
        finally:
            print(f"{count} frames", file=sys.stderr, flush=True)


if __name__ == "__main__":
    main()
