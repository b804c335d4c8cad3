"""What a lab consists of (devices, cables, addresses) and where its state is kept."""

import os
import stat

MOST_DEVICES = 100
BRIDGE = "br-lan"


def shape(kind, count):
    """The cables of a topology, as pairs of device numbers."""
    if kind == "line":
        return [(n, n + 1) for n in range(1, count)]
    if kind == "ring":
        return [(n, n % count + 1) for n in range(1, count + 1)]
    return [(1, n) for n in range(2, count + 1)]


def mac(device, port):
    return f"02:00:00:00:{device:02x}:{port:02x}"


def bridge_mac(device):
    return mac(device, 0xFF)


def make(kind, count):
    """The devices and the cables between their ports, numbered in the order of the cables."""
    names = [f"dev{n}" for n in range(1, count + 1)]
    ports = {name: 0 for name in names}
    cables = []
    for left, right in shape(kind, count):
        ends = []
        for number in (left, right):
            name = f"dev{number}"
            ends.append({"device": name, "port": f"eth{ports[name]}",
                         "mac": mac(number, ports[name])})
            ports[name] += 1
        cables.append(ends)
    devices = [{"name": name, "bridge": BRIDGE, "mac": bridge_mac(number)}
               for number, name in enumerate(names, 1)]
    return {"kind": kind, "devices": devices, "cables": cables}


def state_folder(lab):
    base = os.environ.get("XDG_RUNTIME_DIR") or "/tmp"
    return os.path.join(base, f"vm1905-lab-{os.getuid()}-{lab}")


def is_ours(folder):
    """True if a state folder may be trusted: anybody can create one in /tmp."""
    status = os.lstat(folder)
    return stat.S_ISDIR(status.st_mode) and status.st_uid == os.getuid()
