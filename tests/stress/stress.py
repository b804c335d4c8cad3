"""Faults in running meshes. scripts/stress builds what this needs and runs it; --help says more.

Every case brings up a lab, notes how it is, does something bad to it, and waits until all is as it
was: see Line.look.
"""

import argparse
import collections
import contextlib
import difflib
import glob
import json
import os
import pathlib
import random
import re
import resource
import signal
import struct
import subprocess
import sys
import tempfile
import time

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parents[1]
sys.path[:0] = [str(HERE.parent / "support" / "mesh"), str(ROOT / "lab")]

from client import device_processes, enter  # noqa: E402
from lab import Mesh, al_mac, port_mac, wait_for, wait_until  # noqa: E402

DEVICES = ("dev1", "dev2", "dev3")
TARGET = "dev2"  # the device that suffers, in the middle of the line
SILENCE = 130  # seconds after which a device that says nothing is forgotten
SETTLE = 2 * SILENCE  # seconds until invented devices are forgotten and real ones asked again
MEMORY = {"release": 2048, "asan": 65536}  # KiB that may stay with the allocator after full tables
CONF = ("READ_LLDP = 1", "ENABLE_REBOOT_FROM_NBR = 0", "ENABLE_INTF_PWR_CTRL_FROM_NBR = 0")
ORDERS = ("led {0} 1", "system {0} 1", "steer {0} 1", "get allow-reboot {0}", "network {0} 1 text",
          "wps {0} 1", "--yes reboot {0}", "--yes power {0} off eth0", "log-file request {0}",
          "speed-test start {0} http://192.0.2.1/", "wifi-sync all", "discover", "command {0} 8 1",
          "blacklist add {0} 02:57:a0:00:00:01", "btm {0}", "--yes reset {0}",
          "--yes firmware {0} 1", "beacon-report get {0} 02:57:a0:00:00:01")

# What changes by itself or in its own time, counts what a case does, or is set by requests.
VOLATILE = {"LastChange", "DeviceUptime", "IEEE802dot1Bridge", "age", "availability", "rate",
            "changes", "changes_max", "refused"}
# What devices, also invented ones, answered to orders is kept, for a limited number of them.
RESULT = re.compile(r"/tmp/vm1905(/vm1905(NetworkCtrl|WIFIState|WIFIChannel)_[0-9a-f]{12})?")
MOST_RESULTS = 1 + 3 * 256
READ = ("devices", "status", "topology")

CASES = {}
options = argparse.Namespace()


def case(function):
    CASES[function.__name__.replace("_", "-")] = function
    return function


def say(text):
    print(f"    {time.strftime('%H:%M:%S')} {text}", flush=True)


# A mesh, and how it is

def canonical(node):
    """JSON without what is volatile and without the order in which things were found."""
    if isinstance(node, list):
        return sorted(map(canonical, node), key=json.dumps)
    if not isinstance(node, dict):
        return node
    plain, numbered = {}, collections.defaultdict(list)
    for key, value in sorted(node.items()):
        kind = re.sub(r"\.\d+$", "", key)
        if kind != key:
            numbered[kind].append(value)
        elif key not in VOLATILE:
            plain[key] = canonical(value)
    text = json.dumps(plain | {kind: canonical(values) for kind, values in numbered.items()})
    for key, value in node.items():
        if re.fullmatch(r"Interface\.\d+", key):  # others refer to it by that name
            text = text.replace(f'"{key}"', f'"{value["InterfaceId"]}"')
    return json.loads(text)


