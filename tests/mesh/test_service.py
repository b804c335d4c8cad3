"""The service channel of the real daemon: byte by byte over its shared memory, from processes that
know nothing of the client library, and by that library."""

import pathlib
import re
import subprocess

import pytest
from channel import FULL, IDLE, Channel
from lab import MESH, ROOT, Lab, al_mac, port_mac, wait_until
from neighbor import VENDOR, Neighbor, raw, vendor_tlv

DEVICE, PORT = "dev1", port_mac(1, 0)
OWN = raw(PORT).hex() + "000100"  # MAC, unused byte, media type
AL2 = raw(al_mac(2)).hex()
NOBODY, ALL = "020bad000000", "0" * 12
CODE = 254
LED, LED_REQ, LED_RESP = 161, 33, 35


@pytest.fixture(scope="module")
def lab():
    # The third never looks at the network, so that nothing in the tables moves.
    with Lab("line", "3", "--args", "dev3=-t 0") as made:
        wait_until(lambda: al_mac(2) in made.model_text(DEVICE), 30, "the neighbor is known")
        yield made


@pytest.fixture(scope="module")
def client(lab):
    with Channel(lab, DEVICE) as made:
        # Every table that is asked for has its entry.
        wait_until(lambda: all((made.ask(*request) or (CODE,))[0] != CODE for request in (
            (12, OWN + "00"), (30, "00"), (36, AL2 + "01"), (40, AL2 + "00"))), 20, "its tables")
        wait_until(lambda: made.ask(28)[1][10:16] == "010001", 20, "the topology")
        yield made


@pytest.fixture(scope="module")
def stranger(lab):
    with Neighbor(lab, "dev2", "eth0") as made:
        made.hello(PORT)
        yield made


def number(value, width=4):
    """In the byte order of this machine."""
    return value.to_bytes(width, "little").hex()


# Request, payload; id of the answer, payload: a point is any digit.
LOCAL = (
    (0, "", 1, raw(al_mac(1)).hex() + "000000" + "." * 8 + "01"),
    (2, "00", 3, raw(PORT).hex() + "000000" + "." * 8 + "01"),
    (2, "01", CODE, "0210"),
    (4, OWN, 5, ""),
    (6, OWN, 7, ""),
    (6, NOBODY + "000100", CODE, "0652"),
    (6, raw(PORT).hex() + "000501", CODE, "0652"),
    (8, OWN + "00", 9, ""),
    (8, OWN + "07", 9, "02"),
    (10, OWN, 11, "000[1-9]"),
    (10, NOBODY + "000100", CODE, "0a52"),
    (12, OWN + "00", 13,
     raw(port_mac(2, 0)).hex() + raw(PORT).hex() + "00" + "." * 32 + "1027....1027"),
    (12, OWN + "09", CODE, "0c50"),
    (18, "", CODE, "12"),
    (20, "00", CODE, "1451"),
    (22, "", CODE, "1610"),
    (24, "", 25, "10"),
    (26, "000500", 27, "10"),
    (28, "", 29, "00" + number(1) + "01" + "00" + "01" + "0[1-9]"),
    (30, "00", 31, "00" + "." * 8 + "00" + raw(al_mac(1)).hex() + raw(PORT).hex() + "00" + AL2),
    (30, "ff", CODE, "1e50"),
    (32, "00", 33, "22"),
    (32, "20", 33, ""),
    (32, "20", 33, "22"),
    (28, "", 29, "00" + number(1) + "01" + "20" + "01" + "0[1-9]"),
    (34, "00", 35, AL2 + "00" + "02" + ".." + "01" + "01"),
    (34, "09", CODE, "2250"),
    (36, AL2 + "01", 37, raw(port_mac(2, 1)).hex() + "01"),
    (36, AL2 + "09", CODE, "2450"),
    (36, NOBODY + "00", CODE, "2457"),
    (38, AL2 + "00", CODE, "2651"),
    (40, AL2 + "00", 41, raw(port_mac(2, 0)).hex() + "01" + raw(al_mac(1)).hex()),
    (42, AL2 + "00", 43, "02" + raw(port_mac(2, 0)).hex() + raw(port_mac(2, 1)).hex()),
    (44, "", 45, ""),
    (46, "", 47, "10"),
    (128, "00", 129, "01"),
    (130, "00c8", 131, ""),
    (128, "00", 129, "c8"),
    (130, "00c8", 131, "22"),
    (130, "0001", 131, ""),
    (128, "02", CODE, "8020"),
    (130, "0201", 131, "20"),
    (132, AL2 + "01", 133, "01"),
    (132, AL2 + "02", CODE, "8420"),
    (138, "00" + number(0) + number(1) + number(1), CODE, "8b"),
    (167, "00" + number(6), CODE, "a8"),
    (177, "", CODE, "b210"),
    (181, "", CODE, "b6"),
    (183, "", CODE, "b810"),
    (187, "", CODE, "bc"),
    (189, b"7".hex().ljust(34, "0") + number(1) + number(1), CODE, "be10"),
    (197, "", CODE, "c6"),
    (200, ALL + "00" + number(0, 2) + "010006" + NOBODY, CODE, "c8"),
    (155, "", CODE, "9c"),
)


