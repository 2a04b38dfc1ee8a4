"""Turns what was measured into tables, and keeps the last one in docs/performance.*."""

import json
import pathlib
import statistics

DOCS = pathlib.Path(__file__).resolve().parents[1] / "docs"
BEGIN, END = "<!-- measured: begin -->\n", "<!-- measured: end -->\n"
CASES = {"bare": "bare sum of the tool calls", "shells": "the same calls by shell lines",
         "cold": "`qdmctl list`, cold", "cold4": "`qdmctl list --jobs 4`, cold",
         "warm": "`qdmctl list`, warm",
         "script": "administrator's script", "floor": "program with a plug-in",
         "least": "the provider's part, warm",
         "leastworker": "the same in a worker process"}


def quartiles(values):
    low, middle, high = statistics.quantiles(values, n=4, method="inclusive")
    return low, middle, high


def ratio(group, one, other):
    """Ratio of medians, with the quartiles of the ratios of the pairs; None for what was not
    measured."""
    if group is None or one not in group or other not in group:
        return None
    above, below = group[one]["ns"], group[other]["ns"]
    low, _, high = quartiles([a / b for a, b in zip(above, below)])
    return statistics.median(above) / statistics.median(below), f"{low:.3f} to {high:.3f}"


def growth(walls, case):
    """Of two labs there are no pairs: the spread is that of the larger one's runs."""
    if not {"8", "256"} <= walls.keys():
        return None
    small, large = walls["8"][case]["ns"], walls["256"][case]["ns"]
    low, middle, high = (value / statistics.median(small) for value in quartiles(large))
    return middle, f"{low:.2f} to {high:.2f}"


def peak_mib(walls, ports, case):
    return None if ports not in walls else (max(walls[ports][case]["peak_kib"]) / 1024, "largest")


def counted(result, ports, state, what):
    found = result["counts"].get(ports)
    return None if found is None else (found[state][what], "exact")


# For tools that answer at once: what over what, and by number of ports the highest ratio allowed.
AT_ONCE = (
    ("cold", "bare", "cold over the bare sum", (("8", 2.4), ("32", 2.3), ("256", 2.4))),
    ("cold", "script", "cold over the script", (("8", 0.5), ("256", 0.4))),
    ("warm", "script", "warm over the script", (("8", 1 / 15), ("256", 1 / 80))),
)


def ratio_rows(walls):
    delayed = walls["delayed"]
    slow = "over the bare sum, 8 ports, 20 ms a call"
    yield f"cold, 1 job, {slow}", ratio(delayed, "cold", "bare"), 1.06
    yield f"cold, 4 jobs, {slow}", ratio(delayed, "cold4", "bare"), 0.55
    for case, other, words, limits in AT_ONCE:
        for ports, limit in limits:
            yield f"{words}, {ports} ports", ratio(walls.get(ports), case, other), limit
    yield "warm, 256 ports over 8 ports", growth(walls, "warm"), 10


def load_rows(times):
    """The limit of the time was set where a small library took 41 microseconds."""
    low, middle, high = (value / 1000 for value in quartiles(times["provider"]))
    yield "loading the provider, microseconds", (middle, f"{low:.0f} to {high:.0f}"), 150
    low, _, high = quartiles([one / other for one, other in
                              zip(times["provider"], times["small"])])
    middle = statistics.median(times["provider"]) / statistics.median(times["small"])
    yield "loading the provider over a small library", (middle, f"{low:.2f} to {high:.2f}"), 150 / 41


def rows(result):
    """What is compared with its target: name, (value, spread) or None, highest value allowed."""
    walls = result["walls"]
    yield from ratio_rows(walls)
    yield "peak memory, 8 ports, MiB", peak_mib(walls, "8", "cold"), 10
    yield "peak memory, 256 ports, MiB", peak_mib(walls, "256", "cold"), 14
    yield from load_rows(result["load_ns"])
    for ports in result["counts"]:
        limit = 2 * (int(ports) + 2) + 1
        yield f"processes, cold, {ports} ports", counted(result, ports, "cold", "processes"), limit
    yield "processes, warm, 8 ports", counted(result, "8", "warm", "processes"), 1
    instructions = result["counts"]["8"]["warm"]["instructions"] / 1e6
    yield "instructions, warm, 8 ports, millions", (instructions, "exact"), 60


def number(value):
    return f"{value:.4g}" if value < 1 else f"{value:.2f}".rstrip("0").rstrip(".")


def target_table(result):
    lines = ["| what | measured | spread | target | |", "|---|---|---|---|---|"]
    for name, found, limit in rows(result):
        value, spread, verdict = "not measured", "", ""
        if found:
            value, spread = number(found[0]), found[1]
            verdict = "met" if found[0] <= limit else "**missed**"
        lines.append(f"| {name} | {value} | {spread} | at most {number(limit)} | {verdict} |")
    return lines


def wall_table(walls):
    lines = ["| ports | program | median ms | quartiles | peak MiB |", "|---|---|---|---|---|"]
    for ports, group in walls.items():
        for case, runs in group.items():
            low, middle, high = (value / 1e6 for value in quartiles(runs["ns"]))
            peak = max(runs["peak_kib"]) / 1024
            where = "8, 20 ms a call" if ports == "delayed" else ports
            lines.append(f"| {where} | {CASES[case]} | {middle:.2f} | {low:.2f} to {high:.2f} "
                         f"| {peak:.1f} |")
    return lines


def count_table(found):
    lines = ["| ports | | processes | programs | files opened | libraries | instructions |",
             "|---|---|---|---|---|---|---|"]
    for ports, states in found.items():
        for state, one in states.items():
            million = f"{one['instructions'] / 1e6:.1f} million" if "instructions" in one else ""
            lines.append(f"| {ports} | {state} | {one['processes']} | {one['programs']} "
                         f"| {one['opens']} | {one['libraries']} | {million} |")
    return lines


def provider_table(found):
    lines = ["| provider's own work | microseconds |", "|---|---|"]
    return lines + [f"| {name} | {value / 1000:.3f} |" for name, value in found.items()]


def text(result):
    host = result["machine"]
    rounds = result["rounds"].values()
    head = (f"{min(rounds)} to {max(rounds)} rounds on {host['cpus']} processors, Linux {host['kernel']}, "
            f"load {host['load']:.1f} at the start.")
    blocks = [[head], target_table(result), wall_table(result["walls"]),
              count_table(result["counts"]), provider_table(result["provider_ns"])]
    return "\n\n".join("\n".join(lines) for lines in blocks) + "\n"


def store(result):
    """Replaces the stored measurement and the tables that docs/performance.md shows of it."""
    (DOCS / "performance.json").write_text(json.dumps(result) + "\n", encoding="utf-8")
    page = DOCS / "performance.md"
    before, _, rest = page.read_text(encoding="utf-8").partition(BEGIN)
    after = rest.partition(END)[2]
    page.write_text(before + BEGIN + text(result) + END + after, encoding="utf-8")
