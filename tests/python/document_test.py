"""Documents as arrays: against a plain reader, against the host's marks, and what goes wrong."""

import gc
import io
import os
import pathlib
import pydoc
import re
import signal
import subprocess
import sys
import tempfile
import threading
import unittest
import weakref

import numpy

import ksmthgrp
from support import FILES, ROBOT, ROOT, plain, written


def random_mesh(random, corners):
    """Arrays of a mesh on few vertices, with overlapping groups."""
    faces = int(random.integers(1, 60))
    starts = numpy.concatenate([[0], numpy.cumsum(random.integers(3, corners + 1, faces))])
    # The host takes no vertex twice in a face.
    vertices = numpy.concatenate([random.permutation(12)[:n] for n in numpy.diff(starts)])
    groups = {name: numpy.flatnonzero(random.integers(0, 2, faces)) for name in ("a", "b")}
    groups["rest"] = numpy.setdiff1d(numpy.arange(faces), numpy.concatenate(list(groups.values())))
    return {"positions": random.random((12, 3)), "face_vertices": vertices, "face_starts": starts,
            "groups": groups, "smoothing": random.integers(1, 4, faces)}


def host_bits(document, border):
    """The crease bytes that a border stands for."""
    bits = numpy.zeros(len(document.face_starts) - 1, numpy.uint8)
    faces = numpy.searchsorted(document.face_starts, border.corners, side="right") - 1
    for face, edge in zip(faces, border.corners - document.face_starts[faces]):
        if edge < 4:
            bits[face] |= 3 << 2 * edge
    return bits


class Arrays(unittest.TestCase):
    def test_are_what_a_plain_reader_reads(self):
        for path in FILES:
            with self.subTest(path=os.path.basename(path)):
                document, wanted = ksmthgrp.read(path), plain(path)
                for values, kind, width in ((document.positions, "v", 3), (document.texcoords, "vt", 2),
                                            (document.normals, "vn", 3)):
                    self.assertEqual(values.tolist(), [row[:width] for row in wanted[kind]])
                corners = [corner for face in wanted["faces"] for corner in face]
                columns = (document.face_vertices, document.face_texcoords, document.face_normals)
                self.assertEqual(numpy.stack(columns, axis=1).tolist(), corners)
                self.assertEqual(numpy.diff(document.face_starts).tolist(), [len(f) for f in wanted["faces"]])
                self.assertEqual(document.face_smoothing.tolist(), [state["s"] for state in wanted["states"]])
                for mapping, column, key in ((document.materials, document.face_material, "usemtl"),
                                             (document.objects, document.face_object, "o")):
                    names = list(mapping) + [None]
                    self.assertEqual([names[row] for row in column], [state[key] for state in wanted["states"]])
                    for row, name in enumerate(mapping):
                        self.assertEqual(mapping[name].tolist(), numpy.flatnonzero(column == row).tolist())
                groups, smoothing = {}, {}
                for face, state in enumerate(wanted["states"]):
                    smoothing.setdefault(state["s"], []).append(face)
                    for name in dict.fromkeys(state["g"]):
                        groups.setdefault(name, []).append(face)
                self.assertEqual([(name, faces.tolist()) for name, faces in document.groups.items()],
                                 list(groups.items()))
                self.assertEqual([(n, faces.tolist()) for n, faces in document.smoothing.items()],
                                 sorted(smoothing.items()))

    def test_have_their_types_and_look_at_the_document(self):
        document = ksmthgrp.read(ROBOT)
        for name in ("face_starts", "face_vertices", "face_texcoords", "face_normals", "positions"):
            array, again = getattr(document, name), getattr(document, name)
            self.assertEqual(array.dtype, numpy.float64 if name == "positions" else numpy.int32)
            self.assertTrue(numpy.shares_memory(array, again), name)
            self.assertFalse(array.flags.writeable, name)
        head = document.groups["head"]
        self.assertTrue(numpy.shares_memory(head, document.groups["head"]))
        with self.assertRaises(TypeError):
            document.groups["head"] = head
        self.assertTrue(document.mask("head").flags.writeable)
        corners, kept = document.face_vertices, document.face_vertices.tolist()
        reference = weakref.ref(head)
        del document
        gc.collect()
        self.assertEqual(corners.tolist(), kept)
        self.assertEqual((len(head), head[0], reference() is head), (143, 0, True))
        single = ksmthgrp.read(ROBOT, dtype=numpy.float32)
        self.assertEqual(single.positions.dtype, numpy.float32)
        colored = ksmthgrp.read(b"v 1 2 3 0.25 0.5 1\nv 0 0 0\nvt 1 2 3\nl 1 2\np 2\n")
        self.assertEqual(colored.colors.tolist(), [[0.25, 0.5, 1], [1, 1, 1]])
        self.assertEqual(single.colors.shape, (0, 3))
        self.assertEqual(colored.values("vt", 3).tolist(), [[1, 2, 3]])
        self.assertEqual((colored.line_vertices.tolist(), colored.line_starts.tolist()), ([0, 1], [0, 2]))
        self.assertEqual((colored.point_vertices.tolist(), colored.face_starts.tolist()), ([1], [0]))

    def test_come_from_any_source(self):
        with open(ROBOT, "rb") as file:
            content = file.read()
        with open(ROBOT, "rb") as file:
            opened = ksmthgrp.read(file)
        documents = [opened, ksmthgrp.read(pathlib.Path(ROBOT)), ksmthgrp.read(content),
                     ksmthgrp.read(bytearray(content), name="dir/a.obj"), ksmthgrp.read(io.StringIO(content.decode()))]
        for document in documents:
            self.assertEqual(document.positions.tolist(), ksmthgrp.read(ROBOT).positions.tolist())
        self.assertEqual([d.path for d in documents], [ROBOT, ROBOT, "bytes", "dir/a.obj", "file object"])
        self.assertEqual(documents[3].libraries, ("dir/robot.mtl",))
        with tempfile.TemporaryDirectory() as folder:
            pipe = os.path.join(folder, "pipe")
            os.mkfifo(pipe)
            with subprocess.Popen(["cp", ROBOT, pipe]):
                self.assertEqual(ksmthgrp.read(pipe).path, pipe)
        odd = ksmthgrp.read(b"v 0 0 0\ng \xff\nf 1 1 1\n")
        self.assertEqual(list(odd.groups), ["\udcff"])
        self.assertEqual(list(written(odd).groups), ["\udcff"])

    def test_tell_materials(self):
        material = ksmthgrp.read(ROBOT).read_materials()["glass"]
        self.assertEqual(material.values["kd"], (0.35, 0.78, 0.95))
        self.assertEqual(material.values["d"], (0.6,))
        self.assertEqual(material.textures["map_d"], os.path.join(os.path.dirname(ROBOT), "tex", "glass_mask.png"))


