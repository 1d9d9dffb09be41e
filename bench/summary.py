#!/usr/bin/env python3
"""One table of what the benchmarks came to and what they are to come to.

    summary.py FOLDER [--write FILE]

FOLDER has the results of a run: files *.json as Google Benchmark writes them, and memory.txt, what bench_memory prints
of a document. A goal whose benchmark is not among them stands as "not run". With --write, the table goes to FILE as
well, with the machine.
"""

import argparse
import glob
import json
import os
import re
import subprocess
from dataclasses import dataclass
from typing import Callable, Optional

# What goals are held against: of a benchmark's name, its counters. Rates and times are those of the best iteration.
Results = dict


@dataclass
class Goal:
    """One row. `value` raises KeyError where the benchmark has not run; one of `least` and `most` is given."""

    what: str
    value: Callable[[Results], float]
    limit: str
    unit: str = "×"
    least: Optional[float] = None
    most: Optional[float] = None

    def row(self, results):
        goal = f"≥ {self.least:g}" if self.least is not None else f"≤ {self.most:g}"
        try:
            value = self.value(results)
        except KeyError:
            return [self.what, "not run", f"{goal} {self.unit}", "-", self.limit]
        met = value >= self.least if self.least is not None else value <= self.most
        digits = 0 if abs(value) >= 100 else 1 if abs(value) >= 10 else 2
        return [self.what, f"{value:.{digits}f} {self.unit}", f"{goal} {self.unit}", "met" if met else "missed",
                self.limit]


def counter(name, key, scale=1.0):
    return lambda results: results[name][key] * scale


def ratio(name, other, key, other_key=None):
    return lambda results: results[name][key] / results[other][other_key or key]


def beside(name, other):
    """How many times as fast."""
    return ratio(name, other, "bytes_per_second")


def megabytes(name):
    return counter(name, "bytes_per_second", 1e-6)


def slower_fan(call):
    """The slower of the two fans beside the sheet, by face or corner."""
    corners = 4 / 3 if call == "mesh_mask" else 1
    return lambda results: corners * max(results[f"{call}/{fan}"]["ns_per_face"] for fan in
                                         ("fan", "fan_interleaved")) / results[f"{call}/sheet"]["ns_per_face"]


GOALS = [
    # A fresh process for each load: bench_cold.
    Goal("cold load, beside tinyobjloader", beside("cold/plugin", "cold/tinyobjloader"), "memory touched for the "
         "first time", least=5.2),
    Goal("memory of a cold load, over the empty process", counter("cold/plugin", "MiB"), "faces, 84 bytes each",
         unit="MiB", most=132),
    # One thread and all; the goals are those of two.
    *[goal for name, loader in (("load", "plugin"), ("document", "document")) for goal in (
        Goal(f"{name} on all threads, cold", beside(f"cold/{loader}_threads", f"cold/{loader}"),
             "what is taken in by one; memory", least=1.6),
        Goal(f"{name} on all threads, warm", beside(f"warm/{loader}_threads", f"warm/{loader}"),
             "what is taken in by one", least=1.6),
        Goal(f"{name} on all threads, memory beside one", ratio(f"cold/{loader}_threads", f"cold/{loader}", "MiB"),
             "pieces until taken in", most=1.25))],
    # The model of the host's calls.
    Goal("whole export", megabytes("export/plugin"), "digits of numbers", unit="MB/s", least=800),
    Goal("ranges of interleaved groups", counter("scale_group_ranges/1M_interleaved", "ns_per_face"), "faces of a group "
         "lie far apart", unit="ns a face", most=25),
    Goal("mask", counter("mesh_mask/sheet", "ns_per_face", 1 / 4), "writes all over the mesh", unit="ns a corner",
         most=5),
    Goal("first crease", counter("mesh_first_crease/sheet", "ns_per_face"), "links from vertices to faces",
         unit="ns a face", most=150),
    Goal("later crease", counter("mesh_later_crease/sheet", "ns_per_face"), "neighbours looked up", unit="ns a face",
         most=60),
    Goal("mask of a fan, beside the sheet", slower_fan("mesh_mask"), "one vertex of all faces", most=3),
    Goal("first crease of a fan, beside the sheet", slower_fan("mesh_first_crease"), "one vertex of all faces", most=3),
    Goal("later crease of a fan, beside the sheet", slower_fan("mesh_later_crease"), "one vertex of all faces", most=3),
    # The document.
    Goal("document read, beside LoadOBJFile", beside("load/document", "load/plugin"), "memory", least=1),
    Goal("document in memory, of what it may take", ratio("memory/document", "memory/document", "peak", "allowed"),
         "lines addressed, corners", most=1),
    Goal("document written whole", megabytes("export/document"), "indices as digits", unit="MB/s", least=500),
    Goal("document written by groups", megabytes("document/parts"), "indices as digits", unit="MB/s", least=500),
    Goal("document written by interleaved groups", megabytes("document/parts_interleaved"), "lines of a group lie far "
         "apart", unit="MB/s", least=500),
    # Python.
    Goal("Python arrays, time of C++", ratio("python/ksmthgrp", "python/document in C++", "ms"), "numbers parsed; a dict "
         "of groups", most=1.3),
    Goal("Python arrays, beside meshio", ratio("python/meshio", "python/ksmthgrp", "ms"), "numbers parsed", least=1),
    # Photoshop documents, of reading the bytes and copying them.
    Goal("LoadPSD flat, of read and memcpy", ratio("read/flat/library", "read/flat/read_and_memcpy", "MB/s"),
         "four bytes of memory for three of the file", least=0.6),
]

