"""The installed vm1905.service under a real systemd, in namespaces over a copy of this system."""

import os
import pathlib
import subprocess
import tempfile
import time

import pytest
from lab import wait_until

BUILD = pathlib.Path(os.environ["VM1905_BUILD"])
SYSTEMD = pathlib.Path("/lib/systemd/systemd")
# The root of the machine, over which all changes go to memory.
BOOT = """
mount --make-rprivate /; mount -t tmpfs none $1; cd $1; mkdir upper work root
mount -t overlay none -o lowerdir=/,upperdir=upper,workdir=work root; cd root
DESTDIR=$PWD cmake --install $2 --prefix /usr > /dev/null
mount -t tmpfs none etc/systemd/system
mkdir -p etc/vm1905/hooks etc/vm1905/root-hooks var/lib/vm1905 old
cp usr/share/doc/*/examples/vm1905.conf usr/share/doc/*/examples/platform.conf etc/vm1905
chroot . useradd --system --user-group vm1905
hook() { printf '%s\\n' '#!/bin/sh' "$2" > etc/vm1905/$1; }
hook hooks/stations 'exec /usr/libexec/vm1905/service ask flash "a b" "\\$(id)"'
hook root-hooks/flash 'echo "$(id -u) $# $2" > /var/flashed'
chmod +x etc/vm1905/*hooks/*
printf '[Unit]\\nWants=vm1905.service vm1905-hook@flash.path\\n' > etc/systemd/system/test.target
ip link add br-lan type bridge; ip link add eth0 type veth peer name far
ip link set eth0 master br-lan; for i in lo br-lan eth0 far; do ip link set $i up; done
echo 'EXCLUDE = far' > etc/vm1905/platform.conf
mount -t tmpfs -o mode=1777 none tmp; mount -t tmpfs -o mode=755 none run; mount -t tmpfs none dev
for i in null zero full random urandom tty; do touch dev/$i; mount --bind /dev/$i dev/$i; done
mkdir dev/shm; ln -s pts/ptmx dev/ptmx; mount -t proc none proc; mount -t sysfs -o ro none sys
mount -t cgroup2 none sys/fs/cgroup
pivot_root . old; umount -l old
exec env -i container=other PATH=/usr/sbin:/usr/bin:/sbin:/bin $3 --unit=test.target \
    --log-target=console --log-level=err
"""


def cannot_run():
    if os.geteuid() != 0:
        return "systemd needs real root"
    if not SYSTEMD.exists():
        return "there is no systemd"
    if b"libasan" in subprocess.run(["ldd", BUILD / "vm1905"], capture_output=True).stdout:
        return "a sanitized daemon needs system calls that the unit forbids"
    return None


class Machine:
    def __init__(self, pid):
        self.pid = pid

    def run(self, *command):
        return subprocess.run(["nsenter", "-t", self.pid, "-a", *command], capture_output=True,
                              text=True, timeout=60)

    def shell(self, script, user="root"):
        done = self.run("setpriv", f"--reuid={user}", f"--regid={user}", "--clear-groups", "sh",
                        "-ec", script)
        assert done.returncode == 0, f"{script}: {done.stdout}{done.stderr}"
        return done.stdout.strip()

    def show(self, name):
        return self.run("systemctl", "show", "-P", name, "vm1905").stdout.strip()

    def is_up(self):
        """Whether the service is active and its main process has the ports open."""
        pid = self.show("MainPID")
        ports = self.shell("awk 'NR > 1 { print $9 }' /proc/net/packet").split()
        opened = self.run("ls", "-l", f"/proc/{pid}/fd").stdout
        return (self.show("ActiveState") == "active" and ports != []
                and all(f"socket:[{port}]" in opened for port in ports))


@pytest.fixture(scope="module")
def machine():
    if reason := cannot_run():
        pytest.skip(reason)
    with tempfile.TemporaryDirectory() as folder, tempfile.TemporaryFile("w+") as log:
        command = ["unshare", "--fork", "--kill-child", "--pid", "--mount", "--net", "--ipc",
                   "--uts", "--cgroup", "sh", "-ec", BOOT, "boot", folder, BUILD, SYSTEMD]
        with subprocess.Popen(command, stdout=log, stderr=log, stdin=subprocess.DEVNULL) as boot:
            children = pathlib.Path(f"/proc/{boot.pid}/task/{boot.pid}/children")
            try:
                for _ in range(300):
                    pid = "" if boot.poll() is not None else children.read_text().strip()
                    made = Machine(pid)
                    if pid and made.run("systemctl", "is-active", "test.target").returncode == 0:
                        break
                    time.sleep(0.1)
                else:
                    log.seek(0)
                    pytest.skip("systemd does not start here: " + log.read()[-500:])
                yield made
            finally:
                boot.kill()


