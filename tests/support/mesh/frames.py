"""Frames as tshark reads them, which makes it the judge of the daemon's encoder."""

import subprocess
import xml.etree.ElementTree as xml

DISCOVERY, NOTIFICATION, QUERY, RESPONSE, VENDOR = 0, 1, 2, 3, 4
MULTICAST = "01:80:c2:00:00:13"
NEAREST_BRIDGE = "01:80:c2:00:00:0e"
ERROR = 8388608  # tshark's severity of an expert information
WARNING = 6291456


class Tlv:
    def __init__(self, element):
        self.element = element
        self.type = int(self.get("ieee1905.tlv_type"), 0)

    def get(self, name):
        return self.all(name)[0]

    def all(self, name):
        return [field.get("show") for field in self.element.iter("field")
                if field.get("name") == name]


class Frame:
    """kind is "ieee1905", "lldp", or tshark's name of another protocol."""

    def __init__(self, packet):
        protocols = {proto.get("name"): proto for proto in packet.findall("proto")}
        self.packet = packet
        self.kind = next((name for name in ("ieee1905", "lldp") if name in protocols),
                         list(protocols)[-1])
        self.time = float(self.get("timestamp", "value"))
        self.size = int(self.get("len"))
        self.source, self.destination = self.get("eth.src"), self.get("eth.dst")
        self.severity = max((int(field.get("show")) for field in packet.iter("field")
                             if field.get("name") == "_ws.expert.severity"), default=0)
        self.malformed = ("_ws.malformed" in protocols or "_ws.short" in protocols
                          or self.severity >= ERROR)
        self.tlvs = []
        if self.kind == "ieee1905":
            self.version = int(self.get("ieee1905.message_version"))
            self.type = int(self.get("ieee1905.message_type"), 0)
            self.id = int(self.get("ieee1905.message_id"), 0)
            self.relayed = self.get("ieee1905.relay_indicator") == "1"
            self.tlvs = [Tlv(field) for field in protocols["ieee1905"].findall("field")
                         if field.find("field[@name='ieee1905.tlv_type']") is not None]

    def get(self, name, attribute="show"):
        return next(field.get(attribute) for field in self.packet.iter("field")
                    if field.get("name") == name)

    def types(self):
        """The types of its TLVs, including the end of message."""
        return [tlv.type for tlv in self.tlvs]

    def tlv(self, number):
        return next(tlv for tlv in self.tlvs if tlv.type == number)

    def sender(self):
        """The AL MAC in its AL MAC address TLV; None for a message without one."""
        return next((tlv.get("ieee1905.1905_al_mac_addr") for tlv in self.tlvs if tlv.type == 1),
                    None)

    def __repr__(self):
        if self.kind != "ieee1905":
            return f"<{self.kind} {self.source} to {self.destination}>"
        return (f"<type {self.type} id {self.id} {self.source} to {self.destination}, "
                f"TLVs {self.types()}>")


def decode(pcap, *options):
    done = subprocess.run(["tshark", *options, "-n", "-r", "-", "-T", "pdml"], input=pcap,
                          check=False, capture_output=True, timeout=60)
    assert done.returncode == 0, done.stderr.decode()
    assert b"Lua Error" not in done.stdout + done.stderr
    return [Frame(packet) for packet in xml.fromstring(done.stdout).findall("packet")]


def messages(frames, *kinds):
    """The IEEE 1905.1 frames of these message types."""
    return [frame for frame in frames if frame.kind == "ieee1905" and frame.type in kinds]
