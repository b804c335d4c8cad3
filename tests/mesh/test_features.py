"""Features of the controller, with hooks in place of radios: the settings that a Registrar hands
out, and the speed test."""

import struct

import pytest
from lab import Lab, al_mac, wait_for, wait_until
from neighbor import TARGET, TARGET_AL, raw, text

START, DATA, ACK = 10, 11, 26
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
        made.restart("dev1", "dev2", "dev3")
        yield made


def calls(lab, device, hook):
    return lab.attempt("exec", device, "--", "cat", f"{HOOKS}/{hook}.calls").stdout.splitlines()


def test_channels_are_handed_out_until_acknowledged(lab):
    def result(number):
        path = f"/tmp/vm1905/vm1905WIFIChannel_{al_mac(number).replace(':', '')}"
        return lab.attempt("exec", "dev1", "--", "cat", path).stdout

    def have_answered():
        return wait_for(lambda: result(2) == "success\n" and result(3) == "fail\n", 2)

    lab.until(have_answered, "the results of dev2 and dev3", gain=30)
    assert calls(lab, "dev2", "wifi-channel-set") == [f"{al_mac(1)} 6 36"]


def test_a_log_file_is_fetched_and_shown(lab):
    def log():
        done = lab.attempt("exec", "dev1", "--", "vm1905ctl", "--timeout", "3", "log", "dev2")
        return done.returncode, done.stdout + done.stderr

    status, text = log()
    assert status == 4 and "dev2 has not answered" in text
    lab.shell("dev2", hooks(log_file_publish="echo messages; echo ftp://192.0.2.2/x"))
    status, text = log()
    assert status == 1 and "ftp://192.0.2.2/x" in text and "log-file-fetch" in text
    lab.shell("dev1", hooks(log_file_fetch="""[ "$1 $2" = "messages ftp://192.0.2.2/x" ] || exit 1
        printf 'one\\33[2J\\ntwo' >/tmp/vm1905/new; mv -T /tmp/vm1905/new "/tmp/vm1905/$3\""""))
    for _ in range(2):
        assert log() == (0, "one\\x1b[2J\ntwo\n")


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
