"""vm1905ctl in a mesh of real daemons: views, orders and exit codes."""

import json
import os
import pty
import re
import subprocess
import time

import pytest
from lab import MESH, ROOT, Lab, al_mac, port_mac

DONE, REFUSED, USAGE, NO_DAEMON, TIMED_OUT = range(5)
HOOK = """mkdir -p /etc/vm1905/hooks
printf '#!/bin/sh\\n[ "$1" != 9 ] || exit 5\\necho blue\\necho "$1"\\n' > /etc/vm1905/hooks/led
chmod +x /etc/vm1905/hooks/led
"""


@pytest.fixture(scope="module")
def lab():
    with Lab("line", "3") as made:
        made.shell("dev2", HOOK)
        made.complete()
        made.until(lambda: len(show(made, "topology")["topology"]) == 3, "all are known")
        made.until(lambda: '"dev3"' in made.model_text("dev1"), "names are known")
        yield made


def ctl(lab, *arguments, device="dev1"):
    return lab.attempt("exec", device, "--", "env", "LC_ALL=C", "vm1905ctl", *arguments)


def show(lab, *arguments, **options):
    done = ctl(lab, "--json", *arguments, **options)
    assert done.returncode == DONE, done.stderr
    return json.loads(done.stdout)


def on_terminal(lab, *arguments, typed=""):
    """Its output on a terminal and its exit status."""
    ours, theirs = pty.openpty()
    process = subprocess.Popen([MESH, "exec", "dev1", "--", "vm1905ctl", *arguments], stdin=theirs,
                               stdout=theirs, stderr=theirs, env=lab.environment,
                               start_new_session=True)
    os.close(theirs)
    os.write(ours, typed.encode())
    text = b""
    try:
        while chunk := os.read(ours, 4096):
            text += chunk
    except OSError:
        pass  # the other end is closed
    os.close(ours)
    return text.decode(), process.wait(20)


def test_every_device_sees_the_cables_of_the_lab(lab):
    # Root -> each other device, its parent, and the ports of both.
    chains = {"dev1": [("dev2", "dev1", "eth0", "eth0"), ("dev3", "dev2", "eth1", "eth0")],
              "dev2": [("dev1", "dev2", "eth0", "eth0"), ("dev3", "dev2", "eth1", "eth0")],
              "dev3": [("dev2", "dev3", "eth0", "eth1"), ("dev1", "dev2", "eth0", "eth0")]}
    macs = {al_mac(number): f"dev{number}" for number in (1, 2, 3)}
    for root, chain in chains.items():
        for asked in {"dev1", root}:
            lab.until(lambda: sorted(
                (row["name"], macs[row["parent"]], row["parent_port"], row["port"])
                for row in show(lab, "topology", "--root", root, device=asked)["topology"]
                if row["parent"]) == sorted(chain), f"{asked} sees {root} on top")
    drawn = ctl(lab, "topology").stdout.splitlines()
    assert [line.split()[:2] for line in drawn[1:]] == [
        ["dev1", "Registrar"], ["`--", "dev2"], ["`--", "dev3"]]


def test_records_are_those_of_the_lab(lab):
    status = show(lab, "status")
    assert (status["al_mac"], status["role"], status["other_devices"]) == (
        al_mac(1), "Registrar", 2)
    assert sorted((d["name"], d["al_mac"], d["role"]) for d in show(lab, "devices")["devices"]) == [
        ("dev1", al_mac(1), "Registrar"), ("dev2", al_mac(2), "Enrollee"),
        ("dev3", al_mac(3), "Enrollee")]
    assert [(i["name"], i["mac"], i["power"]) for i in show(lab, "interfaces")["interfaces"]] == [
        ("eth0", port_mac(1, 0), "on")]
    links = {(link["device"], link["port"], link["neighbor"])
             for link in show(lab, "links")["links"]}
    assert {("dev1", "eth0", "dev2"), ("dev2", "eth1", "dev3"), ("dev3", "eth0", "dev2")} <= links
    assert ("new", "dev2") in {(c["event"], c["neighbor"]) for c in show(lab, "changes")["changes"]}
    device = show(lab, "device", "02-00-00-00-02-FF")
    assert (device["name"], len(device["interfaces"]), device["authorized"]) == ("dev2", 2, True)
    lines = ctl(lab, "device", "dev2", "--keyvalue").stdout.splitlines()
    assert "name=dev2" in lines and f"interfaces.1.mac={port_mac(2, 1)}" in lines


def findings(lab, status, *arguments):
    """What the doctor has found: name of the check -> state, finding, remedy."""
    done = ctl(lab, "--json", "doctor", *arguments)
    assert done.returncode == status, done.stdout + done.stderr
    return {row["check"]: (row["state"], row["finding"], row["remedy"])
            for row in json.loads(done.stdout)["checks"] if row["state"] != "fine"}


