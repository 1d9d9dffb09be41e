"""The command-line tool as a person meets it: smthgrp_test.py SMTHGRP EXAMPLES-FOLDER"""

import json
import os
import subprocess
import sys
import tempfile
import unittest

TOOL, EXAMPLES = map(os.path.abspath, sys.argv[1:3])
ROBOT = os.path.join(EXAMPLES, "robot.obj")
POSE = os.path.join(EXAMPLES, "robot_pose.obj")
TRIANGLE = "v 0 0 0\nv 1 0 0\nv 0 1 0\n"


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
                (["export", self.write("n.obj", normals), "-o", out], ["n.obj", "split", "--group"]),
                (["info", ROBOT, "--library", "/nope.so"], ["/nope.so"])):
            message = self.fail_with(1, *arguments)
            for word in words:
                self.assertIn(word, message)
        self.assertFalse(os.path.exists(out), "nothing half-made is left")
        self.assertIn("1 files written".replace("files", "file"), self.succeed("split", self.path("n.obj"), "-o", "p"))

    def test_usage(self):
        for arguments in ([], ["bogus"], ["info"], ["export", ROBOT], ["export", ROBOT, "-o", "x", "-s", "abc"],
                          ["export", ROBOT, "-o", "x", "-s", "1", "-g", "head"], ["call", "version"]):
            self.fail_with(2, *arguments)
        for command in ([], ["info"], ["export"], ["split"], ["replace"], ["call"]):
            self.assertIn("smthgrp", self.succeed(*command, "--help"))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