class Line(Mesh):
    """A line of three devices, of which one suffers."""

    def __init__(self, kind="release", env=()):
        self.kind = kind
        more = [part for line in CONF for part in ("--conf", line)]
        # A flood would fill the disk with a log.
        more += [part for name in DEVICES for part in ("--args", f"{name}=-d 0")]
        super().__init__(options.build[kind], "line", str(len(DEVICES)), "--ageing", "15", *more,
                         env=env)
        self.variables = list(env)

    def __enter__(self):
        super().__enter__()
        try:
            self("wait", "--seconds", "60")
            # Then the exchange at the start is over, and every device has been asked once more.
            time.sleep(35)
            self.before = wait_until(self.steady, 60, "a state that does not change")
            self.private = {name: self.memory(name) for name in DEVICES}
        except BaseException:
            self.__exit__()
            raise
        return self

    def steady(self):
        first = self.look()
        time.sleep(3)
        return first if self.look() == first else None

    def daemon(self, device):
        daemons = self.device(device)["daemons"]
        assert len(daemons) == 1, f"{device} has {len(daemons)} daemons: {self.last_words(device)}"
        return daemons[0]

    def last_words(self, device):
        return " | ".join(self.log(device).strip().splitlines()[-3:])

    def memory(self, device):
        text = pathlib.Path(f"/proc/{self.daemon(device)}/smaps_rollup").read_text("ascii")
        # Not the pages of files: they count as its own or shared as other processes come and go.
        return int(re.search(r"^Anonymous:\s+(\d+) kB", text, re.MULTILINE)[1])

    def command(self, device, text):
        return self.attempt("exec", device, "--", "vm1905ctl", *text.split())

    def clients(self, *arguments):
        library = f"{self.build}/libvm1905client.so"
        return (sys.executable, "-c", (HERE / "clients.py").read_text(), library, *arguments)

    def look_at(self, device, entry):
        script = "\n".join([*(f"vm1905ctl --json {what} 2>&1 || true\necho --" for what in READ),
                            'exec "$@"'])
        *answers, found, segments = self.run(device, "sh", "-c", script, "sh",
                                             *self.clients("look")).split("--\n")
        answers = [canonical(json.loads(text)) if text[0] == "{" else text for text in answers]
        processes = [name for _, name in device_processes(entry["space"]).values()
                     if "python" not in name]  # those of the lab and of the case
        tmp = f"/proc/{entry['init']}/root"
        # The build is mounted there, and mount(8) notes what it does.
        skipped = (f"{tmp}{self.build}/", f"{tmp}/run/mount/")
        files = [os.path.join(folder, name)[len(tmp):] for top in ("/tmp", "/run", "/etc/vm1905")
                 for folder, folders, names in os.walk(tmp + top)
                 for name in sorted(names + folders) if not f"{folder}/{name}/".startswith(skipped)]
        assert sum(map(bool, map(RESULT.fullmatch, files))) <= MOST_RESULTS, "too many results"
        descriptors = []
        for pid in entry["daemons"]:
            for file in os.scandir(f"/proc/{pid}/fd"):
                with contextlib.suppress(OSError):
                    descriptors.append(re.sub(r"\d+", "", os.readlink(file.path)))
            descriptors = [name for name in descriptors if "faketime" not in name]
        return {"answers": answers, "service channel": sorted(found.split()),
                "tables": canonical(self.model(device)),
                "processes": sorted(processes), "descriptors": sorted(descriptors),
                # key, permissions, size, attached processes
                "segments": [[line.split()[n] for n in (0, 2, 3, 6)] for line in segments.splitlines()
                             if line.split()[0].isdigit()],
                "files": sorted(file for file in files if not RESULT.fullmatch(file))}

    def look(self):
        status = self.status()["devices"]
        for entry in status.values():
            entry["space"] = os.stat(f"/proc/{entry['init']}/ns/pid").st_ino
        return {name: self.look_at(name, status[name]) for name in DEVICES}

    def as_before(self):
        """Waits until all is as it was before the case."""
        seen = [None]

        def same():
            seen[0] = self.look()
            return seen[0] == self.before and not self.grown()

        if wait_for(same, SETTLE, 3):
            return
        now, then = (json.dumps(state, indent=1).splitlines() for state in (seen[0], self.before))
        changes = list(difflib.unified_diff(then, now, "before", "after", "", "", 4, lineterm=""))
        grown = [f"{name}: {kib} KiB more" for name, kib in self.grown().items()]
        raise AssertionError("not as before: " + "\n".join(grown + changes[:80]))

    def grown(self):
        more = {name: self.memory(name) - self.private[name] for name in DEVICES}
        return {name: kib for name, kib in more.items() if kib > MEMORY[self.kind]}

    def start_daemon(self, device, *env, level=0):
        """Another daemon, in the place of one that has ended."""
        log = open(self.folder / f"{device}.log", "ab")
        self.start("exec", device, "--", "sh", "-c", 'cd / && exec setsid --fork env "$@"', "sh",
                   *self.variables, *env, f"{self.build}/vm1905", "-d", str(level),
                   "-x", "0" if device == "dev1" else "1",
                   stdin=subprocess.DEVNULL, stdout=log, stderr=log).wait(20)
        log.close()

    def end_daemon(self, device):
        os.kill(self.daemon(device), signal.SIGKILL)
        wait_until(lambda: not self.device(device)["daemons"], 10, f"{device}'s daemon ends", 0.02)

    def until_it_answers(self, device, seconds=20):
        wait_until(lambda: self.command(device, "status").returncode == 0, seconds,
                   f"{device}'s daemon answers; it said {self.last_words(device)}")

    def shake(self, changes=3):
        """Gives the daemon something to do: a neighbor that goes and comes, orders, requests."""
        for _ in range(changes):
            self("cut", TARGET, "dev3")
            time.sleep(1)
            self("join", TARGET, "dev3")
            self.command(TARGET, "reopen-ports")
            self.command(TARGET, "log-file write")
            self.command("dev1", f"led {al_mac(2)} 1")
            time.sleep(2)

    # Frames

    def record(self):
        """Real traffic between two devices that give each other orders."""
        with self.capture("dev1", TARGET) as recording:
            for text in ORDERS:
                for device, other in (("dev1", TARGET), (TARGET, "dev1")):
                    self.start("exec", device, "--", "vm1905ctl", "--timeout", "1",
                               *text.format(other).split(), stdout=subprocess.DEVNULL,
                               stdin=subprocess.DEVNULL)
                time.sleep(0.4)
            time.sleep(2)
        frames, data, at = {}, recording.data, 24
        while at + 16 <= len(data):
            length = struct.unpack_from("<I", data, at + 8)[0]
            frame = data[at + 16:at + 16 + length]
            at += 16 + length
            if frame[12:14] == b"\x89\x3a":
                # One of each message, vendor message, and length.
                frames[frame[16:18], frame[36:38], len(frame)] = frame.hex()
        return list(frames.values())

    @contextlib.contextmanager
    def storm(self):
        """A function that sends so many mutated frames, at that rate, and returns how many left."""
        frames = self.record()
        sender = self.start("exec", "dev1", "--", sys.executable, "-c",
                            (HERE / "storm.py").read_text(), "eth0", port_mac(1, 0),
                            port_mac(2, 0), str(options.random.random()), stdin=subprocess.PIPE)
        say(f"mutates {len(frames)} recorded frames")

        def write(text):
            sender.stdin.write(text + "\n")
            sender.stdin.flush()

        def send(count, rate):
            write(f"{count} {rate}")
            line = sender.stdout.readline()
            assert line.strip().isdigit(), f"the sender has ended: {line}{sender.stdout.read()}"
            return int(line)

        write(json.dumps(frames))
        send.begin = lambda count, rate: write(f"{count} {rate}")
        try:
            yield send
        finally:
            sender.stdin.close()
            sender.wait(60)

    def sockets(self):
        """The bytes that wait in the target's packet sockets, and the frames they dropped."""
        text = self.run(TARGET, "ss", "-f", "link", "-a", "-e", "-m", "-n")
        found = re.findall(r"skmem:\(r(\d+),.*?,d(\d+)\)", text)
        return sum(int(waiting) for waiting, _ in found), sum(int(lost) for _, lost in found)

    def flood(self, frames, seconds):
        """Until the daemon has read so many frames, or for so long; as fast as it reads them.
        Returns how many it read and how many were sent."""
        with self.storm() as send:
            pid, rate, sent, read, begin = self.daemon(TARGET), 2000, 0, 0, time.monotonic()
            said = begin
            while read < frames and time.monotonic() - begin < seconds:
                lost = self.sockets()[1]
                left = send(rate, rate)
                wait_until(lambda: self.sockets()[0] == 0, 60, "the daemon reads what it has", 0.05)
                lost = self.sockets()[1] - lost
                sent += left
                read += max(0, left - max(lost, 0))
                rate = max(500, int(rate * (0.7 if lost > left / 50 else 1.2)))
                assert self.daemon(TARGET) == pid, f"another daemon: {self.last_words(TARGET)}"
                if time.monotonic() - said > 15:
                    said = time.monotonic()
                    say(f"{read:,} frames read, {rate:,} per second, {self.memory(TARGET):,} KiB")
            self.until_it_answers(TARGET)
        return read, sent


