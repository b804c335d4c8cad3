"""Command line, configuration file and control files of the real program."""

import pathlib
import re
import time

import pytest
from lab import Lab, wait_until
from model import al

USAGE = """\r
Usage: {program}[-c <conf_folder>][-d <debug_level>][-t <topol_cap>][-r <reboot>]\
[-p <power_ctrl>][-l <enable_log>][-h] 

<conf_folder>: 
	The folder of vm1905 configuration file
<debug_level>: 
	0 : Critical errors.
	1 : Regular errors.
	2 : Warning messages.
	3 : Informational messages.
	4 : Debugging messages.
<topol_cap>: 
	0 : Disable netowork topology capability.
	1 : Enable netowork topology capability.
<reboot>: 
	0 : Disable reboot from IEEE 1905.1 neighbor device.
	1 : Enable reboot from IEEE 1905.1 neighbor device.
<power_ctrl>: 
	0 : Disable interface power control from IEEE 1905.1 neighbor device.
	1 : Enable interface power control from IEEE 1905.1 neighbor device.
<enable_log>: 
	0 : Disable log.
	1 : Enable log.

"""
BANNER = "** vm1905 Version : WIFISYS_RTK_9.2 **\n"


@pytest.fixture(scope="module")
def lab():
    with Lab("line", "2", "--args", "dev2=foo -t 1 -t 2 -r 5 -p 0 -d 6") as made:
        yield made


def restarted(lab, device, script=":"):
    """The AL of a daemon that has just started, with its files as the script leaves them."""
    lab.shell(device, script)
    lab.restart(device)
    return wait_until(lambda: al(lab.model(device)), 30, f"the first data model of {device}")


@pytest.mark.parametrize("arguments", [("-h",), ("foo", "-x", "0", "-Q")])
def test_usage(lab, arguments):
    done = lab.attempt("exec", "dev2", "--", "/usr/sbin/vm1905", *arguments, text=False)
    assert done.returncode == 0
    assert done.stdout.decode() == BANNER + USAGE.format(program="/usr/sbin/vm1905")


def test_options_override_the_configuration_file(lab):
    conf = "printf 'ENABLE_NET_TOPOL=0\\nENABLE_REBOOT_FROM_NBR = 0;\\n' > /etc/vm1905/vm1905.conf"
    # On dev2 the later -t counts, though it is out of range and so sets nothing.
    for name, power in (("dev1", True), ("dev2", False)):
        found = restarted(lab, name, conf)
        assert (found["NetworkTopology"]["Enable"], found["EnableReboot"],
                found["EnableInterfacePowerControl"]) == (False, False, power), name
        # Without the file the daemon uses the defaults.
        found = restarted(lab, name, "rm /etc/vm1905/vm1905.conf")
        assert found["NetworkTopology"]["Enable"]
        assert "failed to initialize system configuration\r" in lab.log(name)
    assert "set interface power control configuration value to (0)" in lab.log("dev2")


def test_the_debug_file_sets_the_level_of_a_running_daemon(lab):
    def lines(level):
        return len(re.findall(rf"/LVL={level}\]", lab.log("dev1")))

    wait_until(lambda: lines(4), 10, "lines of level 4")
    lab.shell("dev1", "echo 1 > /tmp/vm1905_debug")
    wait_until(lambda: "set debug level to 1 from the script cmd" in lab.log("dev1"), 10,
               "the level is set")
    before = lines(4)
    # A device that goes and comes makes a lot of noise at level 4.
    restarted(lab, "dev2")
    assert lines(4) == before
    lab.shell("dev1", "echo 4 > /tmp/vm1905_debug")
    wait_until(lambda: lines(4) > before, 10, "lines of level 4 again")
    lab.shell("dev1", "rm /tmp/vm1905_debug")  # it stays until somebody removes it


def test_the_topology_files_switch_it_off_and_on(lab):
    for name, enabled in (("disableTopol", False), ("enableTopol", True)):
        lab.shell("dev1", f"touch /tmp/vm1905_{name}")
        wait_until(lambda: al(lab.model("dev1"))["NetworkTopology"]["Enable"] is enabled, 20, name)
        assert f"{name[:-5]} the 1905.1 network topology capabilities\r" in lab.log("dev1")
        lab.shell("dev1", f"rm /tmp/vm1905_{name}")


