"""A lab for the duration of a test."""

import contextlib
import itertools
import json
import os
import pathlib
import signal
import struct
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[3]
sys.path.insert(0, str(ROOT / "tests/support"))

import schema

MESH = str(ROOT / "lab" / "mesh")
COMMAND_LIMIT = 90  # seconds for one lab/mesh command

_numbers = itertools.count(1)


def al_mac(number):
    return f"02:00:00:00:{number:02x}:ff"


def port_mac(number, port):
    return f"02:00:00:00:{number:02x}:{port:02x}"


def wait_for(condition, seconds, pause=0.1):
    """The first true value of condition(), or its last value after these seconds."""
    limit = time.monotonic() + seconds
    while not (value := condition()) and time.monotonic() < limit:
        time.sleep(pause)
    return value


def wait_until(condition, seconds, what, pause=0.1):
    """The first true value of condition(); fails the test after these seconds."""
    value = wait_for(condition, seconds, pause)
    assert value, f"not within {seconds} s: {what}"
    return value


class Mesh:
    """A lab for the duration of a test. env: variables of the daemons, as NAME=VALUE."""

    def __init__(self, build, *up, env=()):
        self.build = str(build)
        self.inits = {}  # process ids, for reading files of the devices
        # Lines of vm1905.conf, with which any test can be repeated.
        lines = filter(None, os.environ.get("VM1905_CONF_LINES", "").split(","))
        up += tuple(f"--conf={line}" for line in lines)
        # AddressSanitizer insists on being the first library, but need not be. To look for leaks it
        # starts a process, which a confined daemon may not.
        leaks = "detect_leaks=0" if any("CONFINE" in option for option in up) else None
        sanitizer = (os.environ.get("ASAN_OPTIONS"), "verify_asan_link_order=0", leaks)
        self.environment = dict(os.environ, VM1905_LAB=f"test-{os.getpid()}-{next(_numbers)}",
                                VM1905_BUILD=self.build,
                                ASAN_OPTIONS=":".join(filter(None, sanitizer)))
        self.arguments = [*up, "--until-exit-of", str(os.getpid())]
        for variable in env:
            self.arguments += ["--env", variable]

    def __enter__(self):
        self("up", *self.arguments)
        return self

    def __exit__(self, problem, *_):
        try:
            if problem is None:
                self.check_files()
        finally:
            self("down")

    def check_files(self):
        """What the daemons have published fits docs/data-model.schema.json."""
        if self.attempt("status").returncode != 0:
            return  # the test has ended the lab
        for name, device in self.status()["devices"].items():
            folder = pathlib.Path(f"/proc/{device['init']}/root/tmp")
            for path in (folder.glob("vm1905*.json") if device["init"] else ()):
                schema.check(json.loads(path.read_text(encoding="utf-8")), path.name, f"{name}: ")

    @property
    def folder(self):
        base = os.environ.get("XDG_RUNTIME_DIR") or "/tmp"
        return pathlib.Path(base) / f"vm1905-lab-{os.getuid()}-{self.environment['VM1905_LAB']}"

    def attempt(self, *arguments, **options):
        options = {"text": True, **options}
        return subprocess.run([MESH, *arguments], env=self.environment, check=False,
                              capture_output=True, timeout=COMMAND_LIMIT, **options)

    def __call__(self, *arguments, **options):
        done = self.attempt(*arguments, **options)
        assert done.returncode == 0, f"lab/mesh {' '.join(arguments)}: {done.stdout}{done.stderr}"
        return done.stdout

    def start(self, *arguments, **options):
        """A command that keeps running; the caller ends it."""
        options = {"stdout": subprocess.PIPE, "stderr": subprocess.STDOUT, **options}
        return subprocess.Popen([MESH, *arguments], env=self.environment, text=True, **options)

    def run(self, device, *command, **options):
        return self("exec", device, "--", *command, **options)

    def shell(self, device, script):
        return self.run(device, "sh", "-ec", script)

    def status(self):
        status = json.loads(self("status", "--json"))
        status["devices"] = {device["name"]: device for device in status["devices"]}
        return status

    def device(self, name):
        return self.status()["devices"][name]

    def log(self, device):
        # Read as bytes, since the line ends are part of the texts.
        return (self.folder / f"{device}.log").read_bytes().decode(errors="replace")

    def model_text(self, device):
        """The content of the device's data model; empty if there is none."""
        for _ in range(2):
            with contextlib.suppress(KeyError, OSError):
                path = pathlib.Path(f"/proc/{self.inits[device]}/root/tmp/vm1905.json")
                return path.read_text(encoding="utf-8", errors="replace")
            # There is no file, or the device has rebooted.
            self.inits = {name: entry["init"] for name, entry in self.status()["devices"].items()}
        return ""

    def model(self, device):
        """The parsed data model; empty if there is none."""
        for _ in range(5):
            with contextlib.suppress(ValueError):
                content = json.loads(self.model_text(device))
                schema.check(content, "vm1905.json", f"{device}: ")
                return content
            time.sleep(0.02)  # it may be half-written
        return {}

    def restart(self, *devices):
        """Power off and on, with new daemons."""
        self("kill", *devices)
        self("start", *devices)

    @contextlib.contextmanager
    def capture(self, first, second):
        """Records a cable."""
        recording = Recording()
        recorder = self.start("capture", first, second, "-", stdout=recording.file,
                              stderr=subprocess.PIPE)
        try:
            line = recorder.stderr.readline()
            assert line.startswith("capturing"), line + recorder.stderr.read()
            yield recording
        finally:
            recorder.send_signal(signal.SIGTERM)
            recorder.communicate(timeout=10)