def test_the_doctor_finds_what_is_wrong(lab):
    status = show(lab, "status")
    assert ctl(lab, "--version").stdout == f"vm1905ctl {status['version']}\n"
    assert status["release"] and status["ports"] == 1 and status["uptime"] < 3600
    assert lab.run("dev1", "cat", f"/proc/{status['pid']}/comm") == "vm1905\n"
    lab.until(lambda: ctl(lab, "doctor").returncode == 0, "it is well")
    wrong = {  # what is done to the device, undone, and found
        "echo FORWARD_1905 = maybe > /etc/vm1905/platform.conf":
            ("rm /etc/vm1905/platform.conf", 1, "configuration", "platform.conf:1: FORWARD_1905"),
        f"echo {status['pid']} 0.0.1 > /var/run/vm1905/daemon.lock":
            (f"echo {status['pid']} {status['version']} > /var/run/vm1905/daemon.lock", 1, "daemon",
             f"0.0.1, process {status['pid']}, running for"),
        "touch /tmp/vm1905_debug":
            ("rm /tmp/vm1905_debug", 1, "control files", "/tmp/vm1905_debug is left over"),
        "ip link set eth0 down": ("ip link set eth0 up", 1, "links", "no interface"),
        "cp $(command -v sleep) /tmp/vm1905; /tmp/vm1905 60 > /dev/null 2>&1 & echo $! > /tmp/pid":
            ("kill $(cat /tmp/pid)", 2, "second daemon", f"beside process {status['pid']}"),
    }
    for script, (undo, expected, check, text) in wrong.items():
        lab.shell("dev1", script)
        lab.until(lambda: ctl(lab, "doctor").returncode == expected, script)
        state, finding, remedy = findings(lab, expected)[check]
        assert state == ("warning", "broken")[expected - 1] and text in finding and remedy
        lab.shell("dev1", undo)
    lab.until(lambda: ctl(lab, "doctor").returncode == 0, "it is well again")
    for old, new, check, text in (
            ('"Registrar",', f'"Registrar",\n"OtherRegistrar": "{al_mac(2)}",', "Registrars", "dev2"),
            ('"Registrar",', '"Registrar",\n"StandardMode": true,', "standard mode", ""),
            (al_mac(1), al_mac(9), "data model", "earlier daemon"),
            ('"NetworkTopology"', '"None"', "data model", "has 0 other devices, the daemon 2")):
        planted = lab.model_text("dev1").replace(old, new, 1)
        planted = planted.replace('"Enrollee",', '"Enrollee",\n"StandardMode": false,')
        lab.run("dev1", "tee", "/tmp/other.json", input=planted, encoding="utf-8")
        found = findings(lab, 1, "--data-model", "/tmp/other.json")
        assert list(found) == [check] and text in found[check][1]
    lab.shell("dev1", "chmod 600 /etc/vm1905/vm1905.conf")
    done = lab.attempt("exec", "dev1", "--", "setpriv", "--reuid=65534", "--clear-groups", "vm1905ctl",
                       "--json", "doctor")
    assert ["fine", "/etc/vm1905/vm1905.conf is not readable for this user", None] in [
        list(row.values())[1:] for row in json.loads(done.stdout)["checks"]], done.stdout
    lab.shell("dev1", "chmod 644 /etc/vm1905/vm1905.conf")
    done = ctl(lab, "check-config", "/etc/vm1905/vm1905.conf", "/etc/vm1905/wifi.none")
    assert (done.returncode, done.stdout) == (
        REFUSED, "/etc/vm1905/wifi.none: cannot be read: No such file or directory\n")


def test_an_order_is_answered_by_the_device(lab):
    assert ctl(lab, "led", "dev2", "7").stdout == "done: led, dev2\n"
    lab.until(lambda: show(lab, "device", al_mac(2))["led_status"] == "blue", "its LED state")
    failed = ctl(lab, "--json", "led", "DEV2", "9")
    assert failed.returncode == REFUSED and json.loads(failed.stdout)["result"] == 5
    assert "nobody answers" in ctl(lab, "led", "all", "3").stdout
    for order, name, answered in ((("network", "dev2", "1", "x"), "network", False),
                                  (("wps", "renew", "main24"), "wps renew main24", True)):
        report = show(lab, *order)
        assert (report["answered"], report["order"]) == (answered, name)
    assert ctl(lab, "power", "dev2", "on", "eth1").stdout.split()[-3:] == ["eth1", "0", "done"]


def test_a_ping_is_answered(lab):
    answered = show(lab, "ping", "dev3")
    assert answered["device"] == al_mac(3) and 0 < answered["milliseconds"] < 3000


