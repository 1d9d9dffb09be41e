"""What the tool's routines write, and meshes from arrays."""

import io
import os
import pathlib
import tempfile
import unittest
import warnings

import numpy

import ksmthgrp
from support import FILES, ROBOT, written

TEXT = b"""# head
mtllib a.mtl
v 0 0 0
v 1.50 0 0
v 1 1 0
v 0 1 0
v 2 2 2
o box
g left both
s 1
usemtl red
f 1 2 3
g right both
s 2
usemtl blue
f 1 3 4
f 1 3 5
"""


class Writing(unittest.TestCase):
    def test_chooses_as_it_is_told(self):
        document = ksmthgrp.read(TEXT)
        for options, faces, vertices in (({}, 3, 5), ({"groups": "left"}, 1, 3), ({"groups": ["left", "right"]}, 3, 5),
                                         ({"groups": 2}, 3, 5), ({"groups": "r*"}, 2, 4), ({"smoothing": 2}, 2, 4),
                                         ({"smoothing": "1-2", "materials": "red"}, 1, 3), ({"objects": ["box"]}, 3, 5),
                                         ({"materials": "blue", "keep_order": True}, 2, 5)):
            with self.subTest(**options):
                target = io.BytesIO()
                counts = document.write(target, **options)
                self.assertEqual((counts.faces, counts.vertices), (faces, vertices))
                self.assertEqual(counts.bytes, len(target.getvalue()))
                if not options:
                    self.assertEqual(target.getvalue(), TEXT)
        self.assertEqual(list(written(document, no_smoothing=True).smoothing), [0])
        self.assertEqual(list(written(document, no_materials=True).materials), [])

    def test_brings_libraries_along(self):
        with tempfile.TemporaryDirectory() as folder:
            source, away = os.path.join(folder, "a.obj"), os.path.join(folder, "away")
            os.mkdir(away)
            pathlib.Path(source).write_bytes(TEXT)
            document = ksmthgrp.read(source)
            with warnings.catch_warnings(record=True) as caught:
                warnings.simplefilter("always")
                document.write(os.path.join(away, "b.obj"))
            self.assertIn("not there", str(caught[0].message))
            pathlib.Path(folder, "a.mtl").write_bytes(b"newmtl red\nmap_Kd tex/r.png\n")
            pathlib.Path(folder, "tex").mkdir()
            pathlib.Path(folder, "tex", "r.png").write_bytes(b"png")
            for copy, library in ((False, "../a.mtl"), (True, "a.mtl")):
                target = os.path.join(away, "b.obj")
                document.write(target, copy_materials=copy)
                self.assertIn(f"mtllib {library}\n", pathlib.Path(target).read_text())
                self.assertEqual(os.path.exists(os.path.join(away, "tex", "r.png")), copy)
            # Its own file, which stays whole where nothing can be written.
            document.write(source, groups="left")
            self.assertEqual(len(ksmthgrp.read(source).face_starts), 2)
            self.assertEqual(sorted(os.listdir(folder)), ["a.mtl", "a.obj", "away", "tex"])

    def test_fixes_merges_and_compares(self):
        document = ksmthgrp.read(TEXT.replace(b"f 1 3 5", b"f -5 -3 -1"))
        target = io.BytesIO()
        changes = {change.code: change for change in document.fix(target, objects=True, one_name=True)}
        self.assertEqual((changes["relative-index"].total, changes["relative-index"].effect), (1, "rewritten"))
        self.assertEqual(changes["relative-index"].places, ((17, "-5"),))
        fixed = ksmthgrp.read(target.getvalue())
        self.assertIn("left_both", fixed.groups)
        difference = ksmthgrp.diff(document, fixed)
        self.assertTrue(difference.same_topology)
        self.assertIn(("group", "left", (True, False), (1, 0)), [row[:4] for row in difference.memberships])
        target = io.BytesIO()
        report = ksmthgrp.merge([document, fixed], target, weld=True)
        self.assertEqual((report.welded, report.counts.faces, report.documents), (5, 6, 0))
        plain = ksmthgrp.merge(iter([document, fixed]), io.BytesIO(), concatenate=True)
        self.assertEqual((plain.welded, plain.counts.vertices), (0, 10))
        self.assertEqual(ksmthgrp.diff(document, ksmthgrp.read(b"v 0 0 0\n")).moved, None)

    def test_replaces_positions(self):
        document = ksmthgrp.read(TEXT)
        for dtype in (numpy.float64, numpy.float32):
            wanted = numpy.random.default_rng(1).random((5, 3)).astype(dtype)
            replaced = document.replace_positions(wanted)
            self.assertEqual(replaced.positions.astype(dtype).tolist(), wanted.tolist())
            self.assertEqual(ksmthgrp.diff(document, replaced)[:4], (True, None, None, ()))
        single = document.replace_positions(numpy.full((5, 3), 0.1, numpy.float32))
        target = io.BytesIO()
        single.write(target)
        self.assertIn(b"\nv 0.1 0.1 0.1\n", target.getvalue())
        other = ksmthgrp.read(TEXT.replace(b"1.50", b"1.5000"))
        other.replace_positions(document).write(target)
        self.assertIn(b"v 1.50 0 0\n", target.getvalue()[-len(TEXT) - 40:])
        moved = ksmthgrp.read(b"v 9 9 9\n")
        self.assertEqual(document.replace_positions(moved, force=True).positions[:2].tolist(), [[9, 9, 9], [1.5, 0, 0]])