class Lab(Mesh):
    """Its daemons have a clock that the test can set ahead; the kernel and files do not follow."""

    def __init__(self, *up):
        build = os.environ["VM1905_BUILD"]
        # All devices share the build folder, but not /tmp.
        self.clock = tempfile.NamedTemporaryFile(dir=build, prefix="clock-")
        self.ahead = 0
        self.advance(0)
        self.daemon_environment = [f"LD_PRELOAD={build}/libclock_ahead.so",
                                   f"CLOCK_AHEAD={self.clock.name}"]
        super().__init__(build, *up, env=self.daemon_environment)

    def advance(self, seconds):
        """Sets the clocks of all daemons ahead, at once."""
        self.ahead += seconds
        os.pwrite(self.clock.fileno(), struct.pack("q", self.ahead), 0)

    def pass_time(self, seconds, step=1):
        """Lets these seconds pass quickly, a step at a time."""
        for _ in range(0, seconds, step):
            self.advance(step)
            time.sleep(0.25)

    def until(self, condition, what, gain=1):
        """Like wait_until(), but the daemons' clocks gain some seconds with every look.

        Not for programs that the daemon runs: it may give them only a few of these seconds."""
        return wait_until(lambda: condition() or self.advance(gain), 60, what, 0.2)

    def complete(self, gain=1):
        """Waits until every device knows those it hears, and whom they hear."""
        look = ("wait", "--seconds", "0")
        wait_for(lambda: self.attempt(*look).returncode == 0 or self.advance(gain), 60, 0.2)
        self(*look)  # fails with what is missing


class Recording:
    def __init__(self):
        self.file = tempfile.TemporaryFile()

    @property
    def data(self):
        """What has been recorded so far."""
        return os.pread(self.file.fileno(), os.fstat(self.file.fileno()).st_size, 0)


class Program:
    """A program in a device that reads and writes lines."""

    def __init__(self, lab, device, *command):
        self.process = lab.start("exec", device, "--", *command, stdin=subprocess.PIPE, stderr=None)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.stdin.close()
        self.process.wait(20)

    def say(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()

    def hear(self):
        return self.process.stdout.readline().rstrip("\n")
