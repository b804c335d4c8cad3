"""A neighbor of the test's own, which answers topology queries and sends what it is given. It
composes its messages byte by byte, from docs/vendor-protocol.md."""

import struct
import threading
import time

from frames import DISCOVERY, MULTICAST, QUERY, RESPONSE, VENDOR
from lab import Program, al_mac, port_mac, wait_for

GIGABIT = 1  # media type
TARGET, TARGET_AL = port_mac(2, 1), al_mac(2)  # the device that the stranger talks to

# Runs in a device: sends frames in hexadecimal from standard input to a port, and from the port to
# standard output. On the port of a bridge, a socket for one EtherType receives nothing.
WIRE = """
import select, socket, sys
wire = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(3))
wire.bind((sys.argv[1], 3))
orders = open(0, "rb", buffering=0)  # a buffer would hide a second line from select
print("ready", flush=True)
while True:
    for ready in select.select([wire, orders], [], [])[0]:
        if ready is wire:
            frame, address = wire.recvfrom(2000)
            if address[2] != socket.PACKET_OUTGOING and frame[12:14] == bytes.fromhex("893a"):
                print(frame.hex(), flush=True)
        else:
            line = orders.readline()
            if not line:
                sys.exit()
            wire.send(bytes.fromhex(line.decode()))
"""


def raw(mac):
    return bytes.fromhex(mac.replace(":", ""))


def tlv(kind, value=b""):
    return struct.pack(">BH", kind, len(value)) + value


def vendor_tlv(al, kind, payload):
    return tlv(11, bytes.fromhex("0a3c71") + raw(al) + b"\0\1"
               + struct.pack(">HH", kind, len(payload)) + payload)


def text(value):
    """A text in a payload: length and bytes."""
    return struct.pack(">H", len(value)) + value.encode()


class Heard:
    """A frame that reached the neighbor; vendor and payload are None without a vendor TLV."""

    def __init__(self, frame):
        self.time = time.monotonic()
        self.destination, self.source = frame[:6].hex(":"), frame[6:12].hex(":")
        self.version, self.relayed = frame[14], bool(frame[21] & 0x40)
        self.type, self.id = struct.unpack(">HH", frame[16:20])
        self.tlvs, self.vendor, self.payload = frame[22:], None, None
        if self.type == VENDOR and frame[22] == 11 and frame[25:28] == bytes.fromhex("0a3c71"):
            self.vendor, length = struct.unpack(">HH", frame[36:40])
            self.payload = frame[40:40 + length]


class Neighbor(Program):
    """On a port of a device, but with addresses of its own. With version 0 it is another make,
    which knows no vendor messages and no more TLVs than the standard has."""

    def __init__(self, lab, device, port, mac="02:57:a0:00:00:00", al="02:57:a0:00:00:ff",
                 version=0xA0):
        self.version = version
        self.lab, self.mac, self.al, self.heard, self.id = lab, mac, al, [], 0x1000
        self.sending = threading.Lock()
        super().__init__(lab, device, "python3", "-c", WIRE, port)
        assert self.hear() == "ready"
        threading.Thread(target=self.listen, daemon=True).start()

    def listen(self):
        for line in self.process.stdout:
            frame = Heard(bytes.fromhex(line))
            if frame.destination not in (self.mac, MULTICAST):
                continue
            self.heard.append(frame)
            if frame.type == QUERY:
                port = raw(self.mac) + struct.pack(">HB", GIGABIT, 0)
                more = tlv(1, raw(self.al)) if self.version else b""
                self.send(frame.source, RESPONSE, tlv(3, raw(self.al) + b"\1" + port) + more,
                          frame.id)

    def send(self, destination, kind, tlvs, message_id=None, flags=0x80):
        with self.sending:
            if message_id is None:
                self.id += 1
                message_id = self.id
            header = raw(destination) + raw(self.mac) + struct.pack(
                ">HBBHHBB", 0x893A, self.version, 0, kind, message_id, 0, flags)
            self.say((header + tlvs + tlv(0)).ljust(60, b"\0").hex())
            return message_id

    def hello(self, device):
        """Returns when the device knows it. The device queries a sender that was silent for 5 s."""
        since = time.monotonic()

        def is_asked():
            self.send(MULTICAST, DISCOVERY, tlv(1, raw(self.al)) + tlv(2, raw(self.mac)))
            return wait_for(lambda: any(frame.type == QUERY and frame.source == device and
                                        frame.time > since for frame in list(self.heard)),
                            1, 0.02)

        self.lab.until(is_asked, f"a topology query of {device} for the neighbor", gain=5)

    def tell(self, device, kind, payload):
        return self.send(device, VENDOR, vendor_tlv(self.al, kind, payload))

    def ask(self, device, kind, payload):
        """The type and the payload of the answer. A device may miss a request while it reopens its
        ports, so it is repeated once."""
        asked = set()

        def answers():
            return [frame for frame in list(self.heard) if frame.id in asked and
                    frame.source == device and frame.vendor is not None]

        for _ in range(2):
            asked.add(self.tell(device, kind, payload))
            if found := wait_for(answers, 5, 0.02):
                return found[0].vendor, found[0].payload
        raise AssertionError(f"{device} does not answer type {kind}")
