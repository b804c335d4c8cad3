"""The vendor protocol: how devices answer a stranger, and how the dissector shows their messages.
The stranger is on the last cable of a line of three."""

import pathlib
import re
import struct

import pytest
from frames import VENDOR, decode, messages
from lab import ROOT, Lab, al_mac, port_mac
from neighbor import GIGABIT, Neighbor, raw, text

DEVICES = ("dev1", "dev2", "dev3")
TARGET, TARGET_AL = port_mac(2, 1), al_mac(2)  # the device that the stranger talks to
OTHER = raw(al_mac(3))
DONE, NOT_ADDRESSED = b"\0", b"\7"
ON, OFF = b"\0", b"\2"
REBOOT_REQ, REBOOT_RESP, PWR_CTRL_REQ, PWR_CTRL_RESP, WIFI_STATE_ACK = 4, 5, 6, 7, 15
DISSECTOR = ROOT / "docs" / "wireshark" / "vm1905.lua"
SEEN = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 15, 27, 45, 51, 52}
SETUP = """
    printf '\\nENABLE_LOG = 1\\nLOG_INDEX = 1\\n' >> /etc/vm1905/vm1905.conf
    ip address add "192.0.2.$(hostname | tr -dc 0-9)/24" dev br-lan"""


@pytest.fixture(scope="module")
def lab():
    with Lab("line", "3") as made:
        for name in DEVICES:
            made.shell(name, SETUP)
        made("kill", *DEVICES)
        with made.capture("dev2", "dev3") as made.cable:
            made("start", *DEVICES)
            yield made


@pytest.fixture(scope="module")
def stranger(lab):
    with Neighbor(lab, "dev3", "eth0") as made:
        made.hello(TARGET)
        yield made


def pwr_ctrl(target, state, *interfaces):
    """Each interface is the bytes of its MAC and its media type."""
    return raw(target) + bytes([len(interfaces)]) + b"".join(interfaces) + state


def results(*entries):
    return PWR_CTRL_RESP, bytes([len(entries)]) + b"".join(entries)


def intf(mac):
    return raw(mac) + struct.pack(">H", GIGABIT)


PORT, UNKNOWN, ANY = intf(port_mac(2, 0)), intf("02:57:a0:00:00:01"), intf("00:00:00:00:00:00")


def test_power_states_have_a_result_for_each_interface(lab, stranger):
    def is_up():
        return lab.run("dev2", "ip", "link", "show", "dev", "eth0", "up") != ""

    assert stranger.ask(TARGET, PWR_CTRL_REQ, pwr_ctrl(TARGET_AL, OFF, UNKNOWN, PORT)) == \
        results(UNKNOWN + DONE, PORT + DONE)
    assert not is_up()
    assert stranger.ask(TARGET, PWR_CTRL_REQ, pwr_ctrl(TARGET_AL, ON, ANY, UNKNOWN)) == \
        results(ANY + DONE, bytes(9))
    assert is_up()


def test_a_result_text_is_written_as_it_is(lab, stranger):
    result = """it's "$(touch /tmp/pwned)" and `touch /tmp/pwned`; touch /tmp/pwned & $HOME > *"""
    stranger.tell(TARGET, WIFI_STATE_ACK, raw(stranger.al) + text(result))
    path = f"/tmp/vm1905/vm1905WIFIState_{stranger.al.replace(':', '')}"
    lab.until(lambda: lab.attempt("exec", "dev2", "--", "cat", path).stdout == result + "\n",
              "the result text")
    assert "pwned" not in lab.shell("dev2", "ls /tmp /tmp/vm1905 /")
    assert not pathlib.Path("/tmp/pwned").exists()


def test_a_reboot_is_answered_before_the_device_goes(lab, stranger):
    before = lab.device("dev2")["boots"]
    assert stranger.ask(TARGET, REBOOT_REQ, OTHER) == (REBOOT_RESP, NOT_ADDRESSED)
    assert "reboot...\r" not in lab.log("dev2") and lab.device("dev2")["boots"] == before
    assert stranger.ask(TARGET, REBOOT_REQ, raw(TARGET_AL)) == (REBOOT_RESP, DONE)
    lab.until(lambda: lab.device("dev2")["boots"] == before + 1, "it comes back")
    assert re.search(r"reboot\.\.\.\r.*rebooted.*powered on", lab.log("dev2"), re.DOTALL)
    # The message log in /etc survives the reboot.
    lines = lab.run("dev2", "cat", "/etc/vm1905/vm1905.log0").splitlines()
    assert any(f"type=0x0004, from: {stranger.al}/{stranger.mac} time: " in line for line in lines)
    # The device answers on the same cable as before.
    stranger.hello(TARGET)


def test_the_dissector_knows_all_that_was_said(lab, stranger):
    found = set()
    for frame in messages(decode(lab.cable.data, "-X", f"lua_script:{DISSECTOR}"), VENDOR):
        kind = int(frame.get("vm1905.type"))
        assert not frame.malformed, frame
        assert frame.get("vm1905.label").startswith("VEND_MSG_TYPE_"), frame
        assert frame.get("vm1905.oui") == "0x0a3c71"
        found.add(kind)
        if kind == REBOOT_RESP:
            assert frame.get("vm1905.retcode", "showname").partition(": ")[2] in (
                "done (0)", "not addressed to the device (7)", "refused or failed (16)")
        if kind == 1 and frame.get("vm1905.al_mac") == TARGET_AL:
            names = {field.get("show") for field in frame.packet.iter("field")
                     if field.get("name") == "vm1905.item.name"}
            assert {"Hostname", "DeviceIP", "DeviceType"} <= names, names
    assert found >= SEEN, SEEN - found
