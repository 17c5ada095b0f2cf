#!/usr/bin/env python3
"""Sums up what a benchmark has measured, and compares two runs.

    Benchmarks/compare.py RUN.json                one line for each work, size and peer
    Benchmarks/compare.py BASELINE.json RUN.json  the same with the change between them
    Benchmarks/compare.py --keep OUT.json RUN.json...
                                                  runs as one small file, for Benchmarks/Baselines

RUN.json comes from --benchmark_out=RUN.json. Names are WORK/SIZE/CLIP; a line is over all clips
of a work at a size: the median of the ratios, the worst ratio and its clip, and the ratio of
the least times likewise. A ratio is our time over the peer's, below 1 where we are faster.
Exit status: 1 if a benchmark reports an error, such as an answer that is not the peer's.
"""

import argparse
import json
import re
import statistics
import sys
from collections import defaultdict


def read(path):
    """(machine, {name: {counter: value}}, errors) of a run or of a kept baseline."""
    with open(path) as file:
        data = json.load(file)
    if "rows" in data:
        return data["machine"], data["rows"], []
    context = data["context"]
    machine = {"cpu_mhz": context.get("mhz_per_cpu"), "cores": context.get("num_cpus"),
               "date": context.get("date"), "caches": context.get("caches")}
    rows, errors = {}, []
    for row in data["benchmarks"]:
        name = re.sub(r"(/iterations:\d+)?(/manual_time)?$", "", row["name"])
        if row.get("error_occurred"):
            if row["error_message"] != "one frame only":
                errors.append(f"{name}: {row['error_message']}")
            continue
        peers = peers_in(row)
        rows[name] = {key: row[key] for key in ("ours", "ours_min") if key in row}
        for peer in peers:
            rows[name].update({key: row[key] for key in (peer, f"per_{peer}")})
            if f"per_{peer}_min" in row:
                rows[name][f"per_{peer}_min"] = row[f"per_{peer}_min"]
    return machine, {name: row for name, row in rows.items() if row}, errors


def peers_in(row):
    return [key[4:] for key in row
            if key.startswith("per_") and not key.endswith("_min") and key[4:] in row]


def keep(out, paths):
    machine, rows = {}, {}
    for path in paths:
        machine, more, _ = read(path)
        rows.update({name: {key: float(f"{value:.4g}") for key, value in row.items()}
                     for name, row in more.items()})
    with open(out, "w") as file:
        file.write(json.dumps({"machine": machine, "rows": rows}, indent=1) + "\n")


def groups(rows):
    """{(work and size, peer): [(ratio, ratio of the least, ours, clip)]}"""
    found = defaultdict(list)
    for name, row in rows.items():
        work, _, clip = name.rpartition("/")
        peers = peers_in(row)
        for peer in peers or ["-"]:
            found[work, peer].append((row.get(f"per_{peer}"), row.get(f"per_{peer}_min"),
                                      row.get("ours"), clip))
    return found


def line_of(entries):
    ours = statistics.median(entry[2] for entry in entries if entry[2] is not None)
    with_peer = [entry for entry in entries if entry[0] is not None]
    if not with_peer:
        return ours, None, None, ""
    worst = max(with_peer)
    return ours, statistics.median(entry[0] for entry in with_peer), worst[0], worst[3]


def number(value):
    return "      -" if value is None else f"{value:7.2f}"


def main():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--keep", metavar="OUT.json")
    parser.add_argument("runs", nargs="+")
    options = parser.parse_args()
    if options.keep:
        keep(options.keep, options.runs)
        return 0
    if len(options.runs) > 2:
        parser.error("one run, or a baseline and a run")
    all_runs = [read(path) for path in options.runs]
    now = groups(all_runs[-1][1])
    before = groups(all_runs[0][1]) if len(all_runs) == 2 else {}
    print(f"{'work, size':32} {'peer':12} {'ours ms':>9} {'ratio':>7} {'worst':>7}  "
          f"{'its clip':16}" + ("  before: ours, ratio, worst" if before else ""))
    for key, entries in sorted(now.items()):
        ours, ratio, worst, clip = line_of(entries)
        text = f"{key[0]:32} {key[1]:12} {ours:9.3f} {number(ratio)} {number(worst)}  {clip:16}"
        if key in before:
            was = line_of(before[key])
            text += f"  {was[0]:9.3f} {number(was[1])} {number(was[2])}"
        print(text)
    for error in all_runs[-1][2]:
        print(f"ERROR  {error}")
    return 1 if all_runs[-1][2] else 0


if __name__ == "__main__":
    sys.exit(main())
