"""The command-line tool as a person meets it: smthgrp_test.py SMTHGRP EXAMPLES-FOLDER"""

import json
import os
import resource
import shutil
import signal as signals
import struct
import subprocess
import sys
import time
import unittest

from support import ToolCase

EXAMPLES = os.path.abspath(sys.argv[2])
ROBOT = os.path.join(EXAMPLES, "robot.obj")
TRIANGLE = "v 0 0 0\nv 1 0 0\nv 0 1 0\n"
MODEL = TRIANGLE + ("v 5 5 5\nvt 0 0\nvn 0 0 1\nvn 1 0 0\ng a\ns 3\nf 1/1/1 2/1/1 3/1/2\n"
                    "g 1\ns off\nf 2 3 4\ng point\nf 4\n")
NORMALS = "normals are not preserved, recompute them where they are needed"
MARKED = ("v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv .5 2 0\nv 9 9 9\n"
          "g a\ns 1\nf 1 2 3 4\ng b\ns 2\nf 4 3 5\ng c\ns 0\nf 6 1\n")
PLY = "\n".join((
    "ply", "format binary_little_endian 1.0", "comment mask: 0 to 255 as the host keeps it; crease: 0 to 1",
    "element vertex 6", *(f"property float {name}" for name in "xyz"),
    *(f"property uchar {name}" for name in ("red", "green", "blue", "mask")),
    "element face 2", "property list uchar int vertex_indices",
    "element edge 1", "property int vertex1", "property int vertex2", "property float crease", "end_header", ""))


