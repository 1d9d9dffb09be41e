#!/usr/bin/env python3
"""The bench sheet as numpy arrays: the document in C++, the Python module, meshio.

    python_sheet.py BUILD [ROUNDS] [SIDE] [--json FILE]

BUILD has bench_sheet; the module and meshio are imported from where Python finds them. Each round measures one
after the other, in processes of their own: a fresh one has no memory to use again. Prints the best and the median of
the rounds, and writes the former to FILE as Google Benchmark would.
"""

import argparse
import json
import os
import statistics
import subprocess
import sys
import tempfile

MODULE = """
import time
import ksmthgrp
begin = time.perf_counter()
document = ksmthgrp.read({path!r})
arrays = (document.positions, document.face_starts, document.face_vertices, document.groups)
print((time.perf_counter() - begin) * 1e3, len(arrays[0]), len(arrays[1]) - 1, sum(map(len, arrays[3].values())))
"""

MESHIO = """
import time
import meshio
begin = time.perf_counter()
mesh = meshio.read({path!r})
print((time.perf_counter() - begin) * 1e3, len(mesh.points), sum(len(block.data) for block in mesh.cells), 0)
"""


def measured(command):
    """Milliseconds, vertices, faces and memberships."""
    words = subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout.split()
    return float(words[0]), [int(word) for word in words[1:]]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build")
    parser.add_argument("rounds", type=int, nargs="?", default=9)
    parser.add_argument("side", type=int, nargs="?", default=1000)
    parser.add_argument("--json")
    arguments = parser.parse_args()
    sheet = os.path.join(arguments.build, "bench_sheet")
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "sheet.obj")
        subprocess.run([sheet, "write", path, str(arguments.side)], check=True)
        commands = {"document in C++": [sheet, "read", path],
                    "ksmthgrp": [sys.executable, "-c", MODULE.format(path=path)],
                    "meshio": [sys.executable, "-c", MESHIO.format(path=path)]}
        times = {name: [] for name in commands}
        counts = {}
        for number in range(arguments.rounds):
            for name, command in commands.items():
                # It takes many times as long.
                if name == "meshio" and number % 4 != 0:
                    continue
                time, counts[name] = measured(command)
                times[name].append(time)
        if len({tuple(count[:2]) for count in counts.values()}) != 1:
            sys.exit(f"python_sheet.py: they do not read the same: {counts}")
        print(f"{os.path.getsize(path) / 1e6:.0f} MB, {counts['ksmthgrp'][0]} vertices, "
              f"{counts['ksmthgrp'][1]} faces")
        base = min(times["document in C++"])
        for name, list_ in times.items():
            print(f"{name:16} best {min(list_):8.1f} ms  median {statistics.median(list_):8.1f} ms  "
                  f"best to best {min(list_) / base:6.2f}")
        if arguments.json:
            best = [{"name": f"python/{name}", "ms": min(list_)} for name, list_ in times.items()]
            with open(arguments.json, "w", encoding="utf-8") as file:
                json.dump({"benchmarks": best}, file)


if __name__ == "__main__":
    main()
