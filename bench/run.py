#!/usr/bin/env python3
"""Measures a build against what an inventory cannot cost less than. scripts/bench calls it."""

import argparse
import json
import os
import pathlib
import platform
import tempfile

import counts
import labs
import report

LOAD_RUNS = 40
# By number of ports: the shorter a run, the more of it is chance. Quick ones are few.
ROUNDS = {1: 41, 8: 101, 32: 41, 256: 25}
QUICK_ROUNDS = {1: 5, 8: 5}
DELAY_MS = 20
DELAYED_PORTS = 8


def measure_walls(folder, build, options):
    """Wall times and peaks by number of ports, and those with a slow tool under "delayed"."""
    walls = {}
    for ports in options.rounds:
        print(f"measuring {ports} ports", flush=True)
        lab = labs.Lab(folder / f"ports{ports}", ports, build)
        walls[str(ports)] = lab.measure(options.rounds[ports], labs.inventory_cases(lab))
    print(f"measuring {DELAYED_PORTS} ports, {DELAY_MS} ms a call", flush=True)
    lab = labs.Lab(folder / "delayed", DELAYED_PORTS, build)
    lab.delay(DELAY_MS)
    walls["delayed"] = lab.measure(min(options.rounds.values()), labs.delayed_cases(lab))
    return walls


def count(folder, build, ports):
    """The exact costs of a cold and a warm inventory."""
    print(f"counting {ports} ports", flush=True)
    lab = labs.Lab(folder / f"counted{ports}", ports, build)
    places = lab.run, "/tmp", lab.folder / "root" / "tmp"
    cold = counts.trace(*places, labs.QDMCTL, "list")
    warm = counts.trace(*places, labs.QDMCTL, "list")
    warm["instructions"] = sum(counts.instructions(*places, labs.QDMCTL, "list").values())
    return {"cold": cold, "warm": warm}


def load_times(build):
    """Nanoseconds that loading takes, each time in a process of its own: the provider and a small
    library in turn."""
    program = build / "bench" / "bench_provider_load"
    libraries = {"provider": build / "lib" / "libqdmp_EMULEX_FC.so",
                 "small": build / "bench" / "libbench_plugin.so"}
    times = {name: [] for name in libraries}
    for _ in range(LOAD_RUNS):
        for name, library in libraries.items():
            times[name].append(int(labs.run(program, library)))
    return times


def provider_work(build):
    """Nanoseconds of the provider's own operations, by Google Benchmark."""
    text = labs.run(build / "bench" / "qdm_bench", "--benchmark_format=json",
                    "--benchmark_min_time=0.2")
    units = {"ns": 1, "us": 1e3, "ms": 1e6}
    return {one["name"]: one["cpu_time"] * units[one["time_unit"]]
            for one in json.loads(text)["benchmarks"]}


def machine():
    return {"cpus": os.cpu_count(), "kernel": platform.release(), "load": os.getloadavg()[0]}


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--quick", action="store_true",
                        help="few runs, 1 and 8 ports; the stored table is left alone")
    options = parser.parse_args()
    options.rounds = QUICK_ROUNDS if options.quick else ROUNDS
    build = options.build.resolve()
    with tempfile.TemporaryDirectory(prefix="qdm-bench-") as name:
        folder = pathlib.Path(name)
        result = {"machine": machine(), "rounds": options.rounds,
                  "walls": measure_walls(folder, build, options),
                  "counts": {str(ports): count(folder, build, ports) for ports in options.rounds},
                  "load_ns": load_times(build), "provider_ns": provider_work(build)}
    print(report.text(result))
    if not options.quick:
        report.store(result)


if __name__ == "__main__":
    main()
