"""The service channel of the real daemon, through the client library and through the raw slots."""

import pathlib
import re
import subprocess

import pytest
from frames import VENDOR
from lab import ROOT, Lab, Program, al_mac, port_mac, wait_until
from neighbor import Neighbor, raw, vendor_tlv

DEVICE, PORT = "dev1", port_mac(1, 0)
LED, LED_REQ, LED_RESP = 161, 33, 35
NO_DAEMON, RESTARTED, TIMEOUT, BUSY = -1, -2, -3, -4


class Probe(Program):
    """A process with the client library."""

    def __init__(self, lab):
        super().__init__(lab, DEVICE, lab.build + "/probe")

    def request(self, service, payload="", timeout=3000):
        self.say(f"{service} {payload or '-'} {timeout}")

    def answer(self):
        """Result, id of the answer and its payload."""
        while (line := self.hear()) == "taken":
            pass
        result, answer, payload = line.split(" ")
        return int(result), int(answer), payload

    def ask(self, *request):
        self.request(*request)
        return self.answer()

    def post(self, *request):
        """Returns when the daemon has taken it."""
        self.request(*request)
        assert self.hear() == "taken"


class Answering(Neighbor):
    """Answers one order after the other, when the test says so."""

    def forget(self):
        self.seen = {frame.id for frame in list(self.heard)}

    def order(self, kind):
        """The next message of this type, repetitions excluded."""
        return wait_until(lambda: next((
            frame for frame in list(self.heard)
            if frame.vendor == kind and frame.id not in self.seen), None), 20, f"order {kind}")

    def answer(self, order, kind, payload):
        self.forget()
        self.send(PORT, VENDOR, vendor_tlv(self.al, kind, bytes.fromhex(payload)), order.id)


@pytest.fixture(scope="module")
def lab():
    with Lab("line", "3") as made:
        made.until(lambda: al_mac(2) in made.model_text(DEVICE), "the neighbor is known")
        yield made


@pytest.fixture(scope="module")
def client(lab):
    with Probe(lab) as made:
        yield made


@pytest.fixture(scope="module")
def stranger(lab):
    with Answering(lab, "dev2", "eth0") as made:
        made.hello(PORT)
        # Only now can it be sent orders.
        lab.until(lambda: made.al in lab.model_text(DEVICE), "the daemon knows the stranger")
        yield made


def led(stranger):
    """The payload of an LED order."""
    return raw(stranger.al).hex() + "000000" + "21"


# Runs in the device, without the client library.
SLOTS = """
import ctypes, os, struct, time
libc = ctypes.CDLL(None)
libc.shmat.restype = ctypes.c_void_p
request, response = (
    (ctypes.c_ubyte * size).from_address(libc.shmat(libc.shmget(key, size, 0), None, 0))
    for key, size in ((190510, 256), (190511, 632)))
FLAG, FULL, IDLE = 6, 0, 1

def becomes(slot, flag):
    limit = time.monotonic() + 3
    while slot[FLAG] != flag and time.monotonic() < limit:
        time.sleep(0.0002)
    return slot[FLAG] == flag

def post(service, pid=os.getpid()):
    request[:] = struct.pack("=iHB", pid, service, IDLE).ljust(256, bytes(1))
    request[FLAG] = FULL
    with open("/tmp/vm1905_wake", "wb", buffering=0) as fifo:
        fifo.write(b"!")

def there():
    return struct.unpack("=iHB", bytes(response[:7])) == (os.getpid(), asked + 1, FULL)

asked = 0
post(0)
assert becomes(request, IDLE) and there()
begin, asked = time.monotonic(), 28
post(28)
assert becomes(request, IDLE) and there(), "an answer that nobody collects is given up"
assert time.monotonic() - begin >= 0.015, "but not at once"

asked = 2
post(2)
assert becomes(response, IDLE), "freed while the daemon waits"
time.sleep(0.1)
assert response[FLAG] == IDLE, "no answer before the request is withdrawn"
request[FLAG] = IDLE
assert becomes(response, FULL) and there()
response[FLAG] = IDLE
post(2, 4000000)
assert becomes(request, IDLE), "nobody would withdraw it"
"""


def test_the_slots_as_they_are(lab, client):
    lab.run(DEVICE, "python3", "-c", SLOTS)
    assert "the client (4000000) has gone" in lab.log(DEVICE)
    assert client.ask(0)[1] == 1