def test_the_daemon_answers_by_itself(client):
    for service, payload, answer, expected in LOCAL:
        found = client.ask(service, payload)
        assert found and found[0] == answer and re.fullmatch(
            re.sub("(00)+$", "", expected), found[1]), (service, payload, found)


def test_what_is_never_answered(lab, client):
    for service, payload in ((48, ""), (217, ""), (65535, ""), (140, ""), (LED, ALL), (214, ALL)):
        assert client.post(service, payload) is not None, service
    assert client.take(0.5) is None
    assert lab.log(DEVICE).count("failed to handle service request (retCode = 48)") == 3


def bytes_at(**fields):
    """What follows the target, with these bytes at their offsets in the slot: at13="01"."""
    out = bytearray(243)
    for name, value in fields.items():
        at = int(name[2:]) - 13
        value = bytes.fromhex(value)
        out[at:at + len(value)] = value
    return bytes(out).rstrip(b"\0").hex()


STATION, BSSID = "02c100000001", "02c200000001"
# Service, payload behind the target; type and payload (behind the AL MAC of the target) of the
# message; type and payload of the neighbor's; payload of the answer.
ORDERS = (
    (134, "", 4, "", 5, "00", ""),
    (136, bytes_at(at13="02", at14=raw(PORT).hex() + number(1, 2) + ALL + number(0x105, 2),
                   at254="02"),
     6, "02" + raw(PORT).hex() + "0001" + ALL + "0105" + "02",
     7, "02" + raw(PORT).hex() + "000100" + ALL + "010501",
     "02" + raw(PORT).hex() + "01000000" + ALL + "050101"),
    (LED, bytes_at(at16="21"), LED_REQ, "21", LED_RESP, "00", ""),
    (204, bytes_at(at13=STATION, at19=BSSID, at25="5124", at27="01", at28=number(100, 2),
                   at30=b"home".hex()),
     66, STATION + BSSID + "5124" + "01" + "0064" + "0004" + b"home".hex(),
     67, "0100" + STATION + "0003abcdef", "00" + STATION + number(3, 2) + "abcdef"),
)


class Answering:
    """What the stranger has been told and answers, one after the other."""

    def __init__(self, stranger):
        self.stranger = stranger
        self.forget()

    def forget(self):
        self.seen = {frame.id for frame in list(self.stranger.heard)}

    def order(self, kind):
        """The next message of this type. What the daemon repeats by itself is not new."""
        return wait_until(lambda: next((
            frame for frame in list(self.stranger.heard)
            if frame.vendor == kind and frame.id not in self.seen), None), 5, f"order {kind}")

    def answer(self, order, kind, payload):
        self.forget()
        self.stranger.send(PORT, VENDOR, vendor_tlv(self.stranger.al, kind, bytes.fromhex(payload)),
                           order.id)