def test_options_are_set_and_read(lab):
    assert ctl(lab, "set", "allow-power", "no").returncode == DONE
    assert ctl(lab, "get", "allow-power").stdout == "no\n"
    assert ctl(lab, "set", "allow-power", "0").stdout == "unchanged: set allow-power\n"
    asked = ("get", "allow-power", "dev1")
    lab.until(lambda: show(lab, *asked, device="dev2") == {"allow_power": False},
              "the others know")


@pytest.mark.parametrize("arguments, status, said", [
    (("led", "02:00:00:00:09:ff", "1"), REFUSED,
     "no neighbor .* \\(code 7\\)\n .*vm1905ctl devices"),
    (("device", "02:00:00:00:09:ff"), REFUSED, "code 87"),
    (("send", "3"), REFUSED, "code 64"),
    (("steer", "dev3", "1"), REFUSED, "code 16"),  # it has no hook
    (("led", "attic", "1"), USAGE, "no device is called attic\n.*dev2"),
    (("reboot", "self"), USAGE, "this is dev1 itself"),
    (("power", "self", "off"), USAGE, "--yes"),
    (("power", "dev2", "off", "wlan7"), USAGE, "no interface wlan7"),
    (("watch", "reboot", "dev2"), USAGE, "only commands that read"),
])
def test_refusals_say_why(lab, arguments, status, said):
    done = ctl(lab, *arguments)
    assert (done.returncode, done.stdout) == (status, "")
    assert re.search(said, done.stderr), done.stderr


def test_dangerous_orders_want_a_yes(lab):
    boots = lab.device("dev3")["boots"]
    done = ctl(lab, "reboot", "dev3")
    assert done.returncode == USAGE and "--yes" in done.stderr
    text, status = on_terminal(lab, "reboot", "dev3", typed="n\n")
    assert status == REFUSED and "reboot dev3? [y/N]" in text and "nothing was done" in text
    assert lab.device("dev3")["boots"] == boots
    text, status = on_terminal(lab, "reboot", "dev3", typed="yes\n")
    assert status == DONE and "done: reboot, dev3" in text
    lab.until(lambda: lab.device("dev3")["boots"] > boots, "it reboots")
    lab.complete()


def plant(lab, path, *names):
    """Writes dev1's data model with one name replaced by another."""
    lab.run("dev1", "tee", path, input=lab.model_text("dev1").replace(*names),
            encoding="utf-8")


def test_names_of_others_are_escaped_and_must_be_unique(lab):
    plant(lab, "/tmp/evil.json", "dev3", '\x1b]0;owned\x07\u202e"q\\$(reboot)')
    for form in ("--yes", "--keyvalue", "--json"):
        out = ctl(lab, "devices", "--data-model", "/tmp/evil.json", form).stdout
        assert "owned" in out and al_mac(3) in out and "dev2" in out
        assert not re.search("[\x00-\x09\x0b-\x1f\x7f-\x9f\u202e]", out)
    # A name that two devices have refers to neither.
    plant(lab, "/tmp/twice.json", '"dev3"', '"dev2"')
    done = ctl(lab, "led", "dev2", "1", "--data-model", "/tmp/twice.json")
    assert done.returncode == USAGE and al_mac(2) in done.stderr and al_mac(3) in done.stderr


def test_without_a_data_model_addresses_replace_names(lab):
    lab.shell("dev1", "printf '{ \"Device\": ' > /tmp/broken.json")
    for path in ("/tmp/no.json", "/tmp/broken.json"):
        done = ctl(lab, "topology", "--json", "--data-model", path)
        assert done.returncode == DONE and f"note: {path}" in done.stderr
        assert {row["mac"] for row in json.loads(done.stdout)["topology"]} == {
            al_mac(number) for number in (1, 2, 3)}
        assert ctl(lab, "led", al_mac(2), "1", "--data-model", path).returncode == DONE
    text, status = on_terminal(lab, "status")
    assert status == DONE and "\x1b[1m" in text


def test_watch_prints_what_changes_and_ends(lab):
    watching = lab.start("exec", "dev1", "--", "vm1905ctl", "watch", "--interval", "0.3",
                         "get", "allow-reboot")
    clock = r"\d\d:\d\d:\d\d\n"
    assert re.fullmatch(clock, watching.stdout.readline())
    assert [watching.stdout.readline() for _ in range(2)] == ["yes\n", "\n"]
    time.sleep(1)  # several intervals without a change
    assert ctl(lab, "set", "allow-reboot", "0").returncode == DONE
    assert re.fullmatch(clock, watching.stdout.readline())
    assert watching.stdout.readline() == "no\n"
    lab.shell("dev1", "kill -INT $(pidof vm1905ctl)")
    assert watching.wait(10) == DONE
    assert watching.stdout.read() == "\n"


