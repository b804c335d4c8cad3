"""A mesh follows its Registrar to the next firmware, over its own network."""

import hashlib
import os
import random
import subprocess

from lab import ROOT, Lab, al_mac, wait_until
from model import al, remotes

DEVICES = {"dev1": al_mac(1), "dev2": al_mac(2), "dev3": al_mac(3)}
IMAGE = random.Random(2).randbytes(3_000_000)
FOLDER = "/etc/vm1905/firmware"
KEYS = "/etc/vm1905/keys"
SIGN = str(ROOT / "scripts" / "sign-firmware")

# Like a product: it keeps the image, which runs after the reboot.
INSTALL = b"""#!/bin/sh -e
cp "$1" /etc/vm1905/installed
echo "FIRMWARE_VERSION = $2" >> /etc/vm1905/platform.conf
"""


def write(lab, device, path, data, mode="644"):
    lab.run(device, "sh", "-ec", 'mkdir -p "${1%/*}"; cat > "$1"; chmod "$2" "$1"', "-", path, mode,
            input=data, text=False)


def firmware(lab, device):
    """AL MAC -> version and state of the firmware, for the other devices."""
    return {mac: (other["FirmwareVersion"], other["FirmwareState"])
            for mac, other in remotes(lab.model(device)).items()}


def test_a_mesh_is_upgraded(tmp_path):
    digest = hashlib.sha256(IMAGE).hexdigest()
    image, key = tmp_path / "fw-2.0.bin", tmp_path / "maker"
    image.write_bytes(IMAGE)
    subprocess.run([SIGN, "key", key], check=True)
    again = subprocess.run([SIGN, "key", key], check=False, capture_output=True)
    assert again.returncode == 1 and os.stat(f"{key}.key").st_mode & 0o777 == 0o600
    subprocess.run([SIGN, "image", f"{key}.key", image, "lab", "2.0", "dev*"], check=True)
    with Lab("line", "3") as mesh:
        for device in DEVICES:
            write(mesh, device, "/etc/vm1905/hooks/firmware-install", INSTALL, "755")
            write(mesh, device, f"{KEYS}/maker.pem", (tmp_path / "maker.pem").read_bytes())
            mesh.shell(device, f"""
                printf '%s\\n' 'FIRMWARE_VERSION = 1.0' 'FIRMWARE_FOLDER = {FOLDER}' \
                    'FIRMWARE_KEYS = {KEYS}' 'FIRMWARE_MODEL = lab' >> /etc/vm1905/platform.conf
                ip address add 192.0.2.{device[3:]}/24 dev br-lan""")
        # Devices of this version get an order with a file name, others without.
        mesh.shell("dev3", "echo 'FwUpgrade = 1502' > /etc/vm1905/vm1905_Version")
        mesh.restart(*DEVICES)
        old = {al_mac(2): ("1.0", "Idle"), al_mac(3): ("1.0", "Idle")}
        mesh.until(lambda: firmware(mesh, "dev1") == old, "the versions before")
        for suffix in ("", ".manifest.sig", ".manifest"):
            name = f"{image.name}{suffix}"
            write(mesh, "dev1", f"{FOLDER}/{name}", (tmp_path / name).read_bytes())

        def everybody_runs_it():
            return all(firmware(mesh, device) == {mac: ("2.0", "Idle") for mac in DEVICES.values()
                                              if mac != own}
                       and al(mesh.model(device)).get("FirmwareState") == "Idle"
                       for device, own in DEVICES.items())

        # Fetching has time limits of its own, so only the rest of the time passes quickly.
        mesh.until(lambda: "firmware: fetch" in mesh.log("dev2"), "the orders")
        for device in ("dev2", "dev3"):
            wait_until(lambda: "firmware: version 2.0 is verified" in mesh.log(device), 60,
                       f"the image on {device}")
        # The server. Without real root there is no other user in a lab.
        status = mesh.shell("dev1", "cat /proc/$(pgrep vm1905-images)/status")
        assert "Uid:\t65534" in status or os.geteuid() != 0, status
        assert "NoNewPrivs:\t1" in status and "Seccomp:\t2" in status, status
        mesh.until(everybody_runs_it, "all run version 2.0", gain=2)
        for device in DEVICES:
            found = mesh.run(device, "sha256sum", "/etc/vm1905/installed").split()[0]
            assert (found, mesh.device(device)["boots"]) == (digest, 3), device
        assert "FWFileName = fw-2.0.bin" in mesh.log("dev3")
        assert "FWFileName" not in mesh.log("dev2")
        # The ordered devices reboot first, then their Registrar.
        log = mesh.log("dev1")
        assert log.index("all devices have been rebooted") < log.index("reboot into the new one")
