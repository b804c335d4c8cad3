"""The vendor protocol: how devices answer a stranger, and how the dissector shows it."""

import re

import pytest
from frames import VENDOR, decode, messages
from lab import ROOT, Lab, al_mac, port_mac
from neighbor import GIGABIT, TARGET, TARGET_AL, raw

DEVICES = ("dev1", "dev2", "dev3")
OTHER = raw(al_mac(3))
DONE, NOT_ADDRESSED = b"\0", b"\7"
ON = b"\0"
REBOOT_REQ, REBOOT_RESP, PWR_CTRL_REQ, PWR_CTRL_RESP = 4, 5, 6, 7
DISSECTOR = ROOT / "docs" / "wireshark" / "vm1905.lua"
SEEN = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 27, 45, 51, 52}


@pytest.fixture(scope="module")
def lab():
    with Lab("line", "3") as made:
        for name in DEVICES:
            made.shell(name, f"ip address add 192.0.2.{name[3:]}/24 dev br-lan")
        made("kill", *DEVICES)
        with made.capture("dev2", "dev3") as made.cable:
            made("start", *DEVICES)
            yield made


def test_a_reboot_is_answered_before_the_device_goes(lab, stranger):
    assert stranger.ask(TARGET, REBOOT_REQ, OTHER) == (REBOOT_RESP, NOT_ADDRESSED)
    assert "reboot...\r" not in lab.log("dev2")
    assert stranger.ask(TARGET, REBOOT_REQ, raw(TARGET_AL)) == (REBOOT_RESP, DONE)
    lab.until(lambda: re.search(r"reboot\.\.\.\r.*rebooted.*powered on", lab.log("dev2"),
                                re.DOTALL), "it comes back")
    # The device answers on the same cable as before.
    stranger.hello(TARGET)


def test_the_dissector_knows_all_that_was_said(lab, stranger):
    port = raw(port_mac(2, 0)) + bytes([0, GIGABIT])
    assert stranger.ask(TARGET, PWR_CTRL_REQ, raw(TARGET_AL) + b"\1" + port + ON) == (
        PWR_CTRL_RESP, b"\1" + port + DONE)
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
