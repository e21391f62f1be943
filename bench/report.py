#!/usr/bin/env python3
"""Usage: report.py MEASURED.json COMPILER PLUGIN_SIZE ARM_HEAP LIBRARIES DOCUMENT

Prints the measured figures beside the goals and writes them into DOCUMENT between its two marks.
MEASURED.json is the output of measure.py. PLUGIN_SIZE is the size of the stripped 32-bit plug-in
and ARM_HEAP its heap for a service, in bytes; "" when it was not built. The exit status is 1 if a
goal that must be reached is missed, and 3 if the machine was not quiet; DOCUMENT is not written
then.
"""

import json
import re
import statistics
import sys
from collections import defaultdict, namedtuple

Goal = namedtuple("Goal", "case figure unit must aim")
SIZES = (100, 1000)
NOT_QUIET = 3  # the exit status
NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6}
MARKS = ("<!-- measured -->\n", "<!-- end of what was measured -->")


class Measured:
    def __init__(self, path):
        with open(path, encoding="utf-8") as file:
            data = json.load(file)
        failed = [run["name"] for run in data["benchmarks"] if run.get("error_occurred")]
        if failed or not data["benchmarks"]:
            sys.exit(f"{path}: nothing measured, or failed: {failed}")
        self.context = data["context"]
        self.runs = defaultdict(list)  # by CASE/WHO/SIZE: the repetitions
        for run in data["benchmarks"]:
            if run["run_type"] == "iteration":
                self.runs["/".join(run["name"].split("/")[:3])].append(run)

    def undisturbed(self, name):
        """CPU times in nanoseconds of the fastest quarter of the repetitions of CASE/WHO/SIZE."""
        times = sorted(run["cpu_time"] * NANOSECONDS[run["time_unit"]] for run in self.runs[name])
        return times[:len(times) // 4]

    def time(self, case, who, size):
        """CPU time in nanoseconds."""
        return statistics.median(self.undisturbed(f"{case}/{who}/{size}"))

    def spread(self):
        """The median, over the cases, of the coefficient of variation of the fastest quarter."""
        quarters = [self.undisturbed(name) for name in self.runs if not name.startswith("heap/")]
        return statistics.median(statistics.stdev(times) / statistics.mean(times) for times in quarters)

    def ratio(self, case, peer, size):
        return self.time(case, "agent", size) / self.time(case, peer, size)

    def slope(self, case, who):
        return self.time(case, who, 1000) - self.time(case, who, 100)

    def constant(self, size):
        """What one command costs above the walk, in microseconds."""
        return (self.time("request", "agent", size) - self.time("request", "walk", size)) / 2e3

    def noise(self):
        """What disturbed the run: a figure and its limit each, in percent."""
        return {
            "processor time of other programs, of one core": (100 * self.context["others"], 10),
            "time stolen by the hypervisor": (100 * self.context["steal"], 1),
            "spread of the fastest quarter of the repetitions": (100 * self.spread(), 5),
        }

    def sizes(self, case, who):
        return sorted(int(name.split("/")[2]) for name in self.runs if name.startswith(f"{case}/{who}/"))


def goals_of(measured, plugin_size, arm_heap):
    for size in SIZES:
        case = f"reply, {size} services, to "
        yield Goal(case + "pugixml", measured.ratio("reply", "pugixml", size), "×", 1.0, None)
        yield Goal(case + "RapidXML", measured.ratio("reply", "rapidxml", size), "×", None, 1.0)
        yield Goal(case + "string append", measured.ratio("reply", "append", size), "×", None, 1.5)
    for size in SIZES:
        case = f"start, {size} services, to a bare parse by "
        yield Goal(case + "tinyxml2", measured.ratio("start", "tinyxml2", size), "×", 1.0, None)
        yield Goal(case + "pugixml", measured.ratio("start", "pugixml", size), "×", None, 4.0)
    walk = measured.slope("request", "agent") / measured.slope("request", "walk")
    yield Goal("request, growth with the list to that of a bare walk", walk, "×", 1.1, None)
    for size in SIZES:
        case = f"request or cancel, {size} services, above the walk"
        yield Goal(case, measured.constant(size), "µs", None, 1.0)
    for size in measured.sizes("sweep", "agent"):
        case = f"sweep, {size} services, to a bare loop"
        yield Goal(case, measured.ratio("sweep", "loop", size), "×", 1.5, 1.1)
    for case in ("reply", "start", "request", "sweep"):
        for size in SIZES:
            growth = measured.time(case, "agent", 10 * size) / measured.time(case, "agent", size)
            yield Goal(f"growth of {case}, {size} to {10 * size} services", growth, "×", 12, None)
    heap = measured.runs["heap/agent/1000"][0]
    yield Goal("heap for a service, x86-64", heap["bytes"], "bytes", 256, 192)
    if arm_heap:
        yield Goal("heap for a service, armhf", int(arm_heap), "bytes", 256, 192)
    yield Goal("load to running, 100 services", measured.time("load", "agent", 100) / 1e6, "ms", None, 5)
    if plugin_size:
        yield Goal("plug-in, stripped, armhf", int(plugin_size) / 1024, "KiB", 200, 100)


def is_missed(figure, limit):
    return limit is not None and figure > limit


def goal_table(goals):
    yield "| Case | Measured | Must reach | Aim | |"
    yield "|---|--:|--:|--:|---|"
    for case, figure, unit, must, aim in goals:
        limits = ["" if limit is None else f"≤ {limit:g}" for limit in (must, aim)]
        verdict = "**missed**" if is_missed(figure, must) else "aim missed" if is_missed(figure, aim) else "met"
        yield f"| {case} | {figure:.3g} {unit} | {limits[0]} | {limits[1]} | {verdict} |"


def time_table(measured):
    yield "| Case | By | 100 | 1,000 | 10,000 | 100,000 |"
    yield "|---|---|--:|--:|--:|--:|"
    for case, who in sorted({tuple(name.split("/")[:2]) for name in measured.runs}):
        if case in ("heap", "load"):
            continue
        sizes = measured.sizes(case, who)
        cells = [f"{measured.time(case, who, size) / 1e3:,.2f}" if size in sizes else ""
                 for size in (100, 1000, 10000, 100000)]
        yield f"| {case} | {who} | {' | '.join(cells)} |"


def machine_text(measured, compiler, libraries):
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        model = re.search(r"model name\s*: (.*)", file.read())
    context = measured.context
    return (f"Machine: {model[1] if model else 'unknown'}, {context['num_cpus']} cores at "
            f"{context['mhz_per_cpu']} MHz, {context['date'][:10]}. Compiler: {compiler}, release mode. "
            f"Libraries: {libraries}.")


def noise_text(noise):
    return "; ".join(f"{what}: {figure:.1f} % (limit {limit} %)" for what, (figure, limit) in noise.items())


def main():
    path, compiler, plugin_size, arm_heap, libraries, document = sys.argv[1:]
    measured = Measured(path)
    goals = list(goals_of(measured, plugin_size, arm_heap))
    noise = measured.noise()
    fields = measured.runs["heap/agent/1000"][0]["texts_and_fields"]
    size_note = "" if plugin_size else " The 32-bit plug-in was not built: its figures are missing."
    lines = [machine_text(measured, compiler, libraries), "",
             f"Other load during the run: {noise_text(noise)}.", "", *goal_table(goals), "",
             f"The texts and fields of a service are {fields:.0f} bytes on x86-64.{size_note}", "",
             "Microseconds, by the number of services:", "", *time_table(measured), ""]
    print("\n".join(lines))
    if any(figure > limit for figure, limit in noise.values()):
        print("the machine was not quiet: " + noise_text(noise), file=sys.stderr)
        sys.exit(NOT_QUIET)
    with open(document, encoding="utf-8") as file:
        before, rest = file.read().split(MARKS[0])
    after = rest.split(MARKS[1])[1]
    with open(document, "w", encoding="utf-8") as file:
        file.write(before + MARKS[0] + "\n" + "\n".join(lines) + "\n" + MARKS[1] + after)
    missed = [goal.case for goal in goals if is_missed(goal.figure, goal.must)]
    if missed:
        sys.exit("missed: " + "; ".join(missed))


if __name__ == "__main__":
    main()
