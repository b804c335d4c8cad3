"""Reads a device's data model and draws what the device knows of the mesh as a tree."""

import re

UNKNOWN = ("", "Unknown")


def numbered(parent, prefix):
    """The objects "Prefix.1", "Prefix.2", ... of a parent, by number."""
    pattern = re.compile(re.escape(prefix) + r"\.(\d+)")
    found = ((pattern.fullmatch(key), value) for key, value in parent.items())
    return [value for _, value in sorted((int(match[1]), value) for match, value in found if match)]


def abstraction_layer(data):
    return data["Device"]["X_5E1F09_IEEE1905"]["AL"]


def remote_devices(data):
    return numbered(abstraction_layer(data).get("NetworkTopology", {}), "IEEE1905Device")


def gaps(data, own, heard):
    """Says what is still missing. heard: AL MAC -> AL MACs of the devices it should hear."""
    found = {device["IEEE1905Id"]: {entry["NeighborDeviceId"]
                                    for entry in numbered(device, "IEEE1905Neighbor")}
             for device in remote_devices(data) if numbered(device, "Interface")}
    for mac in sorted(heard[own]):
        if mac not in found:
            yield f"does not know {mac}"
        elif lost := heard[mac] - found[mac]:
            yield f"does not know that {mac} hears {' and '.join(sorted(lost))}"
    topology = abstraction_layer(data).get("NetworkTopology", {})
    if topology.get("Enable") and topology["Status"] == "Incomplete":
        yield "reports its topology as incomplete"


def branch(lines):
    """Draws the branches of a tree before groups of lines."""
    for index, group in enumerate(lines):
        last = index == len(lines) - 1
        for depth, line in enumerate(group):
            if depth == 0:
                yield ("└── " if last else "├── ") + line
            else:
                yield ("    " if last else "│   ") + line


def draw(name, data, names):
    """names: AL MAC -> name, for devices whose host name is unknown."""
    al = abstraction_layer(data)
    remotes = remote_devices(data)
    names = dict(names)
    for device in remotes:
        if device.get("Hostname") not in (None, *UNKNOWN):
            names[device["IEEE1905Id"]] = device["Hostname"]
    own = {entry["InterfaceId"]: entry["InterfaceName"] for entry in numbered(al, "Interface")}

    def interfaces(owner):
        entries = numbered(owner, "Interface")
        heard = {f"Interface.{index}": [] for index in range(1, len(entries) + 1)}
        for neighbor in numbered(owner, "IEEE1905Neighbor"):
            mac = neighbor["NeighborDeviceId"]
            text = names.get(mac, mac)
            if neighbor.get("IEEE802dot1Bridge"):
                text += " behind a bridge"
            heard.setdefault(neighbor["LocalInterface"], []).append(text)
        for neighbor in numbered(owner, "NonIEEE1905Neighbor"):
            heard.setdefault(neighbor["LocalInterface"], []).append(neighbor["NeighborInterfaceId"])
        for index, entry in enumerate(entries, 1):
            label = entry["InterfaceName"]
            if label in UNKNOWN:
                label = f"port {index}"
            media = entry["MediaType"].partition("(")[0].strip()
            line = f"{label:7} {entry['InterfaceId']}  {media}"
            if entry["PowerState"] in ("Off", "Power_Save"):
                line += f"  {entry['PowerState']}"
            others = heard.pop(f"Interface.{index}")
            yield [line + (f"  hears {', '.join(others)}" if others else "")]
        for reference, others in heard.items():
            if others:
                yield [f"{reference} (not listed)  hears {', '.join(others)}"]

    groups = [["itself", *branch(list(interfaces(al)))]]
    for device in remotes:
        mac = device["IEEE1905Id"]
        # A device reports which of our interfaces it hears, and there we hear it.
        through = sorted({own[entry["NeighborInterfaceId"]]
                          for entry in numbered(device, "IEEE1905Neighbor")
                          if entry["NeighborDeviceId"] == al["IEEE1905Id"]
                          and entry.get("NeighborInterfaceId") in own})
        title = f"{names.get(mac, 'a device')} {mac}, {device['DeviceType']}"
        if through:
            title += f", heard on {', '.join(through)}"
        groups.append([title, *branch(list(interfaces(device)))])
    topology = al.get("NetworkTopology", {})
    count = len(remotes)
    title = (f"{name} {al['IEEE1905Id']}, {al['DeviceType']}, knows {count or 'no'} other "
             f"device{'' if count == 1 else 's'}, topology {topology.get('Status', 'missing')}")
    return "\n".join([title, *branch(groups)])
