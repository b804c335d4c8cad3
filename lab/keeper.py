"""The process that holds a lab together. lab/mesh starts it; do not call it yourself.

It is process 1 of the PID namespace in which the whole lab runs. However it ends, the kernel kills
all devices with it, and their network and mount namespaces disappear with their last user. So
nothing can be left behind.

A device is a "chassis" (network, mount and UTS namespace, kept open here as file descriptors while
the lab exists) and, while it is powered, a PID and an IPC namespace in which a small init runs the
daemon. reboot(2) in a PID namespace kills that init with SIGHUP, which nothing else does.
"""

import json
import os
import select
import selectors
import shutil
import signal
import socket
import subprocess
import sys
import time
import traceback

import kernel
from plan import BRIDGE

BOOT_PAUSE = 1.0  # seconds between a reboot and the next start, so that the neighbors notice
START_LIMIT = 20.0  # seconds for a device to start its daemon
SETTLE_LIMIT = 20.0  # seconds for a spanning tree to settle
PRIVATE_FOLDERS = ("/tmp", "/run")
WAKE_FIFO = "/tmp/vm1905_wake"  # the daemon makes it once it can serve
FIRST_LOOK = 5.0  # seconds for a daemon to serve or to end
# Name, band and channel of the BSSs with --wifi.
RADIOS = (("wlan0", "2.4", "hw_mode=g\nchannel=6"), ("wlan1", "5", "hw_mode=a\nchannel=36"))
# Without a driver it needs no interface. With WPS it shows its key on the control socket.
HOSTAPD_CONF = """interface={name}
driver=none
ctrl_interface=/var/run/hostapd
{channel}
ssid=not configured
wps_state=2
eap_server=1
"""
WIFI_CONF = """[home]
BAND = 2.4
SSID = Lab
AUTHENTICATION = wpa2-psk
KEY = "lab of vm1905"

[home-5]
BAND = 5
SSID = Lab 5 GHz
AUTHENTICATION = wpa2+wpa3
KEY = "lab of vm1905"
"""
HOST_PROTOCOL = b"\x88\xb5"  # EtherType for local experiments


class Other:
    """A switch or a host: a network namespace, without a daemon and always on."""

    def __init__(self, plan):
        self.name = plan["name"]
        self.kind = plan["kind"]
        self.mac = plan["mac"]
        self.spaces = {}


class Device:
    kind = "device"

    def __init__(self, plan, state):
        self.name = plan["name"]
        self.mac = plan["mac"]
        self.arguments = plan["arguments"]
        self.log = os.path.join(state, f"{self.name}.log")
        self.spaces = {}  # kind of namespace -> its descriptor, for the chassis
        self.init = None  # process id within the lab, while the device is on
        self.pid_space = None  # inode of its PID namespace
        self.status = None  # pipe on which the init reports
        self.started = False  # the init has started the daemon
        self.boots = 0
        self.due = None  # when a rebooting device starts again
        self.ending = None  # how the last daemon, or the device itself, ended

    def last_words(self):
        with open(self.log, encoding="utf-8", errors="replace") as file:
            said = [line.strip() for line in file if not line.startswith("---")]
        return said[-1] if said else "nothing"

    def note(self, text):
        with open(self.log, "a", encoding="utf-8") as file:
            file.write(f"--- {self.name}: {text}\n")


# Inside a device

def silence_ipv6():
    """Its neighbor and router discovery would fill every capture."""
    for group in ("all", "default"):
        path = f"/proc/sys/net/ipv6/conf/{group}/disable_ipv6"
        if os.path.exists(path):
            with open(path, "w", encoding="ascii") as file:
                file.write("1")


def write(path, text):
    with open(path, "w", encoding="ascii") as file:
        file.write(text)


def build_chassis(device, plan):
    kernel.unshare(kernel.CLONE_NEWNS | kernel.CLONE_NEWNET | kernel.CLONE_NEWUTS)
    socket.sethostname(device.name)
    silence_ipv6()
    kernel.mount("sysfs", "/sys", "sysfs")
    kernel.shadow("/etc", without=("vm1905",))
    os.mkdir("/etc/vm1905")
    write("/etc/vm1905/vm1905.conf",
          "\n".join(["ENABLE_NET_TOPOL = 1", "DATA_MODEL_FOLDER = /tmp", *plan["conf"], ""]))
    platform = "FORWARD_1905 = no\n" if plan["isolate"] else "FORWARD_1905 = yes\n"
    for name, band, channel in RADIOS if plan["wifi"] else ():
        platform += f"WIFI_BAND.{name} = {band}\n"
        write(f"/etc/vm1905/{name}.conf", HOSTAPD_CONF.format(name=name, channel=channel))
    write("/etc/vm1905/platform.conf", platform)
    if plan["wifi"] and device.name == plan["devices"][0]["name"]:
        write("/etc/vm1905/wifi.conf", WIFI_CONF)
    programs = [name for name in ("vm1905", "vm1905ctl")
                if os.path.exists(os.path.join(plan["build"], name))]
    kernel.shadow("/usr/sbin", without=programs)
    for name in programs:
        os.symlink(os.path.join(plan["build"], name), os.path.join("/usr/sbin", name))