def test_a_neighbor_answers_for_the_daemon(client, stranger):
    answering = Answering(stranger)
    for service, payload, kind, sent, answer_kind, answer, expected in ORDERS:
        target = raw(stranger.al).hex()
        answering.forget()
        assert client.post(service, target + payload) is not None
        order = answering.order(kind)
        assert order.payload.hex() == target + sent, service
        assert client.look()[2] == IDLE, "no answer before the neighbor's"
        answering.answer(order, answer_kind, answer)
        assert client.take() == (service + 1, expected), service


def test_an_answer_that_nobody_collects_is_given_up(client):
    assert client.post(0) is not None
    pid = client.pid()
    assert client.look()[:3] == (pid, 1, FULL)
    assert client.post(28) >= 15
    assert client.look()[:3] == (pid, 29, FULL)
    assert client.take()[0] == 29


def test_an_interface_is_told_when_the_request_is_withdrawn(lab, client):
    client.mark("response", FULL)
    assert client.post(2, "00") is None
    assert client.flag("response") == IDLE, "freed while the daemon waits"
    assert client.take(0.1) is None
    client.mark("request", IDLE)
    assert client.take()[0] == 3
    nobody = 4_000_000
    assert client.post(2, "00", nobody) is not None
    assert f"the client ({nobody}) has gone" in lab.log(DEVICE)
    assert client.ask(0)[0] == 1


class Probe:
    """A process with the client library."""

    def __init__(self, lab, device=DEVICE):
        self.build = pathlib.Path(lab.environment["VM1905_BUILD"])
        self.process = subprocess.Popen(
            [MESH, "exec", device, "--", str(self.build / "probe")], env=lab.environment, text=True,
            stdin=subprocess.PIPE, stdout=subprocess.PIPE)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.stdin.close()
        self.process.wait(20)

    def say(self, service, payload="", timeout=3000):
        self.process.stdin.write(f"{service} {payload or '-'} {timeout}\n")
        self.process.stdin.flush()

    def hear(self):
        """Result, id of the answer and its payload; or "taken"."""
        line = self.process.stdout.readline().rstrip("\n")
        if line == "taken":
            return line
        result, answer, payload = line.split(" ")
        return int(result), int(answer), payload

    def ask(self, *request):
        self.say(*request)
        return self.hear()

    def post(self, service, payload, timeout):
        """Returns when the daemon has taken it."""
        assert self.ask(service, payload, f"+{timeout}") == "taken"


NO_DAEMON, RESTARTED, TIMEOUT, BUSY = -1, -2, -3, -4
DONE = (0, LED + 1, "")


def led(stranger):
    return raw(stranger.al).hex() + bytes_at(at16="21")


def test_the_library_gets_the_same(lab, client):
    with Probe(lab) as probe:
        for service, payload, answer, _ in LOCAL:
            if service > 46 or service in (8, 32):
                continue
            found = probe.ask(service, payload)
            if service in (0, 2, 12):  # with times and counters
                assert found[:2] == (0, answer), (service, payload)
            else:
                assert found == (0, *client.ask(service, payload)), (service, payload)
        for service, payload in ((140, ""), (LED, ALL), (214, ALL)):
            assert probe.ask(service, payload) == (0, 0, "")
        assert probe.ask(48, "", 300)[0] == TIMEOUT


def test_two_clients_at_once(lab, stranger):
    answering = Answering(stranger)
    with Probe(lab) as waiting, Probe(lab) as first, Probe(lab) as second:
        waiting.post(LED, led(stranger), 30000)
        order = answering.order(LED_REQ)
        for _ in range(40):
            first.say(34, "00")
            second.say(2, "00")
        for _ in range(40):
            assert first.hear()[:2] == (0, 35)
            assert second.hear()[:2] == (0, 3)
        answering.answer(order, LED_RESP, "00")
        assert waiting.hear() == DONE


