"""What the tool tells of a model, info and lint: info_test.py SMTHGRP EXAMPLES-FOLDER"""

import json
import os
import random
import re
import sys
import unittest

from support import ToolCase

EXAMPLES = os.path.abspath(sys.argv[2])
TRIANGLE = "v 0 0 0\nv 1 0 0\nv 0 1 0\n"
MODEL = TRIANGLE + ("v 2 2 -4\nv nan 9 9\nmtllib m.mtl none.mtl\ng a b\ns 3\nusemtl red\nf 1 2 3\nf 1 2 3 4\ng\tC\ns off\no thing\n"
                    "usemtl blue\nf 4 3 2 1 5\nl 1 2\np 1 4\ncurv 0 1 1 2\ncurv 0 1 2 1\nbevel on\nf 1 2\n")
SHORT = "face of fewer than three corners, line of fewer than two or point without any"
LEFT_OUT = "2 places left out, 2 with something missing, the first in line 5: number that is not finite"
FAULTS = TRIANGLE + "v 9 9 9\nv 8 8 8\nxyz\u001b\nf 1 2 3 2\r\ng a b\nf 1 2 -3\nf 0\nf 0 1 2\nv 0 0 nan\n"


def documents(text):
    """The JSON documents that stand one behind the other."""
    found = []
    while text := text.lstrip():
        document, end = json.JSONDecoder().raw_decode(text)
        found.append(document)
        text = text[end:]
    return found


