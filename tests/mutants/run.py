#!/usr/bin/env python3
"""Seeds faults, one at a time, into a copy of the tree and tells which of them no test catches.

usage: ./dev mutants [ROOM...]

ROOM.txt beside this script lists the faults of a room, one a line: path, text, replacement, split by tabs. The text
stands in the file exactly once. A fault is caught where a test of the room fails; the first that does is enough.
Exits with 1 where less than 90 % of the faults are caught, or one of them cannot be seeded.
"""
import os
import pathlib
import shutil
import signal
import subprocess
import sys

TOP = pathlib.Path(__file__).resolve().parents[2]
LISTS = TOP / "tests/mutants"
COPY = TOP / "build/mutants/tree"
BUILD = TOP / "build/mutants/build"
LEAST_PERCENT = 90
SECONDS = 180  # for a test program; a fault may well make one run for ever

# The programs with the tests of each room. Those of the tool, of Python and of the add-on are CTest's.
ROOMS = {
    "c": ["test_c", "test_threads", "test_memory"],
    "geometry": ["test_geometry"],
    "system": ["test_system", "test_geometry"],
    "image": ["test_image"],
    "psd": ["test_psd"],
    "obj": ["test_obj"],
    "plugin": ["test_plugin", "test_memory", "test_threads"],
    "host": ["test_host"],
    "document": ["test_document", "test_threads"],
    "parts": ["test_document", "smthgrp"],
    "fix": ["test_document"],
    "meshes": ["test_document"],
    "tool": ["smthgrp"],
    "python": ["ksmthgrp"],
    "blender": ["modeller"],
}
CTEST = {"test_c": r"^c\.", "smthgrp": r"^tool\.", "ksmthgrp": r"^python\.", "modeller": r"^modeller\."}


class Unusable(Exception):
    """A fault that cannot be seeded, and why."""


def run(*command, timeout=None, **options):
    """Runs to the end, or to `timeout` seconds; then nothing that it started is left."""
    with subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace",
                          process_group=0, **options) as process:
        try:
            output, _ = process.communicate(timeout=timeout)
        except BaseException:
            os.killpg(process.pid, signal.SIGKILL)
            raise
    return subprocess.CompletedProcess(command, process.returncode, output)


def must(doing, *command, **options):
    result = run(*command, **options)
    if result.returncode:
        sys.exit(f"{result.stdout}mutants: failed: {doing}")
    return result.stdout


def copy_tree():
    """Files that are the same stay as they are, so that only what has changed since is built again."""
    listed = must("listing the files", "git", "ls-files", "-coz", "--exclude-standard", cwd=TOP).split("\0")
    files = {name for name in listed if name and (TOP / name).is_file()}
    for name in files:
        source, target = TOP / name, COPY / name
        target.parent.mkdir(parents=True, exist_ok=True)
        if not target.exists() or target.read_bytes() != source.read_bytes():
            shutil.copy(source, target)
    for path in list(COPY.rglob("*")):
        if path.is_file() and str(path.relative_to(COPY)) not in files:
            path.unlink()
    beside = COPY.parent / "shared"
    if (TOP.parent / "shared").exists() and not beside.is_symlink():
        beside.symlink_to(TOP.parent / "shared")


def build(room):
    """What the compiler says against the copy; empty where it builds."""
    result = run("cmake", "--build", BUILD, "--target", *ROOMS[room])
    errors = [line for line in result.stdout.splitlines() if "error" in line] or ["?"]
    return errors[0] if result.returncode else ""


def failing_test(room):
    """The first test program that fails on the copy as it is; empty where all pass."""
    for program in ROOMS[room]:
        command = [BUILD / program, "--gtest_fail_fast", "--gtest_brief=1"]
        if program in CTEST:
            command = ["ctest", "--test-dir", BUILD, "-R", CTEST[program], "--stop-on-failure", "--no-tests=error"]
        try:
            if run(*command, timeout=SECONDS, cwd=BUILD).returncode:
                return program
        except subprocess.TimeoutExpired:
            return program
    return ""


def is_caught(room, line):
    fields = line.split("\t")
    if len(fields) != 3:
        raise Unusable(f"{len(fields)} fields, not path, text and replacement")
    path, text, replacement = fields
    file = COPY / path
    if not file.is_file():
        raise Unusable(f"there is no {path}")
    source = file.read_text()
    if source.count(text) != 1:
        raise Unusable(f"the text stands {source.count(text)} times in {path}")
    file.write_text(source.replace(text, replacement))
    try:
        error = build(room)
        if error:
            raise Unusable(f"does not build: {error}")
        return failing_test(room) != ""
    finally:
        file.write_text(source)


def test_room(room):
    """Prints what survives and answers the numbers of faults, of survivors and of unusable lines."""
    lines = enumerate((LISTS / f"{room}.txt").read_text().splitlines(), 1)
    faults = [(number, line) for number, line in lines if line and not line.startswith("#")]
    must(f"building the tests of {room}", "cmake", "--build", BUILD, "--target", *ROOMS[room])
    failing = failing_test(room)
    if failing:
        sys.exit(f"mutants: {failing} fails without any fault; ./dev test says more")
    survivors = unusable = 0
    for done, (number, line) in enumerate(faults, 1):
        if sys.stderr.isatty():
            print(f"\r{room}: {done} of {len(faults)}\x1b[K", end="\r", file=sys.stderr, flush=True)
        try:
            if is_caught(room, line):
                continue
            survivors += 1
            print("{0}.txt:{1}: survives: {2}: {3} -> {4}".format(room, number, *line.split("\t")), flush=True)
        except Unusable as why:
            unusable += 1
            print(f"{room}.txt:{number}: {why}", flush=True)
    print(f"{room}: {len(faults) - survivors - unusable} of {len(faults)} caught", flush=True)
    return len(faults), survivors, unusable


def main():
    rooms = sys.argv[1:] or [room for room in ROOMS if (LISTS / f"{room}.txt").exists()]
    for room in rooms:
        if room not in ROOMS or not (LISTS / f"{room}.txt").exists():
            known = " ".join(sorted(path.stem for path in LISTS.glob("*.txt")))
            sys.exit(f"mutants: there is no room {room}; there are {known}")
    copy_tree()
    # Quick to build, and a fault may leave a parameter unused.
    must("configuring", "cmake", "-S", COPY, "-B", BUILD, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=None",
         "-DCMAKE_CXX_FLAGS=-O1 -w", "-DKSMTH_BUILD_TESTS=ON", "-DKSMTH_BUILD_PYTHON=ON")
    faults, survivors, unusable = map(sum, zip(*map(test_room, rooms)))
    percent = 100 * (faults - survivors - unusable) // max(faults, 1)
    print(f"{faults - survivors - unusable} of {faults} caught, {percent} % (at least {LEAST_PERCENT} %)")
    sys.exit(unusable > 0 or percent < LEAST_PERCENT)


main()