def device_init(device, plan, log, status):
    """Process 1 of a powered device: starts the daemon and reaps dead processes. Never returns."""
    kernel.mount("proc", "/proc", "proc")
    build = plan["build"]
    original = os.open(build, os.O_PATH | os.O_DIRECTORY)
    for folder in PRIVATE_FOLDERS:
        kernel.mount("tmpfs", folder, "tmpfs", 0, "mode=1777" if folder == "/tmp" else "mode=0755")
        if build.startswith(folder + "/"):
            os.makedirs(build)
            kernel.mount(f"/proc/self/fd/{original}", build, None, kernel.MS_BIND | kernel.MS_REC)
    os.close(original)

    def report(**fields):
        os.write(status, (json.dumps(fields) + "\n").encode())

    report(booted=os.stat("/proc/self/ns/pid").st_ino)
    for name, *_ in RADIOS if plan["wifi"] else ():
        subprocess.run(["hostapd", "-B", "-P", f"/run/{name}.pid", f"/etc/vm1905/{name}.conf"],
                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, check=True)
    daemon = subprocess.Popen([os.path.join(build, "vm1905"), *device.arguments], cwd="/",
                              stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                              env=plan["environment"], start_new_session=True)
    os.close(log)

    def reap():
        while True:
            try:
                ended = os.waitid(os.P_ALL, 0, os.WEXITED | os.WNOHANG | os.WNOWAIT)
            except ChildProcessError:
                return
            if ended is None:
                return
            with open(f"/proc/{ended.si_pid}/comm", encoding="utf-8", errors="replace") as file:
                name = file.read().strip()
            _, code = os.waitpid(ended.si_pid, 0)
            # A daemon that restarted itself is a child of this process, too.
            if name == "vm1905" or ended.si_pid == daemon.pid:
                report(ended=describe(code))

    limit = time.monotonic() + FIRST_LOOK
    while not os.path.exists(WAKE_FIFO) and time.monotonic() < limit:
        time.sleep(0.01)
        reap()
        if not os.path.exists(f"/proc/{daemon.pid}"):
            break
    report(started=daemon.pid)
    # Blocked, the signal stays pending, so no dead child is missed between two looks.
    signal.pthread_sigmask(signal.SIG_BLOCK, {signal.SIGCHLD})
    while True:
        reap()
        signal.sigwait({signal.SIGCHLD})


def live_as(kind, pause):
    """The process of a switch or host. A host says something to everybody again and again, before
    the bridges forget it. Never returns."""
    while True:
        time.sleep(pause)
        if kind == "host":
            try:
                with socket.socket(socket.AF_PACKET, socket.SOCK_RAW) as link:
                    link.bind(("eth0", 0))
                    link.send(b"\xff" * 6 + link.getsockname()[4] + HOST_PROTOCOL + bytes(46))
            except OSError:
                pass  # its cable is not plugged in


def close_all_but(kept):
    for entry in os.listdir("/proc/self/fd"):
        if int(entry) not in kept:
            try:
                os.close(int(entry))
            except OSError:
                pass  # the descriptor of the listing itself


def describe(code):
    if os.WIFSIGNALED(code):
        return f"killed by {signal.Signals(os.WTERMSIG(code)).name}"
    return f"exited with status {os.WEXITSTATUS(code)}"


# Outside

