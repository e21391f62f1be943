"""Measures many rooms at one broker: fleet.py HOST BRIDGE FLEET SAMPLE ROOMS...

For each number of rooms: up to 50 hosts with their bridges, and one program with the rest. Prints a
table for docs/scale.md.
"""

import os
import re
import shutil
import signal
import socket
import statistics
import subprocess
import sys
import tempfile
import time

import websocket

HOST, BRIDGE, FLEET, SAMPLE = sys.argv[1:5]
REAL = 50
SERVICES, SIMULATED_SERVICES = 5, 9  # of a room
TICKS = os.sysconf("SC_CLK_TCK")


def find_port():
    with socket.create_server(("127.0.0.1", 0)) as server:
        return server.getsockname()[1]


class Process:
    def __init__(self, folder, name, *command):
        self.log = open(os.path.join(folder, name + ".log"), "a")
        self.process = subprocess.Popen(command, cwd=folder, stdin=subprocess.DEVNULL, stdout=self.log,
                                        stderr=subprocess.STDOUT)

    def get_memory(self):
        """Its proportional set size, in MB."""
        with open(f"/proc/{self.process.pid}/smaps_rollup") as file:
            return int(re.search(r"^Pss: +(\d+)", file.read(), re.M).group(1)) / 1000

    def get_cpu(self):
        """Its seconds of CPU."""
        with open(f"/proc/{self.process.pid}/stat") as file:
            fields = file.read().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / TICKS

    def end(self, how=signal.SIGTERM):
        self.process.send_signal(how)
        self.process.wait()
        self.log.close()


class Fleet:
    def __init__(self, folder, rooms):
        self.folder, self.rooms, self.real = folder, rooms, min(REAL, rooms)
        self.port = find_port()
        with open(os.path.join(folder, "conf"), "w") as file:
            file.write(f"listener {self.port} 127.0.0.1\nallow_anonymous true\nset_tcp_nodelay true\n"
                       "max_queued_messages 100000\n")
        self.hosts, self.bridges, self.host_ports = [], [], []
        for number in range(1, self.real + 1):
            state = os.path.join(folder, f"{number}.xml")
            shutil.copy(SAMPLE, state)
            port = find_port()
            self.host_ports.append(port)
            self.hosts.append(Process(folder, f"host{number}", HOST, "run", "--no-console", "--state",
                                      state, "--listen", f"127.0.0.1:{port}"))

    def probe(self, command, **options):
        words = [word for name, value in options.items() for word in ("--" + name, str(value))]
        return subprocess.run([FLEET, command, "--port", str(self.port), *words], check=True, text=True,
                              stdout=subprocess.PIPE).stdout.split()

    def start_broker(self):
        """Starts it, and returns when that was."""
        start = time.monotonic()
        self.broker = Process(self.folder, "broker", "mosquitto", "-c", "conf")
        while True:
            try:
                socket.create_connection(("127.0.0.1", self.port)).close()
                return start
            except ConnectionRefusedError:
                time.sleep(0.01)

    def start_rooms(self):
        for number, port in enumerate(self.host_ports, 1):
            self.bridges.append(Process(
                self.folder, f"bridge{number}", BRIDGE, "--site", "fleet", "--room", str(number), "--host",
                f"127.0.0.1:{port}", "--no-discovery", f"mqtt://127.0.0.1:{self.port}"))
        self.simulated = []
        if self.rooms > self.real:
            self.simulated = [Process(self.folder, "rooms", FLEET, "rooms", "--port", str(self.port),
                                      "--first", str(self.real + 1), "--count", str(self.rooms - self.real))]

    def wait(self):
        """Returns when all rooms are online, which each is after its states."""
        self.probe("wait", filter="gs/fleet/+/status", text="online", count=self.rooms)

    def recover(self, seconds):
        """Has the broker away for so long; returns how long all then took to be right again."""
        self.broker.end(signal.SIGKILL)
        time.sleep(seconds)
        start = self.start_broker()
        self.wait()
        end = time.monotonic()
        services = self.real * SERVICES + (self.rooms - self.real) * SIMULATED_SERVICES
        self.probe("wait", filter="gs/fleet/+/service/+", text='"open":false', count=services)
        return end - start

    def end(self):
        for process in [*self.simulated, *self.bridges, *self.hosts, self.broker]:
            process.end(signal.SIGKILL)


def measure_host(port):
    """From a request by WebSocket to its push, by the host alone: the median, in milliseconds."""
    page = websocket.create_connection(f"ws://127.0.0.1:{port}/ws/guest", http_no_proxy=["127.0.0.1"])
    times = []
    for _ in range(100):
        for step in "SEND_REQUEST_EVENT", "SEND_CANCEL_EVENT":
            start = time.monotonic()
            page.send(f"{step} id=1")
            while "push <service_state_" not in page.recv():
                pass
            times.append((time.monotonic() - start) * 1000)
    page.close()
    return statistics.median(times)


def measure(folder, rooms):
    fleet = Fleet(folder, rooms)
    fleet.start_broker()
    try:
        echo = fleet.probe("echo")
        time.sleep(1)
        start = time.monotonic()
        fleet.start_rooms()
        fleet.wait()
        up = time.monotonic() - start
        parts = [("broker", [fleet.broker]), ("bridge", fleet.bridges), ("host", fleet.hosts)]
        used = {name: sum(part.get_cpu() for part in some) / len(some) for name, some in parts}
        real = fleet.probe("commands", first=1, count=fleet.real)
        simulated = fleet.probe("commands", first=fleet.real + 1, count=rooms - fleet.real) \
            if rooms > fleet.real else ("–", "–")
        host = measure_host(fleet.host_ports[0])
        memory = {name: sum(part.get_memory() for part in some) / len(some) for name, some in parts}
        short, long = fleet.recover(5), fleet.recover(60)
        return [rooms, f"{up:.1f}", f"{echo[0]} / {echo[1]}", f"{real[0]} / {real[1]}",
                f"{simulated[0]} / {simulated[1]}", f"{host:.3f}", f"{short:.1f}", f"{long:.1f}",
                f"{memory['broker']:.1f}", f"{memory['bridge']:.1f}",
                f"{memory['host']:.1f}", f"{used['broker']:.2f}", f"{used['bridge']:.3f}"]
    finally:
        fleet.end()


ROWS = ("Rooms", "bring-up, s", "broker alone: message to itself, ms", "command to state, hosts with bridges, ms",
        "command to state, simulated rooms, ms", "host alone: request to push, ms",
        "right again after an outage of 5 s, s", "after one of 60 s, s",
        "broker, MB", "a bridge, MB", "a host, MB", "broker's CPU until all are up, s",
        "a bridge's CPU until then, s")

results = []
for count in map(int, sys.argv[5:]):
    with tempfile.TemporaryDirectory() as place:
        os.chmod(place, 0o755)
        results.append(measure(place, count))
    print(dict(zip(ROWS, results[-1])), file=sys.stderr)
print("| " + " | ".join([ROWS[0], *(f"{result[0]:,}" for result in results)]) + " |")
print("|" + "---|" * (len(results) + 1))
for row, name in enumerate(ROWS[1:], 1):
    print("| " + " | ".join([name, *(result[row] for result in results)]) + " |")
