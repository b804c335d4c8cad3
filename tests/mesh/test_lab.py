"""The lab itself: devices are separate, reboot, and leave nothing behind."""

import contextlib
import os
import signal
import subprocess

import pytest
from lab import Lab, wait_until

REBOOT = ("python3", "-c", "import ctypes; ctypes.CDLL(None).reboot(0x1234567)")


def namespaces(pids):
    """The network namespaces of these processes."""
    found = set()
    for pid in pids:
        with contextlib.suppress(OSError):
            found.add(os.stat(f"/proc/{pid}/ns/net").st_ino)
    return found


def host():
    """Everything on this machine that a lab could change."""
    links = sorted(os.listdir("/sys/class/net"))
    with open("/proc/self/mountinfo", encoding="utf-8") as file:
        return links, file.read(), os.path.exists("/usr/sbin/vm1905"), os.path.exists("/etc/vm1905")


def inits(lab):
    return {name: device["init"] for name, device in lab.status()["devices"].items()}


def links(lab, device):
    """Port -> whether it has carrier."""
    lines = lab.run(device, "ip", "-o", "link").splitlines()
    return {line.split()[1].partition("@")[0].rstrip(":"): "LOWER_UP" in line for line in lines}


@pytest.fixture(scope="module")
def line():
    with Lab("line", "3") as lab:
        yield lab


def test_a_device_is_separate_from_the_host_and_from_the_others(line):
    line.shell("dev1", "echo mine > /tmp/vm1905-lab-x; echo mine > /etc/vm1905/x; "
                       "ipcmk -M 47110 > /tmp/ipc")
    seen = line.shell("dev2", "hostname; ls /sys/class/net; ls -A /tmp /etc/vm1905; ipcs -m; ps ax")
    assert "mine" not in seen and "lab-x\n" not in seen and "47110" not in seen
    assert "dev2\nbr-lan\neth0\neth1\nlo\n" in seen
    # The daemon is not process 1, which could neither be stopped nor crash.
    assert line.shell("dev2", "cat /proc/[0-9]*/comm").count("vm1905") == 1
    assert line.run("dev2", "cat", "/proc/1/comm").strip() != "vm1905"
    assert not os.path.exists("/tmp/vm1905-lab-x")


def test_a_reboot_and_a_pulled_plug_empty_tmp_and_keep_the_configuration(line):
    line.shell("dev1", "echo kept > /etc/vm1905/kept; echo lost > /tmp/lost; ipcmk -M 47110")
    boots = line.device("dev1")["boots"]
    line.attempt("exec", "dev1", "--", *REBOOT)
    wait_until(lambda: line.device("dev1")["boots"] == boots + 1, 10, "the device starts again")
    for _ in range(2):
        seen = line.shell("dev1", "cat /etc/vm1905/kept; ls /tmp; ipcs -m")
        assert "kept" in seen and "lost" not in seen and "47110" not in seen
        assert line.device("dev1")["daemons"] and links(line, "dev2")["eth0"]
        line.shell("dev1", "echo lost > /tmp/lost")
        line("kill", "dev1")
        assert not links(line, "dev2")["eth0"], "its neighbor still sees a carrier"
        assert line.device("dev1")["power"] == "off"
        line("start", "dev1")


def test_a_daemon_that_ends_shows_in_status_and_log(line):
    (daemon,) = line.device("dev2")["daemons"]
    os.kill(daemon, signal.SIGABRT)
    wait_until(lambda: line.device("dev2")["ending"], 5, "the end is noticed")
    device = line.device("dev2")
    assert device["ending"] == "daemon killed by SIGABRT" and device["power"] == "on"
    assert not device["daemons"] and device["ending"] in line("log", "dev2")


def test_up_fails_if_no_daemon_runs():
    lab = Lab("line", "2", "--conf=CONFINE = maybe")
    done = lab.attempt("up", *lab.arguments)
    assert done.returncode != 0 and "dev1: daemon exited with status 1" in done.stdout
    assert "every daemon has ended" in done.stderr and "confinement" in done.stderr, done.stderr
    assert "nothing to take down" in lab("down")


def end_keeper(lab):
    """It is the parent of every device's init."""
    with open(f"/proc/{inits(lab)['dev1']}/status", encoding="utf-8") as file:
        keeper = next(line.split()[1] for line in file if line.startswith("PPid:"))
    os.kill(int(keeper), signal.SIGKILL)


def use_it(lab):
    lab.start("exec", "dev1", "--", "sleep", "60")
    recorder = lab.start("capture", "dev1", "dev2", "/dev/null")
    assert recorder.stdout.readline().startswith("capturing")
    os.kill(inits(lab)["dev2"], signal.SIGKILL)


@pytest.mark.parametrize("incident", [end_keeper, use_it])
def test_down_leaves_nothing_behind(incident):
    before = host()
    with Lab("line", "2") as lab:
        spaces = namespaces(inits(lab).values())
        assert len(spaces) == 2 and host() == before
        incident(lab)
    assert "nothing to take down" in lab("down")
    wait_until(lambda: not spaces & namespaces(filter(str.isdigit, os.listdir("/proc"))), 5,
               "the namespaces are gone")
    assert not lab.folder.exists() and host() == before


def test_a_lab_ends_with_the_process_it_was_made_for_and_leaves_others_alone():
    with Lab("line", "2") as other:
        lab = Lab()
        with subprocess.Popen(["sleep", "60"]) as master:
            lab("up", "line", "2", "--until-exit-of", str(master.pid))
            lab.shell("dev1", "touch /tmp/mine")
            assert "mine" not in other.run("dev1", "ls", "/tmp")
            master.kill()
        wait_until(lambda: not lab.folder.exists(), 5, "its files are gone")
        assert other.device("dev1")["daemons"] and links(other, "dev2")["eth0"]
