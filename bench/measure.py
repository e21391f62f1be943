#!/usr/bin/env python3
"""Usage: measure.py BENCHMARKS MEASURED.json

Runs the program BENCHMARKS, which writes MEASURED.json, and adds to the "context" there what else
the machine did meanwhile: "steal", the share of the time that the hypervisor gave to others, and
"others", the processor time of other programs in cores.
"""

import json
import os
import resource
import subprocess
import sys
import time


def processor_times():
    """Seconds since boot, summed over the cores: busy and stolen."""
    with open("/proc/stat", encoding="ascii") as file:
        user, nice, system, _, _, irq, softirq, steal = map(int, file.readline().split()[1:9])
    ticks = os.sysconf("SC_CLK_TCK")
    return (user + nice + system + irq + softirq) / ticks, steal / ticks


def main():
    program, path = sys.argv[1:]
    busy, stolen, began = *processor_times(), time.monotonic()
    subprocess.run([program, "--benchmark_repetitions=60", "--benchmark_min_time=0.02",
                    "--benchmark_enable_random_interleaving=true", f"--benchmark_out={path}"],
                   stdout=subprocess.DEVNULL, check=True)
    elapsed = time.monotonic() - began
    busy_after, stolen_after = processor_times()
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    with open(path, encoding="utf-8") as file:
        data = json.load(file)
    data["context"]["steal"] = (stolen_after - stolen) / elapsed / os.cpu_count()
    data["context"]["others"] = (busy_after - busy - usage.ru_utime - usage.ru_stime) / elapsed
    with open(path, "w", encoding="utf-8") as file:
        json.dump(data, file)


if __name__ == "__main__":
    main()
