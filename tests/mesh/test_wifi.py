"""The Registrar's networks on the hostapds of its Enrollees, as those show them."""

import pytest
from lab import Lab, wait_until

ENROLLEES = ("dev2", "dev3")
RADIOS = ("wlan0", "wlan1")
STATION = "02:57:a0:00:00:05"
FIRST = [("Lab", "lab of vm1905", "WPA-PSK"), ("Lab 5 GHz", "lab of vm1905", "WPA-PSK SAE")]
CHANGED = [("Changed", "another key", "WPA-PSK"), ("Lab 5 GHz", "another key", "WPA-PSK SAE")]


@pytest.fixture(scope="module")
def lab():
    with Lab("line", "3", "--wifi") as made:
        yield made


def runs(lab, device):
    """Name, key and key management of each BSS that is on."""
    found = []
    for radio in RADIOS:
        text = lab.shell(device, f"hostapd_cli -i {radio} raw STATUS; "
                                 f"hostapd_cli -i {radio} raw GET_CONFIG")
        shown = dict(line.split("=", 1) for line in text.splitlines() if "=" in line)
        if shown.get("state") == "ENABLED":
            found.append(tuple(shown.get(name) for name in ("ssid", "passphrase", "key_mgmt")))
    return found


def all_run(lab, networks, seconds, what, devices=ENROLLEES):
    wait_until(lambda: all(runs(lab, device) == networks for device in devices), seconds, what)


def test_the_networks_reach_all_enrollees(lab):
    all_run(lab, FIRST, 30, "the networks of wifi.conf")
    assert runs(lab, "dev1") == [("not configured", None, None)] * 2


def test_changes_arrive(lab):
    lab.shell("dev1", "sed -i 's/= Lab$/= Changed/; s/lab of vm1905/another key/' "
                      "/etc/vm1905/wifi.conf")
    all_run(lab, CHANGED, 10, "the new name and key")


def test_a_restarted_hostapd_gets_all_again(lab):
    lab("wait")
    lab.run("dev1", "vm1905ctl", "blacklist", "add", "dev2", STATION)
    lab.shell("dev2", "kill -KILL $(cat /run/wlan0.pid); rm -f /var/run/hostapd/wlan0; "
                      "hostapd -B -P /run/wlan0.pid /etc/vm1905/wlan0.conf")
    all_run(lab, CHANGED, 15, "both networks", ["dev2"])
    wait_until(lambda: all(STATION in lab.shell("dev2", f"hostapd_cli -i {radio} raw 'DENY_ACL SHOW'")
                           for radio in RADIOS), 15, "the barred station")


def test_a_restarted_enrollee_has_them_without_the_registrar(lab):
    lab("kill", "dev1", "dev3")
    lab("start", "dev3")
    all_run(lab, CHANGED, 20, "the networks that dev3 has kept", ["dev3"])
    assert "another key" not in lab.log("dev3")
    shown = lab.run("dev3", "vm1905ctl", "wifi", "--secrets")
    assert all(text in shown for text in ("Changed", "Lab 5 GHz", "another key")), shown
    assert lab.shell("dev3", "ls /var/run/vm1905").count("wpa_ctrl") == 0


def test_a_network_that_was_removed_ends(lab):
    lab("start", "dev1")
    lab.shell("dev1", "sed -i '/home-5/,$d' /etc/vm1905/wifi.conf")
    all_run(lab, CHANGED[:1], 60, "only the first network")
