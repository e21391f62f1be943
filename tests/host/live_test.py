#!/usr/bin/env python3
"""Tests the running live host from outside: live_test.py HOST"""

import fcntl
import os
import pty
import select
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import termios
import time
import unittest

from live import Client, Host

PROGRAM = sys.argv.pop(1)


class LiveHost(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.state = os.path.join(folder.name, "state.xml")

    def start(self, **more):
        host = Host(PROGRAM, self.state, **more)
        self.addCleanup(host.end, signal.SIGKILL)
        return host

    def client(self, host, **more):
        client = Client(host.port, **more)
        self.addCleanup(client.close)
        return client

    def request(self, port, data):
        """What the host answers, without the headers that all answers have."""
        with socket.create_connection(("127.0.0.1", port), timeout=20) as connection:
            connection.sendall(data)
            with connection.makefile("rb") as answer:
                return answer.read().decode()

    def test_refuses_with_a_reason(self):
        host = self.start(options=["--allow-host", "hotel.example"])
        get = "GET {} HTTP/1.1\r\nHost: {}\r\n{}\r\n"
        for data, status in (
                (get.format("/", "localhost", ""), "200 OK"),
                (get.format("/", "hotel.example", ""), "200 OK"),
                (get.format("/?x", "127.0.0.1:1", ""), "200 OK"),
                (get.format("/", "evil.example", ""), "403 Forbidden"),
                (get.format("/", "localhost\r\nHost: localhost", ""), "403 Forbidden"),
                ("GET / HTTP/1.0\r\n\r\n", "403 Forbidden"),
                (get.format("/../etc/passwd", "localhost", ""), "404 Not Found"),
                (get.format("/index.html", "localhost", ""), "404 Not Found"),
                (get.format("/", "localhost", "").replace("GET", "POST"), "405 Method Not Allowed"),
                (get.format("/ws", "localhost", ""), "426 Upgrade Required"),
                (get.format("/", "localhost", f"X: {'x' * 9000}\r\n"),
                 "431 Request Header Fields Too Large"),
                (get.format("/", "localhost", "Content-Length: 5000\r\n"), "413 Payload Too Large"),
                ("\x16\x03\x01\r\n\r\n", "400 Bad Request"),
                (get.format("/", "localhost", "")[:-2], "408 Request Timeout")):
            answer = self.request(host.port, data.encode())
            self.assertEqual(answer.partition("\r\n")[0], f"HTTP/1.1 {status}", data)
            self.assertIn("Content-Security-Policy: default-src 'none'; script-src 'self'; ", answer)
            self.assertRegex(answer.partition("\r\n\r\n")[2], r"\S")
        self.assertEqual(self.client(host, Origin="http://evil.example").reason,
                         "not for another site's pages\n")
        self.assertEqual(self.client(host, Origin=f"http://127.0.0.1:{host.port}").status, 101)

    def test_bad_clients_cost_the_others_nothing(self):
        host = self.start()
        good = self.client(host)
        good.wait_for("! replay-end")
        silent = [socket.create_connection(("127.0.0.1", host.port)) for _ in range(20)]
        for data, opcode in ((b"binary", 2), (b"x" * 70000, 1), (b"\xff", 1)):
            bad = self.client(host)
            bad.send(data, opcode)
            with self.assertRaises(EOFError):
                bad.wait_for("nothing")
            bad.close()
        for step in ("restart", "clock 2024-01-01T00:00:00", "advance 1h", "reload", "help", "x\ny",
                     "export /tmp/x", "loglevel OFF", "ADD_SERVICE name", "ADD_SERVICE a='", ""):
            good.send(step)
            self.assertEqual(good.receive(), "> " + step.replace("\n", "\\n"))
            self.assertRegex(good.receive(), "^error ")
        deaf = self.client(host)  # it never reads
        long = "ADD_SERVICE name=" + 60000 * "x"
        clients = [self.client(host) for _ in range(30)]
        self.assertEqual([client.status for client in clients], [101] * 30)
        self.assertEqual(self.client(host).reason, "too many pages are open\n")
        for client in clients:
            client.close()
        for _ in range(80):  # more than kernel and host keep for one
            good.send(long)
            good.wait_for("push <service_added>")
        deaf.socket.settimeout(1)
        with self.assertRaises((EOFError, ConnectionError)):
            while True:
                deaf.receive()
        for connection in silent:
            connection.close()

    def test_all_see_the_same_and_answers_go_to_who_asked(self):
        host = self.start()
        one, two = self.client(host), self.client(host)
        one.wait_for("! replay-end")
        two.wait_for("! replay-end")
        one.send("ui GET_ALL_SERVICES")
        one.send("ADD_SERVICE type=shortcut shortcut_id=9")
        change = ["> ADD_SERVICE type=shortcut shortcut_id=9",
                  'push <service_added><shortcut id="1" shortcut_id="9"/></service_added>']
        self.assertEqual([two.receive(), two.receive()], change)
        self.assertEqual([one.receive() for _ in range(4)],
                         ["> ui GET_ALL_SERVICES", "answer <guest_services/>", *change])
        late = self.client(host)
        lines = [late.receive() for _ in range(4)]
        self.assertRegex(lines[0], r'^! health state="ok" plugin="/.*guest-services-agent.so"$')
        self.assertEqual(lines[1:], [*change, "! replay-end"])
        self.assertAlmostEqual(late.time, time.time(), delta=5)
        host.process.stdin.write("advance 1h\n")
        host.process.stdin.flush()
        two.wait_for("> advance")
        self.assertAlmostEqual(two.time, time.time() + 3600, delta=5)

    def test_signals(self):
        host = self.start()
        client = self.client(host)
        client.send("ADD_SERVICE type=shortcut shortcut_id=9")
        client.wait_for("push")
        host.process.send_signal(signal.SIGHUP)
        client.wait_for("> reload")
        self.assertEqual(len(client.ask("GET_ALL_SERVICES")), 1)
        status, rest = host.end(signal.SIGTERM)
        self.assertEqual(status, 0, rest)
        again = self.start()
        status, rest = again.end(signal.SIGINT)
        self.assertEqual((status, rest), (0, ""))

    def test_a_line_being_edited_is_not_disturbed(self):
        own, terminal = pty.openpty()
        fcntl.ioctl(own, termios.TIOCSWINSZ, struct.pack("HHHH", 24, 80, 0, 0))
        log = subprocess.Popen(
            [PROGRAM, "run", "--listen", "none", "--state", self.state], stdin=terminal,
            stdout=terminal, env={**os.environ, "TERM": "xterm", "NO_COLOR": "1"})
        os.close(terminal)
        self.addCleanup(os.close, own)
        self.addCleanup(log.wait)
        self.addCleanup(log.kill)
        seen = ""

        def see(text):
            nonlocal seen
            end = time.monotonic() + 20
            while text not in seen:
                self.assertTrue(select.select([own], [], [], end - time.monotonic())[0], seen)
                seen += os.read(own, 4096).decode()
            seen = seen.partition(text)[2]

        def type_in(text):
            os.write(own, text.encode())

        see("> ")
        type_in("ADD\tna\tTaxi")
        see("Taxi")
        log.send_signal(signal.SIGHUP)  # prints a line meanwhile
        see("\r\x1b[J> reload\r\n")
        see("> ADD_SERVICE name=Taxi")
        type_in(" icon=7\n")
        see('name="Taxi" description="" icon="7"')
        type_in("\x1b[A\n")  # the step before once more
        see('id="2" name="Taxi"')
        type_in("\x04")
        self.assertEqual(log.wait(20), 0)
        self.assertTrue(termios.tcgetattr(own)[3] & termios.ECHO)

    def test_ends_with_its_terminal(self):
        own, terminal = pty.openpty()
        host = subprocess.Popen([PROGRAM, "run", "--listen", "none"], stdin=terminal, stdout=terminal)
        os.close(terminal)
        os.read(own, 1)
        os.close(own)
        host.wait(20)


unittest.main()
