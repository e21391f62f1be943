#!/usr/bin/python3
"""Tests the running bridge between a host and Mosquitto: bridge_test.py HOST BRIDGE [TEST...]

Without TESTs it runs all, which takes ten minutes; scripts/test runs `Smoke` and `Access`.
"""

import concurrent.futures
import os
import re
import shutil
import signal
import socket
import statistics
import subprocess
import sys
import tempfile
import threading
import time
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "host"))

from live import Client as Page, Host  # noqa: E402
from mqtt import (Bridge, Broker, Client, Cluster, ROOT, find_port, is_shown,  # noqa: E402
                  read_retained, wait_for)

HOST, BRIDGE = sys.argv.pop(1), sys.argv.pop(1)
PROJECT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
SAMPLE = os.path.join(PROJECT, "host", "sample-hotel.xml")
DOCUMENT = os.path.join(PROJECT, "docs", "mqtt.md")
GROWTH = 1024  # kB that a bridge may have more after a fault


class BridgeTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.state = os.path.join(self.folder, "state.xml")
        shutil.copy(SAMPLE, self.state)
        self.host_port = find_port()

    def start_broker(self, *lines):
        broker = Broker(self.folder, *(lines or ["allow_anonymous true"]))
        self.addCleanup(broker.end, signal.SIGKILL)
        return broker

    def start_host(self):
        host = Host(HOST, self.state, ["--no-console"], port=self.host_port)
        self.addCleanup(host.end, signal.SIGKILL)
        return host

    def start_bridge(self, *arguments, **options):
        bridge = Bridge(BRIDGE, self.host_port, *arguments, **options)
        self.addCleanup(bridge.end, signal.SIGKILL)
        return bridge

    def connect_page(self, role="desk"):
        page = Page(self.host_port, role)
        self.addCleanup(page.shutdown)
        return page

    def connect_client(self, broker, **options):
        client = Client(broker.port, **options)
        self.addCleanup(client.close)
        return client

    def start_all(self, *lines):
        """A broker, a host and a bridge between them that is online."""
        self.broker = self.start_broker(*lines)
        self.host = self.start_host()
        self.bridge = self.start_bridge(f"mqtt://127.0.0.1:{self.broker.port}")
        self.page = self.connect_page()
        self.wait_until_shown()

    def wait_until_shown(self, seconds=30):
        wait_for(lambda: is_shown(self.broker.port, self.page), "the broker has the host's list", seconds)


class Smoke(BridgeTest):
    def test_carries_requests_both_ways(self):
        self.start_all()
        client = self.connect_client(self.broker)
        guest = self.connect_page("guest")
        guest.send("SEND_REQUEST_EVENT id=1")
        self.assertEqual(client.events.get(timeout=20),
                         (ROOT + "service/1/event", '{"event_type":"requested","by":"guest"}'))
        client.send("service/1/set", "OFF")
        self.assertEqual(client.events.get(timeout=20),
                         (ROOT + "service/1/event", '{"event_type":"canceled","by":"desk"}'))
        answer = client.ask("a", do="request", id=2)
        self.assertEqual((answer["ok"], answer["open"]), (True, True))
        self.assertEqual(client.ask("b", do="remove", id=2)["ok"], False)
        self.assertEqual(len(client.ask("c", do="list")["services"]),
                         sum(1 for _ in self.page.ask("GET_ALL_SERVICES").iter("guest_service")))
        self.wait_until_shown()
        start = time.monotonic()
        self.assertEqual(self.bridge.end(), 0)
        self.assertLess(time.monotonic() - start, 2)
        self.assertEqual(read_retained(self.broker.port)[ROOT + "status"], "offline")

    def test_survives_a_broker_that_is_killed(self):
        self.start_all()
        client = self.connect_client(self.broker)
        self.assertTrue(client.ask("a", do="request", id=1)["open"])
        descriptors = self.bridge.measure()[1]
        self.broker.end(signal.SIGKILL)
        self.page.send("SEND_CANCEL_EVENT id=1")
        self.page.send("SEND_REQUEST_EVENT id=2")
        self.broker.start()
        self.wait_until_shown()
        # The command has been carried out: it is answered, and does nothing.
        wait_for(client.is_connected, "the client is connected again")
        self.assertTrue(client.ask("a", do="request", id=1)["open"])
        self.wait_until_shown()
        # Faults measures the memory: AddressSanitizer, too, runs this test, and keeps what is freed.
        self.assertEqual(self.bridge.measure()[1], descriptors)
        # It ends, too, when the broker goes before it has taken the last message.
        self.broker.process.send_signal(signal.SIGSTOP)
        self.bridge.process.send_signal(signal.SIGTERM)
        time.sleep(0.3)
        self.broker.process.send_signal(signal.SIGKILL)
        self.assertEqual(self.bridge.process.wait(5), 0)