def test_the_stop_file_ends_the_daemon_in_good_order(lab):
    lab.shell("dev1", "touch /tmp/vm1905_stop")
    ended = wait_until(lambda: lab.device("dev1")["ending"], 20, "the daemon ends")
    # From a sanitized daemon this also means that nothing has leaked.
    assert ended == "daemon exited with status 0" and not lab.device("dev1")["daemons"]


def test_the_end_of_the_log_reader_does_not_end_the_daemon(lab):
    # The lab has killed daemons of dev1, which leaves the flag behind.
    lab.shell("dev1", "rm /tmp/vm1905_stop; ip link set eth0 allmulticast off; "
              f"(env --default-signal=PIPE {lab.build}/vm1905 -d 4 | head -c 1) "
              "< /dev/null > /dev/null 2>&1 &")
    running = ("exec", "dev1", "--", "pidof", "vm1905")
    time.sleep(3)  # it logs a lot meanwhile
    assert lab.attempt(*running).returncode == 0
    lab.shell("dev1", "ip link show eth0 | grep ALLMULTI; touch /tmp/vm1905_stop")
    wait_until(lambda: lab.attempt(*running).returncode != 0, 10, "it stops")
    # In good order: otherwise the FIFO, the shared memory and the flag would remain.
    lab.shell("dev1", "test ! -e /tmp/vm1905_wake; rm /tmp/vm1905_stop")
    assert "ALLMULTI" not in lab.shell("dev1", "ip link show eth0")


def test_the_restart_file_starts_another_daemon(lab):
    restarted(lab, "dev1")
    (old,) = lab.device("dev1")["daemons"]
    lab.shell("dev1", "touch /tmp/vm1905_restart")
    wait_until(lambda: set(lab.device("dev1")["daemons"]) - {old}, 20, "another daemon runs")
    # It acts for as long as it is there, so the new daemon would restart as well.
    lab.shell("dev1", "rm /tmp/vm1905_restart")
    assert "IEEE1905 restart ...\r" in lab.log("dev1")

    def commands():
        paths = [pathlib.Path(f"/proc/{pid}/cmdline") for pid in lab.device("dev1")["daemons"]]
        return [path.read_text("ascii") for path in paths if path.exists()]

    wait_until(lambda: commands() == ["/usr/sbin/vm1905\0restart\0"], 10, "one daemon runs")


# Takes names of the daemon as another user, and keeps them in use.
SQUAT = """
import ctypes, os, time
os.setuid(12345)
libc = ctypes.CDLL(None)
libc.shmat(libc.shmget(190510, 4096, 0o1666), None, 0)
os.makedirs("/tmp/vm1905_wake/deep")
print("done", flush=True)
time.sleep(60)
"""


def test_a_daemon_takes_its_names_from_strangers_but_not_from_another_daemon(lab):
    lab.shell("dev1", "kill -9 $(pidof vm1905); ipcrm -M 190510; rm /tmp/vm1905_wake")
    squatter = lab.start("exec", "dev1", "--", "python3", "-c", SQUAT)
    assert squatter.stdout.readline() == "done\n"
    lab.shell("dev1", f"setsid {lab.build}/vm1905 > /tmp/log 2>&1 < /dev/null &")
    wait_until(lambda: lab.attempt("exec", "dev1", "--", "vm1905ctl", "status").returncode == 0,
               20, "a client gets answers")
    assert lab.shell("dev1", "grep -c ' belonged to user 12345' /tmp/log") == "2\n"
    held = "ipcs -m; ls -i /tmp/vm1905_wake; pidof vm1905"
    before = lab.shell("dev1", held)
    again = lab.attempt("exec", "dev1", "--", f"{lab.build}/vm1905")
    assert again.returncode == 1 and f"already (process {before.split()[-1]})" in again.stdout
    assert lab.shell("dev1", held) == before
    squatter.kill()