class InfoTest(ToolCase):
    def test_document(self):
        self.write("m.mtl", "newmtl red\n")
        text = self.succeed("info", self.write("m.obj", MODEL), doubts=True,
                            notes=[f"m.obj: {LEFT_OUT}; see smthgrp lint"])
        for part in ("m.obj\n  vertices             5\n", f"\n  bounding box         0 0 -4 to 2 2 0\n  findings             {LEFT_OUT}\n",
                     "\nGroups\n  index  host's  faces  triangles  quads  more  lines  points  vertices  name\n"
                     "      1       1      2          1      1     0      0       0         4  a\n",
                     "\n      3       -      1          0      0     1      1       1         5  C\n\nGroups that only the host has\n"
                     "  host's  name\n       3  c\n\nSmoothing groups\n  number  faces\n       3      2\n     off      1\n\nObjects\n"
                     "  faces  name\n      1  thing\n",
                     "\nMaterials\n  faces  library    name\n      2  m.mtl      red\n      1  (missing)  blue\n\nMaterial libraries\n"
                     "  materials  name\n          1  m.mtl\n  (missing)  none.mtl\n\nOther statements\n  count  kind       keyword\n"
                     "      2  free-form  curv\n      1  display    bevel\n"):
            self.assertIn(part, text)
        told = json.loads(self.succeed("info", "--json", "--faces", "-", "--quiet", input=MODEL.encode()))
        group = {"index": 2, "hostIndex": 2, "name": "b", "vertexCount": 4, "faceCount": 2, "triangles": 1, "quads": 1, "more": 0,
                 "lines": 0, "points": 0, "faces": [1, 2]}
        self.assertEqual((told["file"], told["groups"][1], told["groups"][2]["faces"]), ("standard input", group, [3]))
        self.assertEqual(told["host"], {"error": None, "otherGroups": [{"hostIndex": 3, "name": "c"}]})
        self.assertEqual(told["boundingBox"], {"min": [0, 0, -4], "max": [2, 2, 0]})
        self.assertEqual((told["facesWithoutMaterial"], told["facesWithoutSmoothingGroup"]), (0, 1))
        self.assertEqual(told["findings"], {"errors": 4, "warnings": 0, "notes": 1, "text": LEFT_OUT})
        result = self.run_tool("info", "--json", "nope", "m.obj", ".", "--quiet")
        told = [document.get("error") for document in documents(result.stdout.decode())]
        self.assertEqual((result.returncode, told), (1, ["nope: No such file or directory", None, ".: Is a directory"]))
        self.assertEqual(result.stderr.decode(), f"smthgrp: {told[0]}\nsmthgrp: {told[2]}\n")
        passed = "c.obj: 2 lines passed over, the first line 4: unknown line"
        self.succeed("mesh", self.write("c.obj", TRIANGLE + "xyz\nxyz\ng a\nf 1 2 3\n"), "--mask", "a", notes=[passed], doubts=True)
        self.assertRegex(self.succeed("info", os.path.join(EXAMPLES, "robot.obj")),
                         r"\n  findings +none\n\nGroups\n  index  faces  triangles  quads  more  vertices  name\n")

    def test_the_hosts_groups(self):
        """Whether the plug-in is asked or not, they are those of --as-host."""
        lines = ("f 1 2 3\n", "f 1 2 3 \n", "f 1 2 3\r\n", "f 1 2\n", "f -1 -2 -3\n", "f 1 2 2 3\n", "f 1/ 2/ 3/\n", "f 1 2/1 3\n",
                 "f 1 2\\\n3\n", "l 1 2\n", "F 1 2 3\n", "g\n", "g a b\n", "g b \n", "g\tC\n", "g a\r\n", " g d\n", "G e\n", "gx f\n",
                 "o a b\n", "s 4294967296\n", "s on\n", "call g\n", "#\\\n", "usemtl x y\n", "mtllib a b\n", "xyz g\n", "vt 1\n",
                 "f 1 2 9\n", "".join(f"s {i}\n" for i in range(257)), "g " + "x" * 1030 + "\n", "sp 1\n", "g \u00e9\n", "g a\fb\n")
        chance = random.Random(5)
        names = []
        for i in range(120):
            some = lines[i:i + 1] or [chance.choice(lines) for _ in range(chance.randrange(2, 6))]
            names.append(self.write(f"{i}.obj", TRIANGLE + "".join(some) + "f 1 2 3\n"))
        names.append(self.write("bom.obj", "\ufeffg a\n" + TRIANGLE + "f 1 2 3\n"))
        answers = documents(self.run_tool("info", "--json", *names).stdout.decode())
        self.assertEqual(len(os.listdir(self.folder)), len(names), "the library's log file is not made")
        for name, told in zip(names, answers, strict=True):
            groups = [(group["hostIndex"], group["name"]) for group in told["groups"] if group["hostIndex"]]
            groups += [(group["hostIndex"], group["name"]) for group in told["host"]["otherGroups"]]
            result = self.run_tool("info", "--as-host", "--json", name)
            self.assertEqual(result.returncode != 0, told["host"]["error"] is not None, self.read(name))
            if result.returncode == 0:
                wanted = [(group["index"], group["name"]) for group in json.loads(result.stdout)["groups"]]
                self.assertEqual(sorted(groups), wanted, self.read(name))
        corners = "".join(f"v {i} 0 0\n" for i in range(89)) + "f " + " ".join(str(i + 1) for i in range(89))
        self.assertIn("\n  the host             cannot read this file: a face has more than 88 corners, the most that the library "
                      "takes\n", self.succeed("info", "-", input=corners.encode()))