class ModelTest(ToolCase):
    def test_info(self):
        self.write("m.mtl", "newmtl red\nfoo 1\n")
        model = self.write("m.obj", TRIANGLE + "vt 0 0\nvn 0 0 1\nmtllib no.mtl\nmtllib m.mtl\nxyz\ng a b\nusemtl c\n"
                           "f 1 2 3/9\ns 7\nf 1 2 3\nusemtl red\ng b\nf 1 2\n")
        notes = ((6, "failedLibrary", "material library cannot be read", "no.mtl"),
                 (2, "unknownMtlKeyword", "unknown line of a material library", "m.mtl: foo 1"),
                 (8, "unknownLine", "unknown line", "xyz"), (10, "unknownMaterial", "unknown material", "c"),
                 (11, "malformedCorner", "face dropped, malformed corner", "f 1 2 3/9"))
        self.assertEqual(json.loads(self.succeed("info", "--as-host", "--json", model)), {
            "file": "m.obj", "counts": {"vertices": 3, "textureCoordinates": 1, "normals": 1, "faces": 2, "groups": 2,
                                        "smoothingGroups": 1, "materials": 1},
            "groups": [{"index": 1, "name": "a", "vertexCount": 3}, {"index": 2, "name": "b", "vertexCount": 3}],
            "smoothingGroups": [{"index": 1, "number": 7}],
            "skipped": {"total": 5, "lines": [dict(zip(("line", "kind", "reason", "text"), n)) for n in notes]}})
        text = self.succeed("info", "--as-host", model)
        for part in ("m.obj\n  vertices             3\n  texture coordinates  1\n", "\nGroups\n  index  vertices  name\n      1"
                     "         3  a\n", "  index  number\n      1       7\n", "\n     2  unknown line of a material library  m"):
            self.assertIn(part, text)
        for count, arguments, shown, more in ((20, [], 20, ""), (21, [], 20, "  ... and 1 more\n"), (21, ["--all"], 21, ""),
                                              (205, ["--all"], 200, "  ... and 5 more\n")):
            text = self.succeed("info", "--as-host", self.write("noise.obj", "xyz\n" * count), *arguments)
            self.assertEqual(text.partition("  text\n")[2], "".join(f"  {n:4}  unknown line  xyz\n" for n in range(1, shown + 1)) + more)

    def test_text_on_a_terminal(self):
        for name, shown in ((b"a\x1b[31m\x7f", r"a\x1b[31m\x7f"), (b"a\x90", r"a\x90"), ("\u0090\u202e", r"\u0090\u202e"),
                            (b"\xc0\x80", r"\xc0\x80"), (b"\xe0\x9f\xbf", r"\xe0\x9f\xbf"), (b"a\xc3", r"a\xc3"),
                            (b"\xed\xa0\x80", r"\xed\xa0\x80"), (b"\xf4\x90\x80\x80", r"\xf4\x90\x80\x80"),
                            ('"\\', r"\"\\"), ("é🙂", "é🙂"), ("x" * 60, "x" * 60), ("x" * 61, "x" * 57 + "..."),
                            ("中" * 31, "中" * 28 + "..."), ("e\u0301" * 60, "e\u0301" * 60)):
            model = self.write("m.obj", TRIANGLE.encode() + b"g " + (name.encode() if isinstance(name, str) else name) +
                               b"\nf 1 2 3\n")
            self.assertIn(f'mask group 1 "{shown}": 3 writes', self.succeed("mesh", model, "--mask", "1"))
            self.assertIsInstance(json.loads(self.succeed("info", "--json", "--quiet", model)), dict)

    def test_export(self):
        part = MODEL.replace("f 4\n", "f 2 3 4\np 4\n").replace("v 5 5 5", "v 5.50 5 5 1 0 0") + "o x\nusemtl red one\nf 1 2 4\n"
        self.write("m.obj", "# head\nmtllib m.mtl\n" + part)
        head, points, rest = "# head\nmtllib m.mtl\n", TRIANGLE + "v 5.50 5 5 1 0 0\n", "vt 0 0\nvn 0 0 1\nvn 1 0 0\n"
        faces = "g a\ns 3\nf 1/1/1 2/1/1 3/1/2\ng 1\ns off\nf 2 3 4\ng point\nf 2 3 4\np 4\no x\nusemtl red one\nf 1 2 4\n"
        last = TRIANGLE[:16] + "v 5.50 5 5 1 0 0\no x\ng point\ns off\nusemtl red one\nf 1 2 3\n"
        for line, said, text in (
                ("", "4 vertices, 4 faces", head + points + rest + faces.replace("o x\nus", "o x\nus")),
                ("-g a", "3 vertices, 1 face", head + TRIANGLE + rest + "g a\ns 3\nf 1/1/1 2/1/1 3/1/2\n"),
                ("-g a --no-smoothing --no-materials", "3 vertices, 1 face",
                 "# head\n" + TRIANGLE + rest + "g a\nf 1/1/1 2/1/1 3/1/2\n"),
                ("-g 1 --keep-order", "4 vertices, 1 face", head + points + rest + "g 1\ns off\nf 2 3 4\n"),
                ("-g a -g 2-3 -s 3 -s off --material red*", "3 vertices, 1 face", head + last),
                ("--object x", "3 vertices, 1 face", head + last),
                ("--group p* --smoothing-group 0 --object none", "3 vertices, 1 face",
                 head + points[8:] + "g point\ns off\nf 1 2 3\np 3\n")):
            self.assertEqual(self.succeed("export", "m.obj", "-o", "o.obj", *line.replace("none", "").split(" ") if line else ()),
                             f"o.obj: {said}\n", line)
            self.assertEqual(self.read("o.obj").decode(), text, line)
        piped = self.succeed("export", "-", "-o", "-", "-g", "a", input=self.read("m.obj"))
        self.assertEqual(piped, head + TRIANGLE + rest + "g a\ns 3\nf 1/1/1 2/1/1 3/1/2\n")
        for wanted, message in (("-g 9", "no group 9, the model has 3 groups"), ("-g 4-", "no group 4-, the model has 3 groups"),
                                ("-g pont", 'no group "pont"; did you mean "point"?'), ("-s 4-9", "no smoothing group 4-9, the model has 3"),
                                ("--object y", 'no object "y"'), ("--material bed_one", 'no material "bed_one"; did you mean "red one"?'),
                                ("-g a --object x", "no element is in all that was asked for")):
            self.refuse(1, "m.obj: " + message, "export", "m.obj", "-o", "n.obj", *wanted.split())
        self.write("bare.obj", TRIANGLE + "f 1 2 3\n")
        self.refuse(1, "bare.obj: the model has no materials", "export", "bare.obj", "-o", "n.obj", "--material", "x")
        self.write("all.obj", TRIANGLE + "s 1\no x\nf 1 2 3\n")
        self.refuse(1, "all.obj: there are no elements outside the smoothing groups", "export", "all.obj", "-o", "n.obj", "-s", "0")
        self.refuse(1, "all.obj: there are no elements without object", "export", "all.obj", "-o", "n.obj", "--object", "")
        self.assertFalse(os.path.exists(self.path("n.obj")), "nothing half-made is left")

    def test_split_and_merge(self):
        names = ["Arm", "arm", "_rest", "../../etc", "x"]
        self.write("m.mtl", "newmtl red\nmap_Kd t.png\n")
        self.write("t.png", "pixels")
        text = "mtllib m.mtl\n" + TRIANGLE + "v 7 7 7\nusemtl red\n" + "".join(f"g {n} x\nf 1 2 3\n" for n in names[:-1])
        self.write("m.obj", text)
        self.assertEqual(self.succeed("split", "m.obj", "-o", "new/parts"), "new/parts: 6 files written\n")
        files = sorted(os.listdir(self.path("new/parts")))
        self.assertEqual(files, ["Arm.obj", "___.._etc.obj", "_rest.obj", "_rest_2.obj", "arm_2.obj", "x.obj"])
        self.assertIn(b"\nmtllib ../../m.mtl\n", self.read("new/parts/x.obj"))
        parts = ["new/parts/" + name for name in files]
        self.assertEqual(self.succeed("merge", *parts, "-o", "back.obj"), "back.obj: 4 vertices, 4 faces\n")
        self.succeed("export", "m.obj", "-o", "copy.obj")
        self.assertEqual(self.read("back.obj"), self.read("copy.obj"))
        self.succeed("merge", *parts[:-1], "-o", "back.obj")
        self.assertEqual(self.read("back.obj"), self.read("copy.obj"), "the parts left have all of it")
        self.succeed("merge", parts[0], parts[1], "-o", "some.obj",
                     notes=["some.obj: parts are missing: 3 lines of the model are in none of the files"])
        self.write(parts[0], self.read(parts[0]).replace(b"v 1 0 0", b"v 1 0 9"))
        self.succeed("merge", *parts, "-o", "some.obj", notes=[
            "some.obj: 1 vertex line not alike in all parts, the first file's is taken; see new/parts/___.._etc.obj:5"])
        self.succeed("merge", parts[0], parts[1], "-o", "some.obj", "--concatenate", "--weld",
                     notes=["some.obj: 2 vertex lines welded"])
        self.write(parts[0], self.read(parts[0]) + b"f 1 2 3\n")
        self.refuse(1, parts[0] + ": does not hold what its note of the part it is says; it was changed", "merge", *parts, "-o", "x")
        self.assertEqual(self.succeed("split", "m.obj", "-o", "mat", "--by", "material", "--copy-materials"), "mat: 2 files written\n")
        self.assertEqual(sorted(os.listdir(self.path("mat"))), ["_rest.obj", "m.mtl", "red.obj", "t.png"])
        self.assertIn(b"\nmtllib m.mtl\n", self.read("mat/red.obj"))
        self.write("mat/t.png", "other")
        self.refuse(1, "mat/t.png: is there and is not ./t.png; it is not written over", "export", "m.obj", "-o", "mat/n.obj",
                    "--copy-materials")
        self.succeed("split", "m.obj", "-o", "some", "-g", "[Aa]rm", "--by", "smoothing")
        self.assertEqual(os.listdir(self.path("some")), ["smoothing_off.obj"])
        self.assertEqual(self.read("some/smoothing_off.obj").count(b"\nf "), 2)
        self.assertEqual(self.succeed("split", self.write("bare.obj", TRIANGLE), "-o", "n"), "n: 1 file written\n")
        self.refuse(1, "no.obj: there is nothing in the model to write", "split", self.write("no.obj", "# a\n"), "-o", "n")
        self.write("gone.obj", "mtllib gone.mtl\n" + text + "usemtl (null)\nf 1 2 3\nusemtl blue\nf 1 2 3\n")
        result = self.run_tool("export", "gone.obj", "-o", "mat/gone.obj")
        self.assertEqual(result.stderr.decode().splitlines(), [
            "smthgrp: note: gone.obj: 2 places with something missing, the first in line 1: material library missing or unreadable; see smthgrp lint",
            "smthgrp: warning: gone.mtl: the material library is not there; its name stays as it is"])

    def test_copies_that_clash(self):
        os.mkdir(self.path("D"))
        for folder, material in zip("ABE", ("red", "blue", "red")):
            os.mkdir(self.path(folder))
            self.write(f"{folder}/m.mtl", f"newmtl {material}\nmap_Kd t.png\n")
            self.write(f"{folder}/n.mtl", f"newmtl {folder}\nmap_Kd ./t.png\n")
            self.write(f"{folder}/t.png", material)
            for library in "mn":
                self.write(f"{folder}/{library}.obj", f"mtllib {library}.mtl\n{TRIANGLE}f 1 2 3\n")
        self.write("A/two.obj", f"mtllib ../B/m.mtl ../E/m.mtl\n{TRIANGLE}g a\nf 1 2 3\n")
        self.succeed("merge", "A/m.obj", "E/m.obj", "A/m.obj", "-o", "D/o.obj", "--copy-materials")
        self.assertEqual(sorted(os.listdir(self.path("D"))), ["m.mtl", "o.obj", "t.png"])
        self.assertEqual(self.read("D/o.obj").count(b"mtllib"), 1, "files of the same bytes are one")
        self.refuse(1, "D/m.mtl: is there and is not B/m.mtl; it is not written over", "merge", "A/m.obj", "B/m.obj", "-o", "D/o.obj",
                    "--copy-materials")
        shutil.rmtree(self.path("D"))
        os.mkdir(self.path("D"))
        for line, target, first, second in (
                ("merge A/m.obj E/m.obj B/m.obj -o D/o.obj", "D/m.mtl", "A/m.mtl", "B/m.mtl"),
                ("merge A/m.obj B/n.obj -o D/o.obj", "D/./t.png", "A/t.png", "B/./t.png"),
                ("export A/two.obj -o D/o.obj", "D/m.mtl", "A/../B/m.mtl", "A/../E/m.mtl"),
                ("split A/two.obj -o D", "D/m.mtl", "A/../B/m.mtl", "A/../E/m.mtl")):
            self.refuse(1, f"{target}: would be a copy of {first} and of {second}, which differ", *line.split(), "--copy-materials")
            self.assertEqual(os.listdir(self.path("D")), [], "nothing is written")

    def test_materials_that_clash(self):
        for name, library, text in (
                ("a", "a.mtl", "newmtl red\nKd 1  0 0\n# one\nnewmtl odd\nKd 0 0 0\nnewmtl same\nd 1\nnewmtl red\nd 0\n"),
                ("b", "b.mtl", "newmtl same\n\nd\t1\nnewmtl odd\nKd 1 1 1\nnewmtl red\n kd 1 0 \\\n0\n"),
                ("c", "c.mtl a.mtl", "newmtl same\nd 1\nnewmtl red\nKd 1 0 0\nKs 1 1 1\n"), ("d", "c.mtl none.mtl", "")):
            self.write(name + ".mtl", text)
            self.write(name + ".obj", f"mtllib {library}\n{TRIANGLE}usemtl {'same' if name == 'd' else 'red'}\nf 1 2 3\n")
        self.succeed("merge", "a.obj", "b.obj", "-o", "o.obj")
        result = self.run_tool("--quiet", "merge", "a.obj", "b.obj", "c.obj", "d.obj", "c.obj", "-o", "o.obj")
        self.assertEqual((result.returncode, result.stderr.decode()), (
            0, 'smthgrp: warning: material "red": is not the same in a.mtl and in c.mtl; all of its faces get one of them\n'))

    def test_replace_and_diff(self):
        self.write("m.obj", MODEL)
        self.write("p.obj", MODEL.replace("v 5 5 5", "v 5.0 5 7.50") + "g new\nusemtl m\nf 1 2 4\n")
        self.refuse(1, "the models differ in their topology: m.obj has 2 faces, p.obj:18 has 3 faces; --force replaces nevertheless",
                    "replace", "m.obj", "p.obj", "-o", "o.obj")
        self.succeed("replace", "m.obj", "p.obj", "-o", "o.obj", "--force")
        self.assertEqual(self.read("o.obj").decode(), MODEL.replace("v 5 5 5", "v 5.0 5 7.50").replace("f 4\n", ""))
        said = ("same topology: 4 vertices, 2 faces\n1 vertex moved\n  mean move 2.5, greatest 2.5: vertex 4, lines 4 and 4, "
                "from 5 5 5 to 5 5 7.5\n")
        self.assertEqual(self.succeed("diff", "m.obj", "o.obj"), said)
        result = self.run_tool("diff", "m.obj", "p.obj")
        self.assertEqual((result.returncode, result.stdout.decode().splitlines()), (1, [
            "another topology: m.obj has 2 faces, p.obj:18 has 3 faces", 'group "new": 1 face, only in p.obj',
            "smoothing group 0: 1 face and 2, 0 only in the first, 1 only in the second",
            'material "m": 1 face, only in p.obj', "without object: 2 faces and 3, 0 only in the first, 1 only in the second",
             *said.splitlines()[1:]]))
        told = json.loads(self.run_tool("diff", "m.obj", "p.obj", "--json").stdout)
        self.assertEqual((told["sameTopology"], told["firstDifference"]["lines"], told["groups"], told["positions"]), (
            False, [0, 18], [{"name": "new", "faces": [None, 1], "facesOnly": [0, 1]}],
            {"moved": 1, "meanMove": 2.5, "greatestMove": 2.5, "greatestVertex": 4, "greatestLines": [4, 4],
             "greatestPositions": [[5, 5, 5], [5, 5, 7.5]]}))
        self.refuse(3, "nope: No such file or directory", "diff", "m.obj", "nope")
        self.assertEqual(json.loads(self.run_tool("diff", "m.obj", "nope", "--json").stdout), {"error": "nope: No such file or directory"})
        self.write("nan.obj", TRIANGLE + "v nan 1 1\nv 1 1 1\n")
        self.assertIn("0 vertices moved", self.succeed("diff", "nan.obj", "nan.obj"))
        self.write("inf.obj", TRIANGLE + "v 1 1 1\nv nan 1 1\n")
        self.assertIn("mean move inf, greatest inf: vertex 4", self.succeed("diff", "nan.obj", "inf.obj"))
        self.refuse(3, ".: Is a directory", "diff", ".", "m.obj")

    def test_a_killed_writer_leaves_the_old_file(self):
        self.write("big.obj", "".join(f"v {i} 0 0\n" for i in range(60000)) + "".join(f"g g{i % 7}\nf 1 2 {i + 3}\n" for i in range(50000)))
        self.succeed("export", "big.obj", "-o", "o.obj")
        whole = self.read("o.obj")
        for number in range(24):
            signal = ("TERM", "KILL", "INT")[number % 3]
            tool = self.start("export", "big.obj", "-o", "o.obj")
            time.sleep(number * 0.002)
            tool.send_signal(getattr(signals, "SIG" + signal))
            tool.communicate()
            self.assertEqual(self.read("o.obj"), whole, signal)
            left = set(os.listdir(self.folder)) - {"big.obj", "o.obj"}
            self.assertTrue(signal == "KILL" or not left, left)
            for name in left:
                os.remove(self.path(name))

    def test_export_as_host(self):
        self.write("m.obj", MODEL)
        points = [f"v {x} " for x in ("0.00000 0.00000 0.00000", "1.00000 0.00000 0.00000", "0.00000 1.00000 0.00000",
                                      "5.00000 5.00000 5.00000")]
        coordinates = ["vt 0.00000 0.00000 0.00000 "] + ["vn 0.00000 0.00000 0.00000 "] * 2
        for arguments, said, lines in (
                (["-g", "a"], "3 vertices, 1 face", points[:3] + ["g a", "f 1 2 3"]),
                (["-g", "1"], "3 vertices, 1 face", points[1:] + ["g 1", "f 1 2 3"]),  # a name comes before an index
                (["--smoothing-group", "3"], "3 vertices, 1 face", points[:3] + ["g 3", "f 1 2 3"]),
                (["-s", "0"], "3 vertices, 2 faces", points[1:] + ["g 0", "f 1 2 3", "f 3"]),
                ([], "4 vertices, 3 faces", points + coordinates + ["g a", "f 1/1/1 2/1/1 3/1/2", "g 1", "f 2 3 4",
                                                                    "g point", "f 4"])):
            notes = [] if arguments else ["o.obj: " + NORMALS]
            self.assertEqual(self.succeed("export", "m.obj", "-o", "o.obj", "--as-host", *arguments, notes=notes), f"o.obj: {said}\n")
            self.assertEqual(self.read("o.obj").decode().splitlines()[5:], lines)

    def test_standard_input_as_host(self):
        self.write("m.obj", MODEL + "xyz\n")
        self.write("p.obj", MODEL)
        for line in ("info {} --as-host", "export {} -o o.obj -g a --as-host", "split {} -o parts --as-host",
                     "replace {} p.obj -o o.obj --as-host", "mesh {} --mask a", "export {} -o o.obj -g 9 --as-host"):
            wanted, got = (self.run_tool(*line.format(model).split(), input=self.read("m.obj")) for model in ("m.obj", "-"))
            self.assertIn(b"m.obj", wanted.stdout + wanted.stderr)
            for ours, theirs in (got.stdout, wanted.stdout), (got.stderr, wanted.stderr):
                self.assertEqual(ours, theirs.replace(b"m.obj", b"standard input"))

    def test_choice_as_host(self):
        self.write("m.obj", MODEL)
        self.write("many.obj", TRIANGLE + "".join(f"s {i}\nf 1 2 3\n" for i in range(1, 14)))
        self.write("bare.obj", TRIANGLE)
        self.write("names.obj", TRIANGLE + "".join(f"g {n}\nf 1 2 3\n" for n in ("head", "left_arm", "right_arm", "abc")))
        for model, wanted, message in (
                ("m", ["-g", "0"], "no group 0, the model has 3 groups"),
                ("m", ["-g", "4"], "no group 4, the model has 3 groups"),
                ("m", ["-g", "3"], 'group 3 "point" has no vertex range, there is nothing to write'),
                ("m", ["-s", "9"], "no smoothing group 9, the model has 3"),
                ("bare", ["-g", "a"], "the model has no groups"),
                ("many", ["-s", "0"], "there are no faces outside the smoothing groups, there is nothing to write"),
                ("many", ["-s", "99"], "no smoothing group 99, the model has 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, ..."),
                ("names", ["-s", "1"], "no smoothing group 1, the model has none"),
                ("names", ["-g", "haed"], 'no group "haed"; did you mean "head"?'),
                ("names", ["-g", "HEDA"], 'no group "HEDA"; did you mean "head"?'),
                ("names", ["-g", "arm"], 'no group "arm"; did you mean "left_arm", "right_arm" or "abc"?'),
                ("names", ["-g", "ab"], 'no group "ab"; did you mean "abc"?'),
                ("names", ["-g", "zzzz"], 'no group "zzzz"')):
            self.refuse(1, f"{model}.obj: {message}", "export", model + ".obj", "-o", "o.obj", "--as-host", *wanted)
        self.assertFalse(os.path.exists(self.path("o.obj")), "nothing half-made is left")

    def test_split_as_host(self):
        names = ["Arm", "arm", "ARM", "arm_2", "../../etc", ".hidden", "a\\b\x1f\x7f", "ä" * 100, "a" + "ä" * 100, "ä" * 100 + "b"]
        files = ["Arm", "arm_2", "ARM_3", "arm_2_2", "___.._etc", "_hidden", "a_b__", "ä" * 100, "a" + "ä" * 99,
                 "ä" * 100 + "_2"]
        text = TRIANGLE + "".join(f"g {name}\nf 1 2 3\n" for name in ["point", *names]).replace("f 1 2 3", "f 1", 1)
        said = self.succeed("split", self.write("m.obj", text), "-o", "new/parts", "--as-host",
                            notes=['skipped group 1 "point", it has no vertex range'])
        self.assertEqual((said, sorted(os.listdir(self.path("new/parts")))),
                         ("new/parts: 10 files written\n", sorted(name + ".obj" for name in files)))
        self.assertIn(b"g ARM\nf 1 2 3\n", self.read("new/parts/ARM_3.obj"))
        self.assertEqual(self.succeed("split", ROBOT, "-o", "robot", "--as-host"), "robot: 11 files written\n")
        none = [f'skipped group {i + 1} "g{i}", it has no vertex range' for i in range(20)]
        self.write("p.obj", TRIANGLE + "".join(f"g g{i}\nf 1\n" for i in range(22)) + "g a\nf 1 2 3\n")
        self.succeed("split", "p.obj", "-o", "p", "--as-host", notes=none + ["skipped 2 more groups without a vertex range"])
        self.refuse(1, "m.obj: Not a directory", "split", "p.obj", "-o", "m.obj", "--as-host")
        self.refuse(1, "n.obj: the model has no groups, there is nothing to write", "split", self.write("n.obj", TRIANGLE), "-o", "n",
                    "--as-host")

    def test_replace_as_host(self):
        self.write("m.obj", MODEL)
        self.write("p.obj", "v 1 2 3\n" * 4)
        self.assertEqual(self.succeed("replace", "m.obj", "p.obj", "-o", "o.obj", "--as-host", notes=["o.obj: " + NORMALS]),
                         "o.obj: 4 vertices, 3 faces\n")
        self.assertEqual(self.read("o.obj").count(b"v 1.00000 2.00000 3.00000 \n"), 4)
        self.refuse(1, "t.obj: has 3 vertices, but m.obj has 4", "replace", "m.obj", self.write("t.obj", TRIANGLE), "-o", "x",
                    "--as-host")
        self.refuse(1, "b.obj: line 2: a face names vertex 0: f 0", "replace", "m.obj", self.write("b.obj", "v 1 2 3\nf 0\n"),
                    "-o", "x", "--as-host")
        self.refuse(1, "nope: No such file or directory", "replace", "m.obj", "nope", "-o", "x", "--as-host")

    def test_fix(self):
        os.mkdir(self.path("models"))
        self.write("models/m.mtl", "newmtl red\n")
        model = self.write("models/m.obj", TRIANGLE + "mtllib m.mtl no.mtl\r\no Cube\ng left ear\nusemtl red\nf -3 -2 -1\nxyz\nl 1 2\n")
        text = TRIANGLE + "o Cube\ng left ear\nusemtl red\nf 1 2 3\nl 1 2\n"
        changes = ("3 vertices, 1 face\n\nChanged\n       1  line end of a carriage return made a line feed [carriage-return], line 4\n",
                   '\n       1  relative indices made absolute [relative-index], line 8: "-3"\n',
                   '\n\nLeft out\n       1  unknown statement [unknown-statement], line 9: "xyz"\n\nStays, but cannot be said to the host\n')
        result = self.run_tool("--quiet", "fix", model, "-o", "o.obj")
        self.assertEqual(result.stderr, b"smthgrp: warning: models/no.mtl: the material library is not there; its name stays as it is\n")
        for part in ("o.obj: " + changes[0], *changes[1:]):
            self.assertIn(part, result.stdout.decode())
        self.assertEqual(self.read("o.obj").decode(), "mtllib models/m.mtl\nmtllib no.mtl\n" + text)
        result = self.run_tool("--quiet", "fix", "-", "-o", "-", "--one-name", "--objects", input=self.read(model))
        self.assertEqual(result.stdout.decode(), "mtllib m.mtl\nmtllib no.mtl\n" + text.replace("left ear", "Cube left_ear"))
        self.assertTrue(result.stderr.decode().startswith("standard output: " + changes[0]), result.stderr)
        with open(self.path(model), "ab") as log:
            self.refuse(1, "standard output: is the file that is read, and writing would destroy it", "fix", model, "-o", "-", stdout=log)
        told = json.loads(self.succeed("fix", model, "--in-place", "--json"))
        self.assertEqual(self.read(model).decode(), "mtllib m.mtl\nmtllib no.mtl\n" + text)
        self.assertEqual(told["counts"], {"vertices": 3, "faces": 1, "changed": 3, "left-out": 1, "unsaid": 3})
        self.assertIn({"kind": "unknown-statement", "effect": "left-out", "text": "unknown statement", "count": 1,
                       "places": [{"line": 9, "text": "xyz"}]}, told["fixes"])
        told = json.loads(self.succeed("fix", model, "--in-place", "--json"))
        self.assertEqual([told["counts"][key] for key in ("changed", "left-out", "unsaid")], [0, 0, 3])
        for line, message in (("fix m.obj", "fix needs either --output or --in-place"), ("fix - --in-place", "standard input cannot be fixed in place"),
                              ("fix m.obj -o x --in-place", "fix needs either --output or --in-place"),
                              ("fix m.obj -o - --json", "the model and --json cannot both go to standard output")):
            self.refuse(2, message, *line.split())
        self.refuse(1, "no.obj: No such file or directory", "fix", "no.obj", "--in-place")
        notes = self.write("notes.txt", "# Notes\nno model at all\n")
        self.refuse(1, "notes.txt: there is nothing of a model in it; it stays as it is", "fix", notes, "--in-place")
        self.refuse(1, "notes.txt: there is nothing of a model in it", "export", notes, "-o", "x.obj")
        self.assertEqual(self.read(notes), b"# Notes\nno model at all\n")

    def test_calls(self):
        self.write("m.obj", MODEL)
        self.assertEqual(self.succeed("call", "Version"), "1.3\n")
        self.assertEqual(self.succeed("call", "LoadOBJFile", "nope.obj"), '-1  "OBJ file not found: nope.obj"\n')
        self.assertEqual(self.succeed("call", "LoadOBJFile", "-", "-.5"), "0\n")
        script = '# a comment\n\nLoadOBJFile "m.obj"\t# and another\nGetOBJGroupInfo name 2\nLoadOBJFile -\nLoadOBJFile "-"\n' \
                 'LoadOBJFile "a \\"\\\\" 1e0\nFreeOBJModel\n'
        self.assertEqual(self.succeed("call", input=script.encode()),
                         'LoadOBJFile -> 3\nGetOBJGroupInfo -> 0  "1"\nLoadOBJFile -> 0\n'
                         'LoadOBJFile -> -1  "OBJ file not found: -"\n'
                         'LoadOBJFile -> -1  "OBJ file not found: a \\"\\\\"\nFreeOBJModel -> 0\n')
        for line, message in (('GetOBJInfo a 1 b', 'more than NAME TEXT NUMBER: "b"'), ('Version "a', "the closing quote is missing"),
                              ('Version "a\\n"', r'\ in quotes must be followed by " or \ '[:-1]),
                              ('Version "a"b', "a blank must follow the closing quote"), ("Version a 2x", '"2x" is not a number')):
            self.refuse(2, f"s.txt: line 2: {message}", "call", "--script", self.write("s.txt", f"#\n{line}\n"))
        self.assertRegex(self.run_tool("call", "version").stderr, b'^smthgrp: there is no call "version"; the calls are Version, Load')

    def test_output(self):
        self.write("m.obj", MODEL)
        os.mkfifo(self.path("pipe"))
        for arguments, notes in ((["export", "m.obj", "-g", "a"], []), (["replace", "m.obj", "m.obj", "--as-host"], [NORMALS])):
            self.succeed(*arguments, "-o", "file", notes=["file: " + note for note in notes])
            content = self.read("file").decode()
            self.assertEqual(self.succeed(*arguments, "-o", "/dev/stdout", notes=["/dev/stdout: " + n for n in notes]), content)
            with subprocess.Popen(["cat", "pipe"], cwd=self.folder, stdout=subprocess.PIPE) as reader:
                self.succeed(*arguments, "-o", "pipe", notes=["pipe: " + note for note in notes])
                self.assertEqual(reader.communicate()[0].decode(), content)
            with open(self.path("log"), "wb") as log:  # A file behind it is written on from where it stands.
                log.write(b"before\n")
                log.flush()
                self.succeed(*arguments, "-o", "-", stdout=log, notes=["standard output: " + note for note in notes])
            self.assertEqual(self.read("log").decode(), "before\n" + content)
        self.succeed("export", ROBOT, "-o", "robot.obj", "--as-host", notes=["robot.obj: " + NORMALS])
        os.mkdir(self.path("folder.obj"))
        for name, failed, most, *arguments in (
                ("o.obj", "is incomplete, writing it failed (no space left, or a file size limit)",
                 self.read("robot.obj").rindex(b"f "), "export", ROBOT, "--as-host"),
                ("o.obj", "File too large", 4096, "export", ROBOT), ("o.ply", "File too large", 4096, "mesh", ROBOT, "--mask", "1")):
            for target, message in (("folder.obj", "Is a directory"), ("no/o.obj", "No such file or directory"),
                                    ("/dev/full", "No space left on device")):
                self.refuse(1, f"{target}: {message}", *arguments, "-o", target)
            self.refuse(1, f"{name}: {failed}", *arguments, "-o", name,
                        preexec_fn=lambda most=most: resource.setrlimit(resource.RLIMIT_FSIZE, (most, most)))
        for how in ([], ["--as-host"]):
            self.assertEqual(self.run_tool("split", ROBOT, "-o", "x/y", *how, preexec_fn=lambda: resource.setrlimit(
                resource.RLIMIT_FSIZE, (1999, 1999))).returncode, 1)
        self.assertFalse({"o.obj", "o.ply", "x"} & set(os.listdir(self.folder)), "nothing half-made is left")
        os.symlink("new.ply", self.path("link.ply"))
        self.succeed("mesh", "m.obj", "--mask", "a", "-o", "link.ply", notes=["link.ply: without 1 face that is no polygon"])
        self.assertTrue(os.path.islink(self.path("link.ply")) and os.path.isfile(self.path("new.ply")))

    def test_output_onto_the_input(self):
        text = TRIANGLE + "g m\nf 1 2 3\n"
        for name in "m.obj", "other.obj":
            self.write(name, text)
        os.symlink("m.obj", self.path("link.obj"))
        self.assertEqual(self.succeed("export", "m.obj", "-o", "link.obj"), "link.obj: 3 vertices, 1 face\n")
        self.succeed("replace", "m.obj", "other.obj", "-o", "other.obj")
        self.assertEqual(self.read("m.obj") + self.read("other.obj"), text.encode() * 2)
        self.assertTrue(os.path.islink(self.path("link.obj")))
        for line in "split m.obj -o .", "split m.obj -o . --by group --no-smoothing":  # nobody named that file
            self.refuse(1, "./m.obj: is the file that is read; a part of it would take its place", *line.split())
        for line in "export m.obj -o -", "export m.obj -o - --as-host", "replace other.obj m.obj -o -", "merge m.obj -o -":
            with open(self.path("m.obj"), "ab") as log:
                self.refuse(1, "standard output: is the file that is read, and writing would destroy it", *line.split(), stdout=log)
        self.succeed("mesh", "m.obj", "--mask", "m", "-o", "./m.obj")
        self.assertTrue(self.read("m.obj").endswith(b"\nf 1 2 3\n"))
        self.assertEqual(sorted(os.listdir(self.folder)), ["link.obj", "m.obj", "other.obj"])

    def test_models_that_cannot_be_read(self):
        corners = "".join(f"v {i} 0 0\n" for i in range(89)) + "f " + " ".join(str(i + 1) for i in range(89)) + "\n"
        given = "v 0 0 0\nvt 0 0\nvn 0 0 1\nxyz\nf "
        for corner, what in (("0", "vertex 0"), ("2", "a vertex that the file has not given"), ("1/0", "texture coordinate 0"),
                             ("1/2", "a texture coordinate that the file has not given"), ("1//0", "normal 0"),
                             ("1//2", "a normal that the file has not given")):
            self.refuse(1, f"m.obj: line 5: a face names {what}: f {corner}", "info", "--as-host", self.write("m.obj", given + corner))
        for text, what in ((corners, "a face has more than 88 corners"),
                           ("".join(f"s {i}\n" for i in range(257)), "an s line follows after 256 smoothing groups")):
            what += ", the most that the library takes"
            self.refuse(1, f"m.obj: {what}", "info", "--as-host", self.write("m.obj", text))
            told = self.run_tool("info", "--as-host", "--json", "m.obj", ROBOT).stdout.decode()
            self.assertTrue(told.startswith(f'{{\n  "file": "m.obj",\n  "error": "m.obj: {what}"\n}}\n{{\n  "file": "{ROBOT}"'), told)
        self.refuse(1, "/dev/stdin: Vertex not found at (f 9) in /dev/stdin", "info", "--as-host", "/dev/stdin", input=b"v 0 0 0\nf 1 1x\nf 9\n")
        self.refuse(1, ".: Is a directory", "info", "--as-host", ".")
        self.write("n.obj", TRIANGLE + "vn 0 0 1\ng a\nf 1//1 2//1 3//1\n")
        self.refuse(1, "n.obj: the library cannot write this model as a whole, it has 1 normal and only 0 texture coordinates; its "
                    "groups can be written one by one, with split or export --group", "export", "n.obj", "-o", "o", "--as-host")
        self.assertIn("1 file written", self.succeed("split", "n.obj", "-o", "parts", "--as-host"))
        self.assertRegex(self.run_tool("info", "--as-host", ROBOT, "--library", "/nope.so").stderr, b"^smthgrp: cannot load the library: /nope.so: cannot open")

    def test_usage(self):
        self.write("m.obj", MODEL)
        for line, message in (
                ("", "a command is needed; smthgrp --help lists them"),
                ("expotr m.obj -o x", 'there is no command "expotr"; did you mean "export"? See smthgrp --help'),
                ("psd inof m.obj", 'there is no command "inof"; did you mean "info"? See smthgrp psd --help'),
                ("psd", "a command is needed; see smthgrp psd --help"),
                ("info", "MODEL is required; see smthgrp info --help"),
                ("replace m.obj m.obj -o x a b c", 'more than is expected: "a" "b" "c"; see smthgrp replace --help'),
                ("export m.obj --ouput=x", 'there is no option "--ouput"; did you mean "--output"? See smthgrp export --help'),
                ("info --libary x", 'there is no option "--libary"; did you mean "--library"? See smthgrp info --help'),
                ("export m.obj -o x -s 1 -g a --as-host", "--as-host takes one --group or one --smoothing-group"),
                ("export m.obj -o x -s abc --as-host", '--as-host takes the number of a smoothing group, not "abc"'),
                ("replace m.obj - -o x --as-host", "with --as-host the positions cannot be read from standard input"),
                ("replace m.obj m.obj -o x --force --as-host", "--force does not go with --as-host; see smthgrp replace --help"),
                ("split m.obj -o x --by colour", "--by: colour not in {group,material,object,smoothing}; see smthgrp split --help"),
                ("diff - -", "only one of the models can be read from standard input"),
                ("mesh m.obj --mask-value 3", "nothing to mask or crease; see smthgrp mesh --help"),
                ("mesh m.obj --mask a -o x", "x: a marked mesh is written to NAME.ply or NAME.obj"),
                ("call Version --script s", "NAME and --script exclude each other; see smthgrp call --help")):
            self.refuse(2, message, *line.split())
        for line in "mesh m.obj --mask 1 --mask-value 256", "mesh m.obj --crease-all-smoothing=3":
            self.assertEqual(self.run_tool(*line.split()).returncode, 2, line)
        self.assertEqual(os.listdir(self.folder), ["m.obj"])
        self.assertEqual(self.succeed("--version"), "KSmthGrpImpt 1.3\n")
        with open("/dev/full", "wb") as full:
            self.refuse(1, "standard output: No space left on device", "info", "--help", stdout=full)
        for command in ("", "info", "lint", "export", "split", "replace", "merge", "diff", "fix", "mesh", "call", "psd", "psd layers"):
            text = self.succeed(*command.split(), "--help")
            self.assertIn("Usage: " + f"smthgrp {command}".strip(), text)
            self.assertLessEqual(max(map(len, text.splitlines())), 80, command)


