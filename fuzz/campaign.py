#!/usr/bin/env python3
"""Fuzzes all targets in turn with corpora that stay: campaign.py HOURS FOLDER-OF-TARGETS

Corpora, what was found and the totals of all campaigns so far lie in build/corpus. At the end each corpus is
reduced to what its coverage needs, and the few inputs that reach code which fuzz/corpus does not are copied there.
Exits with 1 where something was found.
"""
import hashlib
import json
import pathlib
import re
import shutil
import subprocess
import sys
import time

FUZZ = pathlib.Path(__file__).resolve().parent
CORPUS = FUZZ.parent / "build/corpus"
FOUND = CORPUS / "found"
TOTALS = CORPUS / "totals.json"
TARGETS = {"c_interface": "obj", "document_fix": "obj", "document_parts": "obj", "document_reads": "obj",
           "obj_calls": "obj", "psd_calls": "psd", "psd_plain": "psd"}
ROUND_SECONDS = 120  # for one target before the next has its turn
LARGEST = 1500  # bytes of an input for fuzz/corpus
LEAST_EDGES = 3  # that it covers beside those of fuzz/corpus
MOST = 6  # new inputs of a target for fuzz/corpus in one campaign


def run(target, *arguments):
    """The output of a target, which works in a folder of its own."""
    place = CORPUS / "cwd"
    place.mkdir(exist_ok=True)
    return subprocess.run([CORPUS / "bin" / f"fuzz_{target}", *map(str, arguments)], cwd=place, errors="replace",
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True).stdout


def fuzz(target, seconds, totals):
    """One turn. After a finding the rest of the time is used as well."""
    subject = TARGETS[target]
    end = time.monotonic() + seconds
    row = totals.setdefault(target, {"seconds": 0, "executions": 0, "coverage": 0, "found": []})
    while end - time.monotonic() >= 1:
        began = time.monotonic()
        text = run(target, f"-max_total_time={int(end - began)}", "-max_len=4096", "-timeout=20", "-rss_limit_mb=2560",
                   f"-dict={FUZZ}/{subject}.dict", f"-artifact_prefix={FOUND}/{target}-", "-print_final_stats=1",
                   CORPUS / target, FUZZ / "corpus" / subject)
        row["seconds"] += time.monotonic() - began
        row["executions"] += sum(map(int, re.findall(r"number_of_executed_units: (\d+)", text)))
        row["coverage"] = max([row["coverage"], *map(int, re.findall(r" cov: (\d+)", text))])
        found = re.findall(r"Test unit written to (\S+)", text)
        for path in found:
            reason = re.search(r"does not hold: .*|runtime error: .*|ERROR: .*", text)
            print(f"found by {target}: {path}: {reason and reason[0]}", flush=True)
            pathlib.Path(path + ".txt").write_text(text[-20000:])
        fresh = [path for path in found if path not in row["found"]]
        row["found"] += fresh
        if found and not fresh:
            break  # it is among the inputs by now, and ends each run
        if not found and time.monotonic() - began < 1:
            sys.exit(f"campaign: {target} does not run:\n{text}")
    TOTALS.write_text(json.dumps(totals, indent=1))


def reduce(target):
    """Has the target's corpus be what its coverage needs; answers how many inputs went to fuzz/corpus."""
    kept, given, new, control = CORPUS / target, FUZZ / "corpus" / TARGETS[target], CORPUS / "merged", CORPUS / "merge"
    shutil.rmtree(new, ignore_errors=True)
    shutil.copytree(given, new)
    control.unlink(missing_ok=True)
    run(target, "-merge=1", "-timeout=20", "-rss_limit_mb=2560", f"-merge_control_file={control}", new, kept)
    lines = control.read_text().splitlines()
    files = [pathlib.Path(line) for line in lines[2:2 + int(lines[0])]]
    # The given inputs come first; of each input there is what it covers and none before it does.
    covered = {files[int(line.split()[1])]: len(line.split()) - 2 for line in lines if line.startswith("COV ")}
    fresh = [path for path in covered if path.parent == kept and path.stat().st_size <= LARGEST]
    fresh = [path for path in sorted(fresh, key=covered.get) if covered[path] >= LEAST_EDGES][-MOST:]
    for path in given.iterdir():
        (new / path.name).unlink()
    for path in fresh:
        name = f"campaign_{hashlib.sha1(path.read_bytes()).hexdigest()[:10]}.{TARGETS[target]}"
        shutil.copy(path, given / name)
    shutil.rmtree(kept)
    new.rename(kept)
    return len(fresh)


def main():
    seconds, binaries = float(sys.argv[1]) * 3600, pathlib.Path(sys.argv[2])
    for folder in (FOUND, CORPUS / "bin", *(CORPUS / target for target in TARGETS)):
        folder.mkdir(parents=True, exist_ok=True)
    for target in TARGETS:  # copied, so that a build meanwhile does not get in the way
        shutil.copy(binaries / f"fuzz_{target}", CORPUS / "bin")
    totals = json.loads(TOTALS.read_text()) if TOTALS.exists() else {}
    before = {target: len(row["found"]) for target, row in totals.items()}
    end = time.monotonic() + seconds
    while end - time.monotonic() >= len(TARGETS):
        turn = min(ROUND_SECONDS, (end - time.monotonic()) / len(TARGETS))
        for target in TARGETS:
            fuzz(target, turn, totals)
    print(f"{'target':<16}{'minutes':>8}{'executions':>14}{'edges':>8}{'inputs':>8}{'new':>5}{'found':>7}")
    for target in TARGETS:
        added, row = reduce(target), totals[target]
        print(f"{target:<16}{row['seconds'] / 60:>8.1f}{row['executions']:>14,}{row['coverage']:>8}"
              f"{len(list((CORPUS / target).iterdir())):>8}{added:>5}{len(row['found']):>7}", flush=True)
    sys.exit(any(len(row["found"]) > before.get(target, 0) for target, row in totals.items()))


if __name__ == "__main__":
    main()
