"""The Linux calls that Python's standard library does not wrap."""

import ctypes
import os

CLONE_NEWNS = 0x00020000
CLONE_NEWUTS = 0x04000000
CLONE_NEWIPC = 0x08000000
CLONE_NEWUSER = 0x10000000
CLONE_NEWPID = 0x20000000
CLONE_NEWNET = 0x40000000

MS_BIND = 0x1000
MS_MOVE = 0x2000
MS_REC = 0x4000
MS_PRIVATE = 0x40000

_libc = ctypes.CDLL(None, use_errno=True)


def _checked(result, what):
    if result != 0:
        number = ctypes.get_errno()
        raise OSError(number, f"{what}: {os.strerror(number)}")


def unshare(flags):
    _checked(_libc.unshare(ctypes.c_int(flags)), "unshare")


def setns(descriptor, kind):
    _checked(_libc.setns(ctypes.c_int(descriptor), ctypes.c_int(kind)), "setns")


def mount(source, target, filesystem=None, flags=0, options=None):
    texts = [text.encode() if text is not None else None
             for text in (source, target, filesystem, options)]
    _checked(_libc.mount(texts[0], texts[1], texts[2], ctypes.c_ulong(flags), texts[3]),
             f"mount {filesystem or source} on {target}")


def enter_user_namespace():
    """Makes the caller root of a new user namespace, with no other users in it."""
    user, group = os.geteuid(), os.getegid()
    unshare(CLONE_NEWUSER)
    for name, text in (("setgroups", "deny"), ("uid_map", f"0 {user} 1"),
                       ("gid_map", f"0 {group} 1")):
        with open(f"/proc/self/{name}", "w", encoding="ascii") as file:
            file.write(text)


def attempt(step):
    """Runs step() in a child process. Returns None if it succeeds, else the reason as text."""
    reader, writer = os.pipe()
    child = os.fork()
    if child == 0:
        try:
            step()
            os._exit(0)
        except BaseException as error:  # the child must not return into the caller's stack
            os.write(writer, str(error).encode()[:4000] or b"failed")
            os._exit(1)
    os.close(writer)
    with os.fdopen(reader, "rb") as pipe:
        reason = pipe.read().decode()
    _, status = os.waitpid(child, 0)
    return None if status == 0 else reason or f"ended with status {status}"


def shadow(directory, without=()):
    """Covers a directory with a private one in which entries can be added.

    It links to the original entries. Symbolic links are copied, since a relative one would point
    elsewhere from the place to which the original directory moves.
    """
    stage = "/tmp"
    mount("tmpfs", stage, "tmpfs", 0, "mode=0755")
    hidden = os.path.join(stage, ".host")
    os.mkdir(hidden)
    mount(directory, hidden, None, MS_BIND | MS_REC)
    for entry in os.listdir(hidden):
        if entry in without:
            continue
        source = os.path.join(hidden, entry)
        target = (os.readlink(source) if os.path.islink(source)
                  else os.path.join(directory, ".host", entry))
        os.symlink(target, os.path.join(stage, entry))
    mount(stage, directory, None, MS_MOVE)
