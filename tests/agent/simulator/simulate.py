#!/usr/bin/env python3
"""Has the plug-in and a model of it carry out the same made-up steps.

The model writes scenarios with the lines that it expects, and the host replays them.
"""

import argparse
import functools
import multiprocessing
import os
import random
import re
import subprocess
import sys
import tempfile
import time

from generator import Generator
from model import Model

STREAM_LENGTH = 200  # short lists, and many of them
BATCH = 50  # streams that the host replays at once


def make_stream(seed, model):
    """Steps and the lines that must follow them."""
    generator = Generator(seed, model)
    stream = []
    for _ in range(STREAM_LENGTH):
        step = generator.next_step()
        stream.append((step, model.follow(step)))
    return stream


def to_scenario(stream, *lines):
    lines = [*lines]
    for step, expected in stream:
        lines += ["> " + step, *expected]
    return "".join(line + "\n" for line in lines)


class Simulation:
    """Compares the plug-in, which `host`, a command, loads, with models that `make_model` makes.

    Needs a folder for its files.
    """

    def __init__(self, host, folder, make_model=Model):
        self.host, self.folder, self.make_model = host, folder, make_model

    def replay(self, scenarios):
        """Whether what the scenarios expect is what happens."""
        files = [os.path.join(self.folder, f"{i}.txt") for i in range(len(scenarios))]
        for path, scenario in zip(files, scenarios):
            with open(path, "w", encoding="utf-8") as file:
                file.write(scenario)
        result = subprocess.run([*self.host, "replay", *files], stdout=subprocess.PIPE,
                                stderr=subprocess.STDOUT, check=False)
        passed = f"{len(files)} passed, 0 failed\n".encode()
        return result.returncode == 0 and result.stdout == passed

    def run(self, seeds):
        """Runs a stream of each seed. Returns the seed of one that differs, or None, and the number
        of lines that were compared."""
        scenarios, lines = [], 0
        for seed in seeds:
            stream = make_stream(seed, self.make_model())
            scenarios.append(to_scenario(stream))
            lines += sum(len(expected) for _, expected in stream)
        if self.replay(scenarios):
            return None, lines
        differs = [seed for seed, scenario in zip(seeds, scenarios) if not self.replay([scenario])]
        return (differs or seeds)[0], lines

    def follow(self, steps):
        model = self.make_model()
        return [(step, model.follow(step)) for step in steps]

    def differs(self, steps):
        return bool(steps) and not self.replay([to_scenario(self.follow(steps))])

    def shrink(self, seed):
        """The steps of that seed's stream without those that the difference does not need."""
        steps = [step for step, _ in make_stream(seed, self.make_model())]
        size = len(steps) // 2
        while size:  # large pieces first, then smaller ones; single steps until none can go
            before, at = len(steps), 0
            while at < len(steps):
                rest = self.without(steps, at, size)
                steps, at = (rest, at) if rest else (steps, at + size)
            if size > 1 or len(steps) == before:
                size //= 2
        return steps

    def without(self, steps, at, count):
        """Takes steps out, if the difference stays; later ids may have to become lower by that."""
        gone = sum(step.startswith("ADD_SERVICE") for step in steps[at:at + count])
        rest = steps[at + count:]
        for tail in (rest, [lower_ids(step, gone) for step in rest]):
            if self.differs(steps[:at] + tail):
                return steps[:at] + tail
        return None


def lower_ids(step, by):
    def lower(match):
        number = int(match.group(2))
        return match.group(1) + str(number - by if number > by else number)
    return re.sub(r'( id=[\\"]*)([0-9]+)', lower, step)


def run_batch(options, first_seed):
    with tempfile.TemporaryDirectory() as folder:
        return Simulation(options.host, folder).run(range(first_seed, first_seed + BATCH))


def report(options, seed):
    with tempfile.TemporaryDirectory() as folder:
        simulation = Simulation(options.host, folder)
        steps = simulation.shrink(seed)
        scenario = to_scenario(simulation.follow(steps), f"# Seed {seed}, shrunk.")
    with open(options.file, "w", encoding="utf-8") as file:
        file.write(scenario)
    print(f"a difference; {STREAM_LENGTH} steps of seed {seed} are shrunk to {len(steps)}:")
    print("".join(f"> {step}\n" for step in steps) + f"to see it: replay {options.file}")


def read_options():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("host", nargs="+", metavar="HOST", help="the host program's command")
    parser.add_argument("--seed", type=int, default=random.randrange(2**32))
    parser.add_argument("--steps", type=int, default=sys.maxsize, help="how many, about")
    parser.add_argument("--seconds", type=float, default=3600, help="how long to go on at most")
    parser.add_argument("--file", default="simulation.txt", help="for a scenario that differs")
    return parser.parse_args()


def main():
    options = read_options()
    print("seed", options.seed, flush=True)
    begin = time.monotonic()
    seeds = range(options.seed, options.seed + options.steps // STREAM_LENGTH, BATCH)
    workers, lines, at = os.cpu_count(), 0, 0
    with multiprocessing.Pool(workers) as pool:
        while at < len(seeds) and time.monotonic() < begin + options.seconds:
            batches = seeds[at:at + workers]
            at += len(batches)
            for found, count in pool.map(functools.partial(run_batch, options), batches):
                if found is not None:
                    report(options, found)
                    return 1
                lines += count
    steps = at * BATCH * STREAM_LENGTH
    print(f"{steps} steps and {lines} lines were as expected, "
          f"{steps / (time.monotonic() - begin):.0f} steps a second")
    return 0


if __name__ == "__main__":
    sys.exit(main())
