#!/usr/bin/python3
"""Keeps the live host busy: live_soak.py HOST [SECONDS [CLIENTS]]

CLIENTS (20) add, request, cancel, reorder and remove services for SECONDS (600), and drop their
connections now and then. Each keeps a list of its own, as a page does: the list that it gets when
it connects, and every push since. In the end all lists must be the host's, and its memory and
descriptors must not have grown. Prints how long a command takes to its push, under this load and
without it.
"""

import concurrent.futures
import os
import random
import re
import statistics
import sys
import tempfile
import time
import xml.etree.ElementTree as xml

from live import Client, Host

MOST_SERVICES = 40
MOST_MEMORY = 20 << 10  # KiB


def ask_for_states(client):
    return [(entry.get("id"), entry.get("state")) for entry in client.ask("GET_ALL_SERVICES")]


class Page:
    def __init__(self, port):
        self.port = port
        self.times, self.changes, self.connections = [], 0, 0
        self.connect()

    def connect(self):
        self.client = Client(self.port)
        self.connections += 1
        self.client.wait_for("! replay-end")
        self.services = dict(ask_for_states(self.client))

    def receive(self):
        line = self.client.receive()
        if line.startswith("push "):
            self.follow(xml.fromstring(line[len("push "):]))
        return line

    def receive_until(self, start):
        while not self.receive().startswith(start):
            pass

    def follow(self, push):
        """Does to its list what the host says happened to the host's."""
        number = push.findtext("id")
        if push.tag == "service_added":
            self.services[push[0].get("id")] = "0"
        elif push.tag == "service_removed":
            del self.services[number]
        elif push.tag == "services_reordered":
            order = push.findtext("order").split(",")
            self.services = {number: self.services[number] for number in order}
        elif push.tag.startswith("service_state_"):
            self.services[number] = "1" if push.tag == "service_state_requested" else "0"

    def choose(self):
        if len(self.services) < 5 or (len(self.services) < MOST_SERVICES and random.random() < .2):
            return "ADD_SERVICE name=Towels delay=0"
        number, state = random.choice(list(self.services.items()))
        kind = random.randrange(8)
        if kind == 0 and len(self.services) > 10:
            return f"REMOVE_SERVICE id={number}"
        if kind == 1:
            order = random.sample(list(self.services), len(self.services))
            return f"REORDER_SERVICES order={','.join(order)}"
        return f"SEND_{'CANCEL' if state == '1' else 'REQUEST'}_EVENT id={number}"

    def command(self, step):
        begin = time.perf_counter()
        self.client.send(step)
        self.client.send("ui GET_SERVICE_TYPES")
        self.receive_until("> " + step)
        # What others did first may have left it nothing to do: then another step comes next.
        line = self.receive()
        while re.match(r"bound|log|fire", line):
            line = self.receive()
        if line.startswith("push"):
            self.times.append(time.perf_counter() - begin)
        if not line.startswith("answer <service_types>"):
            self.receive_until("answer <service_types>")
        self.changes += 1

    def keep_busy(self, until):
        while time.monotonic() < until:
            self.command(self.choose())
            if random.random() < 0.005:
                self.client.shutdown()
                self.connect()


def measure(pid):
    with open(f"/proc/{pid}/status", encoding="ascii") as file:
        memory = int(re.search(r"VmRSS:\s+(\d+)", file.read()).group(1))
    return memory, len(os.listdir(f"/proc/{pid}/fd"))


def say(name, times):
    cuts = statistics.quantiles(times, n=100)
    print(f"{name}: median {cuts[49] * 1000:.2f} ms, 99th percentile {cuts[98] * 1000:.2f} ms "
          f"of {len(times)}")


def soak(host, seconds, count):
    at_rest = measure(host.process.pid)[1]
    pages = [Page(host.port) for _ in range(count)]
    until = time.monotonic() + seconds
    memory = []
    with concurrent.futures.ThreadPoolExecutor(count) as pool:
        busy = [pool.submit(page.keep_busy, until) for page in pages]
        for _ in range(60):
            time.sleep(seconds / 60)
            now, descriptors = measure(host.process.pid)
            memory.append(now)
            assert descriptors <= at_rest + 2 * count, descriptors
        for each in busy:
            each.result()
    last = Client(host.port)
    truth = ask_for_states(last)
    last.send("ADD_SERVICE name=last")
    for page in pages:
        page.receive_until("> ADD_SERVICE name=last")
        assert list(page.services.items()) == truth, (page.services, truth)
        page.client.shutdown()
    last.shutdown()
    time.sleep(1)
    assert measure(host.process.pid)[1] == at_rest
    middle, end = max(memory[20:40]), max(memory[40:])
    assert end < MOST_MEMORY, memory
    if seconds >= 120:  # by the middle the record of the session, too, has been filled once
        assert end < middle * 1.02 + 512, memory
    print(f"{sum(page.changes for page in pages)} commands of {count} clients over "
          f"{sum(page.connections for page in pages)} connections in {seconds} s; memory {middle} "
          f"KiB in the middle, {end} KiB at the end; {at_rest} descriptors at rest")
    say("command to push, under load", [one for page in pages for one in page.times])


def time_alone(host, name):
    page = Page(host.port)
    page.command("ADD_SERVICE name=Towels")
    for i in range(500):
        page.command(f"SEND_{'CANCEL' if i % 2 else 'REQUEST'}_EVENT id={min(page.services)}")
    page.client.shutdown()
    say("command to push, " + name, page.times)


def main():
    program = sys.argv[1]
    seconds = float(sys.argv[2]) if len(sys.argv) > 2 else 600
    count = int(sys.argv[3]) if len(sys.argv) > 3 else 20
    with tempfile.TemporaryDirectory() as folder:
        for state in (os.path.join(folder, "state.xml"), None):
            host = Host(program, state)
            if state:
                soak(host, seconds, count)
            time_alone(host, "one client" + ("" if state else ", without a state file"))
            assert host.end()[0] == 0


main()