class FromArrays(unittest.TestCase):
    def test_makes_the_same_document(self):
        for path in FILES:
            with self.subTest(path=os.path.basename(path)):
                document = ksmthgrp.read(path)
                mesh = {"texcoords": document.texcoords, "face_texcoords": document.face_texcoords,
                        "normals": document.normals, "face_normals": document.face_normals,
                        "groups": document.groups, "smoothing": document.face_smoothing,
                        "materials": list(document.materials), "face_material": document.face_material,
                        "objects": list(document.objects), "face_object": document.face_object}
                target = io.BytesIO()
                counts = ksmthgrp.write_arrays(target, document.positions, document.face_vertices,
                                               document.face_starts, **mesh)
                self.assertEqual(counts.faces, len(document.face_starts) - 1)
                again = ksmthgrp.read(target.getvalue())
                self.assertEqual(ksmthgrp.diff(document, again)[:7], (True, None, None, (), 0, 0, 0))

    def test_takes_arrays_of_many_kinds(self):
        square = numpy.array([[0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0]], numpy.float32)
        target = io.BytesIO()
        ksmthgrp.write_arrays(target, square[::-1], [[0, 1, 2, 3]], colors=square[:, ::-1] / 2, lines=[[0, 2]],
                              libraries=["my own.mtl"], comments=["two\nlines"],
                              groups={"left ear": numpy.array([0], numpy.uint8), "left_ear": []},
                              smoothing=[7], materials=["a b"], face_material=[0])
        self.assertEqual(target.getvalue().decode(), """# two_lines
mtllib my own.mtl
v 0 1 0 0 0 0
v 1 1 0 0 0 0.5
v 1 0 0 0 0.5 0.5
v 0 0 0 0 0.5 0
g left_ear_2
s 7
usemtl a b
f 1 2 3 4
l 1 3
""")
        self.assertEqual(ksmthgrp.written_names(["left ear", "left_ear"]), ["left_ear_2", "left_ear"])
        empty = ksmthgrp.from_arrays(numpy.zeros((0, 3)), name="dir/empty.obj")
        self.assertEqual((empty.path, empty.positions.shape), ("dir/empty.obj", (0, 3)))
        double = ksmthgrp.from_arrays(square, [[0, 1, 2]])
        self.assertEqual(double.replace_positions(square.astype(float) / 3).positions.tolist(),
                         (square.astype(float) / 3).tolist())


if __name__ == "__main__":
    unittest.main()
