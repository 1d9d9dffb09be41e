"""Paths, and an OBJ reader that is plain to see."""

import glob
import io
import os

import ksmthgrp

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
ROBOT = os.path.join(ROOT, "examples", "robot.obj")
# Files of other programs, where they are there.
FILES = [ROBOT] + sorted(glob.glob(os.path.join(ROOT, "..", "shared", "data", "*.obj")))


def plain(path):
    """Lists of what a well-formed file says."""
    state = {"g": ("default",), "s": 0, "usemtl": None, "o": None}
    read = {"v": [], "vt": [], "vn": [], "faces": [], "states": []}
    with open(path, encoding="utf-8") as file:
        for line in file:
            words = line.split()
            if not words or words[0].startswith("#"):
                continue
            keyword, rest = words[0], words[1:]
            if keyword in ("v", "vt", "vn"):
                read[keyword].append([float(word) for word in rest])
            elif keyword == "g":
                state["g"] = tuple(rest) or ("default",)
            elif keyword == "s":
                state["s"] = 0 if rest[0] == "off" else int(rest[0])
            elif keyword in ("usemtl", "o"):
                state[keyword] = " ".join(rest) or None
            elif keyword == "f":
                counts = [len(read[kind]) for kind in ("v", "vt", "vn")]
                corners = []
                for word in rest:
                    parts = (word.split("/") + ["", ""])[:3]
                    numbers = [int(part) if part else 0 for part in parts]
                    corners.append([n - 1 if n >= 0 else count + n for n, count in zip(numbers, counts)])
                read["faces"].append(corners)
                read["states"].append(dict(state))
    return read


def written(document, method="write", **options):
    """What a method writes, read again."""
    target = io.BytesIO()
    getattr(document, method)(target, **options)
    return ksmthgrp.read(target.getvalue())
