"""The command-line tool as a person meets it: smthgrp_test.py SMTHGRP EXAMPLES-FOLDER"""

import json
import os
import struct
import subprocess
import sys
import tempfile
import unittest

TOOL, EXAMPLES = map(os.path.abspath, sys.argv[1:3])
ROBOT = os.path.join(EXAMPLES, "robot.obj")
POSE = os.path.join(EXAMPLES, "robot_pose.obj")
TRIANGLE = "v 0 0 0\nv 1 0 0\nv 0 1 0\n"


def read_ply(path):
    """The elements of a binary little-endian PLY file, each a list of dicts, and its bytes left over."""
    with open(path, "rb") as file:
        header, data = file.read().split(b"end_header\n", 1)
    types = {"float": "f", "uchar": "B", "int": "i"}
    elements, position = {}, 0
    lines = header.decode().splitlines()
    assert lines[:2] == ["ply", "format binary_little_endian 1.0"], lines[:2]
    layout = []
    for words in (line.split() for line in lines[2:]):
        if words[0] == "element":
            layout.append((words[1], int(words[2]), []))
        elif words[0] == "property":
            layout[-1][2].append(words[1:])

    def take(kind, count=1):
        nonlocal position
        values = struct.unpack_from(f"<{count}{types[kind]}", data, position)
        position += struct.calcsize(f"<{count}{types[kind]}")
        return values

    for name, count, properties in layout:
        elements[name] = [{p[-1]: take(p[2], take(p[1])[0]) if p[0] == "list" else take(p[0])[0] for p in properties}
                          for _ in range(count)]
    return elements, len(data) - position


def read_groups(path):
    """The faces of an OBJ file, as vertex indices from 0, and the faces of each group and smoothing group."""
    faces, groups, smoothing, names, number = [], {}, {}, [], 0
    with open(path) as file:
        for words in (line.split() for line in file if line.strip()):
            if words[0] == "g":
                names = words[1:]
            elif words[0] == "s":
                number = int(words[1]) if words[1].isdigit() else 0
            elif words[0] == "f":
                for name in names:
                    groups.setdefault(name, set()).add(len(faces))
                smoothing.setdefault(number, set()).add(len(faces))
                faces.append([int(corner.split("/")[0]) - 1 for corner in words[1:]])
    return faces, groups, smoothing


def edges_of(face):
    return [tuple(sorted((face[k], face[(k + 1) % len(face)]))) for k in range(len(face))]


def border(faces, members):
    """The edges with bits of the members that a face outside has as well, and how often one has."""
    users = {}
    for index, face in enumerate(faces):
        for edge in edges_of(face):
            users.setdefault(edge, []).append(index)
    edges, count = set(), 0
    for index in members:
        for k, edge in enumerate(edges_of(faces[index])):
            outside = sum(user not in members for user in users[edge])
            count += outside
            if outside and k < 4:
                edges.add(edge)
    return edges, count


def vertex_lines(path):
    with open(path) as file:
        return [[float(x) for x in line.split()[1:4]] for line in file if line.startswith("v ")]


class ToolTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)

    def path(self, name):
        return os.path.join(self.folder.name, name)

    def write(self, name, text):
        with open(self.path(name), "wb") as file:
            file.write(text if isinstance(text, bytes) else text.encode())
        return self.path(name)

    def run_tool(self, *arguments, stdin=""):
        return subprocess.run([TOOL, *arguments], input=stdin, capture_output=True, text=True, timeout=60,
                              cwd=self.folder.name, check=False)

    def succeed(self, *arguments, stdin=""):
        result = self.run_tool(*arguments, stdin=stdin)
        self.assertEqual(result.returncode, 0, result.stderr)
        return result.stdout

    def fail_with(self, status, *arguments, stdin=""):
        """Runs the tool, which must fail with this status and one line on stderr; answers that line."""
        result = self.run_tool(*arguments, stdin=stdin)
        self.assertEqual(result.returncode, status, (arguments, result))
        lines = result.stderr.splitlines()
        self.assertEqual(len(lines), 1, result.stderr)
        self.assertTrue(lines[0].startswith("smthgrp: "), lines[0])
        return lines[0].removeprefix("smthgrp: ")

    def test_info(self):
        self.assertEqual(self.succeed("--version"), "KSmthGrpImpt 1.3\n")
        answer = json.loads(self.succeed("info", ROBOT, "--json"))
        text = self.succeed("info", ROBOT)
        with open(ROBOT) as file:
            lines = file.read().splitlines()
        for keyword, count in (("v ", "vertices"), ("vt ", "textureCoordinates"), ("vn ", "normals"), ("f ", "faces")):
            expected = sum(line.startswith(keyword) for line in lines)
            self.assertIn(expected, answer.get("counts", answer).values(), count)
            self.assertIn(str(expected), text)
        names = list(dict.fromkeys(name for line in lines if line.startswith("g ") for name in line.split()[1:]))
        self.assertEqual([group["name"] for group in answer["groups"]], names)

    def test_info_says_what_was_skipped(self):
        model = self.write("m.obj", TRIANGLE + "g a\nxyz \x1b[31m\nf 1 2 3/9\nf 1 2 3\n")
        text = self.succeed("info", model)
        self.assertIn("  5  unknown line", text)
        self.assertIn("xyz", text)
        self.assertIn("f 1 2 3/9", text)
        self.assertNotIn("\x1b", text, "control characters do not reach the terminal")
        self.assertIn('"groups"', self.succeed("info", self.write("l.obj", TRIANGLE.encode() + b"g \xe9\nf 1 2 3\n"),
                                               "--json"))

    def test_exports(self):
        for arguments, vertices, faces in ((["--group", "head"], 161, 143), (["-g", "2"], 48, 36),
                                           (["--smoothing-group", "3"], 38, 38), (["-s", "0"], 522, 90), ([], 522, 452)):
            out = self.path("out.obj")
            self.assertEqual(self.succeed("export", ROBOT, "-o", out, *arguments),
                             f"{out}: {vertices} vertices, {faces} faces\n")
            self.assertEqual(len(vertex_lines(out)), vertices)
        numbered = self.write("n.obj", TRIANGLE + "g a\nf 1 2 3\ng 1\nf 3 2 1\nf 1 3 2\n")
        self.succeed("export", numbered, "-o", self.path("one.obj"), "-g", "1")
        with open(self.path("one.obj")) as file:
            self.assertIn("g 1\nf 3 2 1\nf 1 3 2\n", file.read(), "a name comes before an index")

    def test_split_names_files_after_groups(self):
        names = ["Arm", "arm", "../../etc/passwd", ".hidden", "point"]
        text = TRIANGLE + "".join(f"g {name}\nf 1 2 3\n" for name in names[:-1]) + "g point\nf 1\n"
        self.succeed("split", self.write("m.obj", text), "-o", self.path("parts"))
        self.assertEqual(sorted(os.listdir(self.path("parts"))),
                         sorted(["Arm.obj", "arm_2.obj", "___.._etc_passwd.obj", "_hidden.obj"]))
        self.assertIn("11 files", self.succeed("split", ROBOT, "-o", self.path("robot")))
        # Every part loads and the parts' faces are those of the robot, some of them in two groups.
        for name in os.listdir(self.path("robot")):
            self.succeed("info", os.path.join(self.path("robot"), name))

    def test_replace(self):
        out = self.path("p.obj")
        self.succeed("replace", ROBOT, POSE, "-o", out)
        for ours, theirs in zip(vertex_lines(out), vertex_lines(POSE), strict=True):
            for a, b in zip(ours, theirs):
                self.assertAlmostEqual(a, b, delta=1e-5 * max(1, abs(b)))
        self.succeed("export", ROBOT, "-o", self.path("head.obj"), "-g", "head")
        message = self.fail_with(1, "replace", ROBOT, self.path("head.obj"), "-o", out)
        self.assertIn("161", message)
        self.assertIn("522", message)

    def test_calls(self):
        self.assertEqual(self.succeed("call", "Version"), "1.3\n")
        self.assertEqual(self.succeed("call", "LoadOBJFile", "nope.obj"), '-1  "OBJ file not found: nope.obj"\n')
        script = f'# a comment\nLoadOBJFile "{ROBOT}"\nGetOBJGroupInfo name 2\nGetOBJInfo - \nFreeOBJModel\n'
        self.assertEqual(self.succeed("call", stdin=script),
                         'LoadOBJFile -> 11\nGetOBJGroupInfo -> 0  "eyes"\nGetOBJInfo -> 0\nFreeOBJModel -> 0\n')
        self.assertIn("line 2", self.fail_with(2, "call", "--script", self.write("s.txt", "#\nNoSuch\n")))

    def test_mesh_is_marked(self):
        faces, groups, smoothing = read_groups(ROBOT)
        self.assertEqual(len(groups), 11)
        for name, members in groups.items():
            out = self.path("m.ply")
            answer = json.loads(self.succeed("mesh", ROBOT, "--mask", name, "--crease", name, "--json", "-o", out))
            vertices = {v for f in members for v in faces[f]}
            others = {v for n, m in groups.items() if n != name for f in m for v in faces[f]}
            edges, count = border(faces, members)
            mask, crease = answer["calls"]
            self.assertEqual(mask["answer"], sum(len(faces[f]) for f in members), name)
            self.assertEqual((mask["verticesMasked"], mask["verticesShared"]),
                             (len(vertices), len(vertices & others)), name)
            self.assertEqual((crease["answer"], crease["edgesCreased"]), (count, len(edges)), name)
            ply, left = read_ply(out)
            self.assertEqual(left, 0)
            self.assertEqual({i for i, v in enumerate(ply["vertex"]) if v["mask"] == 255}, vertices)
            self.assertEqual({v["mask"] for v in ply["vertex"]}, {0, 255})
            self.assertEqual([list(f["vertex_indices"]) for f in ply["face"]], faces)
            self.assertEqual({(e["vertex1"], e["vertex2"]) for e in ply["edge"]}, edges)
            for ours, theirs in zip(ply["vertex"], vertex_lines(ROBOT), strict=True):
                self.assertEqual([ours["x"], ours["y"], ours["z"]], list(struct.unpack("3f", struct.pack("3f", *theirs))))
        out = self.path("m.obj")
        text = self.succeed("mesh", ROBOT, "--crease-all-smoothing", "--mask-smoothing", "3", "-o", out)
        edges = set().union(*(border(faces, m)[0] for n, m in smoothing.items() if n != 0))
        self.assertIn(f"{out}: 522 vertices, 452 faces, {len(edges)} creased edges\n", text)
        with open(out) as file:
            lines = [line.split() for line in file]
        self.assertEqual({(int(w[1]) - 1, int(w[2]) - 1) for w in lines if w[0] == "l"}, edges)
        masked = {v for f in smoothing[3] for v in faces[f]}
        colors = [w[4:] for w in lines if w[0] == "v"]
        self.assertEqual({i for i, c in enumerate(colors) if c != colors[0]},
                         masked if 0 not in masked else set(range(522)) - masked)
        self.assertEqual(len(vertex_lines(out)), 522)

    def test_mesh_marks_come_in_order(self):
        model = self.write("m.obj", TRIANGLE + "v 1 1 0\ng a\nf 1 2 3\ng b\nf 2 4 3\ng n\nf 1\n")
        for arguments, masks in ((["--mask", "a"], [255, 255, 255, 0]),
                                 (["--mask", "a", "--mask-value", "7"], [7, 7, 7, 0]),
                                 (["--mask", "a", "--mask-value", "7", "--mask", "b", "--mask-value", "9", "--mask", "3"],
                                  [9, 7, 7, 7]),
                                 (["--mask", "b", "--mask", "a", "--mask-value", "1", "--mask", "b",
                                   "--mask-value", "0", "--mask", "3"], [0, 1, 1, 1])):
            self.succeed("mesh", model, *arguments, "-o", self.path("m.ply"))
            ply, _ = read_ply(self.path("m.ply"))
            self.assertEqual([v["mask"] for v in ply["vertex"]], masks, arguments)
            self.assertEqual(len(ply["face"]), 2, "a face of one corner is no polygon")
        self.assertIn("crease group 2 \"b\": 1 neighbour beyond its border, 1 edge creased, 2 vertices shared",
                      self.succeed("mesh", "--crease", "b", model))

    def test_mesh_tells_what_cannot_be_creased(self):
        head = TRIANGLE + "v 1 1 0\nv 2 2 0\nv 3 3 0\n"
        late, early = "f 1 2 3 4 5\n", "f 5 1 2 3 4\n"  # the edge 5-1 comes last and first
        for text, arguments, faces in (
                (f"g a\n{late}g b\nf 5 1 6\n", ["--crease", "a"], 1),
                (f"g a\n{late}g b\nf 5 1 6\n", ["--crease", "b"], 0),
                (f"g a\n{late}g b\nf 5 1 6\n", ["--mask", "a"], 0),
                (f"g a\n{late}f 5 1 6\ng b\nf 2 3 6\n", ["--crease", "a"], 0),
                (f"g a\n{early}g b\nf 5 1 6\n", ["--crease", "a"], 0),
                (f"g a\n{late}{late}g b\nf 5 6 1\n", ["--crease", "a", "--crease", "1"], 2),
                (f"g a\n{late}g b\nf 2 5 3 1\n", ["--crease", "a"], 1),  # the neighbour has both ends, no edge
                (f"s 1\n{late}s 2\n{late}", ["--crease-all-smoothing"], 2)):
            model = self.write("m.obj", head + text)
            note = f"{faces} face{'s' * (faces > 1)} with a border beyond the fourth edge, which a host cannot crease"
            notes = [note] if faces else []
            result = self.run_tool("mesh", model, *arguments)
            self.assertEqual(result.stderr, "".join(f"smthgrp: note: {line}\n" for line in notes), (text, arguments))
            result = self.run_tool("mesh", model, *arguments, "--json")
            self.assertEqual((json.loads(result.stdout)["notes"], result.stderr), (notes, ""))
        # The edge of a face of one corner is no edge; the note on it is part of the JSON wherever that goes.
        model = self.write("m.obj", TRIANGLE + "g a\nf 1\ng b\nf 1 2 3\n")
        out = self.path("m.ply")
        answer = json.loads(self.succeed("mesh", model, "--crease", "a", "--json", "-o", out))
        self.assertEqual((answer["calls"][0]["answer"], answer["mesh"]["edgesCreased"]), (1, 0))
        self.assertEqual(answer["notes"], [f"{out}: without 1 face that is no polygon"])
        self.assertEqual(read_ply(out)[0]["edge"], [])
        result = subprocess.run([TOOL, "mesh", model, "--crease", "a", "--json", "-o", "/dev/stdout"], timeout=60,
                                capture_output=True, check=True)
        self.assertEqual(json.loads(result.stderr)["notes"], ["/dev/stdout: without 1 face that is no polygon"])

    def test_standard_output(self):
        with open(os.devnull, "rb") as nothing:
            for arguments, report in ((["mesh", ROBOT, "--mask", "head"], b"standard output: 522 vertices, 452 faces"),
                                      (["export", ROBOT, "-g", "head"], b""),
                                      (["replace", ROBOT, POSE], b"smthgrp: note: standard output: normals")):
                expected = self.path("expected." + ("ply" if arguments[0] == "mesh" else "obj"))
                self.succeed(*arguments, "-o", expected)
                with open(expected, "rb") as file:
                    content = file.read()
                for output in "-", "/dev/stdout":
                    result = subprocess.run([TOOL, *arguments, "-o", output], stdin=nothing, capture_output=True,
                                            timeout=60, cwd=self.folder.name, check=True)
                    self.assertTrue(result.stdout == content, (arguments, output))
                self.assertIn(report, subprocess.run([TOOL, *arguments, "-o", "-"], capture_output=True, timeout=60,
                                                     cwd=self.folder.name, check=True).stderr)
                # A file behind it is written on from where it stands.
                with open(self.path("log"), "wb") as log:
                    log.write(b"before\n")
                    log.flush()
                    subprocess.run([TOOL, *arguments, "-o", "-"], stdout=log, stderr=subprocess.DEVNULL, timeout=60,
                                   cwd=self.folder.name, check=True)
                with open(self.path("log"), "rb") as log:
                    self.assertTrue(log.read() == b"before\n" + content, arguments)
                with open("/dev/full", "wb") as full:
                    result = subprocess.run([TOOL, *arguments, "-o", "-"], stdout=full, stderr=subprocess.PIPE,
                                            timeout=60, cwd=self.folder.name, check=False)
                self.assertEqual((result.returncode, result.stderr),
                                 (1, b"smthgrp: standard output: No space left on device\n"))
        self.assertNotIn("-", os.listdir(self.folder.name))

    def test_input_is_not_written_over(self):
        text = TRIANGLE + "g m\nf 1 2 3\n"
        model, other = self.write("m.obj", text), self.write("other.obj", text)
        os.symlink(model, self.path("link.obj"))
        os.link(other, self.path("hard.obj"))
        for arguments in (["mesh", model, "--mask", "m", "-o", model], ["mesh", "m.obj", "--mask", "m", "-o", "./m.obj"],
                          ["export", model, "-o", "link.obj"], ["export", "link.obj", "-g", "m", "-o", model],
                          ["replace", model, other, "-o", "m.obj"], ["replace", model, other, "-o", "hard.obj"],
                          ["split", model, "-o", "."]):
            self.assertIn("is the file that is read", self.fail_with(1, *arguments))
        with open(model, "ab") as log:
            result = subprocess.run([TOOL, "export", model, "-o", "-"], stdout=log, stderr=subprocess.PIPE, timeout=60,
                                    check=False)
        self.assertEqual(result.returncode, 1, result.stderr)
        for path in model, other:
            with open(path) as file:
                self.assertEqual(file.read(), text)

    def test_data_that_cannot_be_served(self):
        corners = "".join(f"v {i} 0 0\n" for i in range(89)) + "f " + " ".join(str(i + 1) for i in range(89)) + "\n"
        normals = TRIANGLE + "vn 0 0 1\ng a\nf 1//1 2//1 3//1\n"
        numbers = "".join(f"s {i}\n" for i in range(257))
        out = self.path("out.obj")
        for arguments, words in (
                (["info", "nope.obj"], ["nope.obj", "No such file"]),
                (["info", "."], ["Is a directory"]),
                (["info", self.write("bad.obj", TRIANGLE + "f 1 2 9\n")], ["bad.obj", "f 1 2 9"]),
                (["info", self.write("corners.obj", corners)], ["corners.obj", "88"]),
                (["info", self.write("numbers.obj", numbers)], ["numbers.obj", "256"]),
                (["export", ROBOT, "-o", out, "-g", "haed"], ["haed", '"head"']),
                (["export", ROBOT, "-o", out, "-g", "12"], ["11 groups"]),
                (["export", ROBOT, "-o", out, "-s", "9"], ["9"]),
                (["export", ROBOT, "-o", "."], ["directory"]),
                (["export", ROBOT, "-o", "/nonexistent/dir/o.obj"], ["/nonexistent/dir/o.obj", "No such file"]),
                (["export", ROBOT, "-o", "/dev/full"], ["/dev/full", "No space"]),
                (["mesh", ROBOT, "--mask", "head", "--crease", "haed", "-o", out], ["haed", '"head"']),
                (["mesh", ROBOT, "--crease-smoothing", "0", "-o", out], ["smoothing group 0", "1, 2, 3"]),
                (["mesh", self.write("plain.obj", TRIANGLE + "f 1 2 3\n"), "--crease-all-smoothing", "-o", out],
                 ["plain.obj", "no smoothing groups"]),
                (["mesh", ROBOT, "--mask", "1", "-o", "."], ["directory"]),
                (["mesh", ROBOT, "--mask", "1", "-o", "/dev/full"], ["/dev/full", "No space"]),
                (["mesh", ROBOT, "--mask", "1", "-o", "/nonexistent/m.ply"], ["/nonexistent/m.ply", "No such file"]),
                (["export", self.write("n.obj", normals), "-o", out], ["n.obj", "split", "--group"]),
                (["info", ROBOT, "--library", "/nope.so"], ["/nope.so"])):
            message = self.fail_with(1, *arguments)
            for word in words:
                self.assertIn(word, message)
        self.assertFalse(os.path.exists(out), "nothing half-made is left")
        self.assertIn("1 files written".replace("files", "file"), self.succeed("split", self.path("n.obj"), "-o", "p"))

    def test_usage(self):
        for arguments in ([], ["bogus"], ["info"], ["export", ROBOT], ["export", ROBOT, "-o", "x", "-s", "abc"],
                          ["export", ROBOT, "-o", "x", "-s", "1", "-g", "head"], ["mesh", ROBOT],
                          ["mesh", ROBOT, "--mask-value", "3"], ["mesh", ROBOT, "--mask", "1", "--mask-value", "256"],
                          *(["mesh", ROBOT, "--mask", "1", "-o", name] for name in ("x.stl", "x", ".obj", "x.")),
                          ["mesh", ROBOT, "--crease-all-smoothing=false"], ["mesh", ROBOT, "--crease-all-smoothing=3"],
                          ["call", "version"]):
            self.fail_with(2, *arguments)
        self.assertEqual(os.listdir(self.folder.name), [])
        self.assertRegex(self.succeed("mesh", "--help"), "--mask-value 0[.][.]255  +Value")
        for command in ([], ["info"], ["export"], ["split"], ["replace"], ["mesh"], ["call"]):
            self.assertIn("smthgrp", self.succeed(*command, "--help"))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