def restart_by_file(machine):
    wait_until(machine.is_up, 20, "the service is up")
    before = machine.show("MainPID")
    machine.shell("touch /tmp/vm1905_restart")
    wait_until(lambda: machine.show("MainPID") != before and machine.is_up(), 20, "a new one")
    assert machine.show("NRestarts") == "0" and machine.show("ActiveState") == "active"
    # The file is still there, but counts once.
    after = machine.show("MainPID")
    time.sleep(3)
    assert machine.show("MainPID") == after and machine.is_up()
    assert machine.run("test", "-e", f"/proc/{before}").returncode != 0
    user = machine.shell("id -u vm1905")
    assert f"Uid:\t{user}\t{user}\t{user}" in machine.shell(
        f"cat /proc/{machine.show('MainPID')}/status")


def test_clients_outside_the_unit_read_the_files_and_the_slot(machine):
    wait_until(machine.is_up, 20, "the service is up")
    exists = ("test", "-e", "/tmp/vm1905.json")
    wait_until(lambda: machine.run(*exists).returncode == 0, 20, "the file")
    client = "cat /tmp/vm1905.json > /dev/null; vm1905ctl status"
    assert "Registrar" in machine.shell(client, "vm1905")
    assert machine.run("setpriv", "--reuid=nobody", "--clear-groups", "--regid=nogroup",
                       "sh", "-ec", client).returncode != 0


@pytest.mark.parametrize("confine", [0, 1])
def test_a_restart_by_file_stays_the_same_service(machine, confine):
    machine.shell("mkdir -p /etc/default; echo VM1905_OPTIONS=-x 1 > /etc/default/vm1905;"
                  f"sed -i 's/^CONFINE.*/CONFINE = {confine}/' /etc/vm1905/vm1905.conf;"
                  "systemctl restart vm1905")
    restart_by_file(machine)
    assert machine.shell(f"tr '\\0' ' ' < /proc/{machine.show('MainPID')}/cmdline") == \
        "/usr/sbin/vm1905 restart -x 1"


def test_a_hook_leaves_the_unit(machine):
    # The daemon asks for the stations every two seconds.
    wait_until(lambda: machine.run("cat", "/var/flashed").stdout == "0 2 $(id)\n", 20, "the hook")


def test_a_killed_or_hanging_daemon_is_started_again_and_a_stop_is_orderly(machine):
    machine.shell(r"""mkdir -p /run/systemd/system/vm1905.service.d
        printf '[Service]\nWatchdogSec=4\nTimeoutAbortSec=2\n' \
            > /run/systemd/system/vm1905.service.d/a.conf
        systemctl daemon-reload; systemctl restart vm1905; sleep 6""")
    assert machine.show("NRestarts") == "0", "the watchdog hears of it"
    for number, signal in enumerate(("KILL", "STOP"), 1):
        machine.shell(f"kill -{signal} {machine.show('MainPID')}; echo left > /tmp/vm1905_stop")
        wait_until(lambda: machine.show("NRestarts") == str(number) and machine.is_up(), 30, signal)
    machine.shell("systemctl stop vm1905")
    assert (machine.show("Result"), machine.show("ExecMainStatus")) == ("success", "0")
    assert machine.shell("ipcs -m | grep -c 0x || :; ls /tmp | grep -E 'stop|wake' || :") == "0"


def test_files_of_root_and_of_strangers(machine):
    machine.shell("""printf 'WEB_FOLDER = /run/vm1905-web\\nWEB_GROUP = www-data\\n' \\
            >> /etc/vm1905/vm1905.conf
        sed -i 's/^#*CONTROL_FILES_FROM.*/CONTROL_FILES_FROM = owner/' /etc/vm1905/vm1905.conf
        chmod 600 /etc/vm1905/platform.conf; systemctl restart vm1905""")
    wait_until(machine.is_up, 20, "the service reads platform.conf")
    copy = ("stat", "-c", "%U %G %a", "/run/vm1905-web/vm1905.json")
    wait_until(lambda: machine.run(*copy).stdout == "vm1905 www-data 640\n", 20, "the copy")
    machine.shell("touch /tmp/vm1905_stop")
    wait_until(lambda: machine.show("ActiveState") != "active", 20, "the end")
    wait_until(lambda: machine.show("ActiveState") == "inactive", 20, "no new start")
    machine.shell("systemctl start vm1905")
    wait_until(machine.is_up, 20, "the next start")
    machine.run("setpriv", "--reuid=nobody", "--clear-groups", "touch", "/tmp/vm1905_stop")
    machine.shell("systemctl stop vm1905")
    assert machine.show("Result") == "success"
    assert machine.shell("ipcs -m | grep -c 0x || :") == "0", "an orderly end, not a signal"


def test_run_as_keeps_the_helper_root_over_a_restart(machine):
    machine.shell("""mkdir -p /run/systemd/system/vm1905.service.d
        cp /usr/share/doc/*/examples/run-as.conf /run/systemd/system/vm1905.service.d
        echo RUN_AS = vm1905 >> /etc/vm1905/vm1905.conf
        systemctl daemon-reload; systemctl start vm1905""")
    restart_by_file(machine)
    assert machine.shell("ps -o user= -p $(pgrep vm1905-helper)") == "root"
