"""Photoshop documents as arrays."""

import glob
import io
import os
import tempfile
import unittest

import numpy

import ksmthgrp
from ksmthgrp import psd
from support import ROOT

RANDOM = numpy.random.default_rng(2)


def noise(*shape):
    return RANDOM.integers(0, 256, shape, numpy.uint8)


class Documents(unittest.TestCase):
    def test_come_back_as_they_were(self):
        for channels in (1, 2, 3, 4):
            for layers in ([], [("Background", noise(5, 7, 3)), psd.Layer("Tinte é", noise(4, 2, 4), 6, -1, 77, False, "mul "),
                                psd.Layer("none", noise(0, 0, 4))]):
                if layers and channels < 3:
                    continue
                with self.subTest(channels=channels, layers=len(layers)):
                    pixels, target = noise(5, 7, channels), io.BytesIO()
                    psd.write(target, pixels, layers)
                    image = psd.read(target.getvalue())
                    self.assertEqual(image.pixels.tolist(), pixels.tolist())
                    self.assertEqual(len(image.layers), len(layers))
                    for read, layer in zip(image.layers, layers):
                        layer = psd.Layer(*layer)
                        self.assertEqual(read[0:1] + read[2:], layer[0:1] + layer[2:])
                        colours = layer.pixels.shape[2]
                        self.assertEqual(read.pixels[..., :colours].tolist(), layer.pixels.tolist())
                        self.assertTrue((read.pixels[..., colours:] == 255).all())

    def test_of_the_library_are_read(self):
        files = sorted(glob.glob(os.path.join(ROOT, "tests", "data", "psd", "*8-3x5.psd")))
        files += glob.glob(os.path.join(ROOT, "tests", "data", "psd", "*rgb*-3x5.psd"))
        files += glob.glob(os.path.join(ROOT, "tests", "data", "psd", "layered*-3x5.psd"))
        self.assertGreater(len(files), 3)
        for path in files:
            with self.subTest(path=os.path.basename(path)):
                image = psd.read(path)
                self.assertEqual(image.pixels.shape[:2], (5, 3))
                self.assertEqual(bool(image.layers), "layered" in path)

    def test_are_refused_where_they_make_no_sense(self):
        target, good = io.BytesIO(), noise(2, 2, 3)
        psd.write(target, good, [("a", good)])
        content = target.getvalue()
        rows = [(lambda: psd.read("missing.psd"), FileNotFoundError), (lambda: psd.read(b"8BPS"), ksmthgrp.FormatError),
                (lambda: psd.write(target, good.astype(float)), TypeError), (lambda: psd.write(target, noise(2)), ValueError),
                (lambda: psd.write(target, noise(0, 2, 3)), ValueError), (lambda: psd.write(target, noise(2, 2, 5)), ValueError),
                (lambda: psd.write(target, noise(2, 2), [("a", good)]), ValueError),
                (lambda: psd.write(target, good, [("a", noise(2, 2, 1))]), ValueError),
                (lambda: psd.write(target, good, [("a" * 256, good)]), ValueError),
                (lambda: psd.write(target, good, [psd.Layer("a", good, blend="multiply")]), ValueError),
                (lambda: psd.write(target, numpy.zeros((1, 30001, 1), numpy.uint8)), ValueError)]
        rows += [(lambda size=size: psd.read(content[:size]), ksmthgrp.FormatError) for size in range(len(content))]
        for number, (call, kind) in enumerate(rows):
            with self.subTest(row=number), self.assertRaises(kind):
                call()
        self.assertEqual(target.getvalue(), content)
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "a.psd")
            psd.write(path, noise(3, 4))
            self.assertEqual(psd.read(path).pixels.shape, (3, 4, 1))


if __name__ == "__main__":
    unittest.main()