def test_changes_are_followed_line_by_line(lab):
    watching = lab.start("exec", "dev1", "--", "vm1905ctl", "changes", "--follow", "--json")
    assert json.loads(watching.stdout.readline())["reporter"] == "dev1"
    lab.shell("dev1", "kill -INT $(pidof vm1905ctl)")
    assert watching.wait(10) == DONE


def test_watch_ends_while_the_daemon_is_silent(lab):
    # One times out, the other still waits when it is ended.
    watching = [lab.start("exec", "dev1", "--", "vm1905ctl", "watch", "--json", "--interval", "0.3",
                          "--timeout", seconds, "get", "al-mac", stderr=subprocess.DEVNULL)
                for seconds in ("1", "60")]
    for one in watching:
        printed = json.loads("".join(one.stdout.readline() for _ in range(5)))
        assert printed["al_mac"] == al_mac(1) and abs(printed["time"] - time.time()) < 60
    lab.shell("dev1", "kill -STOP $(pidof vm1905)")
    try:
        printed = "".join(watching[0].stdout.readline() for _ in range(6))
        # Silent, or the other one holds the channel.
        assert json.loads(printed)["result"] in (-3, -4)
        lab.shell("dev1", "kill -TERM $(pidof vm1905ctl)")
        assert [one.wait(10) for one in watching] == [DONE, DONE]
    finally:
        lab.shell("dev1", "kill -CONT $(pidof vm1905)")


def test_watch_does_not_outlive_its_reader(lab):
    script = "vm1905ctl watch --interval 0.3 get al-mac | head -n 1; pidof vm1905ctl"
    assert lab.attempt("exec", "dev1", "--", "bash", "-c", script + " || echo gone"
                       ).stdout.splitlines()[-1] == "gone"


def test_completion_knows_commands_options_and_devices(lab):
    source = (ROOT / "ctl" / "vm1905ctl.bash").read_text(encoding="utf-8")
    for words, expected in ((("reb",), {"reboot"}), (("led", ""), {"all", "dev2", "dev3"}),
                            (("blacklist", ""), {"add", "remove"}),
                            (("watch", "--interval", "2", "device", ""), {"self", "dev2", "dev3"}),
                            (("get", "power", ""), {"eth0"}),
                            (("watch", "topology", "--ro"), {"--root"})):
        script = (f"COMP_WORDS=(vm1905ctl {' '.join(w or repr('') for w in words)}); "
                  f"COMP_CWORD={len(words)}; _vm1905ctl; printf '%s\\n' \"${{COMPREPLY[@]}}\"")
        # As text, since a device may not see the source folder.
        done = lab.run("dev1", "bash", "-c", f"{source}\n{script}")
        found = {word for word in done.split() if not word.startswith("02-")}
        assert found == expected, words


def test_help_and_man_page_name_the_same(lab):
    page = (ROOT / "man" / "vm1905ctl.1").read_text(encoding="utf-8").replace("\\-", "-")
    help_text = ctl(lab, "--help-all").stdout
    commands, group = set(), ""
    for indent, name in re.findall(r"^( *)([a-z][a-z-]+)$", help_text, re.M):
        commands.add(f"{group} {name}" if indent else name)
        group = group if indent else name
    assert {"wps renew", "speed-test start"} <= commands
    help_text += ctl(lab, "set", "--help").stdout + ctl(lab, "get", "--help").stdout
    words = set(re.findall(r"--[a-z-]+|^  [a-z]+-[a-z-]+", help_text, re.M)) | commands
    assert len(words) > 70
    assert not {word for word in words if word.strip() not in page}


def test_a_silent_device_and_a_killed_daemon(lab):
    lab.shell("dev2", "kill -STOP $(pidof vm1905)")
    try:
        text, status = on_terminal(lab, "led", "dev2", "1", "--timeout", "1.5")
        assert status == TIMED_OUT and "\rwaiting for the answer of dev2, 1." in text
    finally:
        lab.shell("dev2", "kill -CONT $(pidof vm1905)")
    lab.shell("dev1", "kill -STOP $(pidof vm1905)")
    assert ctl(lab, "status", "--timeout", "1").returncode == TIMED_OUT
    dying = lab.attempt("exec", "dev1", "--", "sh", "-c",
                        "(sleep 0.5; kill -KILL $(pidof vm1905)) & exec vm1905ctl status")
    assert dying.returncode == NO_DAEMON and dying.stderr.startswith("vm1905ctl: ")
    gone = ctl(lab, "topology", "--json")
    assert gone.returncode == NO_DAEMON and json.loads(gone.stdout)["result"] == -1
    assert "not running" in findings(lab, 2)["daemon"][1]
