"""The init script for OpenWrt under busybox ash, with a stand-in for its functions: what it makes of a
UCI configuration, and what it asks procd for. The arguments are the command vm1905ctl."""

import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
FILES = ROOT / "packaging/openwrt/files"
CTL = sys.argv[1:]

# A UCI file is a script of these three commands.
STANDIN = r"""
logger() { :; }
reset_cb() { config_cb() { :; }; option_cb() { :; }; list_cb() { :; }; }
config() { section=$2; config_cb "$1" "${2-cfg}"; }
option() { eval "uci_${section}_$1=\$2"; option_cb "$1" "$2"; }
list() { list_cb "$1" "$2"; }
config_load() { . "$root/etc/config/$1"; config_cb; }
config_get() { eval "$1=\${uci_$2_$3:-$4}"; }
config_get_bool() { config_get "$@"; }
procd_open_instance() { :; }
procd_close_instance() { echo STARTED; }
procd_set_param() { echo "$@"; }
. "$SCRIPT"
"""


def settings(text):
    """The keys and values of the lines of a configuration file that count."""
    return dict(re.findall(r'^([A-Z]\S*) = "?([^"\n]+)"?$', text, re.M))


def check(condition, *what):
    if not condition:
        sys.exit("\n".join(map(str, what)))


class Device:
    def __init__(self, folder):
        self.root = pathlib.Path(folder)
        for name in ("etc/config", "tmp", "var/run", "usr/libexec/vm1905"):
            (self.root / name).mkdir(parents=True)
        (self.root / "usr/libexec/vm1905/uci.sh").symlink_to(FILES / "vm1905-uci.sh")

    def run(self, command, config):
        """The status, what was printed, and both files as settings."""
        (self.root / "etc/config/vm1905").write_text(config)
        done = subprocess.run(["busybox", "ash", "-c", STANDIN + command], text=True, timeout=20,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False,
                              env={"IPKG_INSTROOT": str(self.root), "PATH": "/bin:/usr/bin",
                                   "SCRIPT": str(FILES / "vm1905.init")})
        paths = [self.root / "etc/vm1905" / name for name in ("vm1905.conf", "platform.conf")]
        made = [settings(path.read_text()) if path.exists() else None for path in paths]
        return done.returncode, done.stdout, *made

    def start(self, config):
        return self.run("start_service", config)


shipped = (FILES / "vm1905.config").read_text()
samples = [(ROOT / "packaging/conf" / name).read_text().replace("@exclude@", "1")
           for name in ("vm1905.conf.in", "platform.conf")]

with tempfile.TemporaryDirectory() as folder:
    device = Device(folder)
    leftover = [device.root / "tmp" / f"vm1905_{name}" for name in ("stop", "restart", "debug")]
    for path in leftover:
        path.touch()
    status, printed, daemon, platform = device.start(shipped)
    check(status == 0 and "command /usr/libexec/vm1905/vm1905 -x 0 -z 1 -d 2\n" in printed and
          "respawn" in printed and "stdout 1" in printed, "shipped configuration:", printed)
    check(not any(path.exists() for path in leftover), "control files are left over")
    check(daemon == settings(samples[0]) | {"RUN_AS": "vm1905"} and
          platform == settings(samples[1]), "not what the samples recommend:", daemon, platform)

    # Every key of the samples, which are those of the tables (samples_test.py).
    texts = [re.sub(r"^#(?=[A-Z][\w.]* = )", "", sample, flags=re.M) for sample in samples]
    expected = [settings(text) for text in texts]
    # A user and a group that this machine has.
    expected[0] |= dict.fromkeys(("RUN_AS", "CHANNEL_GROUP", "WEB_GROUP"), "daemon")
    expected[0]["ORDERS_FROM"] = "02:00:00:00:00:01,02:00:00:00:00:02"
    config = "config vm1905 main\n option role enrollee\n"
    interfaces = ""
    for kind, keys in zip(("daemon", "platform"), expected):
        config += f"config {kind} {kind}\n"
        for key, value in keys.items():
            name, _, interface = key.lower().partition(".")
            if interface:
                interfaces += f"config interface\n option {name} '{value}'\n option name {interface}\n"
            elif key in ("ORDERS_FROM", "APPROVED"):
                config += "".join(f" list {name} '{one}'\n" for one in re.split("[ ,]", value))
            else:
                config += f" option {name} '{value}'\n"
    status, printed, *made = device.start(config + interfaces)
    check(status == 0 and "-x 1 -y 1 -d 2\n" in printed, printed)
    check(made == expected, "differ:", *(a.items() ^ b.items() for a, b in zip(made, expected)))
    paths = [device.root / "etc/vm1905" / name for name in ("vm1905.conf", "platform.conf")]
    subprocess.run([*CTL, "check-config", *paths], check=True)

    # What could change another line is refused with the name of the option, and changes nothing.
    for kind, name, value in (("daemon", "mesh_key", "a\nCONFINE = 0"), ("daemon", "mesh_key", "/a b"),
                              ("daemon", "mesh_key", "a;b"), ("platform", "hostname", 'a" #'),
                              ("platform", "exclude", "a\rb"), ("vm1905", "rolle", "enrollee"),
                              ("vm1905", "role", "router"), ("deamon", "confine", "1"),
                              ("interface", "name", "a=b")):
        status, printed, *left = device.start(
            f"config {kind} main\noption {name} '{value}'" + "\noption hostname x" * (name == "name"))
        where = {"deamon": "main: unknown type", "interface": "'a=b'"}.get(kind, f"main.{name}")
        check(status != 0 and "STARTED" not in printed and left == made and where in printed,
              kind, name, value, printed)

    # The stop waits until the daemon has followed the control file, and removes it.
    stop, end = device.root / "tmp/vm1905_stop", device.root / "tmp/end"
    played = f"(until [ -e {stop} ]; do sleep 0.1; done; sleep 0.5; touch {end}) & echo $! > $pidfile"
    status, printed, *_ = device.run(f"{played}; stop_service", shipped)
    check(end.exists() and not stop.exists(), printed)
