"""Features of the controller, with hooks in place of radios: the settings that a Registrar hands
out, the speed test; and a hook that hangs. The stranger is on the last cable of a line of three."""

import struct
import time

import pytest
from lab import Lab, al_mac, port_mac, wait_for, wait_until
from neighbor import Neighbor, raw, text

TARGET, TARGET_AL = port_mac(2, 1), al_mac(2)  # the device that the stranger talks to
CONF_QUERY, CONF_RESP, START, DATA, ACK = 0, 1, 10, 11, 26
DONE = b"\0"
HOOKS = "/etc/vm1905/hooks"


def hooks(**scripts):
    """A shell script that writes these hooks. Each logs its arguments, one line per call."""
    made = f"mkdir -p {HOOKS}\n"
    for name, script in scripts.items():
        path = f"{HOOKS}/{name.replace('_', '-')}"
        made += f"cat >{path} <<'END'\n#!/bin/sh\necho \"$*\" >>$0.calls\n{script}\nEND\n" \
                f"chmod +x {path}\n"
    return made


@pytest.fixture(scope="module")
def lab():
    with Lab("line", "3") as made:
        made.shell("dev1", hooks(wifi_channel_get="echo 6 36", speed_test_result=""))
        made.shell("dev2", hooks(wifi_channel_set="", speed_test="",
                                 speed_test_data="echo \"line $(wc -l <$0.calls)\""))
        made.shell("dev3", hooks(wifi_channel_set="exit 3"))
        made("kill", "dev1", "dev2", "dev3")
        made("start", "dev1", "dev2", "dev3")
        yield made


@pytest.fixture(scope="module")
def stranger(lab):
    with Neighbor(lab, "dev3", "eth0") as made:
        made.hello(TARGET)
        yield made


def calls(lab, device, hook):
    done = lab.attempt("exec", device, "--", "cat", f"{HOOKS}/{hook}.calls")
    return done.stdout.splitlines() if done.returncode == 0 else []


def test_channels_are_handed_out_until_acknowledged(lab):
    def result(number):
        path = f"/tmp/vm1905/vm1905WIFIChannel_{al_mac(number).replace(':', '')}"
        return lab.attempt("exec", "dev1", "--", "cat", path).stdout

    def have_answered():
        return wait_for(lambda: result(2) == "success\n" and result(3) == "fail\n", 2)

    lab.until(have_answered, "the results of dev2 and dev3", gain=30)
    assert calls(lab, "dev2", "wifi-channel-set") == [f"{al_mac(1)} 6 36"]


def test_a_speed_test_sends_its_figures_to_the_device_that_ordered_it(lab, stranger):
    order = b"\1\2" + text("http://192.0.2.9/") + struct.pack(">II", 0, 60) + raw(stranger.mac)
    kind, payload = stranger.ask(TARGET, START, order)
    assert (kind, payload[6:]) == (ACK, DONE)
    assert calls(lab, "dev2", "speed-test") == [f"1 2 http://192.0.2.9/ 0 60 {stranger.mac}"]

    def figures():
        return [frame for frame in list(stranger.heard)
                if frame.vendor == DATA and frame.payload[:6] == raw(TARGET_AL)]

    found = wait_until(lambda: len(figures()) >= 3 and figures(), 30, "three lines of figures")
    for number, frame in enumerate(found, 1):
        assert frame.payload[8:] == f"line {number}".encode()
    # Such a line reaches the hook that shows it on the device that ordered the test.
    stranger.tell(al_mac(1), DATA, raw(stranger.al) + text("94 Mb/s; $(id)"))
    wait_until(lambda: calls(lab, "dev1", "speed-test-result") ==
               [f"{stranger.al} 94 Mb/s; $(id)"], 10, "the line at the Registrar")


def test_a_hook_that_hangs_holds_nothing_up(lab, stranger):
    stranger.hello(TARGET)
    lab.shell("dev2", hooks(stations="sleep 1000 & sleep 1000"))

    def is_run_again():
        begin = time.monotonic()
        assert stranger.ask(TARGET, CONF_QUERY, raw(TARGET_AL))[0] == CONF_RESP
        assert time.monotonic() - begin < 1, "a hook may take 2 seconds"
        return len(calls(lab, "dev2", "stations")) >= 2

    lab.until(is_run_again, "the hook is given up and run again")
    assert "hook stations took longer than 2000 ms and was killed" in lab.log("dev2")
    lab.shell("dev2", f"rm {HOOKS}/stations")

    def sleepers():
        return lab.shell("dev2", "cat /proc/[0-9]*/comm 2>/dev/null || true").split().count("sleep")

    lab.until(lambda: sleepers() == 0, "nothing is left over")
