"""A Registrar of another make, which answers an M1 with an M2. It shares no code with the daemon or
with the Enrollee beside it."""

import os
from hashlib import sha256

from cryptography.hazmat.primitives import padding
from cryptography.hazmat.primitives.ciphers import Cipher, algorithms, modes
from cryptography.hazmat.primitives.hashes import SHA256
from cryptography.hazmat.primitives.hmac import HMAC


def _pi(bits):
    """pi * 2**bits, by Machin's formula."""
    def arctan(x):
        term = total = (1 << bits + 64) // x
        n, sign = 3, -1
        while term := term // x**2:
            total, n, sign = total + sign * (term // n), n + 2, -sign
        return total
    return 4 * (4 * arctan(5) - arctan(239)) >> 64


P = 2**1536 - 2**1472 - 1 + 2**64 * (_pi(1406) + 741804)


def attribute(kind, value):
    return kind.to_bytes(2, "big") + len(value).to_bytes(2, "big") + value


def value_of(message, wanted):
    at = 0
    while int.from_bytes(message[at:at + 2], "big") != wanted:
        at += 4 + int.from_bytes(message[at + 2:at + 4], "big")
    return message[at + 4:at + 4 + int.from_bytes(message[at + 2:at + 4], "big")]


def tagged(key, *parts):
    made = HMAC(key, SHA256())
    for part in parts:
        made.update(part)
    return made.finalize()


def answer(m1, ssid, auth, key, wrap_tag=None):
    """An M2 with this network, and this key wrap authenticator instead of the right one."""
    private, nonce, vector = int.from_bytes(os.urandom(64), "big"), os.urandom(16), os.urandom(16)
    shared = pow(int.from_bytes(value_of(m1, 0x1032), "big"), private, P).to_bytes(192, "big")
    kdk = tagged(sha256(shared).digest(), value_of(m1, 0x101A), value_of(m1, 0x1020), nonce)
    stream = b""
    for number in range(1, 4):
        stream += tagged(kdk, number.to_bytes(4, "big"), b"Wi-Fi Easy and Secure Key Derivation",
                         (640).to_bytes(4, "big"))
    settings = (attribute(0x1045, ssid) + attribute(0x1003, auth) + attribute(0x100F, b"\0\x08")
                + attribute(0x1027, key) + attribute(0x1020, value_of(m1, 0x1020)))
    padder = padding.PKCS7(128).padder()
    padded = padder.update(
        settings + attribute(0x101E, wrap_tag or tagged(stream[:32], settings)[:8]))
    encryptor = Cipher(algorithms.AES(stream[32:48]), modes.CBC(vector)).encryptor()
    wrapped = vector + encryptor.update(padded + padder.finalize()) + encryptor.finalize()
    m2 = (attribute(0x104A, b"\x10") + attribute(0x1022, b"\5")
          + attribute(0x101A, value_of(m1, 0x101A)) + attribute(0x1039, nonce)
          + attribute(0x1048, b"\x66" * 16)
          + attribute(0x1032, pow(2, private, P).to_bytes(192, "big"))
          + attribute(0x1018, wrapped))
    return m2 + attribute(0x1005, tagged(stream[:32], m1, m2)[:8])