# The cases. Each returns what it did.

@case
def clock():
    """the clock stepped by 50 years and back, in both directions"""
    library = next(iter(glob.glob("/usr/lib/*/faketime/libfaketime.so.1")), None)
    assert library, "libfaketime is missing; run: scripts/install-deps stress"
    shared = set(glob.glob("/dev/shm/*faketime*"))
    with tempfile.NamedTemporaryFile("w+", dir=options.build["release"], prefix="clock-") as file, \
            contextlib.ExitStack() as after:
        # What the library of a killed daemon leaves.
        after.callback(lambda: [os.unlink(path) for path in
                                set(glob.glob("/dev/shm/*faketime*")) - shared])
        env = (f"LD_PRELOAD={library}", f"FAKETIME_TIMESTAMP_FILE={file.name}", "NO_FAKE_STAT=1",
               "FAKETIME_NO_CACHE=1", "FAKETIME_DONT_FAKE_MONOTONIC=1")

        def step(mesh, years):
            def clocks():
                text = mesh.run(TARGET, "env", *env, "python3", "-c", "import time\nfor c in (0, "
                                "1, 7): print(int(time.clock_gettime(c)), end=' ')")
                mesh.command(TARGET, "debug-level 4")  # so that it says something
                said = wait_until(lambda: re.findall(r"\[TM=(\d+)/", mesh.log(TARGET)[size:]), 10,
                                  "a line of the log")
                return [*map(int, text.split()), int(said[-1])]

            size = len(mesh.log(TARGET))
            real, monotonic, boot, daemon = clocks()
            os.pwrite(file.fileno(), f"{years:+d}y \n".encode(), 0)
            size, moved = len(mesh.log(TARGET)), clocks()
            way = (years - clock.years) * 365 * 86400
            assert all(abs(new - old - way) < 60
                       for new, old in ((moved[0], real), (moved[3], daemon))), \
                f"the clock was to move by {way} s: {[real, daemon]}, then {moved}"
            assert moved[1] - monotonic < 60 and moved[2] - boot < 60, "CLOCK_MONOTONIC has moved"
            clock.years = years
            say(f"the clock of all daemons is {years:+d} years ahead, CLOCK_MONOTONIC is not")

        def knows(mesh, device, other):
            return al_mac(other) in json.dumps(canonical(mesh.model(device)))

        clock.years = 0
        os.pwrite(file.fileno(), b"+0y  \n", 0)
        with Line(env=env) as mesh:
            for years in (50, -50):
                for now in (years, 0):
                    step(mesh, now)
                    time.sleep(10)
                    for device in DEVICES:
                        lost = [n for n in (1, 2, 3) if not knows(mesh, device, n)]
                        assert not lost, f"{device} has lost dev{lost}"
                os.kill(mesh.daemon("dev3"), signal.SIGKILL)
                begin = time.monotonic()
                step(mesh, years)
                time.sleep(SILENCE / 2)
                step(mesh, 0)
                wait_until(lambda: not knows(mesh, "dev1", 3) and not knows(mesh, TARGET, 3),
                           SILENCE, "dev3 is forgotten", 1)
                gone = time.monotonic() - begin
                assert gone > SILENCE - 65, f"dev3 was forgotten after {gone:.0f} s"
                say(f"dev3, killed, was forgotten after {gone:.0f} s")
                mesh.start_daemon("dev3")
            mesh.command(TARGET, "debug-level 0")
            mesh.as_before()
    return "8 steps, 2 neighbors forgotten in time, none before"


