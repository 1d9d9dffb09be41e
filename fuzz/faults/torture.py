#!/usr/bin/env python3
"""Has the tool meet failing memory, failing files and the limits of a system: torture.py BUILD [--brief]

BUILD has smthgrp, faults_calls and libfaults.so. What has to hold of a command that fails: it ends by itself, with its
status and a line that names the file; every file that was there is whole, old or new; there is nothing new beside it
but files that are whole. --brief tries a part of the calls, another each day.
"""
import collections
import contextlib
import errno
import os
import pathlib
import random
import re
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import time

BUILD = pathlib.Path(sys.argv[1]).resolve()
TOOL = BUILD / "smthgrp"
BRIEF = "--brief" in sys.argv
EXAMPLES = pathlib.Path(__file__).resolve().parents[2] / "examples"
PSD = EXAMPLES.parent / "tests/data/psd"
KINDS = ("memory", "open", "read", "write", "sync", "rename", "close", "stat", "map", "folder", "thread")
SHORT = -1  # as in Faults.h
LARGE_BYTES = 16 << 20  # files of as many are read on threads
ERRORS = {"memory": [errno.ENOMEM], "open": [errno.EACCES, errno.EMFILE, errno.EINTR],
          "read": [errno.EIO, errno.EINTR, SHORT], "write": [errno.ENOSPC, errno.EIO, errno.EINTR, SHORT],
          "sync": [errno.EIO, errno.ENOSPC], "rename": [errno.EACCES, errno.ENOSPC], "close": [errno.EIO, errno.ENOSPC],
          "stat": [errno.EACCES, errno.EIO], "map": [errno.ENOMEM], "folder": [errno.EACCES, errno.ENOSPC],
          "thread": [errno.EAGAIN]}
MODEL = """mtllib m.mtl
v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\nv 5 5 5\nvt 0 0\nvn 0 0 1\no thing
g a\ns 3\nusemtl red\nf 1/1/1 2/1/1 3/1/1\ng b long_name_of_a_group_past_any_short_string\ns off\nf -3 -2 -4\nl 1 2\n"""
# Command line, status of failure. IN has the inputs, OUT the outputs, where the old ones lie.
COMMANDS = [
    "info IN/m.obj", "info --json --faces IN/m.obj", "info --as-host IN/m.obj", "lint --host IN/m.obj",
    "export IN/m.obj -o OUT/old.obj -g a", "export IN/m.obj -o OUT/old.obj --copy-materials",
    "export IN/m.obj -o OUT/old.obj --as-host", "export IN/m.obj -o -", "split IN/m.obj -o OUT/parts",
    "split IN/m.obj -o OUT/parts --as-host", "replace IN/m.obj IN/p.obj -o OUT/old.obj",
    "replace IN/m.obj IN/p.obj -o OUT/old.obj --as-host", "merge IN/m.obj IN/p.obj -o OUT/old.obj --weld",
    "diff IN/m.obj IN/p.obj", "fix IN/m.obj -o OUT/old.obj --json", "fix OUT/bad.obj --in-place",
    "mesh IN/m.obj --mask a --crease-all-smoothing -o OUT/old.ply", "call LoadOBJFile IN/m.obj",
    "psd info IN/l.psd", "psd flatten IN/l.psd -o OUT/old.png", "psd flatten IN/l.psd -o OUT/old.psd",
    "psd layers IN/l.psd -o OUT/parts"]
# What is said where only something beside the model could not be read: libraries, textures, what the host has.
DOUBTS = (b"librar", b"texture", b"(missing)", b"cannot read this file", b"unknown material", b"-1  ", b'"error"',
          b"null")
LINES = re.compile(rb'(,| |in|the first)*line \d+|, the first(?=:)|"line": (\d+|null)|(:\d+)+(?=: (error|note|warning))')
FAILED = {"diff": (1, 3)}