class Faults(BridgeTest):
    """What each fault leaves: the host's list, a command that is not carried out again, memory and
    descriptors as before, pages that did not wait."""

    def watch_page(self):
        """Asks the host every 10 ms until `stop`; returns how long the answers took."""
        page, times, stop = self.connect_page("guest"), [], threading.Event()

        def run():
            while not stop.wait(0.01):
                start = time.monotonic()
                page.ask("GET_SERVICE_TYPES")
                times.append(time.monotonic() - start)
        thread = threading.Thread(target=run)
        thread.start()
        self.addCleanup(thread.join)
        self.addCleanup(stop.set)
        return times

    def suffer(self, fault, *lines, seconds=40):
        """Starts all, has the fault happen, and checks what it leaves."""
        self.start_all(*lines)
        client = self.connect_client(self.broker)
        self.assertTrue(client.ask("once", do="request", id=1)["open"])
        self.page.send("SEND_CANCEL_EVENT id=1")
        self.wait_until_shown()
        before, times = self.bridge.measure(), self.watch_page()
        fault(client)
        self.wait_until_shown(seconds)
        wait_for(client.is_connected, "the client is connected again")
        self.assertTrue(client.ask("once", do="request", id=1)["open"])
        self.wait_until_shown()
        self.assertFalse(any(service.get("id") == "1" and service.get("state") == "1"
                             for service in self.page.ask("GET_ALL_SERVICES")), "carried out again")
        after = self.bridge.measure()
        print(f"  {before[0]} -> {after[0]} kB, {before[1]} -> {after[1]} descriptors, page: median "
              f"{statistics.median(times) * 1000:.2f} ms, longest {max(times) * 1000:.1f} ms of {len(times)}")
        self.assertEqual(after[1], before[1])
        self.assertLess(after[0], before[0] + GROWTH)
        self.assertLess(statistics.median(times), 0.02)
        self.assertLess(max(times), 0.5)

    def change_list(self):
        """What the broker does not hear of when it happens."""
        installer = self.connect_page("installer")
        installer.send("REMOVE_SERVICE id=3")
        installer.send("SEND_REQUEST_EVENT id=2")
        installer.send("ADD_SERVICE name=New")
        installer.wait_for("push <service_added>")

    def test_broker_killed(self):
        def fault(_):
            self.broker.end(signal.SIGKILL)
            self.change_list()
            self.broker.start()
        self.suffer(fault)

    def test_broker_restarted_with_its_retained_messages(self):
        def fault(_):
            self.broker.end()
            self.change_list()
            self.broker.start()
        self.suffer(fault, "allow_anonymous true", "persistence true")

    def test_broker_that_hangs(self):
        def fault(_):
            self.broker.process.send_signal(signal.SIGSTOP)
            self.bridge.wait_for_log(": ", 40)
            self.change_list()
            time.sleep(5)
            self.broker.process.send_signal(signal.SIGCONT)
        self.suffer(fault, seconds=60)

    def test_large_messages(self):
        def fault(client):
            for size in 4097, 100_000, 300_000:
                client.send("command", "x" * size)
                client.send("service/1/set", "x" * size)
                client.send("unknown", "x" * size, retain=True)
            client.send("unknown", "", retain=True)
            wait_for(lambda: ROOT + "unknown" not in client.retained, "the topic is removed")
        self.suffer(fault)

    def test_leftovers(self):
        """Large ones, many, and a mark that is not the bridge's."""
        broker = self.broker = self.start_broker()
        client = self.connect_client(broker)
        for topic in ("status", "command", "service/1", "service/77/set", "generations"):
            client.send(topic, "x" * 100_000, retain=True)
        client.send("sync", "look", retain=True)
        for number in range(1000):
            client.send(f"old/{number}", "x", retain=True)
        wait_for(lambda: ROOT + "old/999" in client.retained, "the broker has all")
        self.start_host()
        self.start_bridge(f"mqtt://127.0.0.1:{broker.port}")
        self.page = self.connect_page()
        self.wait_until_shown()

    def test_broker_of_short_messages(self):
        self.broker = self.start_broker("allow_anonymous true", "max_packet_size 300")
        self.start_host()
        bridge = self.start_bridge(f"mqtt://127.0.0.1:{self.broker.port}")
        bridge.wait_for_log("the message to homeassistant/device/gs_hotel/101/config is too long")
        self.page = self.connect_page()
        self.wait_until_shown()

    def test_ten_thousand_commands_a_second(self):
        def fault(client):
            count, seconds = 10_000, 5
            lines = "\n".join(("ON", "OFF")[i % 2] for i in range(count)) + "\n"
            flood = subprocess.Popen(
                ["mosquitto_pub", "-p", str(self.broker.port), "-t", ROOT + "service/2/set", "-l"],
                stdin=subprocess.PIPE, text=True)
            start = time.monotonic()
            for second in range(seconds):
                flood.stdin.write(lines)
                flood.stdin.flush()
                time.sleep(max(0, start + second + 1 - time.monotonic()))
            flood.stdin.close()
            flood.wait()
            rate = count * seconds / (time.monotonic() - start)
            print(f"  {rate:.0f} commands a second")
            self.assertGreater(rate, 0.9 * count)
            client.ask("last", do="list")
        self.suffer(fault)

    def test_taken_over_client_id(self):
        def fault(_):
            other = Client(self.broker.port, client_id=ROOT[:-1])  # it connects again, too
            self.bridge.wait_for_log("is there another bridge")
            other.close()
        self.suffer(fault, seconds=100)

    def test_two_bridges_of_one_room_slow_down(self):
        self.start_all()
        other = self.start_bridge(f"mqtt://127.0.0.1:{self.broker.port}")
        time.sleep(60)
        with open(self.broker.log) as log:
            count = log.read().count(f"as {ROOT[:-1]} ")
        print(f"  {count} connections in 60 s")
        self.assertLess(count, 20)
        other.end()
        self.page = self.connect_page()  # the one before answered no ping meanwhile
        self.wait_until_shown(70)

    def test_host_killed(self):
        self.start_all()
        client = self.connect_client(self.broker)
        self.assertTrue(client.ask("once", do="request", id=1)["open"])
        before = self.bridge.measure()
        for _ in range(3):
            self.host.end(signal.SIGKILL)
            wait_for(lambda: client.retained[ROOT + "status"] == "offline", "the room is offline")
            self.assertEqual(client.ask("gone", do="list"), {"ok": False, "reason": "the host is gone"})
            self.host = self.start_host()
            self.page = self.connect_page()
            self.wait_until_shown()
        self.page.send("SEND_CANCEL_EVENT id=1")
        self.assertTrue(client.ask("once", do="request", id=1)["open"])
        self.wait_until_shown()
        after = self.bridge.measure()
        print(f"  {before[0]} -> {after[0]} kB, {before[1]} -> {after[1]} descriptors")
        self.assertEqual(after[1], before[1])
        self.assertLess(after[0], before[0] + GROWTH)

    def test_host_that_hangs(self):
        self.start_all()
        client = self.connect_client(self.broker)
        self.host.process.send_signal(signal.SIGSTOP)
        client.command("waits", do="request", id=1)
        wait_for(lambda: client.retained[ROOT + "status"] == "offline", "the room is offline", 60)
        self.assertFalse(client.ask("waits", do="request", id=1)["ok"])
        self.host.process.send_signal(signal.SIGCONT)
        self.wait_until_shown()

    def test_host_reloaded(self):
        def fault(client):
            for _ in range(5):
                self.host.process.send_signal(signal.SIGHUP)
                client.ask("now", do="list")
        self.suffer(fault)

    def test_connection_cut_at_each_byte(self):
        """The first connection of a bridge is cut after so many bytes; its second one is whole."""
        broker = self.broker = self.start_broker()
        self.start_host()
        self.page = self.connect_page()
        whole = self.run_through_proxy(broker, "whole", None)
        print(f"  {whole[0]} bytes to the broker, {whole[1]} from it")
        step = 7
        cuts = [(side, at) for side in (0, 1) for at in range(1, whole[side], step)]
        with concurrent.futures.ThreadPoolExecutor(8) as pool:
            list(pool.map(lambda cut: self.run_through_proxy(broker, f"{cut[0]}-{cut[1]}", cut), cuts))
        print(f"  {len(cuts)} cuts, one each {step} bytes")

    def run_through_proxy(self, broker, room, cut):
        """Runs a bridge until its room is shown. Returns how many bytes went each way."""
        counts = [0, 0]
        with socket.create_server(("127.0.0.1", 0)) as server:
            def carry(source, target, side, limit):
                try:
                    while data := source.recv(65536 if limit is None else max(1, limit - counts[side])):
                        counts[side] += len(data)
                        target.sendall(data)
                        if limit is not None and counts[side] >= limit:
                            break
                except OSError:
                    pass
                for end in source, target:
                    try:
                        end.shutdown(socket.SHUT_RDWR)
                    except OSError:
                        pass

            def serve():
                limits = [None, None]
                if cut:
                    limits[cut[0]] = cut[1]
                while True:
                    try:
                        client = server.accept()[0]
                    except OSError:
                        return
                    upstream = socket.create_connection(("127.0.0.1", broker.port))
                    pair = client, upstream
                    for side, limit in enumerate(limits):
                        threading.Thread(target=carry, daemon=True,
                                         args=(pair[side], pair[1 - side], side, limit)).start()
                    limits = [None, None]
            threading.Thread(target=serve, daemon=True).start()
            bridge = Bridge(BRIDGE, self.host_port, f"mqtt://127.0.0.1:{server.getsockname()[1]}", room=room)
            page = Page(self.host_port, "desk")
            try:
                wait_for(lambda: is_shown(broker.port, page, f"gs/hotel/{room}/"), f"the room {room}")
            except AssertionError as error:
                raise AssertionError(f"{error}: {bridge.log}") from None
            finally:
                bridge.end(signal.SIGKILL)
                page.shutdown()
                server.shutdown(socket.SHUT_RDWR)
        return counts


