#!/usr/bin/python3
"""Keeps the live host busy: live_soak.py HOST SECONDS CLIENTS

The clients add, request, cancel, reorder and remove services, and drop their connections now and
then. Each keeps a list as a page does: what it gets when it connects, and every push since.
"""

import concurrent.futures
import pathlib
import random
import re
import statistics
import sys
import tempfile
import time
import xml.etree.ElementTree as xml

from live import Client, Host

MOST_MEMORY = 20 << 10  # KiB


class Page(Client):
    services = None

    def __init__(self, port):
        super().__init__(port)
        self.wait_for("! replay-end")
        self.services = {one.get("id"): one.get("state") for one in self.ask("GET_ALL_SERVICES")}

    def receive(self):
        line = super().receive()
        if self.services is not None and line.startswith("push "):
            self.follow(xml.fromstring(line[len("push "):]))
        return line

    def follow(self, push):
        """Does to its list what the host says happened to the host's."""
        number, order = push.findtext("id"), push.findtext("order")
        if push.tag == "service_added":
            self.services[push[0].get("id")] = "0"
        elif push.tag == "service_removed":
            del self.services[number]
        elif push.tag == "services_reordered":
            self.services = {number: self.services[number] for number in order.split(",")}
        else:
            self.services[number] = "1" if push.tag == "service_state_requested" else "0"

    def choose(self):
        ids, kind = list(self.services), random.randrange(8)
        if len(ids) < random.choice((5, 5, 5, 5, 40)):
            return "ADD_SERVICE name=Towels delay=0"
        if kind == 0 and len(ids) > 10:
            return f"REMOVE_SERVICE id={random.choice(ids)}"
        if kind == 1:
            return f"REORDER_SERVICES order={','.join(random.sample(ids, len(ids)))}"
        number = random.choice(ids)
        return f"SEND_{'CANCEL' if self.services[number] == '1' else 'REQUEST'}_EVENT id={number}"


def keep_busy(port, until, times):
    page = Page(port)
    while time.monotonic() < until:
        step, begin = page.choose(), time.perf_counter()
        page.send(step)
        page.send("ui GET_SERVICE_TYPES")
        page.wait_for("> " + step)
        # What others did first may have left it nothing to do: then another step comes next.
        if page.wait_for(("push ", "> ")).startswith("push "):
            times.append(time.perf_counter() - begin)
        if random.random() < 0.005:
            page.shutdown()
            page = Page(port)
    return page


def soak(host, seconds, count):
    process, memory, times = pathlib.Path("/proc", str(host.process.pid)), [], []
    at_rest = len(list((process / "fd").iterdir()))
    with concurrent.futures.ThreadPoolExecutor(count) as pool:
        until = time.monotonic() + seconds
        busy = [pool.submit(keep_busy, host.port, until, times) for _ in range(count)]
        for _ in range(60):
            time.sleep(seconds / 60)
            memory += map(int, re.findall(r"VmRSS:\s+(\d+)", (process / "status").read_text()))
        pages = [each.result() for each in busy]
    last = Page(host.port)
    last.send("ADD_SERVICE name=last")
    for page in pages:
        page.wait_for("> ADD_SERVICE name=last")
        assert list(page.services.items()) == list(last.services.items())
        page.shutdown()
    last.shutdown()
    time.sleep(1)
    assert len(list((process / "fd").iterdir())) == at_rest
    middle, end = max(memory[20:40]), max(memory[40:])
    assert end < MOST_MEMORY, memory
    if seconds >= 120:  # by the middle the record of the session, too, has been filled once
        assert end < middle * 1.02 + 512, memory
    cuts = statistics.quantiles(times, n=100)
    print(f"{len(times)} commands to their pushes: median {cuts[49] * 1000:.2f} ms, 99th "
          f"percentile {cuts[98] * 1000:.2f} ms; memory {middle} KiB, {end} KiB at the end")


with tempfile.TemporaryDirectory() as folder:
    live = Host(sys.argv[1], pathlib.Path(folder, "state.xml"))
    soak(live, *map(int, sys.argv[2:]))
    assert live.end()[0] == 0