def end_client(pid):
    with contextlib.suppress(ProcessLookupError):  # it has ended by itself
        os.kill(pid, signal.SIGKILL)


@case
def kill():
    """daemons and clients killed at random moments while orders run"""
    killed = collections.Counter()
    with Line() as mesh:
        space = os.stat(f"/proc/{mesh.device('dev1')['init']}/ns/pid").st_ino

        def clients():
            return {pid for pid, (_, name) in device_processes(space).items() if "python" in name}

        def more_clients():
            return mesh.start("exec", "dev1", "--", *mesh.clients(
                "orders", al_mac(2), str(options.random.random())), stdout=subprocess.DEVNULL)

        keeper = clients()
        running = [more_clients() for _ in range(3)]
        for number in range(1, options.kills + 1):
            time.sleep(options.random.uniform(0, 0.5))
            victim = options.random.choice([*DEVICES, *(clients() - keeper)])
            killed[victim in DEVICES] += 1
            if victim in DEVICES:
                mesh.end_daemon(victim)
                mesh.start_daemon(victim)
                mesh.until_it_answers(victim)
            else:
                end_client(victim)
            running = [client for client in running if client.poll() is None]
            running += [more_clients() for _ in range(3 - len(running))]
            if number % 20 == 0:
                say(f"{number} killed")
        while running:  # one that has just started is not listed yet
            for pid in clients() - keeper:
                end_client(pid)
            time.sleep(0.1)
            running = [client for client in running if client.poll() is None]
        mesh.as_before()
    return f"{killed[True]} daemons and {killed[False]} clients"


