"""The networks of the Registrar's wifi.conf reach an Enrollee, and devices of other makes. A push
button reaches the access points of both."""

import json
import struct

import pytest
from frames import MULTICAST, WARNING, decode, messages
from lab import Lab, Program, al_mac, port_mac, wait_until
from neighbor import Neighbor, raw, tlv
from wsc_peer import Enrollee, answer

SEARCH, RESPONSE, WSC, RENEW = 7, 8, 9, 10
BAND_5, ACKNOWLEDGED = b"\1", 31
ATTRIBUTES = {
    "0x04": {"wps.enrollee_nonce", "wps.public_key", "wps.uuid_e", "wps.mac_address",
             "wps.authentication_type_flags", "wps.encryption_type_flags", "wps.rf_bands"},
    "0x05": {"wps.enrollee_nonce", "wps.registrar_nonce", "wps.public_key", "wps.uuid_r",
             "wps.encrypted_settings", "wps.authenticator"},
}
MAIN = """[home]
BAND = 2.4 5
SSID = home
AUTHENTICATION = wpa2+wpa3
KEY = "12345678"
"""
MESH = """[mesh]
BAND = 5
SSID = mesh
AUTHENTICATION = wpa3-sae
KEY = "87654321"
"""


@pytest.fixture(scope="module")
def lab():
    with Lab("line", "2", "--args", "dev1=-x 0 -z 1", "--args", "dev2=-x 1 -y 1") as made:
        with made.capture("dev1", "dev2") as made.cable:
            configure(made, MAIN + MESH)
            made.complete()
            yield made


def configure(lab, text):
    lab.run("dev1", "sh", "-c", "umask 077; cat > /etc/vm1905/wifi.conf", input=text)


def wifi(lab, device, *options):
    return json.loads(lab.run(device, "vm1905ctl", "--json", "wifi", *options))


def received(lab, band):
    """The networks that dev2 has: names in hexadecimal, types and keys; None before it has any."""
    done = lab.attempt("exec", "dev2", "--", "cat", f"/var/run/vm1905/wifi-{band}.conf")
    if done.returncode != 0:
        return None
    rows = [line.split(" = ", 1)[1] for line in done.stdout.splitlines() if " = " in line]
    return [tuple(rows[n + 1:n + 4]) for n in range(0, len(rows), 4)]


def test_an_enrollee_gets_the_networks_and_their_changes(lab):
    home = (b"home".hex(), "wpa2+wpa3", '"12345678"')
    mesh = (b"mesh".hex(), "wpa3-sae", '"87654321"')
    lab.until(lambda: received(lab, 0) == [home] and received(lab, 1) == [home, mesh] and
              received(lab, 32) == received(lab, 33) == [], "the networks of four bands")

    configure(lab, MAIN + MESH.replace("87654321", "changed key"))
    lab.until(lambda: received(lab, 1) == [home, (*mesh[:2], '"changed key"')], "the new key")

    def synchronized():
        text = lab.run("dev1", "cat", "/tmp/vm1905_APautoconfig.json")
        own = json.loads(text) if text.endswith("}\n") else {}
        other = own.get("NetworkTopology", {}).get("IEEE1905Device.1", {})
        return (other.get("AP-autoconfig_Sync", [0, 0])[1] == 1 and len(own["Main5G_time"]) == 10
                and own["Main5G_time"] == other["Main5G_time"])

    lab.until(synchronized, "the Registrar shows when its networks were configured", gain=5)

    shown = wifi(lab, "dev1")
    assert [(n["name"], n["bands"], n["ssid"]) for n in shown["networks"]] == [
        ("home", ["2.4", "5"], "home"), ("mesh", ["5"], "mesh")]
    assert "changed key" not in json.dumps(shown)
    assert wifi(lab, "dev1", "--secrets")["networks"][1]["key"] == "changed key"
    row = next(row for row in shown["devices"] if (row["device"], row["band"]) == ("dev2", "5"))
    assert row["state"] == "acknowledged" and row["version"] > 0
    networks = wifi(lab, "dev2", "--secrets")["networks"]
    assert [(n["bands"], n["key"]) for n in networks] == [
        (["2.4"], "12345678"), (["5"], "12345678"), (["5"], "changed key")]

    exchanged = messages(decode(lab.cable.data), WSC)
    assert {frame.get("wps.message_type") for frame in exchanged} == {"0x04", "0x05"}
    for frame in exchanged:
        named = {field.get("name") for field in frame.packet.iter("field")}
        assert ATTRIBUTES[frame.get("wps.message_type")] <= named
        assert frame.severity < WARNING and not frame.malformed, frame


def test_an_enrollee_of_another_make_understands_the_answers(lab):
    with Neighbor(lab, "dev2", "eth0") as other:
        target = port_mac(1, 0)
        other.hello(target)
        other.send(MULTICAST, SEARCH, tlv(1, raw(other.al)) + tlv(13, b"\0") + tlv(14, BAND_5))
        wait_until(lambda: any(frame.type == RESPONSE for frame in list(other.heard)), 10,
                   "the Registrar answers the search")
        enrollee = Enrollee(raw(other.al), b"\2", b"\0\x61")
        other.send(target, WSC, tlv(1, raw(other.al)) + tlv(17, enrollee.m1))

        def networks():
            read = [enrollee.read(wsc_of(frame)) for frame in list(other.heard)
                    if frame.type == WSC]
            return [(each[0x1045], *struct.unpack(">H", each[0x1003]), each[0x1027])
                    for each in read]

        wait_until(lambda: len(networks()) == 2, 10, "two M2")
        assert networks() == [(b"home", 0x60, b"12345678"), (b"mesh", 0x40, b"changed key")]