class Marks(unittest.TestCase):
    def test_are_those_of_the_host(self):
        random = numpy.random.default_rng(7)
        documents = [ksmthgrp.read(path) for path in FILES]
        # Faces of the same few vertices share what are no edges of both; of triangles every pair is an edge.
        documents += [ksmthgrp.from_arrays(**random_mesh(random, 3)) for _ in range(40)]
        for document in documents:
            starts, vertices = document.face_starts, document.face_vertices
            for options in [{"group": name} for name in document.groups] + [{"smoothing": n} for n in document.smoothing]:
                faces = (document.groups | document.smoothing)[next(iter(options.values()))]
                used = sorted({v for f in faces for v in vertices[starts[f]:starts[f + 1]].tolist()})
                with self.subTest(path=document.path, **options):
                    self.assertEqual(document.vertices_of(faces).tolist(), used)
                    mask = document.mask(options.get("group", faces), 77)
                    self.assertEqual((mask.nonzero()[0].tolist(), set(mask[used])), (used, {77} if used else set()))
                    if options == {"smoothing": 0} or not len(faces):
                        continue
                    self.assertEqual(document.host_mask(**options, value=77).tolist(), mask.tolist())
                    self.assertEqual(document.host_creases(**options).tolist(),
                                     host_bits(document, document.creases(**options)).tolist())

    def test_are_of_all_faces_where_smoothing_ends(self):
        # Two quads and a face of five corners in a row; the last edge of the five is where it meets the quad.
        text = (b"v 0 0 0\nv 1 0 0\nv 2 0 0\nv 3 0 0\nv 0 1 0\nv 1 1 0\nv 2 1 0\nv 3 1 0\nv 4 0 0\n"
                b"g a\ns 1\nf 1 2 6 5\nf 2 3 7 6\ng b\ns 2\nf 3 4 9 8 7\n")
        document = ksmthgrp.read(text)
        for border in (document.border("b"), document.creases(group="b"), document.creases(smoothing=2)):
            self.assertEqual((border.edges.tolist(), border.corners.tolist()), ([[2, 6]], [12]))
        self.assertEqual(document.host_creases("b").tolist(), [0, 0, 0])
        long = ksmthgrp.read(b"#\n" * 200_000 + text)
        self.assertEqual(long.host_creases("a").tolist(), [0, 0x0C, 0])
        self.assertEqual(document.border("a").corners.tolist(), [5])
        self.assertEqual(document.creases().corners.tolist(), [5, 12])
        self.assertEqual(len(document.border("b", open=True).edges), 5)
        self.assertEqual(document.border(numpy.array([0], numpy.uint8)).edges.tolist(), [[1, 5]])


