"""An Enrollee of another make: its M1, and how it reads an M2. It shares no code with the daemon or
with the Registrar beside it."""

import hashlib
import hmac
import secrets
import struct

from cryptography.hazmat.primitives.ciphers import Cipher, algorithms, modes

PRIME = int("""
FFFFFFFFFFFFFFFFC90FDAA22168C234C4C6628B80DC1CD129024E088A67CC74020BBEA63B139B22514A08798E3404DD
EF9519B3CD3A431B302B0A6DF25F14374FE1356D6D51C245E485B576625E7EC6F44C42E9A637ED6B0BFF5CB6F406B7ED
EE386BFB5A899FA5AE9F24117C4B1FE649286651ECE45B3DC2007CB8A163BF0598DA48361C55D39A69163FA8FD24CF5F
83655D23DCA3AD961C62F356208552BB9ED529077096966D670C354E4ABC9804F1746C08CA237327FFFFFFFFFFFFFFFF
""".replace("\n", ""), 16)


def attributes(pairs):
    return b"".join(struct.pack(">HH", kind, len(value)) + value for kind, value in pairs)


def parse(data):
    found = {}
    while data:
        kind, length = struct.unpack_from(">HH", data)
        found[kind], data = data[4:4 + length], data[4 + length:]
    return found


def mac_of(key, data):
    return hmac.digest(key, data, "sha256")


class Enrollee:
    def __init__(self, mac, rf_band, auth):
        self.mac, self.nonce, self.secret = mac, secrets.token_bytes(16), secrets.randbits(512)
        public = pow(2, self.secret, PRIME).to_bytes(192, "big")
        self.m1 = attributes([
            (0x104A, b"\x10"), (0x1022, b"\4"), (0x1047, b"\x55" * 16), (0x1020, mac),
            (0x101A, self.nonce), (0x1032, public), (0x1004, struct.pack(">H", auth)),
            (0x1010, b"\0\x0d"), (0x100D, b"\1"), (0x1008, b"\2\x80"), (0x1044, b"\1"),
            (0x1021, b"other"), (0x1023, b"make"), (0x1011, b"device"), (0x103C, rf_band),
            (0x1002, b"\0\0"), (0x1012, b"\0\4"), (0x1009, b"\0\0"),
            (0x1049, bytes.fromhex("00372a000120"))])

    def read(self, m2):
        """The settings in an M2 that answers our M1: the values by their types."""
        found = parse(m2)
        assert found[0x101A] == self.nonce and len(found[0x1032]) == 192
        shared = pow(int.from_bytes(found[0x1032], "big"), self.secret, PRIME).to_bytes(192, "big")
        kdk = mac_of(hashlib.sha256(shared).digest(), self.nonce + self.mac + found[0x1039])
        label = b"Wi-Fi Easy and Secure Key Derivation"
        keys = b"".join(mac_of(kdk, struct.pack(">I", i) + label + struct.pack(">I", 640))
                        for i in (1, 2, 3))
        auth, wrap = keys[:32], keys[32:48]
        assert m2[-12:-8] == b"\x10\x05\0\x08" and mac_of(auth, self.m1 + m2[:-12])[:8] == m2[-8:]
        vector, encrypted = found[0x1018][:16], found[0x1018][16:]
        decryptor = Cipher(algorithms.AES(wrap), modes.CBC(vector)).decryptor()
        plain = decryptor.update(encrypted) + decryptor.finalize()
        padding = plain[-1]
        assert 1 <= padding <= 16 and plain.endswith(bytes([padding]) * padding)
        plain = plain[:-padding]
        assert plain[-12:-8] == b"\x10\x1e\0\x08" and mac_of(auth, plain[:-12])[:8] == plain[-8:]
        return parse(plain)