@case
def tmpfs_full():
    """no space in /tmp, which also holds the JSON files"""
    with Line() as mesh:
        mesh.shell(TARGET, "mount -o remount,size=64k /tmp; cat /dev/zero > /tmp/full || true; "
                   "test $(stat -f -c %a /tmp) = 0")
        mesh.shake()
        mesh.until_it_answers(TARGET)
        assert mesh.model(TARGET), "vm1905.json is damaged"
        mesh.shell(TARGET, "rm /tmp/full; mount -o remount,size=50% /tmp")
        mesh.command(TARGET, "log-file write")
        mesh.shell(TARGET, "rm -f /tmp/vm1905_log.json")
        mesh.as_before()
    return "3 changes of the mesh"


@case
def read_only():
    """the folder of the JSON files read-only"""
    with Line() as mesh:
        mesh.shell(TARGET, "mount -o remount,ro /tmp")
        mesh.shake()
        mesh.daemon(TARGET)
        assert mesh.model(TARGET), "vm1905.json is damaged"
        mesh.shell(TARGET, "mount -o remount,rw /tmp")
        mesh.as_before()
    return "3 changes of the mesh"


@contextlib.contextmanager
def limited(pid, what, limit):
    before = resource.prlimit(pid, what)
    resource.prlimit(pid, what, (limit, before[1]))
    try:
        yield
    finally:
        with contextlib.suppress(ProcessLookupError):
            resource.prlimit(pid, what, before)


@case
def descriptors():
    """no file descriptors left"""
    with Line() as mesh:
        pid = mesh.daemon(TARGET)
        for spare in (1, 0, -1, -2, -4):
            limit = len(os.listdir(f"/proc/{pid}/fd")) + spare
            with limited(pid, resource.RLIMIT_NOFILE, limit):
                mesh.shake(1)
                mesh.until_it_answers(TARGET)
        assert mesh.daemon(TARGET) == pid, "another daemon"
        mesh.shell(TARGET, "rm -f /tmp/vm1905_log.json")
        mesh.as_before()
    return "limits from 1 more than are open to 4 less"


def carry_on(mesh, log, injected):
    """How the target's daemon took it that it got no memory. It must either answer, or have ended
    with a clear line: after half a change, a restart is better than to go on."""
    if mesh.device(TARGET)["daemons"] and wait_for(lambda: mesh.command(TARGET, "status").returncode == 0, 10):
        return "carried on"
    said = mesh.log(TARGET)[log:]
    assert not mesh.device(TARGET)["daemons"], f"the daemon hangs after {injected}: {said[-500:]}"
    assert "exited with status 1" in said and \
        re.search("out of memory|failed to initialize", said.split("---")[-2]), \
        f"no clear line after {injected}: {said[-500:]}"
    return "ended"


@case
def memory():
    """no memory left"""
    ends = collections.Counter()
    with Line() as mesh, mesh.storm() as send:
        for _ in range(3):
            pid, log = mesh.daemon(TARGET), len(mesh.log(TARGET))
            status = pathlib.Path(f"/proc/{pid}/status").read_text("ascii")
            size = int(re.search(r"VmSize:\s+(\d+)", status)[1])
            with limited(pid, resource.RLIMIT_AS, size * 1024):
                send(20000, 4000)
                end = carry_on(mesh, log, "a limit")
            ends[end] += 1
            if end == "ended":
                mesh.start_daemon(TARGET)
                mesh.until_it_answers(TARGET)
        assert ends["ended"], "the limit was never reached"
        mesh.as_before()
    return ", ".join(f"{count} daemons {end}" for end, count in ends.items())