class Place:
    """A folder with inputs, and outputs that are there already."""

    def __init__(self, rows=0, more_bytes=0):
        """`rows`: vertices, and as many faces in 300 groups, that the models have beside the few that they always
        have. `more_bytes`: of comments behind them."""
        in_memory = "/dev/shm" if os.path.isdir("/dev/shm") else None
        self.path = pathlib.Path(tempfile.mkdtemp(prefix="torture", dir=in_memory))
        self.inputs, self.outputs = self.path / "in", self.path / "out"
        self.inputs.mkdir()
        more = [f"v {i % 97} {i % 89} {i % 83}" for i in range(rows)]
        more += [f"g part{i * 300 // rows}\nf {i + 1} {i + 2} {i + 3}" for i in range(rows)]
        more = "\n".join(more) + "\n" + ("#" + 1000 * "x" + "\n") * (more_bytes // 1000)
        (self.inputs / "m.obj").write_text(MODEL + more)
        (self.inputs / "p.obj").write_text(MODEL.replace("v 1 1 0", "v 1 1 7") + more)
        (self.inputs / "m.mtl").write_text("newmtl red\nKd 1 0 0\nmap_Kd red.png\n")
        (self.inputs / "red.png").write_bytes(b"picture")
        shutil.copy(PSD / "layered_masked-3x5.psd", self.inputs / "l.psd")
        self.reset()
        self.start = self.files()

    def reset(self):
        shutil.rmtree(self.outputs, ignore_errors=True)
        (self.outputs / "parts").mkdir(parents=True)
        for name in ("old.obj", "old.ply", "old.png", "old.psd", "parts/a.obj"):
            (self.outputs / name).write_text("old\n")
        (self.outputs / "bad.obj").write_text(MODEL.replace("f 1/1/1", "f  1/1/1") + "f 1 2 99\n")

    def files(self):
        return {str(p.relative_to(self.path)): p.read_bytes() for p in self.path.rglob("*") if p.is_file()}

    def words(self, command):
        return [str(TOOL), *command.replace("IN/", f"{self.inputs}/").replace("OUT/", f"{self.outputs}/").split()]

    def wrong(self, command, baseline, status, out, err, named):
        """What should not be after a command has ended; None where all is as it should be."""
        expected, expected_out, expected_err, after = baseline
        files = self.files()
        if status < 0:
            return f"ended by signal {-status}"
        if status == expected and out == expected_out and err == expected_err and files == after:
            return None
        if status in (0, 1) and any(text.count(word) > usual.count(word) for word in DOUBTS
                                    for text, usual in ((out, expected_out), (err, expected_err))):
            return None  # something beside the model could not be read, and that is said
        if status == expected and files == after and all(
                LINES.sub(b"", a) == LINES.sub(b"", b) for a, b in ((out, expected_out), (err, expected_err))):
            return None  # said without the line
        if command.startswith("call LoadOBJFile") and status == 0 and (out == b"0\n" or b"to its end" in err):
            return None  # the host's answer where there is no memory for a model, or less of one that can be read
        if status == expected == 0:
            return "success, with another outcome"
        if status not in FAILED.get(command.split()[0], (1,)):
            return f"status {status}"
        told = [line for line in err.splitlines() if re.match(b"smthgrp: (?!note)", line)]
        if not told:
            return "failure without a reason"
        names = [os.path.basename(word).encode() for word in command.split() if "/" in word]
        names += [os.path.basename(name).encode() for name in after]
        names += [b"standard output", str(self.path).encode(), b"KSmthGrp"]
        if named and not any(name in line for line in told for name in names):
            return "the reason names no file"
        for name in {**self.start, **files}:
            if files.get(name) not in (self.start.get(name, files.get(name)), after.get(name)) or (
                    name in files and name not in self.start and files[name] != after.get(name)):
                return f"{name} is neither old nor new"
        return None


class Server:
    """A process that becomes the same command again and again, see Faults.cpp."""

    def __init__(self, words, place, **variables):
        orders, self.orders = os.pipe()
        answers, told = os.pipe()
        self.answers = os.fdopen(answers)
        self.out, self.err = (open(place.path.with_suffix("." + name), "ab+", buffering=0) for name in ("out", "err"))

        def beforehand():
            os.dup2(orders, 198)
            os.dup2(told, 199)

        environment = {**os.environ, "LD_PRELOAD": str(BUILD / "libfaults.so"), "FAULTS_SERVER": "1", **variables}
        self.process = subprocess.Popen(words, env=environment, stdin=subprocess.DEVNULL, stdout=self.out,
                                        stderr=self.err, close_fds=False, preexec_fn=beforehand)
        os.close(orders)
        os.close(told)

    def run(self, kind, nth, error, for_good):
        """Status, standard output and error, and how many calls of the kind there were."""
        for file in (self.out, self.err):
            file.truncate(0)
        os.write(self.orders, f"{KINDS.index(kind)} {nth} {error} {for_good:d}\n".encode())
        status, calls = map(int, self.answers.readline().split())
        return status, *(os.pread(file.fileno(), 1 << 30, 0) for file in (self.out, self.err)), calls

    def close(self):
        os.close(self.orders)
        self.process.wait()
        self.answers.close()
        for file in (self.out, self.err):
            file.close()
            os.unlink(file.name)


def run(words, **options):
    """A command in a process of its own: status, standard output and error."""
    done = subprocess.run(words, stdin=subprocess.DEVNULL, stdout=options.pop("stdout", subprocess.PIPE),
                          stderr=subprocess.PIPE, timeout=options.pop("timeout", 60), check=False, **options)
    return done.returncode, done.stdout or b"", done.stderr


class Report:
    def __init__(self):
        self.tried, self.failed, self.found = collections.Counter(), collections.Counter(), collections.Counter()
        self.shown = collections.Counter()

    def add(self, campaign, what, failed, wrong):
        self.tried[campaign] += 1
        self.failed[campaign] += failed
        if wrong is None:
            return
        self.found[campaign] += 1
        self.shown[what, wrong] += 1
        if self.shown[what, wrong] <= 2:
            print(f"found: {campaign}: {what}: {wrong}", flush=True)


def chosen(count):
    """The calls that are tried: all, or some near the end and some anywhere."""
    if not BRIEF or count <= 12:
        return range(count)
    return sorted({*range(count - 2, count), *random.sample(range(count), 10)})


def failing(report, place, commands, kinds, **variables):
    """Commands with each call of the kinds failing in turn."""
    for command in commands:
        server = Server(place.words(command), place, **variables)
        place.reset()
        status, out, err, _ = server.run("memory", 10**9, 0, False)
        baseline = status, out, err, place.files()
        for kind in kinds:
            place.reset()
            count = server.run(kind, 10**9, 0, False)[3]
            for error in ERRORS[kind]:
                for for_good in (False, True):
                    if for_good and error in (SHORT, errno.EINTR):
                        continue  # without end
                    for nth in chosen(count):
                        if place.files() != place.start:
                            place.reset()
                        status, out, err, _ = server.run(kind, nth, error, for_good)
                        wrong = place.wrong(command, baseline, status, out, err, kind not in ("memory", "map"))
                        if error in (SHORT, errno.EINTR) and kind != "open" and status != baseline[0]:
                            wrong = wrong or "did not go on"
                        if kind == "thread" and (status, out, err, place.files()) != baseline:
                            wrong = wrong or "another outcome on fewer threads"
                        how = "short" if error == SHORT else errno.errorcode[error]
                        report.add(f"tool, {kind}", f"{command}: {kind} {nth}{' and later' if for_good else ''}: {how}",
                                   status != baseline[0],
                                   wrong and f"{wrong} {err[-150:]}")
        server.close()
    shutil.rmtree(place.path)


def faults(report):
    failing(report, Place(), COMMANDS, [kind for kind in KINDS if kind != "thread"])
    # Files of many blocks, and tables that have pages of their own.
    models = [command for command in COMMANDS if "psd" not in command]
    failing(report, Place(20000), random.sample(models, 8) if BRIEF else models, ["read", "write"])
    failing(report, Place(200000), random.sample(models, 4) if BRIEF else models, ["map"])


def threads(report):
    """Threads that cannot be started, on models for which some are."""
    commands = random.sample(COMMANDS, 10) if BRIEF else COMMANDS  # more than start none
    failing(report, Place(200000, LARGE_BYTES), commands, ["thread"], KSMTH_THREADS="5")
    if not report.tried["tool, thread"]:
        report.add("tool, thread", "all commands", False, "no threads are started")


def limited(limit, value):
    return {"preexec_fn": lambda: resource.setrlimit(limit, (value, value))}


def with_threads(report, sizes):
    """As many threads as there may be, of which a file's reading needs none."""
    place = Place(200000, LARGE_BYTES)
    for command in ("info IN/m.obj", "info --as-host IN/m.obj", "export IN/m.obj -o OUT/old.obj"):
        alone = run(place.words(command))
        for size in sizes:
            ended = run(place.words(command), env={**os.environ, "KSMTH_THREADS": "64"},
                        **limited(resource.RLIMIT_AS, size << 20))
            report.add("limits, addresses and 64 threads", f"{command}: {size} MB", ended[0] != alone[0],
                       "another outcome" if ended != alone else None)
    shutil.rmtree(place.path)


def larger(report):
    """All commands on a larger model, of 300 groups, in ever less address space and with few descriptors."""
    place = Place(60000)
    sizes = (200, 100, 60, 50, 40, 36, 32, 28, 24, 20, 18, 16, 14, 12)
    with_threads(report, (1000, 400, 300, 200))
    for command in COMMANDS:
        place.reset()
        baseline = *run(place.words(command)), place.files()
        for size in sorted(random.sample(sizes[1:], 2), reverse=True) if BRIEF else sizes:
            place.reset()
            ended = run(place.words(command), **limited(resource.RLIMIT_AS, size << 20))
            wrong = place.wrong(command, baseline, *ended, False)
            report.add("limits, 12 to 200 MB of addresses", f"{command}: {size} MB", ended[0] != baseline[0], wrong)
        place.reset()
        ended = run(place.words(command), **limited(resource.RLIMIT_NOFILE, 64))
        wrong = place.wrong(command, baseline, *ended, True) or (ended[0] != baseline[0] and "needs more")
        report.add("limits, 64 descriptors", command, ended[0] != baseline[0], wrong or None)
    shutil.rmtree(place.path)


def in_shell(script, place, command):
    return ["sh", "-c", script + ' exec "$@"', "sh", *place.words(command)]


def mounted(place, command, script):
    """The command where `script` has mounted something at $out. That is seen inside alone: what is there in the end
    comes out by $keep."""
    keep = place.path / "keep"
    shutil.copytree(place.outputs, keep)
    script += ' "$@"; s=$?; rm -f $out/zeros; [ -w $out ] || exit $s; rm -r $keep; cp -r $out $keep; exit $s'
    ended = run(["unshare", "-Urm", "sh", "-c", script, "sh", *place.words(command)],
                env={**os.environ, "out": str(place.outputs), "keep": str(keep)})
    shutil.rmtree(place.outputs)
    keep.rename(place.outputs)
    return ended


def limits(report):
    """All commands where descriptors, room, rights or the outputs of the shell are short."""
    place = Place()
    tmpfs = "mount -t tmpfs -o size=64k tmpfs $out && cp -r $keep/. $out &&"
    full = tmpfs + " { head -c 1M /dev/zero >$out/zeros; } 2>&-;"
    read_only = "mount --bind $out $out && mount -o remount,bind,ro $out &&"
    cases = {"6 descriptors": lambda command: run(place.words(command), **limited(resource.RLIMIT_NOFILE, 6)),
             "files of 100 bytes": lambda command: run(place.words(command), **limited(resource.RLIMIT_FSIZE, 100)),
             "no temporary folder": lambda command: run(place.words(command), env={**os.environ, "TMPDIR": "/none"}),
             "a closed standard output": lambda command: run(in_shell("exec >&-;", place, command)),
             "a full standard output": lambda command: run(in_shell("exec >/dev/full;", place, command)),
             "nothing open at all": lambda command: run(in_shell("exec <&- >&- 2>&-;", place, command)),
             "a full disk": lambda command: mounted(place, command, full),
             "a read-only folder": lambda command: mounted(place, command, read_only)}
    if mounted(place, "--version", tmpfs)[0] != 0:
        print("limits: no mounts in a user namespace here; the full disk and the read-only folder are left out")
        del cases["a full disk"], cases["a read-only folder"]
    for command in COMMANDS:
        place.reset()
        baseline = *run(place.words(command)), place.files()
        for name, case in cases.items():
            place.reset()
            status, out, err = case(command)
            if name == "nothing open at all":  # it can say nothing either
                err = b"smthgrp: standard output" if status else baseline[2]
            if "output" in name and status == baseline[0] and baseline[1]:
                wrong = "nobody was told that the output is lost"
            else:
                wrong = place.wrong(command, baseline, status, out, err, name != "files of 100 bytes")
            report.add(f"limits, {name}", command, status != baseline[0], wrong and f"{wrong} {err[-150:]}")
    shutil.rmtree(place.path)


def signals(report):
    """Signals while a larger model is written over an old one."""
    place = Place(60000)
    for command in ("export IN/m.obj -o OUT/old.obj", "split IN/m.obj -o OUT/parts", "fix IN/m.obj -o OUT/old.obj",
                    "merge IN/m.obj IN/p.obj -o OUT/old.obj"):
        place.reset()
        began = time.monotonic()
        baseline = *run(place.words(command)), place.files()
        lasts = time.monotonic() - began
        for i in range(12 if BRIEF else 75):
            place.reset()
            number = (signal.SIGINT, signal.SIGTERM, signal.SIGPIPE)[i % 3]
            process = subprocess.Popen(place.words(command), stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                       preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL))
            with contextlib.suppress(subprocess.TimeoutExpired):
                process.wait(random.uniform(0, lasts))
            process.send_signal(number)
            out, err = process.communicate(timeout=60)
            wrong = None
            if process.returncode != -number:
                wrong = place.wrong(command, baseline, process.returncode, out, err, True)
            for name, text in place.files().items():
                if text not in (place.start.get(name), baseline[3].get(name)):
                    wrong = f"{name} is neither old nor new"
            report.add(f"signals, {number.name}", command, process.returncode != baseline[0], wrong)
    shutil.rmtree(place.path)