class Keeper:
    def __init__(self, state, plan):
        self.state = state
        self.plan = plan
        self.devices = {entry["name"]: Device(entry, state) for entry in plan["devices"]}
        self.others = {entry["name"]: Other(entry) for entry in plan["others"]}
        self.nodes = {**self.devices, **self.others}
        self.cables = [{"ends": ends, "up": True} for ends in plan["cables"]]
        self.selector = selectors.DefaultSelector()

    # Network

    def ip(self, device, lines):
        """Runs ip commands in a device's network namespace, or in the keeper's own for None."""
        space = self.nodes[device].spaces["net"] if device else None
        done = subprocess.run(
            ["ip", "-batch", "-"], input="\n".join(lines) + "\n", text=True, capture_output=True,
            check=False, pass_fds=[entry.spaces["net"] for entry in self.nodes.values()],
            preexec_fn=(lambda: kernel.setns(space, kernel.CLONE_NEWNET)) if device else None)
        if done.returncode != 0:
            raise RuntimeError(f"{device or 'lab'}: ip failed: {done.stderr.strip()}")

    def make_network(self):
        # A loop of bridges would forward a broadcast forever. The kernel's spanning tree, with its
        # shortest timers, opens it within seconds.
        tree = "stp_state 1 forward_delay 200 hello_time 100 max_age 600"
        ageing = int(self.plan["ageing"] * 100)
        for node in self.nodes.values():
            self.ip(node.name, ["link set lo up"])
            if node.kind == "host":
                continue
            ways = tree if self.plan["loops"] and node.kind == "device" else "stp_state 0"
            self.ip(node.name, [
                f"link add {BRIDGE} address {node.mac} type bridge {ways} mcast_snooping 0 "
                f"ageing_time {ageing}",
                f"link set {BRIDGE} up"])
        for cable in self.cables:
            left, right = (
                f"name {end['port']} address {end['mac']} netns "
                f"/proc/self/fd/{self.nodes[end['device']].spaces['net']}"
                for end in cable["ends"])
            self.ip(None, [f"link add {left} type veth peer {right}"])
            for end in cable["ends"]:
                if self.nodes[end["device"]].kind != "host":
                    self.ip(end["device"], [f"link set {end['port']} master {BRIDGE}"])
        for cable in self.cables:
            self.set_cable(cable, everybody_on=True)

    def set_cable(self, cable, everybody_on=False):
        for end in cable["ends"]:
            on = everybody_on or self.nodes[end["device"]].kind != "device" or \
                self.devices[end["device"]].init is not None
            self.ip(end["device"],
                    [f"link set {end['port']} {'up' if on and cable['up'] else 'down'}"])

    def set_ports(self, device, up):
        lines = [f"link set {end['port']} {'up' if up and cable['up'] else 'down'}"
                 for cable in self.cables for end in cable["ends"] if end["device"] == device.name]
        if lines:
            self.ip(device.name, lines)

    def port_states(self, device):
        space = device.spaces["net"]
        done = subprocess.run(["bridge", "-j", "link"], text=True, capture_output=True, check=True,
                              preexec_fn=lambda: kernel.setns(space, kernel.CLONE_NEWNET))
        return [port.get("state") for port in json.loads(done.stdout or "[]")]

    def wait_for_tree(self):
        limit = time.monotonic() + SETTLE_LIMIT
        while any(state in ("listening", "learning")
                  for device in self.devices.values() for state in self.port_states(device)):
            if time.monotonic() > limit:
                raise RuntimeError("the spanning tree did not settle")
            time.sleep(0.2)

    # Power

    def assemble(self, device):
        ready, done = os.pipe(), os.pipe()
        child = os.fork()
        if child == 0:
            try:
                os.close(done[1])
                build_chassis(device, self.plan)
                os.write(ready[1], b"\n")
                os.read(done[0], 1)
                os._exit(0)
            except BaseException as error:
                os.write(ready[1], str(error).encode())
                os._exit(1)
        os.close(ready[1])
        os.close(done[0])
        try:
            answer = os.read(ready[0], 4096)
            if answer != b"\n":
                raise RuntimeError(f"{device.name}: {answer.decode() or 'ended while starting'}")
            for kind in ("net", "mnt", "uts"):
                device.spaces[kind] = os.open(f"/proc/{child}/ns/{kind}", os.O_RDONLY)
        finally:
            os.close(ready[0])
            os.close(done[1])
            os.waitpid(child, 0)

    def place(self, other):
        """Gives a switch or host its namespace, which its process keeps open."""
        reader, writer = os.pipe()
        child = os.fork()
        if child == 0:
            try:
                signal.signal(signal.SIGCHLD, signal.SIG_DFL)
                kernel.unshare(kernel.CLONE_NEWNET)
                silence_ipv6()
                os.write(writer, b"\n")
                close_all_but({0, 1, 2})
                live_as(other.kind, self.plan["ageing"] / 3)
            finally:
                os._exit(1)
        os.close(writer)
        with os.fdopen(reader, "rb") as pipe:
            if pipe.read(1) != b"\n":
                raise RuntimeError(f"{other.name}: ended while starting")
        other.spaces["net"] = os.open(f"/proc/{child}/ns/net", os.O_RDONLY)

    def power_on(self, device):
        self.set_ports(device, True)
        device.boots += 1
        device.note(f"powered on ({device.boots})")
        device.status, writer = os.pipe()
        # Opened here because the device cannot see the log's folder.
        log = os.open(device.log, os.O_WRONLY | os.O_APPEND)
        launcher = os.fork()
        if launcher == 0:
            self.launch(device, log, writer)
        os.close(writer)
        os.close(log)
        os.waitpid(launcher, 0)
        device.init = device.pid_space = device.ending = device.due = None
        device.started = False
        limit = time.monotonic() + START_LIMIT
        while not device.started:
            left = limit - time.monotonic()
            if left <= 0 or not select.select([device.status], [], [], left)[0] \
                    or not self.hear(device):
                os.close(device.status)
                if device.init is not None:
                    os.kill(device.init, signal.SIGKILL)
                    device.init = None
                self.set_ports(device, False)
                raise RuntimeError(
                    f"{device.name} did not start: {device.ending or 'no answer'}")
        self.selector.register(device.status, selectors.EVENT_READ, (self.hear, device))

    def launch(self, device, log, status):
        """Child of the keeper: enters the chassis and starts an init there."""
        try:
            signal.set_wakeup_fd(-1)
            signal.signal(signal.SIGCHLD, signal.SIG_DFL)
            for kind, flag in (("uts", kernel.CLONE_NEWUTS), ("net", kernel.CLONE_NEWNET),
                               ("mnt", kernel.CLONE_NEWNS)):
                kernel.setns(device.spaces[kind], flag)
            # Later mounts belong to this boot only, not to the chassis.
            kernel.unshare(kernel.CLONE_NEWNS | kernel.CLONE_NEWIPC | kernel.CLONE_NEWPID)
            init = os.fork()
            if init:
                os.write(status, (json.dumps({"init": init}) + "\n").encode())
                os._exit(0)
            close_all_but({0, 1, 2, log, status})
            device_init(device, self.plan, log, status)
        except BaseException as error:  # must not return into the keeper's stack
            os.write(status, (json.dumps({"failed": str(error)}) + "\n").encode())
            os._exit(1)

    def hear(self, device):
        """Reads what a device's init reports; false at the end of the pipe."""
        # A report is shorter than an atomic write to a pipe, so no line is ever split.
        text = os.read(device.status, 65536)
        for line in text.splitlines():
            fields = json.loads(line)
            device.init = fields.get("init", device.init)
            device.pid_space = fields.get("booted", device.pid_space)
            device.started = device.started or "started" in fields
            if "ended" in fields:
                device.ending = f"daemon {fields['ended']}"
                device.note(device.ending)
            if "failed" in fields:
                device.ending = fields["failed"]
                return False
        return bool(text)

    def gone(self, device, code):
        """The init of a device has ended, and with it everything in the device."""
        while self.hear(device):
            pass
        self.selector.unregister(device.status)
        os.close(device.status)
        device.init = device.pid_space = None
        self.set_ports(device, False)
        signalled = os.WTERMSIG(code) if os.WIFSIGNALED(code) else 0
        if signalled == signal.SIGHUP:
            device.note("rebooted")
            device.due = time.monotonic() + BOOT_PAUSE
        elif signalled == signal.SIGINT:
            device.ending = "powered itself off"
        elif signalled == signal.SIGKILL:
            device.ending = "power pulled"
        else:
            device.ending = f"init {describe(code)}"
        if device.due is None:
            device.note(device.ending)

    def start_again(self, device):
        try:
            self.power_on(device)
        except (OSError, RuntimeError) as error:
            traceback.print_exc()
            device.due = None
            device.ending = str(error)

    def reap(self):
        while True:
            try:
                pid, code = os.waitpid(-1, os.WNOHANG)
            except ChildProcessError:
                return
            if pid == 0:
                return
            for device in self.devices.values():
                if device.init == pid:
                    self.gone(device, code)

    # Requests of lab/mesh

    def find_device(self, name):
        if name not in self.devices:
            raise RuntimeError(f"there is no {name}; this lab has {', '.join(self.devices)}")
        return self.devices[name]

    def find_cable(self, first, second):
        for name in (first, second):
            if name not in self.nodes:
                self.find_device(name)
        for cable in self.cables:
            if {end["device"] for end in cable["ends"]} == {first, second}:
                return cable
        raise RuntimeError(f"there is no cable from {first} to {second}")

    def leave(self, _):
        """The process named by --until-exit-of has ended."""
        shutil.rmtree(self.state, ignore_errors=True)
        sys.exit(0)

    def do_status(self, _):
        return {"kind": self.plan["kind"], "build": self.plan["build"],
                "isolate": self.plan["isolate"], "cables": self.cables,
                "others": self.plan["others"],
                "devices": [{"name": device.name, "mac": device.mac, "boots": device.boots,
                             "on": device.init is not None, "pid_space": device.pid_space,
                             "rebooting": device.due is not None, "ending": device.ending,
                             "net": device.spaces["net"]}
                            for device in self.devices.values()]}

    def do_cable(self, request):
        cable = self.find_cable(request["from"], request["to"])
        changed = cable["up"] != request["up"]
        cable["up"] = request["up"]
        self.set_cable(cable)
        return {"cable": cable, "changed": changed}

    def do_kill(self, request):
        devices = [self.find_device(name) for name in request["devices"]]
        changed = [device for device in devices if device.init is not None]
        inits = [device.init for device in changed]
        for device in devices:
            device.due = None
        for init in inits:
            os.kill(init, signal.SIGKILL)
        limit = time.monotonic() + 5
        while any(device.init in inits for device in changed):
            if time.monotonic() > limit:
                raise RuntimeError("a device does not end; is a command in it stopped?")
            time.sleep(0.01)
            self.reap()
        return {"changed": [device.name for device in changed]}

    def do_start(self, request):
        devices = [self.find_device(name) for name in request["devices"]]
        changed = [device for device in devices if device.init is None]
        # All ports first, so that every device hears the first messages of the others.
        for device in changed:
            self.set_ports(device, True)
        for device in changed:
            self.power_on(device)
        return {"changed": [device.name for device in changed]}

    def serve(self, listener):
        connection, _ = listener.accept()
        with connection:
            connection.settimeout(5)
            try:
                request = json.loads(connection.makefile("rb").readline())
                answer = getattr(self, "do_" + request["do"])(request)
            except Exception as error:  # after any error the lab stays up and reports it
                traceback.print_exc()
                answer = {"error": str(error)}
            try:
                connection.sendall((json.dumps(answer) + "\n").encode())
            except OSError:
                pass  # the caller has gone, but the request is done

    def run(self, listener, master):
        wake_reader, wake_writer = os.pipe()
        for end in (wake_reader, wake_writer):
            os.set_blocking(end, False)
        signal.set_wakeup_fd(wake_writer)
        self.selector.register(wake_reader, selectors.EVENT_READ,
                               (lambda pipe: os.read(pipe, 4096), wake_reader))
        self.selector.register(listener, selectors.EVENT_READ, (self.serve, listener))
        if master is not None:
            self.selector.register(master, selectors.EVENT_READ, (self.leave, None))
        while True:
            self.reap()
            now = time.monotonic()
            for device in self.devices.values():
                if device.due is not None and device.due <= now:
                    self.start_again(device)
            waiting = [device.due for device in self.devices.values() if device.due is not None]
            timeout = max(0.0, min(waiting) - time.monotonic()) if waiting else None
            for key, _ in self.selector.select(timeout):
                # An earlier action of this round may have closed it.
                if self.selector.get_map().get(key.fd) == key:
                    action, argument = key.data
                    action(argument)