@case
def malloc():
    """allocations that fail, chosen at random"""
    ends = collections.Counter()
    with Line() as mesh, mesh.storm() as send:
        for number in range(1, options.mallocs + 1):
            mesh.end_daemon(TARGET)
            log = len(mesh.log(TARGET))
            which = int(10 ** options.random.uniform(1, 3.5))
            count = options.random.choice((1, 1, 10, 10**9))
            what = f"allocation {which}, {count} of them"
            library = f"{options.build['release']}/libfail_malloc.so"
            mesh.start_daemon(TARGET, f"LD_PRELOAD={library}", f"FAIL_ALLOCATION={which}",
                              f"FAIL_COUNT={count}", level=1)
            begin = time.monotonic()
            while "fail_malloc" not in mesh.log(TARGET)[log:]:
                assert time.monotonic() - begin < 60, f"{what} never came"
                mesh.command(TARGET, "reopen-ports")
                send(500, 5000)
            time.sleep(0.5)
            end = carry_on(mesh, log, what)
            ends[end] += 1
            mesh.model(TARGET)
            if end == "ended":
                mesh.start_daemon(TARGET)
            if number % 10 == 0:
                say(f"{number} daemons: {dict(ends)}")
        mesh.end_daemon(TARGET)
        mesh.start_daemon(TARGET)
        mesh.as_before()
    return ", ".join(f"{count} daemons {end}" for end, count in ends.items())


@case
def interface():
    """an interface removed, renamed and flapped while frames arrive"""
    with Line() as mesh, mesh.storm() as send:
        def in_net(device, *command):
            init = mesh.device(device)["init"]
            subprocess.run([*enter(init, f"--net=/proc/{init}/ns/net"), "--", *command], check=True)

        def has(*names):
            entry = json.dumps(mesh.model(TARGET)["Device"]["X_5E1F09_IEEE1905"]["AL"])
            own = entry.split('"NetworkTopology"')[0]
            return re.findall(r'"InterfaceName": "(\w+)"', own) == [*names]

        in_net(TARGET, "ip", "link", "del", "eth1")
        send(5000, 5000)
        wait_until(lambda: has("eth0"), 60, "eth1 is gone")
        in_net(TARGET, "ip", "link", "add", "eth1", "address", port_mac(2, 1), "type", "veth",
               "peer", "name", "eth0", "address", port_mac(3, 0), "netns",
               f"/proc/{mesh.device('dev3')['init']}/ns/net")
        for device, port in ((TARGET, "eth1"), ("dev3", "eth0")):
            in_net(device, "ip", "link", "set", port, "master", "br-lan", "up")
        mesh.as_before()
        say("eth1 was removed and made again")
        for old, new in (("eth1", "lan7"), ("lan7", "eth1")):
            in_net(TARGET, "ip", "link", "set", old, "down")
            in_net(TARGET, "ip", "link", "set", old, "name", new)
            in_net(TARGET, "ip", "link", "set", new, "up")
            send(5000, 5000)
            wait_until(lambda: has("eth0", new), 60, f"{old} is {new}")
        mesh.as_before()
        say("eth1 was renamed twice")
        send.begin(options.flaps * 100, 5000)
        flapping = mesh.start("exec", TARGET, "--", "ip", "-batch", "-", stdin=subprocess.PIPE)
        for number in range(1, options.flaps + 1):
            for state in ("down", "up"):
                flapping.stdin.write(f"link set eth0 {state}\n")
                flapping.stdin.flush()
                time.sleep(options.random.uniform(0, 0.02))
            if number % 200 == 0:
                say(f"eth0 flapped {number} times")
        flapping.stdin.close()
        assert flapping.wait(20) == 0, flapping.stdout.read()
        mesh.until_it_answers(TARGET)
        mesh.as_before()
    return f"1 removed, 2 renamed, {options.flaps} flaps"


