#!/usr/bin/python3
"""Runs host and bridge in the sandboxes of their systemd units, without systemd:
service_test.py HOST BRIDGE UNITS STATE

UNITS is the folder of the units. bubblewrap makes the file system, the user and the capabilities, libseccomp the filters of system
calls, as the unit's settings say; the network and its filter stay the machine's. STATE is the text
of a state whose service 1 is not requested.
"""

import errno
import os
import re
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import unittest
import urllib.request

import seccomp

for room in "host", "bridge":
    sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", room))
from live import Client  # noqa: E402
from mqtt import Broker, is_shown, wait_for  # noqa: E402
from units import get_command, read_settings  # noqa: E402

HOST, BRIDGE, UNITS, STATE = sys.argv[1:5]
PROT_WRITE, PROT_EXEC = 2, 4
FAMILIES = ("AF_UNIX", "AF_INET", "AF_INET6")


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
    """A unit's command in its sandbox. It may write to `state`, a folder."""

    def __init__(self, program, state, environment):
        path = os.path.join(UNITS, {HOST: "guest-services.service",
                                    BRIDGE: "guest-services-bridge.service"}[program])
        unit = read_settings(path)
        for name, value in (("MemoryDenyWriteExecute", "yes"), ("RestrictNamespaces", "yes"),
                            ("RestrictAddressFamilies", " ".join(FAMILIES)), ("ProtectSystem", "strict"),
                            ("CapabilityBoundingSet", ""), ("PrivateTmp", "yes")):
            assert unit[name] == [value], f"{path}: {name}"
        out, theirs = os.pipe()
        stream = os.fstat(theirs)
        environment = {**environment, "JOURNAL_STREAM": f"{stream.st_dev}:{stream.st_ino}"}
        command = get_command(unit, environment)
        tree = os.path.dirname(os.path.dirname(program))
        with tempfile.TemporaryFile() as rules:
            write_filter(unit, rules)
            rules.seek(0)
            self.process = subprocess.Popen(
                ["bwrap", "--ro-bind", "/", "/", "--proc", "/proc", "--dev", "/dev", "--tmpfs", "/tmp",
                 "--ro-bind", tree, tree, "--bind", state, state, "--unshare-user", "--unshare-ipc",
                 "--uid", "61184", "--gid", "61184", "--cap-drop", "ALL",
                 "--seccomp", str(rules.fileno()), "--clearenv",
                 *(word for variable in environment.items() for word in ("--setenv", *variable)),
                 program, *command[1:]],
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
        with self.output:
            return self.process.wait(20)


class SandboxTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(dir="/var/tmp")
        self.addCleanup(folder.cleanup)
        self.state = folder.name
        self.kept = os.path.join(self.state, "state.xml")
        shutil.copy(STATE, self.kept)
        path = os.path.join(self.state, "notify")
        self.manager = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.addCleanup(self.manager.close)
        self.manager.bind(path)
        os.chmod(path, 0o666)
        self.manager.settimeout(20)
        self.host = Service(HOST, self.state, {
            "NOTIFY_SOCKET": path, "WATCHDOG_USEC": "400000", "STATE_DIRECTORY": self.state,
            "OPTIONS": "--listen 127.0.0.1:0"})
        self.port = int(self.host.wait_for(r"^<6>! page http://127.0.0.1:(\d+)/$")[1])

    def test_host_serves_saves_reloads_and_ends(self):
        try:
            self.assertEqual(self.manager.recv(100), b"READY=1")
            client = Client(self.port)
            client.send("SEND_REQUEST_EVENT id=1")
            client.wait_for("push <service_state_requested>")
            self.host.wait_for(r'^<6>log INFO "sent request event for: ')
            with open(self.kept, encoding="utf-8") as file:
                self.assertIn('state="1"', file.read())
            with urllib.request.urlopen(f"http://127.0.0.1:{self.port}/healthz") as reply:
                self.assertEqual(reply.read(), b"ok\n")
            for _ in range(3):
                self.assertEqual(self.manager.recv(100), b"WATCHDOG=1")
            self.host.signal(signal.SIGHUP)
            client.wait_for("> reload")
            self.assertEqual(client.ask("GET_SERVICE id=1").get("state"), "1")
        finally:
            status = self.host.end()
        self.assertEqual(status, 0)

    def test_bridge_publishes_and_ends(self):
        broker = Broker(self.state, "allow_anonymous true")
        self.addCleanup(broker.end)
        self.addCleanup(self.host.end)
        bridge = Service(BRIDGE, self.state, {
            "OPTIONS": f"--site hotel --room 101 --host localhost:{self.port} mqtt://localhost:{broker.port}"})
        try:
            bridge.wait_for("^<6>connected to mqtt://")
            desk = Client(self.port, "desk")
            wait_for(lambda: is_shown(broker.port, desk), "the broker has the host's list")
        finally:
            status = bridge.end()
        self.assertEqual(status, 0)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
