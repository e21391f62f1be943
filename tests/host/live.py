"""The live host as a process, and clients of its page's WebSocket."""

import os
import re
import signal
import subprocess
import threading
import xml.etree.ElementTree as xml

import websocket

# What receiving and sending raise when the connection has ended.
ENDED = (websocket.WebSocketConnectionClosedException, ConnectionError)


class Host:
    """A running host. `start_lines` is what it printed until its page could be opened.

    Its output is read from then on, unless `reads` is false.
    """

    def __init__(self, program, state=None, options=(), reads=True, environment=None,
                 port=0):
        kept = ["--state", state] if state else []
        self.process = subprocess.Popen(
            [program, "run", "--listen", f"127.0.0.1:{port}", *kept, *options],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE if not reads else None,
            text=True, encoding="utf-8", env={**os.environ, **(environment or {})})
        self.start_lines, self.rest = [], []
        page = None
        while not page:
            line = self.process.stdout.readline()
            if not line:
                raise RuntimeError("the host ended: " + "".join(self.start_lines))
            self.start_lines.append(line)
            page = re.match(r"! page http://.*:(\d+)/", line)
        self.port = int(page.group(1))
        self.reader = threading.Thread(target=lambda: self.rest.extend(self.process.stdout))
        if reads:
            self.reader.start()

    def end(self, how=signal.SIGTERM):
        """Ends it. Returns its exit status, and what it printed since its page could be opened."""
        self.process.send_signal(how)
        if self.reader.ident:
            self.reader.join()
        with self.process:
            return self.process.wait(), "".join(self.rest)


class Client(websocket.WebSocket):
    """A page's connection. Where the host refuses it, WebSocketBadStatusException is raised.

    The host may tell the time before any line; `time` is what it told last.
    """

    def __init__(self, port, role="installer", **options):
        self.unread = []
        super().__init__(skip_utf8_validation=True)  # it is slow, and decoding validates too
        self.connect(f"ws://127.0.0.1:{port}/ws/{role}", timeout=20, http_no_proxy=["127.0.0.1"], **options)

    def receive(self):
        """The next line but for the time. Raises one of ENDED when the connection ends."""
        while True:
            while not self.unread:
                message = self.recv()
                if not message:
                    raise websocket.WebSocketConnectionClosedException
                self.unread = message.split("\n")
            line = self.unread.pop(0)
            if not line.startswith("! clock "):
                return line
            self.time = int(line.split()[2])

    def wait_for(self, start):
        """Receives until a line begins so, and returns that."""
        while True:
            line = self.receive()
            if line.startswith(start):
                return line

    def receive_until(self, end):
        lines = [self.receive()]
        while lines[-1] != end:
            lines.append(self.receive())
        return lines

    def catch_up(self):
        """The lines up to now."""
        self.send("ui NOW")
        lines = self.receive_until("> ui NOW")
        assert self.receive().startswith("error ")
        return lines[:-1]

    def ask(self, request):
        self.send(f"ui {request}")
        self.wait_for(f"> ui {request}")
        return xml.fromstring(self.receive().split(" ", 1)[1])
