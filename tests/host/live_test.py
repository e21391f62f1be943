#!/usr/bin/python3
"""Tests the running live host from outside: live_test.py HOST"""

import os
import signal
import socket
import sys
import tempfile
import time
import unittest

import pexpect
import websocket

from live import ENDED, Client, Host

PROGRAM = sys.argv.pop(1)


class LiveHost(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.state = os.path.join(folder.name, "state.xml")

    def start(self, *options):
        host = Host(PROGRAM, self.state, options)
        self.addCleanup(host.end, signal.SIGKILL)
        return host

    def start_in_terminal(self):
        terminal = pexpect.spawn(
            PROGRAM, ["run", "--listen", "none", "--state", self.state], encoding="utf-8",
            env={**os.environ, "TERM": "xterm", "NO_COLOR": "1"}, dimensions=(24, 80), timeout=20)
        self.addCleanup(terminal.close)
        terminal.expect_exact("> ")
        return terminal

    def client(self, host, **options):
        client = Client(host.port, **options)
        self.addCleanup(client.shutdown)
        return client

    def test_refuses_with_a_reason(self):
        host = self.start("--allow-host", "hotel.example")
        get = "GET {} HTTP/1.1\r\nHost: {}\r\n{}\r\n"
        for data, status in (
                (get.format("/", "localhost", ""), "200 OK"),
                (get.format("/?x", "hotel.example", ""), "200 OK"),
                (get.format("/session.txt", "localhost", ""), "200 OK"),
                (get.format("/", "evil.example", ""), "403 Forbidden"),
                (get.format("/", "localhost\r\nHost: localhost", ""), "403 Forbidden"),
                ("GET / HTTP/1.0\r\n\r\n", "403 Forbidden"),
                (get.format("/../etc/passwd", "localhost", ""), "404 Not Found"),
                (get.format("/", "localhost", "").replace("GET", "POST"), "405 Method Not Allowed"),
                (get.format("/ws", "localhost", ""), "426 Upgrade Required"),
                (get.format("/", "localhost", f"X: {'x' * 9000}\r\n"),
                 "431 Request Header Fields Too Large"),
                (get.format("/", "localhost", "Content-Length: 5000\r\n"), "413 Payload Too Large"),
                ("\x16\x03\x01\r\n\r\n", "400 Bad Request"),
                (get.format("/", "localhost", "")[:-2], "408 Request Timeout")):
            with socket.create_connection(("127.0.0.1", host.port), timeout=20) as connection:
                connection.sendall(data.encode())
                answer = connection.makefile(newline="").read()
            self.assertEqual(answer.partition("\r\n")[0], f"HTTP/1.1 {status}", data)
            self.assertIn("Content-Security-Policy: default-src 'none'; script-src 'self'; ", answer)
            self.assertRegex(answer.partition("\r\n\r\n")[2], r"\S")
        with self.assertRaisesRegex(websocket.WebSocketBadStatusException, "403 Forbidden"):
            self.client(host, origin="http://evil.example")
        self.client(host, origin=f"http://127.0.0.1:{host.port}")

    def test_bad_clients_cost_the_others_nothing(self):
        host = self.start()
        good = self.client(host)
        good.wait_for("! replay-end")
        for _ in range(20):  # they never say a word
            silent = socket.create_connection(("127.0.0.1", host.port))
            self.addCleanup(silent.close)
        for data, opcode in ((b"binary", 2), (b"x" * 70000, 1), (b"\xff", 1)):
            bad = self.client(host)
            bad.send(data, opcode)
            with self.assertRaises(ENDED):
                bad.wait_for("nothing")
            bad.shutdown()
        for step in ("restart", "clock 2024-01-01T00:00:00", "advance 1h", "reload", "help", "x\ny",
                     "export /tmp/x", "loglevel OFF", "verbose on", "ADD_SERVICE name",
                     "ADD_SERVICE a='", ""):
            good.send(step)
            self.assertEqual(good.receive(), "> " + step.replace("\n", "\\n"))
            self.assertRegex(good.receive(), "^error ")
        deaf = self.client(host)  # it never reads
        long = "ADD_SERVICE name=" + 60000 * "x"
        clients = [self.client(host) for _ in range(30)]
        with self.assertRaisesRegex(websocket.WebSocketBadStatusException, "503"):
            self.client(host)
        for client in clients:
            client.shutdown()
        for _ in range(80):  # more than kernel and host keep for one
            good.send(long)
            good.wait_for("push <service_added>")
        deaf.settimeout(1)
        with self.assertRaises(ENDED):
            deaf.wait_for("nothing")

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
        terminal = self.start_in_terminal()
        terminal.send("ADD\tna\tTaxi")
        terminal.expect_exact("Taxi")
        terminal.kill(signal.SIGHUP)  # prints a line meanwhile
        terminal.expect_exact("\r\x1b[J> reload\r\n")
        terminal.expect_exact("> ADD_SERVICE name=Taxi")
        terminal.send(" icon=7\n")
        terminal.expect_exact('name="Taxi" description="" icon="7"')
        terminal.send("\x1b[A\n")  # the step before once more
        terminal.expect_exact('id="2" name="Taxi"')
        terminal.send(f"ADD_SERVICE name={'x' * 80}\n")  # longer than a row
        terminal.expect_exact("x" * 80 + '" description')
        self.assertNotIn("\x1b[1A", terminal.before, "a line that was printed is gone")
        terminal.send("advance 20000h\n")
        time.sleep(0.2)
        terminal.sendeof()  # while the step goes on
        terminal.expect(pexpect.EOF)
        self.assertEqual(terminal.wait(), 0)
        self.assertTrue(terminal.getecho())

    def test_ends_with_its_terminal(self):
        terminal = self.start_in_terminal()
        terminal.ptyproc.fileobj.close()
        self.assertIn(terminal.wait(), (0, 1))  # with or without a failure to write


unittest.main()
