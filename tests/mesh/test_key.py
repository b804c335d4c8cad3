"""Three of four devices have the key of the mesh."""

import json

import pytest
from frames import decode, messages
from lab import ROOT, Lab, al_mac, port_mac

KEYED = ("dev1", "dev2", "dev3")
KEY, CONF, LED = "/etc/vm1905/mesh.key", "/etc/vm1905/vm1905.conf", "/etc/vm1905/hooks/led"
DISSECTOR = ROOT / "docs" / "wireshark" / "vm1905.lua"


@pytest.fixture(scope="module")
def lab():
    with Lab("line", "4") as made:
        made.run("dev1", "vm1905ctl", "mesh-key")
        assert made.attempt("exec", "dev1", "--", "vm1905ctl", "mesh-key").returncode == 1
        key = made.run("dev1", "cat", KEY, text=False)
        for device in KEYED:
            made.run(device, "sh", "-ec", f"umask 077; cat > {KEY}; echo MESH_KEY={KEY} >> {CONF}",
                     input=key, text=False)
        for device in (*KEYED, "dev4"):
            made.shell(device, f"mkdir -p {LED[:-4]}; printf '#!/bin/sh\\necho $1 >> {LED}.calls' "
                               f"> {LED}; chmod +x {LED}")
        made.restart(*KEYED)
        made.complete()
        yield made


def obeys(lab, sender, receiver, value):
    done = lab.attempt("exec", sender, "--", "vm1905ctl", "--timeout", "5", "led",
                       al_mac(int(receiver[3:])), value)
    calls = lab.attempt("exec", receiver, "--", "cat", f"{LED}.calls").stdout.split()
    assert (value in calls) == (done.returncode == 0), done.stderr
    return value in calls


def shown(lab, view):
    return json.loads(lab.run("dev3", "vm1905ctl", "--json", view))


def test_only_the_three_manage_each_other(lab):
    with lab.capture("dev2", "dev3") as cable:
        lab.pass_time(3)
        for n, (sender, receiver) in enumerate(((a, b) for a in KEYED for b in KEYED if a != b)):
            assert obeys(lab, sender, receiver, f"1{n}"), (sender, receiver)
        assert not obeys(lab, "dev4", "dev3", "20")
    keys = {device["al_mac"]: device["mesh_key"] for device in shown(lab, "devices")["devices"]}
    assert keys == {al_mac(n): n < 4 for n in range(1, 5)}
    status = shown(lab, "status")
    assert status["mesh_key"] == "used" and status["refused"] > 0
    assert f"refuse message (macSa = {port_mac(4, 0)}, type = 4, vendor" in lab.log("dev3")

    frames = decode(cable.data, "-X", f"lua_script:{DISSECTOR}")
    orders = [frame for frame in messages(frames, 4) if frame.source.startswith("02:00:00:00:02")]
    assert orders and not any(frame.malformed for frame in frames)
    for frame in orders:
        assert frame.types()[-2:] == [0xAB, 0] and frame.get("vm1905.key.start") == "1"


def test_a_platform_library_without_hmac_ends_the_start(lab):
    old = f"{lab.build}/libvmNetCtrl.so"
    lab.shell("dev2", f"""
        kill -9 $(pidof vm1905); mkdir /tmp/lib; sed 's/computeHmacSha256/xomputeHmacSha256/g' {old} > /tmp/lib/libvmNetCtrl.so
        ! LD_LIBRARY_PATH=/tmp/lib /usr/sbin/vm1905 > /tmp/lib/log""")
    assert "the platform library has no computeHmacSha256" in lab.shell("dev2", "cat /tmp/lib/log")
