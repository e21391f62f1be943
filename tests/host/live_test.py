#!/usr/bin/python3
"""Tests the running live host from outside: live_test.py HOST"""

import contextlib
import http.client
import os
import resource
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time
import unittest


import pexpect
import websocket

from live import Client, Host

PROGRAM = sys.argv.pop(1)


class LiveHost(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.state = os.path.join(folder.name, "state.xml")

    def start(self, *options, **how):
        host = Host(PROGRAM, self.state, options, **how)
        self.addCleanup(host.end, signal.SIGKILL)
        return host

    def start_in_terminal(self, program=PROGRAM, arguments=None):
        """The host, or a shell, at a terminal, in the locale of a minimal system."""
        folder = os.path.dirname(self.state)
        terminal = pexpect.spawn(
            program, arguments or ["run", "--listen", "none", "--state", self.state],
            encoding="utf-8", dimensions=(24, 80), timeout=20,
            env={**os.environ, "TERM": "xterm", "NO_COLOR": "1", "LC_ALL": "C", "PS1": "$ ",
                 "XDG_STATE_HOME": folder})
        self.addCleanup(terminal.close)
        terminal.expect_exact("> " if program == PROGRAM else "$ ")
        return terminal

    @staticmethod
    def get(host, path):
        """The status and the text of the reply."""
        connection = http.client.HTTPConnection("127.0.0.1", host.port, timeout=20)
        connection.request("GET", path)
        reply = connection.getresponse()
        with contextlib.closing(connection):
            return reply.status, reply.read().decode()

    def client(self, host, **options):
        client = Client(host.port, **options)
        self.addCleanup(client.shutdown)
        return client

    def test_runs_as_a_service(self):
        """Its state cannot be saved while its folder is away."""
        folder = os.path.join(os.path.dirname(self.state), "state")
        os.mkdir(folder)
        self.state = os.path.join(folder, "state.xml")
        with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as manager:
            manager.bind(f"\0guest-services-{os.getpid()}")
            manager.settimeout(20)
            host = self.start("--no-console", environment={
                "NOTIFY_SOCKET": f"@guest-services-{os.getpid()}", "WATCHDOG_USEC": "20000000"})
            self.assertEqual([manager.recv(100), manager.recv(100)], [b"READY=1", b"WATCHDOG=1"])
            host.process.stdin.close()
            self.assertEqual(self.get(host, "/healthz"), (200, "ok\n"))
            client = self.client(host)
            os.rename(folder, folder + ".away")
            client.send("ADD_SERVICE name=\u009b1m")
            client.wait_for("push ")
            self.assertEqual(self.get(host, "/healthz"), (503, "the state is not saved\n"))
            os.rename(folder + ".away", folder)
            client.send("SEND_REQUEST_EVENT id=1")
            client.wait_for("push ")
            self.assertEqual(self.get(host, "/healthz"), (200, "ok\n"))
            status, output = host.end()
            self.assertEqual(manager.recv(100), b"STOPPING=1")
        self.assertEqual(status, 0)
        self.assertEqual([line.split(":")[0].split(" plugin")[0] for line in output.splitlines()],
                         ['! health state="failed', '! health state="ok"',
                          'log INFO "sent request event for'])
        self.assertIn("\\xC2\\x9B1m", output)

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

    def test_goes_on_at_the_limit_of_file_sizes(self):
        host = self.start()
        client, desk = self.client(host), self.client(host, role="desk")
        resource.prlimit(host.process.pid, resource.RLIMIT_FSIZE, (100, resource.RLIM_INFINITY))
        client.send("ADD_SERVICE name=Taxi")
        client.wait_for('! health state="failed: cannot write ')
        client.wait_for("push")
        self.assertIn('! health state="failed"', desk.catch_up(), "without the path")
        resource.prlimit(host.process.pid, resource.RLIMIT_FSIZE, (resource.RLIM_INFINITY,) * 2)
        client.send("REMOVE_SERVICE id=1")
        self.assertIn('state="ok"', client.wait_for("! health"))

    def test_limits_what_pages_add_to_the_state(self):
        host = self.start("--max-state", "2000")
        client = self.client(host)
        client.send(f"ADD_SERVICE name={'x' * 300}")
        self.assertRegex(client.wait_for("error"), "^error no room: the state has 17 of 2000 bytes")
        client.send("ADD_SERVICE name=Taxi")
        client.wait_for("push")
        host.process.stdin.write(f"ADD_SERVICE name={'x' * 3000}\n")
        host.process.stdin.flush()
        client.wait_for("push")
        client.send("ADD_SERVICE name=Valet")
        client.wait_for("error no room")
        for step in ("SEND_REQUEST_EVENT id=1", "REMOVE_SERVICE id=2", "ADD_SERVICE name=Valet"):
            client.send(step)
            client.wait_for("push")

    def test_lets_the_queries_of_guests_wait_for_their_long_answers_and_nobody_else(self):
        services = "".join(f'<guest_service id="{i}" name="{i}" description="{"x" * 50000}"/>'
                           for i in range(1, 101))
        with open(self.state, "w") as file:
            file.write(f"<guest_services>{services}</guest_services>")
        host = self.start()
        waiting, desk = self.client(host, role="guest"), self.client(host, role="desk")
        readers = [self.client(host, role="guest") for _ in range(2)]
        for reader in readers:
            reader.send("ui GET_ALL_SERVICES")
        waiting.send("ui GET_SERVICE_TYPES")
        desk.ask("GET_SERVICE_TYPES")
        waiting.settimeout(0.3)
        with self.assertRaises(websocket.WebSocketTimeoutException):
            waiting.wait_for("answer")
        for reader in readers:
            reader.wait_for("answer")
        waiting.settimeout(5)
        waiting.wait_for("answer")

    def test_goes_on_while_its_output_is_not_read(self):
        host = self.start(reads=False)
        client = self.client(host)
        value = "x" * 60000
        for i in range(40):
            client.send(f"ADD_SERVICE name={i} description={value}")
            client.wait_for("push")
        host.process.stdin.write("help\n" * 100 + "ADD_SERVICE name=last\n")
        host.process.stdin.flush()
        host.reader.start()
        client.wait_for("> ADD_SERVICE name=last")
        client.wait_for("push")
        host.process.stdin.close()
        host.reader.join()
        with host.process:
            self.assertEqual(host.process.wait(), 0, host.process.stderr.read())
        dropped = [int(line.split()[2]) for line in host.rest if line.startswith("! dropped")]
        kept = [line for line in host.rest if line.startswith(("> ADD", "bound", "push"))]
        self.assertEqual(len(dropped), 1)
        self.assertEqual(len(kept) + dropped[0], 3 * 41)
        self.assertEqual(sum(line.startswith("> help") for line in host.rest), 100)
        self.assertEqual(sum(line.startswith("REMOVE_SERVICE id=") for line in host.rest), 100)

    def test_serves_its_pages_when_the_reader_of_its_output_is_gone(self):
        host = self.start(reads=False)
        client = self.client(host)
        host.process.stdout.close()
        for name in ("one", "two"):
            client.send(f"ADD_SERVICE name={name}")
            client.wait_for("push")
        self.assertEqual(host.end(signal.SIGTERM)[0], 1)
        alone = subprocess.Popen([PROGRAM, "run", "--listen", "none"], stdin=subprocess.PIPE,
                                 stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        alone.stdout.close()
        alone.stdin.write("help\n")
        alone.stdin.flush()
        with alone:
            self.assertEqual(alone.wait(20), 1)
            self.assertEqual(alone.stderr.read(),
                             "error: cannot write to the standard output: Broken pipe\n")

    def test_keys(self):
        terminal = self.start_in_terminal()
        terminal.send("\x1b")  # the begin of a key
        time.sleep(0.2)
        terminal.kill(signal.SIGHUP)
        terminal.expect_exact("> reload\r\n")
        terminal.send("bADD_SERVICE name=wrong")
        terminal.expect_exact("wrong")
        terminal.sendintr()
        terminal.expect_exact("\r\x1b[J> ")
        terminal.send("ADD_SERVICE name=Caf\u00e9\x1b[200~\x1b[3~\x16 nmae=1\r")
        terminal.expect_exact('name="Caf\u00e9"')
        terminal.expect_exact("! ADD_SERVICE has no parameter nmae=; it has name= ")
        terminal.send("REMOVE_SERVICE id=1\r")
        terminal.expect_exact("push <service_removed>")
        terminal.send(r'ADD_SERVICE name="\xC2\x9B\xE2\x80\xAE"' + "\r")
        terminal.expect_exact(r'name="\xC2\x9B\xE2\x80\xAE" description')
        terminal.send("exit\r")
        terminal.expect(pexpect.EOF)
        self.assertEqual(terminal.wait(), 0)
        again = self.start_in_terminal()
        again.send("ADD\x12\r")  # searches the lines of the run before
        again.expect_exact("push <service_added>")
        history = os.path.join(os.path.dirname(self.state), "guest-services", "history")
        self.assertEqual(os.stat(history).st_mode & 0o777, 0o600)
        again.sendeof()
        again.expect_exact("> \r\n")
        again.expect(pexpect.EOF)

    @unittest.skipIf("/asan/" in PROGRAM, "keys typed before the slow program sets the terminal are lost")
    def test_edits_after_it_was_stopped(self):
        shell = self.start_in_terminal("/bin/bash", ["--norc", "-i"])
        shell.send(f"{PROGRAM} run --listen none\r")
        shell.expect_exact("ends the host")
        shell.expect_exact("> ")
        for text, back in (("xADD", "fg\r"), ("xREM", "bg\rfg\r")):
            shell.send(text)
            shell.expect_exact(text)
            shell.sendcontrol("z")
            shell.expect("Stopped.*\\$ ")
            shell.send(back)
            shell.expect_exact(f"> {text}")
            shell.send("\x01\x04\t\x15")  # Ctrl-A, Ctrl-D, tab, Ctrl-U
        shell.send("persist\r")
        shell.expect_exact("answer <guest_services/>")
        shell.sendintr()
        shell.expect_exact("$ ")

    @unittest.skipIf("/asan/" in PROGRAM, "the sanitizer needs address space")
    def test_reads_on_when_memory_has_run_out(self):
        host = self.start(reads=False)
        with open(f"/proc/{host.process.pid}/statm", encoding="ascii") as file:
            size = int(file.read().split()[0]) * os.sysconf("SC_PAGESIZE")
        resource.prlimit(host.process.pid, resource.RLIMIT_AS, (size, resource.RLIM_INFINITY))
        steps = f"ADD_SERVICE name={'x' * 800_000}\nGET_SERVICE id=9\nexit\n"
        writing = threading.Thread(target=lambda: print(steps, end="", file=host.process.stdin, flush=True))
        writing.start()
        self.assertEqual(host.process.stderr.readline(), "error: out of memory\n")
        unlimited = (resource.RLIM_INFINITY, resource.RLIM_INFINITY)
        resource.prlimit(host.process.pid, resource.RLIMIT_AS, unlimited)
        output = host.process.stdout.read()
        writing.join()
        self.assertTrue(output.endswith("\n> GET_SERVICE id=9\nanswer\n> exit\n"), output[-200:])

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
        terminal.wait()
        self.assertIsNone(terminal.signalstatus, "a signal ended it")


unittest.main()
