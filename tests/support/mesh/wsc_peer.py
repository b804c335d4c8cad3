"""An Enrollee and a Registrar of another make. They share no code with the daemon."""

import hmac
import os
from hashlib import sha256

from cryptography.hazmat.primitives.ciphers import Cipher, algorithms, modes

PRIME = int("""
FFFFFFFFFFFFFFFFC90FDAA22168C234C4C6628B80DC1CD129024E088A67CC74020BBEA63B139B22514A08798E3404DD
EF9519B3CD3A431B302B0A6DF25F14374FE1356D6D51C245E485B576625E7EC6F44C42E9A637ED6B0BFF5CB6F406B7ED
EE386BFB5A899FA5AE9F24117C4B1FE649286651ECE45B3DC2007CB8A163BF0598DA48361C55D39A69163FA8FD24CF5F
83655D23DCA3AD961C62F356208552BB9ED529077096966D670C354E4ABC9804F1746C08CA237327FFFFFFFFFFFFFFFF
""".replace("\n", ""), 16)


def attributes(*pairs):
    return b"".join(kind.to_bytes(2, "big") + len(value).to_bytes(2, "big") + value
                    for kind, value in pairs)


def parse(data):
    found = {}
    while data:
        end = 4 + int.from_bytes(data[2:4], "big")
        found[int.from_bytes(data[:2], "big")], data = data[4:end], data[end:]
    return found


def mac_of(key, data):
    return hmac.digest(key, data, "sha256")


def new_key():
    secret = int.from_bytes(os.urandom(64), "big")
    return secret, pow(2, secret, PRIME).to_bytes(192, "big")


def keys(public, secret, m1, nonce):
    """The keys of the authenticators and of the settings."""
    shared = pow(int.from_bytes(public, "big"), secret, PRIME).to_bytes(192, "big")
    kdk = mac_of(sha256(shared).digest(), m1[0x101A] + m1[0x1020] + nonce)
    label = b"Wi-Fi Easy and Secure Key Derivation" + (640).to_bytes(4, "big")
    stream = b"".join(mac_of(kdk, n.to_bytes(4, "big") + label) for n in (1, 2, 3))
    return stream[:32], stream[32:48]


class Enrollee:
    def __init__(self, mac, rf_band, auth):
        self.secret, public = new_key()
        self.m1 = attributes(
            (0x104A, b"\x10"), (0x1022, b"\4"), (0x1047, b"\x55" * 16), (0x1020, mac),
            (0x101A, os.urandom(16)), (0x1032, public), (0x1004, auth), (0x1010, b"\0\x0d"),
            (0x100D, b"\1"), (0x1008, b"\2\x80"), (0x1044, b"\1"), (0x1021, b"other"),
            (0x1023, b"make"), (0x1011, b"device"), (0x103C, rf_band), (0x1002, b"\0\0"),
            (0x1012, b"\0\4"), (0x1009, b"\0\0"), (0x1049, bytes.fromhex("00372a000120")))

    def read(self, m2):
        """The settings in an M2 that answers our M1: the values by their types."""
        found, own = parse(m2), parse(self.m1)
        assert found[0x101A] == own[0x101A] and len(found[0x1032]) == 192
        auth, wrap = keys(found[0x1032], self.secret, own, found[0x1039])
        assert m2[-12:] == attributes((0x1005, mac_of(auth, self.m1 + m2[:-12])[:8]))
        decryptor = Cipher(algorithms.AES(wrap), modes.CBC(found[0x1018][:16])).decryptor()
        plain = decryptor.update(found[0x1018][16:]) + decryptor.finalize()
        assert 1 <= plain[-1] <= 16 and plain.endswith(plain[-1:] * plain[-1])
        plain = plain[:-plain[-1]]
        assert plain[-12:] == attributes((0x101E, mac_of(auth, plain[:-12])[:8]))
        return parse(plain)


def answer(m1, ssid, auth, key, wrap_tag=None):
    """An M2 with this network, and this key wrap authenticator instead of the right one."""
    asked, nonce, vector, (secret, public) = parse(m1), os.urandom(16), os.urandom(16), new_key()
    auth_key, wrap = keys(asked[0x1032], secret, asked, nonce)
    plain = attributes((0x1045, ssid), (0x1003, auth), (0x100F, b"\0\x08"), (0x1027, key),
                       (0x1020, asked[0x1020]))
    plain += attributes((0x101E, wrap_tag or mac_of(auth_key, plain)[:8]))
    missing = 16 - len(plain) % 16
    encryptor = Cipher(algorithms.AES(wrap), modes.CBC(vector)).encryptor()
    encrypted = encryptor.update(plain + bytes([missing]) * missing) + encryptor.finalize()
    m2 = attributes((0x104A, b"\x10"), (0x1022, b"\5"), (0x101A, asked[0x101A]), (0x1039, nonce),
                    (0x1048, b"\x66" * 16), (0x1032, public), (0x1018, vector + encrypted))
    return m2 + attributes((0x1005, mac_of(auth_key, m1 + m2)[:8]))
