"""The live host as a process, and clients of its page's WebSocket."""

import base64
import os
import re
import signal
import socket
import struct
import subprocess
import threading
import xml.etree.ElementTree as xml


class Host:
    """A running host. `before` is what runs it: a tracer, for example."""

    def __init__(self, program, state=None, listen="127.0.0.1:0", before=(), options=(), **streams):
        listening = listen != "none"
        self.process = subprocess.Popen(
            [*before, program, "run", "--listen", listen, *(["--state", state] if state else []),
             *options],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, encoding="utf-8", **streams)
        self.start_lines = []
        self.port = None
        while listening and self.port is None:
            line = self.process.stdout.readline()
            if not line:
                raise RuntimeError("the host ended: " + "".join(self.start_lines))
            self.start_lines.append(line)
            page = re.match(r"! page http://.*:(\d+)/", line)
            if page:
                self.port = int(page.group(1))
        self.rest = ""
        self.reader = threading.Thread(target=self.read, daemon=True)
        self.reader.start()

    def read(self):
        with self.process.stdout as output:
            for line in output:
                self.rest += line

    def end(self, how=signal.SIGTERM):
        self.process.send_signal(how)
        status = self.process.wait()
        self.process.stdin.close()
        self.reader.join()
        return status, self.rest


class Client:
    """A WebSocket. `status` is 101 when the host let the client in, else `reason` says why not.

    The host may tell the time before any line; `time` is what it told last.
    """

    def __init__(self, port, path="/ws", **headers):
        self.socket = socket.create_connection(("127.0.0.1", port), timeout=20)
        self.socket.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        fields = {
            "Host": f"127.0.0.1:{port}", "Upgrade": "websocket", "Connection": "Upgrade",
            "Sec-WebSocket-Key": base64.b64encode(os.urandom(16)).decode(),
            "Sec-WebSocket-Version": "13", **headers}
        lines = [f"GET {path} HTTP/1.1", *(f"{name}: {value}" for name, value in fields.items())]
        self.socket.sendall("\r\n".join([*lines, "", ""]).encode())
        self.input = self.socket.makefile("rb")
        answer = self.input.readline()
        if not answer:
            raise EOFError
        self.status = int(answer.split()[1])
        while self.input.readline().strip():
            pass
        self.reason = self.input.read().decode() if self.status != 101 else ""

    def send(self, line, opcode=1):
        data = line if isinstance(line, bytes) else line.encode()
        size = len(data)
        head = bytes([0x80 | opcode])
        head += bytes([0x80 | size]) if size < 126 else (
            b"\xfe" + struct.pack(">H", size) if size < 65536 else b"\xff" + struct.pack(">Q", size))
        self.socket.sendall(head + bytes(4) + data)  # the mask may be any

    def receive(self):
        """The next line but for the time. Raises EOFError when the connection ends."""
        while True:
            head = self.input.read(2)
            if len(head) < 2:
                raise EOFError
            size = head[1] & 127
            if size > 125:
                size = int.from_bytes(self.input.read(2 if size == 126 else 8), "big")
            data = self.input.read(size)
            if len(data) < size or head[0] & 15 == 8:
                raise EOFError
            if head[0] & 15 == 9:
                self.send(data, opcode=10)
            elif data.startswith(b"! clock "):
                self.time = int(data.split()[2])
            else:
                return data.decode()

    def wait_for(self, start):
        """Receives until a line begins so, and returns that."""
        while True:
            line = self.receive()
            if line.startswith(start):
                return line

    def ask(self, request):
        self.send(f"ui {request}")
        self.wait_for(f"> ui {request}")
        return xml.fromstring(self.receive().split(" ", 1)[1])

    def close(self):
        self.input.close()
        self.socket.close()
