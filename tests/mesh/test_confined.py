"""A mesh of confined daemons: their rights, and how they start and end. Tests of other files run on
such a mesh once more (CMakeLists.txt)."""

import contextlib
import os

import pytest
from lab import Lab, al_mac, wait_until

pytestmark = pytest.mark.skipif(os.geteuid() != 0, reason="a second user needs real root")

STATION, BSSID = "02:aa:00:00:00:01", "02:bb:00:00:00:01"
# What a Registrar orders from the last device, and the hook that carries it out.
ORDERS = {
    "led": "led {to} 7", "system": "system {to} 3", "network": "network {to} 1 text",
    "ap-steering": "steer {to} 1", "btm-request": f"btm {{to}} {STATION} {BSSID}",
    "beacon-report-request": f"beacon-report request {{to}} {STATION}",
    "beacon-report-get": f"beacon-report get {{to}} {STATION}",
    "blacklist-add": f"blacklist add {{to}} {STATION}",
    "blacklist-remove": f"blacklist remove {{to}} {STATION}",
    "speed-test": "speed-test start {to}", "reset-to-default": "reset {to} --yes",
    "log-file-publish": "log-file request {to}", "autoconf-renew": "wps renew main5",
    "extender-config": "wifi-sync extenders", "push-button": "wps push-button",
}
# Those that follow, or run on a schedule, and the device.
LATER = {"dev1": {"wifi-state-get", "wifi-channel-get", "wifi-state-result", "wifi-channel-result",
                  "log-file-fetch", "extender-config-get", "speed-test-result", "stations",
                  "security-start"},
         "dev4": {"wifi-state-set", "wifi-channel-set", "wifi-country-code", "speed-test-data",
                  "log-file-fetched", "stations", "security-m1"}}
KEPT = "0000000000403000"  # CAP_NET_ADMIN, CAP_NET_RAW and CAP_SYS_BOOT
HOOKS = "/etc/vm1905/hooks"
CALLS = "/etc/vm1905/calls"
DONE, REFUSED = 0, 1


@pytest.fixture(scope="module")
def lab():
    with Lab("line", "4", "--conf", "CONFINE = 1", "--conf", "RUN_AS = daemon") as made:
        for device in ("dev1", "dev4"):
            # Each notes its name, arguments, user, parent and open files, and prints a text.
            made.shell(device, f"""mkdir {HOOKS}; cat > {HOOKS}/led <<'END'; chmod +x {HOOKS}/led
#!/bin/sh
echo "${{0##*/}} $* $(id -u) $(cat /proc/$PPID/comm) $(ls /proc/self/fd | wc -l)" >> {CALLS}
case $0 in */log-file-publish) echo log.txt; echo ftp://192.0.2.4/x;; *-get|*-data) echo 00;;
*/security-start) echo {al_mac(4)} 00;; esac
END
                cd {HOOKS}; for name in {" ".join({*ORDERS, *set().union(*LATER.values())} - {"led"})}
                do cp led $name; done""")
        made.shell("dev1", f"cp {HOOKS}/led {HOOKS}/system; chmod o+w {HOOKS}/system;"
                           "echo WIFI_COUNTRY_CODE = DE >> /etc/vm1905/platform.conf")
        made.restart("dev1", "dev4")
        made.complete()
        yield made


def processes(lab, device):
    """Command name -> the fields of its status."""
    text = lab.shell(device, "for p in $(pgrep vm1905); do cat /proc/$p/status || true; echo; done")
    found = [dict(line.split(":\t", 1) for line in part.splitlines() if line)
             for part in text.strip().split("\n\n")]
    return {fields["Name"]: fields for fields in found if fields}  # one may have ended meanwhile


def end(lab, device, name):
    lab.shell(device, f"kill -KILL {processes(lab, device)[name]['Pid']}")


def led(lab, value):
    return lab.attempt("exec", "dev1", "--", "vm1905ctl", "--timeout", "5", "led", al_mac(4),
                       value).returncode


def is_confined(lab, device):
    both = processes(lab, device)
    daemon, helper = both.pop("vm1905"), both.pop("vm1905-helper")
    names = ("CapPrm", "CapEff", "CapBnd", "NoNewPrivs", "Seccomp")
    assert not both and [daemon[name] for name in names] == [KEPT] * 3 + ["1", "2"]
    assert daemon["Uid"] == daemon["Gid"] == "1\t1\t1\t1" and daemon["Groups"].split() == ["1"]
    assert (helper["Uid"], helper["PPid"]) == ("0\t0\t0\t0", daemon["Pid"])
    return daemon["Pid"]


