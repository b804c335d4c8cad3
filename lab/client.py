"""What the commands of lab/mesh need to talk to a running lab."""

import json
import os
import socket
import struct
import time

import plan as planning

PATIENCE = 60  # seconds


class Failure(Exception):
    """An error message for the user: one line that says what to do next."""


class Misuse(Failure):
    """The same for a wrong command line."""


def lab_name():
    name = os.environ.get("VM1905_LAB") or "lab"
    if not name.replace("-", "").replace("_", "").isalnum() or len(name) > 40:
        raise Misuse(f"VM1905_LAB={name!r} is not a valid name; use up to 40 letters, digits, "
                     "- or _")
    return name


def state_folder():
    return planning.state_folder(lab_name())


def connect():
    """A connection to the keeper and its process id as seen from here; None if there is none."""
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
    """Returns the keeper's answer to a request, with its process id as "keeper"."""
    found = connect()
    if found is None:
        name = lab_name()
        if os.path.lexists(state_folder()):
            raise Failure(f'lab "{name}" has died, see {state_folder()}/keeper.log; '
                          "clean up with: lab/mesh down")
        raise Failure(f'lab "{name}" is not up; start it, for example with: lab/mesh up line 3')
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
                      "clean up with: lab/mesh down")
    answer = json.loads(line)
    if "error" in answer:
        raise Failure(answer["error"])
    answer["keeper"] = pid
    return answer


def device_processes(pid_space):
    """The processes of a device: id as seen from here -> (id in the device, command name)."""
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
            continue  # it has just ended, or belongs to another user
        if not fields["State"].startswith("Z"):
            found[int(entry)] = (int(fields["NSpid"].split()[-1]), fields["Name"])
    return found


def powered(name, status=None):
    """The process id, as seen from here, of a device's init, by which to enter the device."""
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
    """The start of an nsenter command; it passes the lab's user namespace if there is one."""
    command = ["nsenter", *options]
    if os.stat(f"/proc/{keeper}/ns/user").st_ino != os.stat("/proc/self/ns/user").st_ino:
        command += [f"--user=/proc/{keeper}/ns/user", "--preserve-credentials"]
    return command


def data_model(name, status):
    """A device's /tmp/vm1905.json; None if there is none yet."""
    # The path leads to the device's own files.
    path = f"/proc/{powered(name, status)}/root/tmp/vm1905.json"
    for patience in range(5, -1, -1):
        try:
            with open(path, encoding="utf-8", errors="replace") as file:
                return json.load(file)
        except FileNotFoundError:
            return None
        except ValueError as error:
            if patience == 0:
                raise Failure(f"{name}: /tmp/vm1905.json is not valid JSON: {error}") from None
            time.sleep(0.05)  # it may be half-written


def audible(status):
    """AL MAC of every powered device -> AL MACs of the devices it should hear."""
    macs = {device["name"]: device["mac"] for device in status["devices"] if device["on"]}
    switches = {other["name"] for other in status["others"] if other["kind"] == "switch"}
    forwarding = switches if status["isolate"] else switches | set(macs)

    def hears(name):
        found, pending = {name}, [name]
        while pending:
            here = pending.pop()
            for ends in ([end["device"] for end in cable["ends"]]
                         for cable in status["cables"] if cable["up"]):
                new = set(ends) - found if here in ends else set()
                found |= new
                pending += new & forwarding
        return {macs[other] for other in found - {name} if other in macs}

    return {mac: hears(name) for name, mac in macs.items()}
