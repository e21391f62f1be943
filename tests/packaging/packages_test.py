#!/usr/bin/python3
"""Tests the packages in a minimal Debian: packages_test.py TREE PACKAGE... As root.

TREE is the folder of that system, which the test changes. The programs run there by the commands of
their units, as a user of their own, since there is no systemd.
"""

import glob
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest
import urllib.error
import urllib.request

for room in "host", "bridge":
    sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", room))
from live import Client  # noqa: E402
from mqtt import Broker, find_port, is_shown, wait_for  # noqa: E402
from units import get_command, read_settings  # noqa: E402

TREE, PACKAGES = os.path.abspath(sys.argv[1]), sys.argv[2:]
STATE = "/var/lib/guest-services"


def in_tree(path):
    return TREE + path


def run_in_tree(*command):
    """Runs a command there. Returns what it printed."""
    done = subprocess.run(["chroot", TREE, *command], env={"PATH": "/usr/sbin:/usr/bin:/sbin:/bin",
                                                           "DEBIAN_FRONTEND": "noninteractive"},
                          text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    assert done.returncode == 0, done.stdout
    return done.stdout


def install(packages):
    for package in packages:
        shutil.copy(package, in_tree("/tmp"))
    run_in_tree("apt-get", "-qq", "install", "--no-install-recommends", "-y",
                "-o", "Dpkg::Options::=--force-confold",  # the owner's options stay
                *("/tmp/" + os.path.basename(package) for package in packages))


def make_next_version(package, folder):
    """The same package with a higher version and other files of options, as an upgrade has it."""
    tree = tempfile.mkdtemp(dir=folder)
    subprocess.run(["dpkg-deb", "--raw-extract", package, tree], check=True)
    control = os.path.join(tree, "DEBIAN", "control")
    with open(control) as file:
        text = file.read()
    version = re.search(r"^Version: (.*)$", text, re.M)[1]
    with open(control, "w") as file:
        file.write(text.replace(version, version + "+next"))
    for path in glob.glob(tree + "/etc/default/*"):
        with open(path, "a") as file:
            file.write("OPTIONS=--no-such-option\n")
    subprocess.run(["dpkg-deb", "--root-owner-group", "--build", tree, folder], check=True,
                   stdout=subprocess.DEVNULL)


def write_options(unit, options):
    """Sets the unit's options as an installer would."""
    path = in_tree(f"/etc/default/{unit}")
    with open(path) as file:
        text = file.read()
    with open(path, "w") as file:
        file.write(re.sub("^#?OPTIONS=.*\n", "", text, flags=re.M) + f"OPTIONS={options}\n")


class Unit:
    """A unit's program."""

    def __init__(self, name):
        settings = read_settings(in_tree(f"/lib/systemd/system/{name}.service"))
        with open(in_tree(settings["EnvironmentFile"][0].lstrip("-"))) as file:
            options = re.search("^OPTIONS=(.*)$", file.read(), re.M)[1]
        environment = {"STATE_DIRECTORY": STATE, "OPTIONS": options}
        self.process = subprocess.Popen(  # as the only user of the system; root's files are its own
            ["bwrap", "--bind", TREE, "/", "--proc", "/proc", "--dev", "/dev", "--unshare-user",
             "--uid", "61184", "--gid", "61184", "--cap-drop", "ALL", "--die-with-parent", "--clearenv",
             "--setenv", "STATE_DIRECTORY", STATE, *get_command(settings, environment)],
            stdin=subprocess.DEVNULL)

    def end(self, how=signal.SIGTERM):
        # bubblewrap passes no signal on: the program is its only child.
        children = f"/proc/{self.process.pid}/task/{self.process.pid}/children"
        with open(children, encoding="ascii") as file:
            os.kill(int(file.read()), how)
        return self.process.wait(20)


class Property(unittest.TestCase):
    """A property from the installation of the packages to their purge."""

    def start_host(self):
        host = Unit("guest-services")
        self.addCleanup(host.process.kill)
        wait_for(lambda: self.get("/healthz") == "ok\n", "the host is well")
        return host

    def get(self, path):
        try:
            with urllib.request.urlopen(f"http://127.0.0.1:{self.port}{path}") as reply:
                return reply.read().decode()
        except urllib.error.URLError:
            return None

    def connect(self, role):
        page = Client(self.port, role)
        self.addCleanup(page.shutdown)
        return page

    def is_open(self):
        return self.connect("guest").ask("GET_SERVICE id=1").get("state") == "1"

    def check_bridge(self, folder):
        broker = Broker(folder, "allow_anonymous true")
        self.addCleanup(broker.end)
        write_options("guest-services-bridge", f"--site hotel --room 101 --host 127.0.0.1:{self.port} "
                      f"mqtt://127.0.0.1:{broker.port}")
        bridge = Unit("guest-services-bridge")
        self.addCleanup(bridge.process.kill)
        desk = self.connect("desk")
        wait_for(lambda: is_shown(broker.port, desk), "the broker has the host's list")
        self.assertEqual(bridge.end(), 0)

    def test_keeps_its_requests_until_it_is_purged(self):
        folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, folder)
        run_in_tree("apt-get", "-qq", "update")
        install(PACKAGES)
        enabled = os.listdir(in_tree("/etc/systemd/system/multi-user.target.wants"))
        self.assertEqual([name for name in enabled if "guest" in name], ["guest-services.service"])
        os.makedirs(in_tree("/var/lib/private/guest-services"), 0o700)  # as systemd does
        os.symlink("private/guest-services", in_tree(STATE))
        self.port = find_port()
        write_options("guest-services", f"--listen 127.0.0.1:{self.port}")
        host = self.start_host()
        installer = self.connect("installer")
        installer.send("ADD_SERVICE name=Valet delay=-1")
        installer.wait_for("push <")
        for path, title in (("/", "Guest services"), ("/desk", "Front desk")):
            self.assertIn(title, re.search("<title>(.*)</title>", self.get(path))[1])
        guest = self.connect("guest")
        guest.send("SEND_REQUEST_EVENT id=1")
        guest.wait_for("push <service_state_requested>")
        host.end(signal.SIGKILL)

        host = self.start_host()
        self.assertTrue(self.is_open())
        self.check_bridge(folder)
        for package in PACKAGES:
            make_next_version(package, folder)
        install(glob.glob(folder + "/*.deb"))
        self.assertTrue(self.is_open())  # in the old program
        self.assertEqual(host.end(), 0)
        host = self.start_host()  # with the options from before
        self.assertTrue(self.is_open())
        self.assertEqual(host.end(), 0)

        names = [os.path.basename(package).split("_")[0] for package in PACKAGES]
        run_in_tree("apt-get", "-qq", "remove", "-y", *names)
        self.assertFalse(os.path.exists(in_tree("/usr/bin/guest-services-host")))
        install(glob.glob(folder + "/*.deb"))
        host = self.start_host()
        self.assertTrue(self.is_open())
        self.assertEqual(host.end(), 0)
        run_in_tree("dpkg", "--purge", *names)
        left = run_in_tree("find", "/etc", "/usr", "/lib", "/var/lib", "-name", "*guest-services*")
        self.assertEqual(left, "")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
