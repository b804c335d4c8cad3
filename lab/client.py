"""How the commands talk to a running lab."""

import json
import os
import socket
import struct
import time

import plan as planning

PATIENCE = 60  # seconds


class Failure(Exception):
    """Something that the user is told in one line, with what to do next."""


class Misuse(Failure):
    """The same for a command line that makes no sense."""


def lab_name():
    name = os.environ.get("VM1905_LAB") or "lab"
    if not name.replace("-", "").replace("_", "").isalnum() or len(name) > 40:
        raise Misuse(f"VM1905_LAB={name!r} is no usable name; take up to 40 letters, digits, "
                     "- or _")
    return name


def state_folder():
    return planning.state_folder(lab_name())


def connect():
    """A connection to the keeper, and its process id as seen from here; None without a keeper."""
    folder = state_folder()
    if not os.path.lexists(folder) or not planning.is_ours(folder):
        return None
    link = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
    try:
        link.connect(os.path.join(folder, "control"))
    except OSError:
        link.close()
        return None
    size = struct.calcsize("3i")
    pid, _, _ = struct.unpack("3i", link.getsockopt(socket.SOL_SOCKET, socket.SO_PEERCRED, size))
    return link, pid


def ask(**request):
    """One request to the keeper and its answer, with the keeper's process id under "keeper"."""
    found = connect()
    if found is None:
        name = lab_name()
        if os.path.lexists(state_folder()):
            raise Failure(f'lab "{name}" has died, see {state_folder()}/keeper.log; '
                          "clear it away with: lab/mesh down")
        raise Failure(f'no lab "{name}" is up; start one, for example with: lab/mesh up line 3')
    link, pid = found
    with link:
        link.settimeout(PATIENCE)
        try:
            link.sendall((json.dumps(request) + "\n").encode())
            line = link.makefile("rb").readline()
        except OSError as error:
            raise Failure(f"the lab does not answer ({error}); end it with: "
                          "lab/mesh down") from None
    if not line:
        raise Failure(f"the lab died on this request, see {state_folder()}/keeper.log; "
                      "clear it away with: lab/mesh down")
    answer = json.loads(line)
    if "error" in answer:
        raise Failure(answer["error"])
    answer["keeper"] = pid
    return answer


def device_processes(pid_space):
    """Process id (ours) -> (id within the device, command name) of all that runs in a device."""
    found = {}
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        try:
            if os.stat(f"/proc/{entry}/ns/pid").st_ino != pid_space:
                continue
            with open(f"/proc/{entry}/status", encoding="utf-8", errors="replace") as file:
                fields = dict(line.rstrip("\n").split(":\t", 1) for line in file if ":\t" in line)
        except OSError:
            continue  # ended meanwhile, or somebody else's
        if not fields["State"].startswith("Z"):
            found[int(entry)] = (int(fields["NSpid"].split()[-1]), fields["Name"])
    return found


def powered(name, status=None):
    """The init of a device, by our process id, for entering the device."""
    status = status or ask(do="status")
    for device in status["devices"]:
        if device["name"] == name:
            if not device["on"]:
                raise Failure(f"{name} is off; power it on with: lab/mesh start {name}")
            for pid, (inner, _) in device_processes(device["pid_space"]).items():
                if inner == 1:
                    return pid
            raise Failure(f"{name} has just gone down; look at: lab/mesh log {name}")
    known = ", ".join(device["name"] for device in status["devices"])
    raise Failure(f"there is no {name}; this lab has {known}")


def enter(keeper, *options):
    """The start of an nsenter command, through the lab's user namespace where it has one."""
    command = ["nsenter", *options]
    if os.stat(f"/proc/{keeper}/ns/user").st_ino != os.stat("/proc/self/ns/user").st_ino:
        command += [f"--user=/proc/{keeper}/ns/user", "--preserve-credentials"]
    return command


def data_model(name, status):
    """A device's /tmp/vm1905.json; None when it has not written it yet."""
    # Seen through its init, the device's own files.
    path = f"/proc/{powered(name, status)}/root/tmp/vm1905.json"
    for patience in range(5, -1, -1):
        try:
            with open(path, encoding="utf-8", errors="replace") as file:
                return json.load(file)
        except FileNotFoundError:
            return None
        except ValueError as error:
            if patience == 0:
                raise Failure(f"{name}: /tmp/vm1905.json is no JSON: {error}") from None
            time.sleep(0.05)  # it may have been caught while it was written


def audible(status):
    """AL MAC -> AL MACs of those that it should hear, for every powered device."""
    macs = {device["name"]: device["mac"] for device in status["devices"] if device["on"]}
    direct = {mac: set() for mac in macs.values()}
    for cable in status["cables"]:
        left, right = (macs.get(end["device"]) for end in cable["ends"])
        if cable["up"] and left and right:
            direct[left].add(right)
            direct[right].add(left)
    heard = {mac: set(others) for mac, others in direct.items()}
    if not status["isolate"]:  # then the bridges carry on what arrives
        for _ in heard:
            for mac, others in heard.items():
                others.update(*(direct[other] for other in others))
                others.discard(mac)
    return heard