def test_answers_of_the_past_harm_nobody(lab, client, stranger):
    """Of a client that was killed, and of a request that was given up."""
    answering = Answering(stranger)
    with Probe(lab) as killed:
        killed.post(LED, led(stranger), 8000)
        order = answering.order(LED_REQ)
        lab.shell(DEVICE, "kill -9 $(pidof probe)")
    with Probe(lab) as probe:
        answering.answer(order, LED_RESP, "00")
        wait_until(lambda: client.look()[1:3] == (LED + 1, FULL), 5, "its answer is there")
        assert probe.ask(LED, led(stranger), 300)[0] == TIMEOUT
        assert client.look()[1:3] == (LED + 1, IDLE), "the dead need no answer"

        assert client.post(0) is not None
        assert probe.ask(LED, led(stranger), 300)[0] == TIMEOUT
        assert client.take(0)[0] == 1, "the living do"

        answering.forget()
        assert probe.ask(LED, led(stranger), 300)[0] == TIMEOUT
        late = answering.order(LED_REQ)
        probe.post(134, raw(stranger.al).hex(), 8000)
        order = answering.order(4)
        answering.answer(late, LED_RESP, "10")
        wait_until(lambda: client.look()[1:3] == (LED + 1, IDLE), 5, "it is dropped")
        answering.answer(order, 5, "07")
        assert probe.hear() == (0, 135, "07")


def test_turns_and_the_fifo(lab):
    with Probe(lab) as probe:
        assert probe.ask(0)[:2] == (0, 1)
        holder = lab.start("exec", DEVICE, "--", "flock", "/tmp/vm1905_client.lock", "-c",
                           "echo held; sleep 1")
        assert holder.stdout.readline() == "held\n"
        assert probe.ask(0, "", 200)[0] == BUSY
        assert probe.ask(0)[:2] == (0, 1)
        assert holder.wait(10) == 0
        # Without the FIFO the daemon comes by itself; whatever has its name is left alone.
        lab.shell(DEVICE, "mv /tmp/vm1905_wake /tmp/kept; touch /tmp/vm1905_wake")
        assert probe.ask(0)[:2] == (0, 1)
        lab.shell(DEVICE, "test ! -s /tmp/vm1905_wake; mv /tmp/kept /tmp/vm1905_wake")


def test_the_documented_client_compiles_and_works(lab, tmp_path):
    build = pathlib.Path(lab.environment["VM1905_BUILD"])
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


def start_daemon(lab):
    daemon = lab.environment["VM1905_BUILD"] + "/vm1905"
    lab.shell(DEVICE, f"rm -f /tmp/vm1905_stop; cd /; setsid {daemon} -d 4 -x 0 > /tmp/vm1905.out 2>&1 < /dev/null &")


@pytest.mark.parametrize("ending", ["touch /tmp/vm1905_stop", "kill -9 $(pidof vm1905)"])
def test_the_daemon_ends_and_comes_back(lab, stranger, ending):
    stranger.hello(PORT)
    with Probe(lab) as probe:
        wait_until(lambda: probe.ask(LED, led(stranger), 300)[:2] == (TIMEOUT, 0), 20,
                   "the neighbor is known")
        probe.post(LED, led(stranger), 8000)
        lab.shell(DEVICE, ending)
        assert probe.hear()[0] == RESTARTED
        assert probe.ask(0)[0] == NO_DAEMON
        with Probe(lab) as newcomer:
            assert newcomer.ask(0)[0] == NO_DAEMON
        start_daemon(lab)
        wait_until(lambda: probe.ask(0)[:2] == (0, 1), 10, "the new daemon answers")