def wsc_of(frame):
    """The value of the WSC TLV, which follows the AL MAC."""
    kind, length = struct.unpack_from(">BH", frame.tlvs, 9)
    assert kind == 17
    return frame.tlvs[12:12 + length]


# In place of hostapd: prints the commands, and lets a station join at once if it has one, which is then
# connected.
HOSTAPD = r"""
import os, socket, sys, threading
threading.Thread(target=lambda: (sys.stdin.read(), os._exit(0))).start()
os.makedirs("/var/run/hostapd", exist_ok=True)
control = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
control.bind("/var/run/hostapd/eth0")
station = "".join(sys.argv[1:]).encode()
shown = station + b"\nflags=[AUTH][ASSOC]\nsignal=-45\ntx_rate_info=8667\nrx_rate_info=540\n"
answers = {b"STATUS": b"state=ENABLED\nfreq=5180\nchannel=36\n", b"STA-NEXT " + station: b"",
           b"STA-FIRST": shown if station else b""}
print("ready", flush=True)
while True:
    command, peer = control.recvfrom(100)
    if not command.startswith(b"STA"):  # the daemon asks for its radios and stations, too
        print(command.decode(), flush=True)
    control.sendto(answers.get(command, b"OK\n"), peer)
    if command == b"WPS_PBC" and station:
        control.sendto(b"<3>WPS-REG-SUCCESS " + station + b" uuid", peer)
"""


def test_a_push_button_starts_wps_everywhere_and_the_mesh_shows_who_joined(lab):
    station = "02:57:a0:00:00:33"
    with Program(lab, "dev1", "python3", "-c", HOSTAPD) as own, \
            Program(lab, "dev2", "python3", "-c", HOSTAPD, station) as other:
        assert own.hear() == other.hear() == "ready"
        lab.run("dev1", "vm1905ctl", "wps", "push-button")
        for hostapd in (own, other):
            assert (hostapd.hear(), hostapd.hear()) == ("ATTACH", "WPS_PBC")
        joined = f"{station} has joined at the interface {port_mac(2, 0)}"
        lab.until(lambda: joined in lab.log("dev1"), "dev1 knows who joined")

        lab.shell("dev2", f"bridge fdb add {station} dev eth0 master static")  # as its frames would

        def connected():
            rows = json.loads(lab.run("dev1", "vm1905ctl", "--json", "stations"))["stations"]
            return [(row["device"], row["signal"]) for row in rows if row["mac"] == station]

        lab.until(lambda: connected() == [("dev2", 100)], "dev1 shows the station")


# Stops the Registrar, so it is the last.
def test_a_registrar_of_another_make_is_understood(lab):
    with Neighbor(lab, "dev1", "eth0", "02:57:a0:00:01:00", "02:57:a0:00:01:ff") as other:
        target, renew = port_mac(2, 0), tlv(1, raw(other.al)) + tlv(15, b"\0") + tlv(16, BAND_5)
        other.hello(target)
        other.send(MULTICAST, RENEW, renew)
        lab.until(lambda: f"Registrar ({other.al}) is ignored" in lab.log("dev2"), "it is ignored")
        lab.until(lambda: json.loads(lab.run("dev2", "vm1905ctl", "--json", "status"))[
            "other_registrar"] == other.al, "it is shown")
        lab.shell("dev1", "touch /tmp/vm1905_stop")
        for _ in range(20):
            if f"Registrar ({al_mac(1)}) is gone" in lab.log("dev2"):
                break
            lab.pass_time(20, 10)
            other.hello(target)
        other.send(MULTICAST, RENEW, renew)
        m1 = wait_until(lambda: next((frame for frame in list(other.heard) if frame.type == WSC),
                                     None), 10, "an M1")
        settings = b"foreign \xff", b"\0\x22", b"a key of 19 letters"
        m2 = answer(wsc_of(m1), *settings)
        forged = m2[:-1] + bytes([m2[-1] ^ 1])
        for message in (forged, answer(wsc_of(m1), *settings, bytes(8)), m2):
            other.send(m1.source, WSC, tlv(1, raw(other.al)) + tlv(17, message))
        network = (b"foreign \xff".hex(), "wpa2-psk", '"a key of 19 letters"')
        wait_until(lambda: received(lab, 1) == [network], 10, "its network")
        for flaw in ("its authenticator", "the key wrap authenticator"):
            assert f"is refused: {flaw} is wrong" in lab.log("dev2")
        wait_until(lambda: any(frame.vendor == ACKNOWLEDGED for frame in list(other.heard)), 10,
                   "the acknowledgement")
        assert ("5", "configured") in {(row["band"], row["state"])
                                       for row in wifi(lab, "dev2")["devices"]}