class Access(BridgeTest):
    """Passwords, certificates, rights."""

    def make_certificates(self):
        """A CA, and certificates for two names that it signed."""
        def openssl(*arguments):
            subprocess.run(["openssl", *arguments], cwd=self.folder, check=True, capture_output=True)
        for name in "ca", "other-ca":
            openssl("req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", f"{name}.key", "-out",
                    f"{name}.pem", "-subj", f"/CN={name}", "-days", "2")
        for name in "localhost", "elsewhere":
            openssl("req", "-newkey", "rsa:2048", "-nodes", "-keyout", f"{name}.key", "-out",
                    f"{name}.csr", "-subj", f"/CN={name}", "-addext", f"subjectAltName=DNS:{name}")
            openssl("x509", "-req", "-in", f"{name}.csr", "-CA", "ca.pem", "-CAkey", "ca.key", "-out",
                    f"{name}.pem", "-days", "2", "-copy_extensions", "copy")

    def test_certificates(self):
        self.make_certificates()
        self.start_host()
        self.page = self.connect_page()
        for name, authority, fault in (("localhost", "ca", None),
                                       ("localhost", "other-ca", "the certificate"),
                                       ("elsewhere", "ca", "the certificate")):
            with self.subTest(name=name, authority=authority):
                plain = find_port()
                path = os.path.join(self.folder, name)
                self.broker = self.start_broker(
                    "allow_anonymous true", f"certfile {path}.pem", f"keyfile {path}.key",
                    f"listener {plain} 127.0.0.1")
                port, self.broker.port = self.broker.port, plain
                bridge = self.start_bridge(f"mqtts://localhost:{port}", "--ca-file",
                                           os.path.join(self.folder, authority + ".pem"))
                if fault:
                    bridge.wait_for_log(fault)
                    print("  " + bridge.log[-1].strip())
                    self.assertEqual(read_retained(plain), {})
                else:
                    self.wait_until_shown()
                    bridge.end()
                self.broker.end()

    def test_rights_of_the_documentation(self):
        """Who may publish what, with the configuration in docs/mqtt.md."""
        with open(DOCUMENT, encoding="utf-8") as file:
            blocks = dict(re.findall(r"```(\w+)\n(.*?)```", file.read(), re.S))
        for name, text in ("rights", blocks["rights"]), ("users", ""):
            with open(os.path.join(self.folder, name), "w") as file:
                file.write(text)
        users = ("101", "102", "staff", "homeassistant")
        for user in users:
            subprocess.run(["mosquitto_passwd", "-b", os.path.join(self.folder, "users"), user, user],
                           check=True)
        settings = blocks["mosquitto"].split("\nlistener")[0]
        self.assertIn("certfile", blocks["mosquitto"])
        broker = self.broker = self.start_broker(
            *settings.replace("/etc/mosquitto/passwords", self.folder + "/users")
            .replace("/etc/mosquitto/rights", self.folder + "/rights").splitlines())
        self.start_host()
        password = os.path.join(self.folder, "password")
        with open(password, "w") as file:
            file.write("101\n")
        bridge = self.start_bridge(f"mqtt://101@127.0.0.1:{broker.port}", "--password-file", password)
        clients = {user: self.connect_client(broker, user=user) for user in users}
        staff = clients["staff"]
        wait_for(lambda: staff.retained.get(ROOT + "status") == "online", f"the room is online: {bridge.log}")
        self.assertTrue(staff.ask("a", do="request", id=1)["open"])
        # Each topic's heard publications, by their publisher.
        heard = {}
        for user in users:
            for topic in ("gs/hotel/101/status", "gs/hotel/101/service/2", "gs/hotel/101/service/2/event",
                          "gs/hotel/101/service/2/set", "gs/hotel/101/command", "gs/hotel/reply/101/x",
                          "homeassistant/device/gs_hotel/101/config", "homeassistant/status"):
                heard[topic] = heard.get(topic, set())
                # By a connection of its own: the broker may end that of a client which may not publish.
                subprocess.run(["mosquitto_pub", "-p", str(broker.port), "-u", user, "-P", user, "-t", topic,
                                "-m", f"from {user}", "-q", "1"], check=True, capture_output=True)
        observer = clients["homeassistant"]
        staff.publish("gs/hotel/102/command", "end")
        wait_for(lambda: ("gs/hotel/102/command", "end") in observer.heard, "the last message")
        for topic, payload in observer.heard:
            if payload.startswith("from "):
                heard[topic].add(payload[5:])
        own = {"101"}
        self.assertEqual(heard, {
            "gs/hotel/101/status": own, "gs/hotel/101/service/2": own, "gs/hotel/101/service/2/event": own,
            "gs/hotel/101/service/2/set": {"101", "staff", "homeassistant"},
            "gs/hotel/101/command": {"101", "staff"}, "gs/hotel/reply/101/x": own,
            "homeassistant/device/gs_hotel/101/config": {"101", "homeassistant"},
            "homeassistant/status": {"homeassistant"}})
        self.assertEqual(clients["102"].retained, {})

    def test_wrong_password_then_the_right_one(self):
        password = os.path.join(self.folder, "password")
        users = os.path.join(self.folder, "users")
        subprocess.run(["mosquitto_passwd", "-b", "-c", users, "room101", "right"], check=True)
        plain = find_port()
        self.broker = self.start_broker("per_listener_settings true", f"password_file {users}",
                                        "allow_anonymous false", f"listener {plain} 127.0.0.1",
                                        "allow_anonymous true")
        port, self.broker.port = self.broker.port, plain
        self.start_host()
        self.page = self.connect_page()
        for text, is_right in ("wrong", False), ("right", True):
            with open(password, "w") as file:
                file.write(text + "\n")
            bridge = self.start_bridge(f"mqtt://room101@127.0.0.1:{port}", "--password-file", password)
            if is_right:
                self.wait_until_shown()
            else:
                bridge.wait_for_log("Not authorized")
                time.sleep(3)
                warnings = [line for line in bridge.log if line.startswith("warning: ")]
                self.assertEqual(len(warnings), 1, warnings)
            bridge.end()