def main():
    state, progress, master = sys.argv[1], int(sys.argv[2]), int(sys.argv[3])

    def say(**fields):
        os.write(progress, (json.dumps(fields) + "\n").encode())

    try:
        os.set_inheritable(progress, False)
        with open(os.path.join(state, "plan.json"), encoding="utf-8") as file:
            plan = json.load(file)
        # A dead child must interrupt the wait in run(); an ignored signal would not.
        signal.signal(signal.SIGCHLD, lambda *_: None)
        kernel.mount("none", "/", None, kernel.MS_REC | kernel.MS_PRIVATE)
        kernel.mount("proc", "/proc", "proc")
        listener = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        listener.bind(os.path.join(state, "control"))
        listener.listen(16)
        keeper = Keeper(state, plan)
        for device in keeper.devices.values():
            keeper.assemble(device)
        for other in keeper.others.values():
            keeper.place(other)
        keeper.make_network()
        if plan["loops"]:
            say(say="waiting for the spanning tree")
            keeper.wait_for_tree()
        for device in keeper.devices.values():
            keeper.power_on(device)
            state = f": {device.ending}" if device.ending else f" started, AL MAC {device.mac}"
            say(say=device.name + state)
        if all(device.ending for device in keeper.devices.values()):
            raise RuntimeError("every daemon has ended; "
                               f"{device.name}'s said: {device.last_words()}")
        say(ready=True)
        os.close(progress)
    except BaseException as error:
        traceback.print_exc()
        say(error=str(error))
        sys.exit(1)
    keeper.run(listener, master if master >= 0 else None)


if __name__ == "__main__":
    main()