def test_three_clients_at_once(lab, client, stranger):
    stranger.forget()
    with Probe(lab) as first, Probe(lab) as second:
        client.post(LED, led(stranger), 30000)
        order = stranger.order(LED_REQ)
        for _ in range(40):
            first.request(34, "00")
            second.request(2, "00")
        for _ in range(40):
            assert first.answer()[:2] == (0, 35)
            assert second.answer()[:2] == (0, 3)
        stranger.answer(order, LED_RESP, "00")
        assert client.answer() == (0, LED + 1, "")


def test_answers_of_the_past_harm_nobody(lab, client, stranger):
    """Answers for a killed client, and for a request that timed out."""
    stranger.forget()
    with Probe(lab) as killed:
        killed.post(LED, led(stranger), 8000)
        order = stranger.order(LED_REQ)
        lab.shell(DEVICE, "kill -KILL $(pgrep --newest probe)")
    stranger.answer(order, LED_RESP, "00")
    assert client.ask(LED, led(stranger), 300)[0] == TIMEOUT
    late = stranger.order(LED_REQ)
    client.post(134, raw(stranger.al).hex(), 8000)
    order = stranger.order(4)
    stranger.answer(late, LED_RESP, "10")
    stranger.answer(order, 5, "07")
    assert client.answer() == (0, 135, "07")


def test_turns_and_the_fifo(lab, client):
    def hold(path, seconds):
        holder = lab.start("exec", DEVICE, "--", "flock", path, "-c", f"echo held; sleep {seconds}")
        assert holder.stdout.readline() == "held\n"
        return holder

    # Nobody can keep the turn from a client of root for long, not even with another kind of file.
    holder = hold("/tmp/vm1905_client.lock", 5)
    assert client.ask(0, "", 200)[0] == BUSY
    assert client.ask(0, "", 4000)[:2] == (0, 1) and holder.poll() is None
    lab.shell(DEVICE, "rm /tmp/vm1905_client.lock; ln -s /nowhere /tmp/vm1905_client.lock")
    assert client.ask(0, "", 200)[:2] == (0, 1)
    lab.shell(DEVICE, "rm /tmp/vm1905_client.lock")
    # Except another client of root.
    hold("/var/run/vm1905_client.lock", 3)
    assert client.ask(0, "", 2500)[0] == BUSY
    assert client.ask(0)[:2] == (0, 1)
    assert holder.wait(10) == 0
    # Without the FIFO the daemon looks by itself. Another file of that name is left alone.
    lab.shell(DEVICE, "mv /tmp/vm1905_wake /tmp/kept; touch /tmp/vm1905_wake")
    assert client.ask(0)[:2] == (0, 1)
    lab.shell(DEVICE, "test ! -s /tmp/vm1905_wake; mv /tmp/kept /tmp/vm1905_wake")


def test_the_documented_client_compiles_and_works(lab, tmp_path):
    build = pathlib.Path(lab.build)
    code = re.search("```c\n(.*?)```", (ROOT / "docs" / "service-channel.md").read_text(),
                     re.DOTALL).group(1)
    (tmp_path / "devices.c").write_text(code)
    sanitized = "VM1905_SANITIZE:BOOL=ON" in (build / "CMakeCache.txt").read_text()
    subprocess.run(
        ["cc", "-std=c99", "-pedantic", "-Wall", "-Wextra", "-Werror", "-I", ROOT / "client",
         *(["-fsanitize=address,undefined"] if sanitized else []), tmp_path / "devices.c",
         "-o", build / "documented_client", "-L", build, "-lvm1905client", f"-Wl,-rpath,{build}"],
        check=True)
    assert f"{al_mac(2)} has 2 interfaces\n" in lab.run(DEVICE, str(build / "documented_client"))


@pytest.mark.parametrize("ending", ["touch /tmp/vm1905_stop", "kill -9 $(pidof vm1905)"])
def test_the_daemon_ends_and_comes_back(lab, client, stranger, ending):
    stranger.hello(PORT)
    lab.until(lambda: client.ask(LED, led(stranger), 300)[:2] == (TIMEOUT, 0),
              "the neighbor is known")
    client.post(LED, led(stranger), 8000)
    lab.shell(DEVICE, ending)
    assert client.answer()[0] == RESTARTED
    assert client.ask(0)[0] == NO_DAEMON
    with Probe(lab) as newcomer:
        assert newcomer.ask(0)[0] == NO_DAEMON
    lab.shell(DEVICE, "rm -f /tmp/vm1905_stop; cd /; setsid env "
              f"{' '.join(lab.daemon_environment)} {lab.build}/vm1905 -d 4 -x 0 "
              "> /tmp/vm1905.out 2>&1 < /dev/null &")
    wait_until(lambda: client.ask(0)[:2] == (0, 1), 10, "the new daemon answers")
