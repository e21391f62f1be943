#!/usr/bin/python3
"""Runs the host in the sandbox of its systemd unit, without systemd: service_test.py HOST UNIT STATE

bubblewrap makes the file system, the user and the capabilities, libseccomp the filters of system
calls, as the unit's settings say; the network and its filter stay the machine's. STATE is the text
of a state whose service 1 is not requested.
"""

import errno
import os
import re
import shlex
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import unittest
import urllib.request

import seccomp

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../host"))
from live import Client  # noqa: E402

PROGRAM, UNIT, STATE = sys.argv[1:4]
PROT_WRITE, PROT_EXEC = 2, 4
FAMILIES = ("AF_UNIX", "AF_INET", "AF_INET6")


def settings():
    """The unit's settings, by name: their values, in their order."""
    found = {}
    with open(UNIT, encoding="utf-8") as unit:
        for name, value in re.findall(r"^(\w+)=(.*)$", unit.read(), re.MULTILINE):
            found.setdefault(name, []).append(value)
    return found


def calls_of(group):
    """The names of the system calls of a group such as "@system-service"."""
    listed = subprocess.run(["systemd-analyze", "syscall-filter", group], check=True, text=True,
                            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
    names = set()
    for name in re.findall(r"^ +([@\w-]+)$", listed, re.MULTILINE):
        names |= calls_of(name) if name.startswith("@") else {name}
    return names


def allowed_calls(filters):
    allowed = set()
    for line in filters:
        names = set().union(*(calls_of(group) for group in line.lstrip("~").split()))
        allowed = allowed - names if line.startswith("~") else allowed | names
    return allowed


def write_filter(unit, file):
    """Writes what the unit's SystemCallFilter, MemoryDenyWriteExecute, RestrictAddressFamilies and
    RestrictNamespaces allow, for this machine's own system calls."""
    rules = seccomp.SyscallFilter(seccomp.ERRNO(errno.EPERM))
    masked = lambda position, mask, value: seccomp.Arg(position, seccomp.MASKED_EQ, mask, value)
    conditions = {
        "mmap": [masked(2, PROT_WRITE | PROT_EXEC, value) for value in (0, PROT_WRITE, PROT_EXEC)],
        "mprotect": [masked(2, PROT_EXEC, 0)],
        "pkey_mprotect": [masked(2, PROT_EXEC, 0)],
        "socket": [seccomp.Arg(0, seccomp.EQ, int(getattr(socket, name))) for name in FAMILIES],
        "clone": [masked(0, 0x7e020080, 0)],  # CLONE_NEW...
    }
    # bubblewrap starts the program with it. systemd answers clone3 like a kernel that lacks it.
    for name in (allowed_calls(unit["SystemCallFilter"]) | {"execve"}) - {"clone3", "unshare", "setns"}:
        try:
            for condition in conditions.get(name, [None]):
                rules.add_rule(seccomp.ALLOW, name, *([condition] if condition else []))
        except (RuntimeError, ValueError):  # no system call of this machine
            continue
    rules.add_rule(seccomp.ERRNO(errno.ENOSYS), "clone3")
    rules.export_bpf(file)


class Service:
    """The unit's command in its sandbox. `state` is the folder of its state."""

    def __init__(self, state):
        unit = settings()
        for name, value in (("MemoryDenyWriteExecute", "yes"), ("RestrictNamespaces", "yes"),
                            ("RestrictAddressFamilies", " ".join(FAMILIES)), ("ProtectSystem", "strict"),
                            ("CapabilityBoundingSet", ""), ("PrivateTmp", "yes"), ("Type", "notify")):
            assert unit[name] == [value], f"{UNIT}: {name}"
        self.manager = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.manager.bind(os.path.join(state, "notify"))
        os.chmod(os.path.join(state, "notify"), 0o666)
        self.manager.settimeout(20)
        out, theirs = os.pipe()
        stream = os.fstat(theirs)
        environment = {
            "NOTIFY_SOCKET": os.path.join(state, "notify"), "WATCHDOG_USEC": "400000",
            "STATE_DIRECTORY": state, "OPTIONS": "--listen 127.0.0.1:0",
            "JOURNAL_STREAM": f"{stream.st_dev}:{stream.st_ino}"}
        command = shlex.split(re.sub(r"\$\{?(\w+)\}?", lambda name: environment[name[1]],
                                     unit["ExecStart"][0]))
        tree = os.path.dirname(os.path.dirname(PROGRAM))
        with tempfile.TemporaryFile() as rules:
            write_filter(unit, rules)
            rules.seek(0)
            self.process = subprocess.Popen(
                ["bwrap", "--ro-bind", "/", "/", "--proc", "/proc", "--dev", "/dev", "--tmpfs", "/tmp",
                 "--ro-bind", tree, tree, "--bind", state, state, "--unshare-user", "--unshare-ipc",
                 "--uid", "61184", "--gid", "61184", "--cap-drop", "ALL",
                 "--seccomp", str(rules.fileno()), "--clearenv",
                 *(word for variable in environment.items() for word in ("--setenv", *variable)),
                 PROGRAM, *command[1:]],
                stdin=subprocess.DEVNULL, stdout=theirs, pass_fds=[rules.fileno()])
        os.close(theirs)
        self.output = os.fdopen(out, encoding="utf-8")

    def wait_for(self, pattern):
        """Reads the journal's lines up to the first that matches."""
        for line in self.output:
            if match := re.search(pattern, line):
                return match
        raise AssertionError(f"no line matches {pattern}")

    def signal(self, number):
        # bubblewrap passes no signal on: the host is its only child.
        children = f"/proc/{self.process.pid}/task/{self.process.pid}/children"
        with open(children, encoding="ascii") as file:
            os.kill(int(file.read()), number)

    def end(self):
        self.signal(signal.SIGTERM)
        with self.manager, self.output:
            return self.process.wait(20)


class SandboxTest(unittest.TestCase):
    def test_serves_saves_reloads_and_ends(self):
        with tempfile.TemporaryDirectory(dir="/var/tmp") as state:
            kept = os.path.join(state, "state.xml")
            shutil.copy(STATE, kept)
            service = Service(state)
            try:
                port = int(service.wait_for(r"^<6>! page http://127.0.0.1:(\d+)/$")[1])
                self.assertEqual(service.manager.recv(100), b"READY=1")
                client = Client(port)
                client.send("SEND_REQUEST_EVENT id=1")
                client.wait_for("push <service_state_requested>")
                service.wait_for(r'^<6>log INFO "sent request event for: ')
                with open(kept, encoding="utf-8") as file:
                    self.assertIn('state="1"', file.read())
                with urllib.request.urlopen(f"http://127.0.0.1:{port}/healthz") as reply:
                    self.assertEqual(reply.read(), b"ok\n")
                for _ in range(3):
                    self.assertEqual(service.manager.recv(100), b"WATCHDOG=1")
                service.signal(signal.SIGHUP)
                client.wait_for("> reload")
                self.assertEqual(client.ask("GET_SERVICE id=1").get("state"), "1")
            finally:
                status = service.end()
            self.assertEqual(status, 0)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