def test_only_the_helper_has_rights_and_runs_hooks(lab):
    for device in ("dev1", "dev4"):
        is_confined(lab, device)
    assert f"{HOOKS}/system is ignored: with CONFINE = 1, a hook must" in lab.log("dev1")
    assert led(lab, "7") == DONE
    assert "led 7 0 vm1905-helper 4" in lab.shell("dev4", f"cat {CALLS}").splitlines()


def called(lab, device):
    """The hooks that have run."""
    return {line.split()[0] for line in lab.shell(device, f"cat {CALLS}").splitlines()}


def test_all_features_work(lab):
    for hook, order in ORDERS.items():
        done = lab.attempt("exec", "dev1", "--", "vm1905ctl", "--timeout", "5",
                           *order.format(to=al_mac(4)).split())
        assert done.returncode == DONE, (order, done.stdout, done.stderr)
    lab.until(lambda: set(ORDERS) <= called(lab, "dev4"), "the orders", 2)
    for device, hooks in LATER.items():
        lab.until(lambda: hooks <= called(lab, device), f"the other hooks of {device}", 2)


def test_a_restarted_daemon_is_confined_again(lab):
    old = is_confined(lab, "dev4")
    lab.shell("dev4", "touch /tmp/vm1905_restart")

    def others():
        both = processes(lab, "dev4")
        daemon = both.get("vm1905", {}).get("Pid", old)
        return daemon != old and both.get("vm1905-helper", {}).get("PPid") == daemon

    wait_until(others, 20, "another daemon and another helper run")
    lab.shell("dev4", "rm /tmp/vm1905_restart")

    def works():
        # It may restart once more, because the file was still there.
        with contextlib.suppress(AssertionError, KeyError):
            return led(lab, "8") == DONE and is_confined(lab, "dev4")

    wait_until(works, 30, "it works, confined")


def test_a_daemon_without_its_helper_goes_on(lab):
    end(lab, "dev4", "vm1905-helper")
    assert led(lab, "9") == REFUSED
    assert led(lab, "9") == REFUSED
    assert lab.log("dev4").count("the process that runs programs has ended") == 1
    assert lab.shell("dev4", f"grep -c '^led 9' {CALLS} || :") == "0\n"


def test_the_end_leaves_nothing_behind(lab):
    lab.shell("dev3", "touch /tmp/vm1905_stop")
    wait_until(lambda: not lab.device("dev3")["daemons"], 20, "the daemon ends")
    assert lab.device("dev3")["ending"] == "daemon exited with status 0"
    assert lab.shell("dev3", "pgrep vm1905 || :; ipcs -m | grep -c 0x || :; ls /tmp | grep wake || :"
                     ) == "0\n"


@pytest.mark.parametrize("conf, lost, line", [
    ("RUN_AS=nobody-of-us", "", "RUN_AS: there is no user nobody-of-us other than root"),
    ("CONFINE=yes", "", "CONFINE is neither 0 nor 1"),
    ("RUN_AS=root", "", "RUN_AS: there is no user root other than root"),
    ("RUN_AS=daemon", "-setuid", "CAP_SETUID or CAP_SETGID is missing: the daemon cannot run as"),
])
def test_a_daemon_that_cannot_be_confined_does_not_start(lab, conf, lost, line):
    lab.shell("dev2", f"mkdir -p /tmp/c; printf 'CONFINE=1\\n{conf}\\n' > /tmp/c/vm1905.conf")
    done = lab.attempt("exec", "dev2", "--", "setpriv", f"--bounding-set={lost or '+all'}",
                       f"{lab.build}/vm1905", "-c", "/tmp/c")
    assert done.returncode == 1 and line in done.stdout, done.stdout


def test_a_daemon_without_net_raw_says_so_and_serves_local_programs(lab):
    lab("kill", "dev1")
    lab("start", "dev1")
    end(lab, "dev1", "vm1905")
    lab.shell("dev1", f"""
        setpriv --bounding-set=-net_raw {lab.build}/vm1905 > /tmp/log 2>&1 < /dev/null &
        for i in $(seq 50); do vm1905ctl status && exit; sleep 0.2; done; exit 1""")
    log = lab.shell("dev1", "cat /tmp/log")
    assert log.index("CAP_NET_RAW is missing: no port can be opened") < log.index("no port is open")
