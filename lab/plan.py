"""What a lab consists of (devices, cables, addresses) and where its state is kept."""

import os
import stat

MOST_DEVICES = 100
BRIDGE = "br-lan"


AGEING = 300  # seconds after which a bridge forgets an address, as by default
HOME_AGEING = 15

# What an ordinary home looks like. The four ports of dev1 share one MAC, as those of a switch chip
# do; two cables lead to dev2; an unmanaged switch is before dev3; a plain host is behind each.
HOME = (("dev1 eth0", "dev2 eth0"), ("dev1 eth1", "dev2 eth1"), ("dev1 eth2", "sw1 eth0"),
        ("sw1 eth1", "dev3 eth0"), ("dev1 eth3", "host1 eth0"), ("dev2 eth2", "host2 eth0"),
        ("dev3 eth1", "host3 eth0"))


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


def host_mac(number):
    return f"02:00:00:01:00:{number:02x}"


def make(kind, count):
    """The devices, with the cables between their ports, and what else is connected: switches and
    hosts, which run no daemon."""
    return make_home() if kind == "home" else make_shape(kind, count)


def make_home():
    def end(text):
        name, port = text.split()
        kind, number = name.rstrip("0123456789"), int(name[-1])
        macs = {"dev": mac(number, 0 if name == "dev1" else int(port[-1])),
                "sw": mac(0xF0 + number, int(port[-1])), "host": host_mac(number)}
        return {"device": name, "port": port, "mac": macs[kind]}

    devices = [{"name": f"dev{number}", "bridge": BRIDGE, "mac": bridge_mac(number)}
               for number in (1, 2, 3)]
    others = [{"name": "sw1", "kind": "switch", "mac": bridge_mac(0xF1)}]
    others += [{"name": f"host{number}", "kind": "host", "mac": host_mac(number)}
               for number in (1, 2, 3)]
    return {"kind": "home", "devices": devices, "others": others, "loops": True,
            "ageing": HOME_AGEING, "cables": [[end(text) for text in pair] for pair in HOME],
            "conf": ["READ_LLDP = 1"]}


def make_shape(kind, count):
    """Ports are numbered in the order of the cables."""
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
    return {"kind": kind, "devices": devices, "others": [], "loops": kind == "ring",
            "ageing": AGEING, "cables": cables, "conf": []}


def state_folder(lab):
    base = os.environ.get("XDG_RUNTIME_DIR") or "/tmp"
    return os.path.join(base, f"vm1905-lab-{os.getuid()}-{lab}")


def is_ours(folder):
    """True if a state folder may be trusted: anybody can create one in /tmp."""
    status = os.lstat(folder)
    return stat.S_ISDIR(status.st_mode) and status.st_uid == os.getuid()
