#!/usr/bin/python3
"""Tortures the saving of the live host: live_saves.py HOST KILLS

Kills the host at each system call of a save in turn, and lets each of them fail in turn, once and
from then on, with EIO and with ENOSPC: the file must hold the old state or the new one, the new
one once the change was told, and the latest once a save worked again. Then kills it KILLS times
at random moments while clients change the list: after the next start, every change that a
client heard of must be there.
"""

import pathlib
import random
import re
import signal
import subprocess
import sys
import tempfile
import threading
import time
import uuid

from live import ENDED, Client, Host

OLD = ["older", "old"]
NEW = [*OLD, "new"]
LATER = [*NEW, "later"]


def names_in(path):
    return re.findall(r' name="(.*?)"', path.read_text(encoding="utf-8"))


class SaveTorture:
    def __init__(self, program, folder):
        self.program = program
        self.folder, self.state = folder, folder / "state.xml"
        self.backup = folder / "state.xml.backup"

    def run(self, steps, *inject):
        """Carries out steps under a tracer. Returns the calls traced, in order, and the output."""
        trace = self.folder / "trace"
        saved = [f"{path}{end}" for path in (self.state, self.backup) for end in ("", ".new")]
        saved.append(f"{self.state}.lock")
        tracer = ["strace", "-f", "-qq", "-o", trace, *(f"--inject={fault}" for fault in inject),
                  *(f"--trace-path={path}" for path in (self.folder, *saved))]
        output = subprocess.run(
            [*tracer, self.program, "run", "--listen", "none", "--state", self.state],
            input="".join(step + "\n" for step in steps), text=True, stdout=subprocess.PIPE,
            check=False).stdout
        calls = trace.read_text(encoding="utf-8")
        return re.findall(r"^\d+ +(\w+)\((.*)", calls, re.M), output

    def prepare(self):
        for file in self.folder.iterdir():
            file.unlink()
        for path, names in ((self.state, OLD), (self.backup, OLD[:1])):
            entries = [f'<guest_service id="{i}" name="{name}"/>' for i, name in enumerate(names, 1)]
            path.write_text(f"<guest_services>{''.join(entries)}</guest_services>")

    def torture(self, steps, fault, allowed):
        self.prepare()
        _, output = self.run(steps, fault)
        held = names_in(self.state)
        assert held in allowed, (fault, held)
        assert names_in(self.backup) in (OLD[:1], OLD, NEW), fault
        was_told, has_failed = "push <service_added>" in output, 'state="failed' in output
        assert held != OLD or not was_told or has_failed, (fault, output)
        _, output = self.run(["persist"])
        assert "notice" not in output and f'name="{held[-1]}"' in output, (fault, output)

    def save_without(self, steps):
        """Saves on file systems that lack a call, and sets a damaged file aside."""
        lacks = ("link:error=EPERM", "link:error=EOPNOTSUPP", "renameat2:error=EINVAL",
                 "fsync:error=EINVAL", "flock:error=ENOLCK")
        for lack in (*((one,) for one in lacks), lacks):
            self.prepare()
            self.state.write_text("torn <gue")
            _, output = self.run(steps, *lack)
            assert 'state="failed' not in output, (lack, output)
            assert ("cannot be locked" in output) == ("flock:error=ENOLCK" in lack), (lack, output)
            assert names_in(self.state) == [*OLD[:1], *LATER[2:]], lack
            assert names_in(self.backup) == [*OLD[:1], *NEW[2:]], lack
            aside, = self.folder.glob("state.xml.unreadable-*")
            assert aside.read_text() == "torn <gue", lack

    def run_all(self):
        steps = [f"ADD_SERVICE name={name}" for name in LATER[2:]]
        self.prepare()
        calls, _ = self.run(steps[:1])
        names = [name for name, _ in calls]
        first = names.index("unlink")  # before it the host starts
        save = names[first:]
        # What a loss of power leaves depends on this order.
        flushes = [i for i, name in enumerate(save) if name == "fsync"]
        renames = [i for i, name in enumerate(save) if name == "rename"]
        assert flushes[0] < renames[0] < renames[-1] < flushes[-1], save
        for i, name in enumerate(save, first):
            when = f"when={names[: i + 1].count(name)}"
            self.torture(steps[:1], f"{name}:signal=KILL:{when}", [OLD, NEW])
            for error in ("EIO", "ENOSPC"):
                self.torture(steps[:1], f"{name}:error={error}:{when}+", [OLD, NEW])
                self.torture(steps, f"{name}:error={error}:{when}", [LATER])
        self.save_without(steps)
        print(f"{len(save)} system calls of a save: the host killed and the call failed at each")


class Load(threading.Thread):
    """Adds and removes services until the host is gone, and knows what it heard of."""

    def __init__(self, port):
        super().__init__()
        self.present, self.absent, self.unsure = {}, set(), None
        self.port = port
        self.start()

    def run(self):
        try:
            client = Client(self.port)
            while True:
                if len(self.present) < 4:
                    self.unsure = name = uuid.uuid4().hex
                    client.send(f"ADD_SERVICE name={name}")
                    client.wait_for(f"> ADD_SERVICE name={name}")
                    push = client.wait_for("push <service_added>")
                    self.present[name] = re.search(r' id="(\d+)"', push).group(1)
                else:
                    self.unsure = name = next(iter(self.present))
                    number = self.present.pop(name)
                    client.send(f"REMOVE_SERVICE id={number}")
                    client.wait_for(f"push <service_removed><id>{number}</id>")
                    self.absent.add(name)
                self.unsure = None
        except ENDED:
            pass


def kill_at_random(program, state, kills):
    loads, heard = [], 0
    for kill in range(kills + 1):
        host = Host(program, state)
        assert not any("notice" in line for line in host.start_lines), host.start_lines
        asker = Client(host.port)
        there = {entry.get("name") for entry in asker.ask("GET_ALL_SERVICES")}
        for load in loads:
            assert load.present.keys() <= there | {load.unsure}, (kill, load.present, there)
            assert not load.absent & there, (kill, load.absent, there)
            heard += len(load.present) + len(load.absent)
        loads = [Load(host.port) for _ in range(3)]
        time.sleep(random.random() * 0.3)
        host.end(signal.SIGKILL)
        asker.shutdown()
        for load in loads:
            load.join()
    print(f"{kills} kills at random moments: {heard} changes heard of were all there")


with tempfile.TemporaryDirectory() as torture, tempfile.TemporaryDirectory() as random_kills:
    SaveTorture(sys.argv[1], pathlib.Path(torture)).run_all()
    kill_at_random(sys.argv[1], pathlib.Path(random_kills, "state.xml"), int(sys.argv[2]))