class MeshTest(ToolCase):
    def test_marks(self):
        arguments = ["mesh", self.write("m.obj", MARKED), "--mask", "a", "--crease", "b", "--mask-value", "128",
                     "--mask-smoothing", "2", "--crease-all-smoothing"]
        left_out = "without 1 face that is no polygon"
        told = json.loads(self.succeed(*arguments, "--json", "-o", "m.ply"))
        rows = (("Group", "mask", 1, "a", 128, 4, 4, 3), ("Group", "crease", 2, "b", None, 1, 1, 2),
                ("SmoothGroup", "mask", 2, 2, 128, 3, 3, 2), ("SmoothGroup", "crease", 1, 1, None, 1, 1, 3),
                ("SmoothGroup", "crease", 2, 2, None, 1, 1, 2), ("SmoothGroup", "crease", 3, 0, None, 0, 0, 1))
        for call, (kind, key, index, group, value, answer, marked, shared) in zip(told.pop("calls"), rows, strict=True):
            wanted = {"call": "SetMesh3DFromOBJ" + kind, "key": key, "index": index, "answer": answer, "verticesShared": shared,
                      "group" if kind == "Group" else "smoothingGroup": group,
                      "verticesMasked" if key == "mask" else "edgesCreased": marked}
            self.assertEqual(call, wanted | ({"maskValue": value} if value else {}))
        self.assertEqual(told, {"file": "m.obj", "counts": {"vertices": 6, "faces": 3}, "output": "m.ply",
                                "mesh": {"verticesMasked": 5, "edgesCreased": 1}, "notes": ["m.ply: " + left_out]})
        points, masked = ((0, 0), (1, 0), (1, 1), (0, 1), (.5, 2)), bytes((217, 147, 112, 128))
        ply = PLY.encode() + b"".join(struct.pack("<3f", *xy, 0) + masked for xy in points)
        ply += struct.pack("<3f4BB4iB3i2if", 9, 9, 9, 204, 204, 204, 0, 4, 0, 1, 2, 3, 3, 3, 2, 4, 2, 3, 1)
        self.assertEqual(self.read("m.ply"), ply)
        self.assertEqual(self.run_tool(*arguments, "-o", "-").stdout, ply)
        lines = self.succeed(*arguments, "-o", "M.OBJ", notes=["M.OBJ: " + left_out]).splitlines()
        self.assertEqual(lines[:3] + lines[-1:], [
            "m.obj: 6 vertices, 3 faces",
            'mask group 1 "a": 4 writes, 4 vertices masked with 128, 3 of them shared with other groups',
            'crease group 2 "b": 1 neighbour beyond its border, 1 edge creased, 2 vertices shared with other groups',
            "M.OBJ: 6 vertices, 2 faces, 1 creased edge"])
        self.assertEqual(self.read("M.OBJ").decode(), "".join(
            f"v {x} {y} 0 0.8509804 0.5764706 0.4392157\n" for x, y in points) + "v 9 9 9 0.8 0.8 0.8\nf 1 2 3 4\nf 4 3 5\nl 3 4\n")
        self.succeed("mesh", "m.obj", "--crease", "a", "-o", "bare.obj", notes=["bare.obj: " + left_out])
        self.assertTrue(self.read("bare.obj").startswith(b"v 0 0 0\nv 1 0 0\n"))
        told = json.loads(self.run_tool("mesh", "m.obj", "--mask", "a", "--json", "-o", "/dev/stdout").stderr)
        self.assertEqual(told["notes"], ["/dev/stdout: " + left_out])
        self.refuse(1, "t.obj: the model has no smoothing groups", "mesh", self.write("t.obj", TRIANGLE), "--crease-all-smoothing")

    def test_masks_come_in_order(self):
        self.write("m.obj", TRIANGLE + "v 1 1 0\ng a\nf 1 2 3\ng b\nf 2 4 3\ng n\nf 1\n")
        for line, masks in (("--mask a", (255, 255, 255, 0)), ("--mask a --mask-value 7", (7, 7, 7, 0)),
                            ("--mask a --mask-value 7 --mask b --mask-value 9 --mask 3", (9, 7, 7, 7)),
                            ("--mask b --mask a --mask-value 1 --mask b --mask-value 0 --mask 3", (0, 1, 1, 1))):
            self.run_tool("mesh", "m.obj", *line.split(), "-o", "m.ply")
            vertices = self.read("m.ply").partition(b"end_header\n")[2]
            self.assertEqual(tuple(vertices[15:64:16]), masks, line)
            if 255 in masks:
                self.assertEqual(vertices[12:15] + vertices[60:63], bytes((230, 90, 20, 204, 204, 204)))

    def test_long_faces(self):
        head = TRIANGLE + "v 1 1 0\nv 2 2 0\nv 3 3 0\n"
        late, early = "f 1 2 3 4 5\n", "f 5 1 2 3 4\n"  # the edge 5-1 comes last and first
        for text, line, faces in (
                (f"g a\n{late}g b\nf 5 1 6\n", "--crease a", 1), (f"g a\n{late}g b\nf 5 1 6\n", "--crease b", 0),
                (f"g a\n{late}f 5 1 6\ng b\nf 2 3 6\n", "--crease a", 0), (f"g a\n{early}g b\nf 5 1 6\n", "--crease a", 0),
                (f"g a\n{late}{late}g b\nf 5 6 1\n", "--crease a --crease 1", 2),
                (f"g a\n{late}g b\nf 2 5 3 1\n", "--crease a", 1),  # the neighbour has both ends, no edge
                (f"g a b\n{late}g b\nf 5 1 6\n", "--crease b --crease a", 1),
                (f"s 1\n{late}s 2\n{late}", "--crease-all-smoothing", 2)):
            note = f"{faces} face{'s' * (faces > 1)} with a border beyond the fourth edge, which a host cannot crease"
            self.write("m.obj", head + text)
            self.succeed("mesh", "m.obj", *line.split(), notes=[note] * (faces > 0))
        self.write("m.obj", TRIANGLE + "g a\nf 1\ng b\nf 1 2 3\n")  # The edge of a face of one corner is no edge.
        told = json.loads(self.succeed("mesh", "m.obj", "--crease", "a", "--json"))
        self.assertEqual((told["calls"][0]["answer"], told["mesh"]["edgesCreased"]), (1, 0))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