class LintTest(ToolCase):
    def lint(self, status, *arguments, **options):
        result = self.run_tool("lint", *arguments, **options)
        self.assertEqual((result.returncode, result.stderr), (status, b""), arguments)
        return result.stdout.decode()

    def test_listing(self):
        self.write("m.obj", FAULTS)
        listing = """note unused-vertices, warning trailing-vertices, 6:1:error unknown-statement, 6:4:warning control-byte,
            7:warning repeated-corner, 7:warning carriage-return, 8:3:note several-groups, 9:7:warning relative-index,
            10:3:error index-zero, 11:3:error index-zero, 12:7:error number-not-finite"""
        listing = [" ".join(row.split()) for row in listing.split(",")]
        host = "; the host reads 2 places otherwise, see --host"
        for arguments, pick, summary in (
                (["--host"], range(11), "4 errors, 5 warnings, 2 notes"),
                ([], (0, 1, 2, 3, 4, 6, 8, 9, 10), "4 errors, 3 warnings, 2 notes" + host),
                (["--severity", "warning"], (1, 2, 3, 4, 8, 9, 10), "4 errors, 3 warnings" + host),
                (["--severity", "error", "--host"], (2, 8, 9, 10), "4 errors"),
                (["--max", "1"], (0,), "4 errors, 3 warnings, 2 notes; 8 not listed, see --max" + host),
                (["--max", "3", "--severity", "error"], (2, 8, 9), "4 errors; 1 not listed, see --max" + host)):
            *lines, last = self.lint(1, "m.obj", *arguments).splitlines()
            rows = [re.sub(r"m.obj:([\d:]*) (\w+): .*\[(.*)\]", r"\1\2 \3", line) for line in lines]
            self.assertEqual((rows, last), ([listing[i] for i in pick], f"m.obj: {summary}"), arguments)
        for line in ("m.obj: note: vertices that no element uses: 3 [unused-vertices]",
                     'm.obj:6:1: error: unknown statement: "xyz\\x1b" [unknown-statement]',
                     "m.obj:7: warning: carriage return at the line's end; the host lists faces twice [carriage-return]"):
            self.assertIn(line + "\n", self.lint(1, "m.obj", "--host"))
        told = documents(self.lint(1, "m.obj", "m.obj", "--json", "--max", "7"))[1]
        self.assertEqual((told["file"], told["counts"]), ("m.obj", {"errors": 4, "warnings": 3, "notes": 2, "hostNotListed": 2}))
        self.assertEqual((len(told["findings"]), told["findings"][0]["line"], told["findings"][6]), (7, None, {
            "line": 10, "column": 3, "offset": FAULTS.index("f 0\n") + 2, "severity": "error", "kind": "index-zero", "host": False,
            "message": "index 0: indices begin at 1", "text": "0"}))
        for arguments, lines in ([], 101), (["--max", "0"], 206):
            self.assertEqual(len(self.lint(1, "-", *arguments, input=b"xyz\n" * 205).splitlines()), lines)

    def test_exit_status(self):
        files = {"good": TRIANGLE + "f 1 2 3\n", "note": TRIANGLE + "g a b\nf 1 2 3\n", "warning": TRIANGLE + "f 1 2 3 1\n",
                 "host": TRIANGLE + "f 1 2 -1\n", "error": TRIANGLE + "f 1 2 3\nusemtl none\nf 1 3 2\n",
                 "utf16": "v 0 0 0\n".encode("utf-16"), "picture": b"\0\1\2abc" * 9}
        for name, text in files.items():
            self.write(name, text)
        for line, status in (("good", 0), ("note --strict", 0), ("warning", 0), ("warning --strict", 3), ("host --strict", 0),
                             ("host --strict --host", 3), ("good warning good --strict", 3), ("error", 1), ("warning error good --strict", 1),
                             ("warning --strict --severity error", 0), ("good - --strict", 3)):
            self.lint(status, *line.split(), input=files["warning"].encode())
        self.assertEqual(self.lint(0, "good"), "good: nothing found\n")
        self.assertEqual(self.lint(1, "picture"), "picture: error: this is not a text file; nothing was read [not-text]\npicture: 1 error\n")
        result = self.run_tool("lint", "utf16", "nope", "warning", "--json", "--strict")
        told = documents(result.stdout.decode())
        self.assertEqual((result.returncode, [document.get("error") is None for document in told]), (1, [False, False, True]))
        self.assertEqual(told[0]["findings"][0]["kind"], "utf-16")
        self.assertEqual(result.stderr.decode(), f"smthgrp: {told[0]['error']}\nsmthgrp: nope: No such file or directory\n")
        self.refuse(2, "MODEL is required; see smthgrp lint --help", "lint")
        self.refuse(2, "--max: is a number from 0 up, not -1; see smthgrp lint --help", "lint", "good", "--max", "-1")
        self.assertEqual(self.run_tool("lint", "good", "--severity", "bad").returncode, 2)

    def test_page_of_kinds_is_current(self):
        with open(os.path.join(EXAMPLES, "..", "docs", "findings.md"), encoding="utf-8") as page:
            self.assertEqual(self.lint(0, "--kinds"), page.read(), "write it again: smthgrp lint --kinds >docs/findings.md")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