class Errors(unittest.TestCase):
    def setUp(self):
        # The host's reader would leave a file in the current one.
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(folder.name)

    def test_say_what_and_where(self):
        document = ksmthgrp.read(ROBOT)
        square = [[0.0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0]]
        bad = b"v 0 0 0\nv 1 0 0\nv 1 1 0\n\nf 1 2 4\n"
        rows = [
            (lambda: ksmthgrp.read("missing.obj"), ksmthgrp.NotFoundError, "missing.obj", None),
            (lambda: ksmthgrp.read("missing.obj"), FileNotFoundError, "missing.obj", None),
            (lambda: ksmthgrp.read(ROOT), ksmthgrp.FileError, ROOT, None),
            (lambda: ksmthgrp.read(b"\xff\xfev\0 \0"), ksmthgrp.FormatError, "bytes", None),
            (lambda: ksmthgrp.read(bad, strict=True), ksmthgrp.FormatError, "bytes", 5),
            (lambda: ksmthgrp.read(bad, name="a.obj", strict=True), ValueError, "a.obj", 5),
            (lambda: document.write("/missing/out.obj"), OSError, "/missing/out.obj", None),
            (lambda: ksmthgrp.read(b"".join(b"s %d\nv 0 0 0\nf 1 1 1\n" % i for i in range(258))).host_mask("default"),
             ksmthgrp.FormatError, "bytes", None),
            (lambda: ksmthgrp.read(b"v 0 0 0\n" * 90 + b"g a\nf " + b" ".join(b"%d" % i for i in range(1, 90))
                                   ).host_mask("a"), ksmthgrp.FormatError, "bytes", None),
            (lambda: document.mask("nobody"), KeyError),
            (lambda: document.creases(smoothing=99), KeyError),
            (lambda: document.creases(smoothing=-1), KeyError),
            (lambda: ksmthgrp.read(b"v 0 0 0\ns 1\nf 1 1 1\ns 3\nf 1 1 1\n").creases(smoothing=2), KeyError),
            (lambda: document.creases(smoothing="3"), TypeError),
            (lambda: document.host_creases("nobody"), KeyError),
            (lambda: document.mask("\udcff"), KeyError),
            (lambda: document.write(io.BytesIO(), objects="\udcff"), KeyError),
            (lambda: document.host_mask(), TypeError),
            (lambda: document.write(io.BytesIO(), groups="nobody"), KeyError),
            (lambda: document.write(io.BytesIO(), groups="head", smoothing=8), ValueError),
            (lambda: document.mask("head", 256), ValueError),
            (lambda: document.mask([0.5]), TypeError),
            (lambda: document.border([452]), IndexError),
            (lambda: document.border([-1]), IndexError),
            (lambda: document.replace_positions(square), ValueError),
            (lambda: document.replace_positions(document.positions * numpy.nan), ValueError),
            (lambda: document.replace_positions(ksmthgrp.read(bad)), ValueError),
            (lambda: ksmthgrp.merge([], io.BytesIO()), ValueError),
            (lambda: ksmthgrp.merge([3], io.BytesIO()), TypeError),
            (lambda: ksmthgrp.read(ROBOT, dtype="int32"), ValueError),
            (lambda: ksmthgrp.read(5), TypeError),
            (lambda: document.values("vx", 3), ValueError),
            (lambda: ksmthgrp.from_arrays(square, [[0, 1, 4]]), ValueError),
            (lambda: ksmthgrp.from_arrays(square, [[0, 1, 2.0]]), TypeError),
            (lambda: ksmthgrp.from_arrays(square, [[0, 1, 2**40]]), ValueError),
            (lambda: ksmthgrp.from_arrays(square, [[0, 1, 2]], texcoords=[[0, 0]],
                                          face_texcoords=numpy.full(3, 2**32 - 1, numpy.uint32)), ValueError),
            (lambda: ksmthgrp.from_arrays(square, [0, 1, 2]), ValueError),
            (lambda: ksmthgrp.from_arrays(numpy.zeros((3, 2))), ValueError),
            (lambda: ksmthgrp.from_arrays([["a", "b", "c"]]), ValueError),
            (lambda: ksmthgrp.from_arrays([[1.0, 2, 3], [4]]), TypeError),
            (lambda: ksmthgrp.from_arrays(square, [[0, 1, 2]], groups={"a": [1]}), ValueError),
        ]
        for number, (call, kind, *place) in enumerate(rows):
            with self.subTest(row=number):
                with self.assertRaises(kind) as caught:
                    call()
                if place:
                    self.assertIsInstance(caught.exception, ksmthgrp.Error)
                    self.assertEqual([caught.exception.path, caught.exception.line], place)
        self.assertEqual(os.listdir(), [])
        doubtful = ksmthgrp.read(b"v 0 0 0\nf -1 -1 -1\n", strict=True)
        self.assertEqual({finding.severity for finding in doubtful.findings}, {"warning"})
        finding = ksmthgrp.read(bad).findings[0]
        self.assertEqual((finding.code, finding.severity, finding.line, finding.host_only),
                         ("index-out-of-range", "error", 5, False))
        self.assertIn("5: error: ", str(finding))
        self.assertIn("unused-vertices", [f.code for f in ksmthgrp.read(b"v 0 0 0\n" * 4 + b"f 1 2 3\n").lint()])

    def test_changed_files_are_told(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "a.obj")
            for replace, kind in ((False, ksmthgrp.FileError), (True, None)):
                pathlib.Path(path).write_bytes(b"v 1 2 3\n")
                document = ksmthgrp.read(path)
                if replace:
                    ksmthgrp.read(b"v 4 5 6\n").write(path)
                    self.assertEqual(document.positions.tolist(), [[1, 2, 3]])
                else:
                    pathlib.Path(path).write_bytes(b"v 1 2 3 4\n")
                    with self.assertRaises(kind):
                        document.positions

    def test_interrupts_stop_a_read_and_other_threads_run(self):
        # Slow lines, so that the read looks for signals.
        text = b"xyz 1\n" * 3_000_000
        interval = sys.getswitchinterval()
        for read, argument in ((ksmthgrp.read, text), (ksmthgrp.read(text + b"v 0 0 0\nf 1 1 1\n").host_mask, "default")):
            begun, answers = threading.Event(), []

            def interrupt(begun=begun):
                begun.wait()
                os.kill(os.getpid(), signal.SIGINT)

            thread = threading.Thread(target=interrupt)
            thread.start()
            try:
                # The thread gets to run when the read lets go of the lock, and not before.
                sys.setswitchinterval(1000)
                begun.set()
                with self.assertRaises(KeyboardInterrupt):
                    # Python itself looks for signals when all of this is done.
                    answers.extend(map(read, [argument]))
            finally:
                sys.setswitchinterval(interval)
                thread.join()
            self.assertEqual(answers, [])

    def test_threads_share_a_document(self):
        single = ksmthgrp.read(ROBOT)
        names = ("positions", "normals", "face_smoothing", "groups", "smoothing", "materials")
        wanted = [repr(getattr(single, name)) for name in names] + [single.creases().corners.tolist(),
                                                                     single.host_creases(smoothing=3).tolist()]
        document, found = ksmthgrp.read(ROBOT), []

        def look():
            found.append([repr(getattr(document, name)) for name in names] +
                         [document.creases().corners.tolist(), document.host_creases(smoothing=3).tolist()])

        threads = [threading.Thread(target=look) for _ in range(8)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(found, [wanted] * 8)


class Manual(unittest.TestCase):
    def test_names_and_explains_everything(self):
        header = pathlib.Path(ROOT, "src", "KSmthVersion.h").read_text()
        self.assertEqual(ksmthgrp.__version__.split("."), re.findall(r"define KSMTH_VERSION_\w+ (\d+)", header))
        text = pydoc.render_doc(ksmthgrp, renderer=pydoc.plaintext)
        for name in ksmthgrp.__all__:
            self.assertIn(name, text)
            self.assertTrue(getattr(ksmthgrp, name).__doc__, name)
        for name, member in vars(ksmthgrp.Document).items():
            if not name.startswith("_"):
                self.assertTrue(member.__doc__, name)

    def test_stubs_say_the_same(self):
        package = os.path.dirname(os.path.dirname(ksmthgrp.__file__))
        try:
            import mypy.stubtest  # noqa: F401
        except ImportError:
            self.skipTest("mypy is not there")
        allowed = os.path.join(os.path.dirname(os.path.abspath(__file__)), "stubtest_allowlist.txt")
        with tempfile.TemporaryDirectory() as folder:
            done = subprocess.run([sys.executable, "-m", "mypy.stubtest", "ksmthgrp", "--allowlist", allowed],
                                  cwd=folder, env={**os.environ, "MYPYPATH": package, "PYTHONPATH": package},
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
        self.assertEqual(done.returncode, 0, done.stdout)


if __name__ == "__main__":
    unittest.main()