@case
def flood_asan():
    """mutated real traffic, under AddressSanitizer and UBSan"""
    with Line("asan", ("ASAN_OPTIONS=quarantine_size_mb=4:abort_on_error=1:detect_leaks=1",)) as mesh:
        read, sent = mesh.flood(10**12, options.minutes * 60)
        mesh.as_before()
        for device in DEVICES:  # a daemon that stops looks for leaks
            mesh.run(device, "touch", "/tmp/vm1905_stop")
            wait_until(lambda: not mesh.device(device)["daemons"], 60, f"{device} stops")
            ending = mesh.device(device)["ending"]
            assert ending == "daemon exited with status 0", f"{device}: {mesh.log(device)[-4000:]}"
    return f"{options.minutes:g} minutes, {read:,} frames read of {sent:,}"


@case
def frames():
    """mutated frames at a live daemon as it is shipped"""
    with Line() as mesh:
        read, sent = mesh.flood(options.frames, 6 * 3600)
        mesh.as_before()
    return f"{read:,} frames read of {sent:,}"


@case
def services():
    """requests with random bodies to all services, from 8 processes"""
    with Line() as mesh:
        pid, done = mesh.daemon(TARGET), collections.Counter()
        running = [mesh.start("exec", TARGET, "--", *mesh.clients(
            "all", str(options.random.random()), str(options.services))) for _ in range(8)]
        for client in running:
            text = client.communicate(timeout=3600)[0]
            assert client.returncode == 0, text
            done.update(json.loads(text))
        assert mesh.daemon(TARGET) == pid, "another daemon"
        mesh.shell(TARGET, "rm -f /tmp/vm1905_log.json")
        mesh.as_before()
    return f"{sum(done.values()):,} requests: " + ", ".join(
        f"{count:,} ended in {result}" for result, count in sorted(done.items(), reverse=True))


def main():
    parser = argparse.ArgumentParser(
        prog="scripts/stress", description="Puts meshes of the lab under faults, and checks after "
        "each that answers, tables and memory are as before and that no descriptor, process, segment "
        "or file is left.")
    parser.add_argument("--list", action="store_true", help="list the cases")
    parser.add_argument("--only", metavar="NAME", action="append", choices=CASES, default=[],
                        help="run this case; may be repeated")
    parser.add_argument("--seed", type=int, default=int(time.time()), metavar="N",
                        help="the same random choices as in a run that printed N")
    for name, default, text in (
            ("minutes", 10, "length of flood-asan"), ("frames", 10**7, "frames to read"),
            ("kills", 200, "processes to kill"), ("flaps", 1000, "flaps of the interface"),
            ("mallocs", 100, "daemons with failing allocations"),
            ("services", 65536, "service ids")):
        parser.add_argument(f"--{name}", type=float if name == "minutes" else int, default=default,
                            metavar="N", help=f"{text} (default {default:,})")
    parser.add_argument("--builds", type=pathlib.Path, default=ROOT / "build", metavar="DIR",
                        help="folder with the builds release and asan (default build)")
    parser.parse_args(namespace=options)
    if options.list:
        for name, run in CASES.items():
            print(f"{name:12} {run.__doc__}")
        return 0
    options.build = {kind: (options.builds / kind).resolve() for kind in MEMORY}
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    signal.signal(signal.SIGINT, signal.default_int_handler)  # a script's background ignores it
    print(f"seed {options.seed}", flush=True)
    table = []
    for name in options.only or CASES:
        print(f"==> {name}: {CASES[name].__doc__}", flush=True)
        options.random, begin = random.Random(f"{options.seed} {name}"), time.monotonic()
        try:
            done, result = CASES[name](), "passed"
        except (AssertionError, OSError, subprocess.SubprocessError) as error:
            done, result = "", "FAILED"
            say(f"FAILED: {error}")
        table.append((name, done, f"{time.monotonic() - begin:.0f}", result))
    print(f"\nseed {options.seed}")
    for row in (("case", "what was done", "seconds", "result"), *table):
        print("{:12} {:>8} {:7} {}".format(row[0], row[2], row[3], row[1]))
    return 1 if any(row[3] != "passed" for row in table) else 0


if __name__ == "__main__":
    with contextlib.suppress(KeyboardInterrupt):
        sys.exit(main())
    sys.exit(130)