class NatsCluster(BridgeTest):
    def test_goes_on_at_another_node(self):
        cluster = Cluster(self.folder)
        self.addCleanup(cluster.end)
        self.start_host()
        self.page = self.connect_page()
        self.bridge = self.start_bridge(*(f"mqtt://127.0.0.1:{port}" for port in cluster.ports))
        self.wait_until_shown_at(cluster.ports[1])
        # Wherever it is connected, that node goes, and the next one that it takes.
        client = Client(cluster.ports[2], is_version5=False)
        client.send("service/1/set", "ON")
        wait_for(lambda: '"open":true' in client.retained.get(ROOT + "service/1", ""), "the state is open")
        client.close()
        number = cluster.ports.index(self.find_connected_port())
        cluster.nodes[number].kill()
        start = time.monotonic()
        self.page.send("SEND_CANCEL_EVENT id=1")
        self.page.send("SEND_REQUEST_EVENT id=2")
        self.wait_until_shown_at(cluster.ports[(number + 1) % 3])
        print(f"  right again at another node after {time.monotonic() - start:.1f} s")
        print("  " + "  ".join(self.bridge.log))

    def find_connected_port(self):
        return int(re.findall(r":(\d+), by MQTT 3.1.1", "".join(self.bridge.log))[-1])

    def wait_until_shown_at(self, port):
        def is_there():
            try:
                return is_shown(port, self.page, is_version5=False)
            except (AssertionError, ConnectionError):  # the cluster elects a leader
                return False
        wait_for(is_there, "the cluster has the host's list", 120)


if __name__ == "__main__":
    unittest.main(verbosity=2, warnings="ignore")
