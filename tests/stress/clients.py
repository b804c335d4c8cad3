"""Runs in a device: a client of the service channel, by libvm1905client.

usage: clients.py LIBRARY look                the AL MACs of the device table, then the SysV segments
       clients.py LIBRARY orders AL_MAC SEED  reads, and orders to that device, until it is killed
       clients.py LIBRARY all SEED COUNT      requests with random bodies to the service ids below
                                              COUNT, in random order; prints the results' counts
"""

import collections
import ctypes
import json
import random
import sys

OWN_DEVICE, DEVICE, LED, NEIGHBOR_OPTION = 0, 34, 161, 132
CODE = 254  # id of an answer that is only a code


class Answer(ctypes.Structure):
    _fields_ = [("id", ctypes.c_uint16), ("payload", ctypes.c_uint8 * 629)]


class Client:
    def __init__(self, library):
        self.calls = ctypes.CDLL(library)
        self.handle = ctypes.c_void_p()
        result = self.calls.vm1905_open(ctypes.byref(self.handle))
        if result != 0:
            sys.exit(f"no daemon: {result}")
        self.answer = Answer()

    def call(self, service, payload=b"", milliseconds=3000):
        """The result, and the id and the bytes of the answer, for which it waits so long."""
        result = self.calls.vm1905_post(self.handle, service, payload, len(payload), 5000)
        if result == 0:
            result = self.calls.vm1905_wait(self.handle, milliseconds, ctypes.byref(self.answer))
        return result, self.answer.id, bytes(self.answer.payload)


def look(client):
    result, answer, _ = client.call(OWN_DEVICE)
    assert (result, answer) == (0, OWN_DEVICE + 1), f"service 0: result {result}, answer {answer}"
    for index in range(256):
        result, answer, payload = client.call(DEVICE, bytes([index]))
        if answer == CODE:
            break
        assert (result, answer) == (0, DEVICE + 1), f"service 34: result {result}, answer {answer}"
        print(payload[:6].hex(":"))
    print("--")
    for kind in ("shm", "sem", "msg"):
        print(open(f"/proc/sysvipc/{kind}").read(), end="")


def orders(client, target, seed):
    random.seed(seed)
    mac = bytes.fromhex(target.replace(":", ""))
    while True:
        client.call(OWN_DEVICE)
        client.call(LED, mac + bytes(3) + bytes([random.randrange(4)]), random.randrange(1, 300))
        client.call(NEIGHBOR_OPTION, mac + bytes([random.randrange(2)]), random.randrange(1, 300))


def everything(client, seed, count):
    random.seed(seed)
    results = collections.Counter()
    for service in random.sample(range(count), count):
        # No service has a higher number than 255, so nothing answers.
        body = random.randbytes(random.randrange(250))
        results[client.call(service, body, 30 if service < 256 else 0)[0]] += 1
    print(json.dumps(results))


def main():
    client = Client(sys.argv[1])
    what, rest = sys.argv[2], sys.argv[3:]
    if what == "look":
        look(client)
    elif what == "orders":
        orders(client, *rest)
    else:
        everything(client, rest[0], int(rest[1]))


if __name__ == "__main__":
    main()
