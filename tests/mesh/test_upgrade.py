"""A mesh follows its Registrar to the next firmware, over its own network; a corrupted image
changes nothing. The daemon's own times rule: half a minute lies between the last order and the
first reboot.
"""

import hashlib
import random

import pytest
from lab import Lab, al_mac, wait_until
from model import al, remotes

DEVICES = {"dev1": al_mac(1), "dev2": al_mac(2), "dev3": al_mac(3)}
IMAGE = random.Random(2).randbytes(3_000_000)
FOLDER = "/etc/vm1905/firmware"

# What the product would do: the image is kept, and after the reboot it is what runs.
INSTALL = """#!/bin/sh -e
cp "$1" /etc/vm1905/installed
echo "FIRMWARE_VERSION = $2" >> /etc/vm1905/platform.conf
"""


def write(lab, device, path, data, mode="644"):
    if isinstance(data, str):
        data = data.encode()
    lab.run(device, "sh", "-ec", 'mkdir -p "${1%/*}"; cat > "$1"; chmod "$2" "$1"', "-", path, mode,
            input=data, text=False)


def prepare(lab, number, *more):
    """Devices with an address and version 1.0, freshly started with that."""
    devices = list(DEVICES)[:number]
    for device in devices:
        write(lab, device, "/etc/vm1905/hooks/firmware-install", INSTALL, "755")
        lab.shell(device, f"""
            printf 'FIRMWARE_VERSION = 1.0\\nFIRMWARE_FOLDER = {FOLDER}\\n' \
                >> /etc/vm1905/platform.conf
            ip address add 192.0.2.{device[3:]}/24 dev br-lan""")
    for device, script in more:
        lab.shell(device, script)
    lab("kill", *devices)
    lab("start", *devices)


def announce(lab, name, image, digest):
    write(lab, "dev1", f"{FOLDER}/{name}", image)
    write(lab, "dev1", f"{FOLDER}/{name}.manifest", f"VERSION = 2.0\nSHA256 = {digest}\n")


def told(lab, device):
    """AL MAC -> version and state of the others' firmware."""
    return {mac: (other["FirmwareVersion"], other["FirmwareState"])
            for mac, other in remotes(lab.model(device)).items()}


@pytest.fixture(scope="module")
def mesh():
    """A whole mesh that begins to upgrade at once."""
    with Lab("line", "3") as lab:
        # Of this version the order comes with a file name, of the others without.
        prepare(lab, 3, ("dev3", "echo 'FwUpgrade = 1502' > /etc/vm1905/vm1905_Version"))
        old = {al_mac(2): ("1.0", "Idle"), al_mac(3): ("1.0", "Idle")}
        wait_until(lambda: told(lab, "dev1") == old, 20, "the versions before")
        announce(lab, "fw-2.0.bin", IMAGE, hashlib.sha256(IMAGE).hexdigest())
        yield lab


def test_a_corrupted_image_is_refused(mesh):
    """Meanwhile the mesh is at work."""
    good, bad = IMAGE[:100_000], IMAGE[:99_999] + b"\0"
    digest = hashlib.sha256(good).hexdigest()
    with Lab("line", "2") as lab:
        announce(lab, "good.bin", good, digest)
        announce(lab, "bad.bin", bad, digest)
        write(lab, "dev1", "/etc/vm1905/hooks/extender-firmware-url",
              "#!/bin/sh\necho http://192.0.2.1:8905/bad.bin\n", "755")
        prepare(lab, 2)
        failed = {al_mac(2): ("1.0", "Failed")}
        wait_until(lambda: told(lab, "dev1") == failed, 60, "dev2 has failed")
        assert "bad.bin, version 2.0, does not match its manifest" in lab.log("dev1")
        assert "does not match its manifest and is not installed" in lab.log("dev2")
        assert lab.attempt("exec", "dev2", "--", "cat", "/etc/vm1905/installed").returncode != 0
        assert lab.shell("dev2", "ls /tmp").count("vm1905_firmware") == 0
        assert lab.device("dev1")["boots"] == lab.device("dev2")["boots"] == 2


def test_a_mesh_is_upgraded(mesh):
    def everybody_runs_it():
        return all(told(mesh, device) == {mac: ("2.0", "Idle") for mac in DEVICES.values()
                                          if mac != own}
                   and al(mesh.model(device)).get("FirmwareState") == "Idle"
                   for device, own in DEVICES.items())

    wait_until(everybody_runs_it, 140, "all run version 2.0", 1)
    for device in DEVICES:
        found = mesh.run(device, "sha256sum", "/etc/vm1905/installed").split()[0]
        assert found == hashlib.sha256(IMAGE).hexdigest()
        assert mesh.device(device)["boots"] == 3, "every device reboots once"
    assert "FWFileName = fw-2.0.bin" in mesh.log("dev3")
    assert "FWFileName" not in mesh.log("dev2")
    # Those that were ordered go first, then their Registrar.
    log = mesh.log("dev1")
    assert log.index("all devices have been rebooted") < log.index("reboot into the new one")