def calls(report):
    """The library and the C interface, in one process."""
    place = Place()
    (place.inputs / "bad.obj").write_text(MODEL + "f 1 2 99\n")
    for name, larger in (("large.obj", Place(200000, LARGE_BYTES)), ("pieces.obj", Place(30000))):
        (larger.inputs / "m.obj").rename(place.inputs / name)
        shutil.rmtree(larger.path)
    shutil.copy(PSD / "flat_rgba-3x5.psd", place.inputs / "f.psd")
    words = [BUILD / "faults_calls", place.path, *(["--brief", time.strftime("%j")] if BRIEF else [])]
    status, out, err = run(words, timeout=900)
    lines = out.decode(errors="replace").splitlines()
    print(*lines[:-1], err.decode(errors="replace"), sep="\n", end="", flush=True)
    numbers = map(int, re.findall(r"\d+", lines[-1])) if status in (0, 1) else (1, 1, 1)
    for counter, number in zip((report.tried, report.failed, report.found), numbers):
        counter["library and C interface"] += number
    shutil.rmtree(place.path)


def main():
    random.seed(time.strftime("%F") if BRIEF else 0)
    report = Report()
    for campaign in (calls, faults, threads, larger, limits, signals):
        began = time.monotonic()
        campaign(report)
        print(f"torture: {campaign.__name__} took {time.monotonic() - began:.0f} s", flush=True)
    for campaign, tried in report.tried.items():
        print(f"{campaign:<36}{tried:>8} tried{report.failed[campaign]:>8} failed{report.found[campaign]:>6} found")
    sys.exit(any(report.found.values()))


if __name__ == "__main__":
    main()