# Of the yardstick's rate, and what limits it in the cache; larger images wait for memory.
CHANNELS = "shuffles that take channels apart"
IMAGES = [
    ("Paint, 32 bits", 0.9, "the cache"),
    ("Paint, rectangle", 0.9, "ends of rows"),
    ("PaintZero", 0.9, "the cache"),
    ("BltTo", 0.9, "the cache"),
    ("BltTo, shifted", 0.9, "ends of rows; pixels moved between lines of the cache"),
    ("Darken", 0.7, "the cache"),
    ("DarkenQtr, rectangle", 0.7, "ends of rows"),
    ("Mask_And", 0.7, "the cache"),
    ("Mask_Add", 0.7, "the cache"),
    ("DarkenAndAdd", 0.7, "arithmetic"),
    ("Switch", 0.7, "the cache"),
    ("InvertAlphaRGBA", 0.7, "the cache"),
    ("BlendQtrIntensiy", 0.7, "arithmetic; two images read"),
    ("Blend3QtrIntensiy", 0.7, "arithmetic; two images read"),
    ("WriteAlphaToMaterial", 0.7, "the cache"),
    ("Compare, shifted", 0.6, "the cache"),
    ("half size", 1.0, "nine neighbours instead of four"),
    ("WriteRGBToBuffer", 0.6, CHANNELS),
    ("WriteRGBToBuffer, alpha", 0.5, CHANNELS),
    ("WriteAlphaToBuffer", 0.5, CHANNELS),
    ("WriteOneRGBAOffsetToBuffer", 0.5, CHANNELS),
]
YARDSTICKS = {"Paint": "memset", "half": "OpenCV's INTER_AREA"}
GOALS += [Goal(f"{size} {case}, of {YARDSTICKS.get(re.split('[ ,Z]', case)[0], 'memcpy')}",
               ratio(f"{size} {case}", f"{size} {case}", "GB/s", "yardstick"), limit if in_cache else "memory",
               least=least)
          for size, in_cache in (("64 MP", False), ("256 KB", True)) for case, least, limit in IMAGES]


def read_results(folder):
    results = {}
    for path in sorted(glob.glob(os.path.join(folder, "*.json"))):
        with open(path, encoding="utf-8") as file:
            # Of a program that a filter leaves nothing of, the file is empty.
            for one in json.loads(file.read() or '{"benchmarks": []}')["benchmarks"]:
                if not one.get("error_occurred"):
                    results[re.sub(r"/(iterations:\d+|manual_time)", "", one["name"])] = one
    memory = os.path.join(folder, "memory.txt")
    if os.path.exists(memory):
        with open(memory, encoding="utf-8") as file:
            text = file.read()
        sizes = [re.search(rf"{start}.* ([\d.]+) MiB", text) for start in ("allowed", "VmHWM")]
        if all(sizes):
            results["memory/document"] = dict(zip(("allowed", "peak"), (float(size[1]) for size in sizes)))
    return results


def printed(rows):
    widths = [max(len(row[i]) for row in rows) for i in range(len(rows[0]))]
    return "\n".join("  ".join(text.ljust(width) for text, width in zip(row, widths)).rstrip() for row in rows)


def found_in(path, pattern):
    with open(path, encoding="utf-8") as file:
        found = re.search(pattern, file.read(), re.MULTILINE)
    return found[1].strip() if found else "unknown"


def machine(build):
    compiler = found_in(os.path.join(build, "CMakeCache.txt"), r"^CMAKE_CXX_COMPILER:\w+=(.*)")
    version = subprocess.run([compiler, "--version"], check=True, stdout=subprocess.PIPE, text=True).stdout
    memory = int(found_in("/proc/meminfo", r"^MemTotal: *(\d+)")) / 2**20
    # A quiet machine has about one, the benchmarks themselves.
    load = os.getloadavg()[2]
    return (f"{found_in('/proc/cpuinfo', '^model name.*: (.*)')}, {os.cpu_count()} cores, {memory:.0f} GiB of memory; "
            f"{found_in('/etc/os-release', 'PRETTY_NAME=.(.*).$')}; {version.splitlines()[0]}; "
            f"load average of the last 15 minutes {load:.1f}")


def markdown(rows, build):
    lines = ["# Performance", "",
             "What the last run of `./dev bench --record` came to, on the machine below. Times are the best of several",
             "runs; what is held against another program was measured in turns with it, in the same run. \"In the cache\"",
             "are the images of 256 KB. Sheets are 1,000 × 1,000 quads unless they say otherwise.", "",
             machine(build), ""]
    rows = [rows[0], ["---"] * len(rows[0])] + rows[1:]
    lines += ["| " + " | ".join(row) + " |" for row in rows]
    return "\n".join(lines) + "\n"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("folder")
    parser.add_argument("--build", default="build/release")
    parser.add_argument("--write")
    arguments = parser.parse_args()
    results = read_results(arguments.folder)
    rows = [["what", "measured", "goal", "", "limited by"]] + [goal.row(results) for goal in GOALS]
    print(printed(rows))
    marks = [row[3] for row in rows[1:]]
    print(f"\n{marks.count('met')} met, {marks.count('missed')} missed, {marks.count('-')} not run")
    if arguments.write:
        with open(arguments.write, "w", encoding="utf-8") as file:
            file.write(markdown(rows, arguments.build))


if __name__ == "__main__":
    main()
