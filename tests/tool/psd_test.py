"""smthgrp psd as a person meets it: psd_test.py SMTHGRP"""

import json
import os
import struct
import subprocess
import sys
import tempfile
import unittest
import zlib

TOOL = os.path.abspath(sys.argv[1])


def sized(data):
    return struct.pack(">I", len(data)) + data


def header(channels, width, height, depth=8, mode=3):
    return b"8BPS\0\1" + bytes(6) + struct.pack(">HIIHH", channels, height, width, depth, mode)


def layer(name, rectangle, channels):
    """A layer record and its channel data: `channels` are (id, bytes)."""
    entries = b"".join(struct.pack(">hI", number, len(data)) for number, data in channels)
    extra = bytes(8) + (bytes([len(name)]) + name).ljust((len(name) + 4) // 4 * 4, b"\0")
    record = struct.pack(">4iH", *rectangle, len(channels)) + entries + b"8BIMmul \x80\0\2\0" + sized(extra)
    return record, b"".join(data for _, data in channels)


def document(channels, width, height, merged, layers=(), **options):
    info = b""
    if layers:
        info = struct.pack(">h", len(layers)) + b"".join(r for r, _ in layers) + b"".join(d for _, d in layers)
        info = sized(info)
    return header(channels, width, height, **options) + sized(b"") + sized(b"") + sized(info) + merged


def png(path):
    """Colour type and rows of an 8-bit PNG whose rows are not filtered by more than "none" and "sub"."""
    with open(path, "rb") as file:
        data = file.read()
    width, height, _, colour = struct.unpack(">IIBB", data[16:26])
    at, packed = 8, b""
    while at < len(data):
        size, = struct.unpack(">I", data[at:at + 4])
        if data[at + 4:at + 8] == b"IDAT":
            packed += data[at + 8:at + 8 + size]
        at += 12 + size
    return colour, width, height, zlib.decompress(packed)


class PsdTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)

    def path(self, name):
        return os.path.join(self.folder.name, name)

    def write(self, name, data):
        with open(self.path(name), "wb") as file:
            file.write(data)
        return self.path(name)

    def run_tool(self, *arguments):
        return subprocess.run([TOOL, "psd", *arguments], capture_output=True, timeout=60, cwd=self.folder.name,
                              check=False)

    def succeed(self, *arguments):
        result = self.run_tool(*arguments)
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        return result.stdout.decode()

    def fail_with(self, status, *arguments):
        result = self.run_tool(*arguments)
        lines = result.stderr.decode().splitlines()
        self.assertEqual((result.returncode, len(lines)), (status, 1), (arguments, result))
        return lines[0]

    def small(self):
        raw = b"\0\0"
        upper = layer(b"up/../er", (0, 1, 1, 3), [(-1, raw + b"\xff\x80"), (0, raw + b"ab"), (1, raw + b"cd"),
                                                  (2, b"\0\1\0\2\xffe")])
        return document(4, 3, 1, raw + b"rrrgggbbbaaa", [upper, layer(b"folder", (0, 0, 0, 0), [(0, raw)])])

    def test_info(self):
        path = self.write("a.psd", self.small())
        told = json.loads(self.succeed("info", "--json", path))
        self.assertEqual((told["width"], told["height"], told["channels"], told["mode"]), (3, 1, 4, "RGB"))
        first = told["layers"][0]
        self.assertEqual((first["name"], first["left"], first["width"], first["blendMode"], first["opacity"]),
                         ("up/../er", 1, 2, "multiply", 128))
        self.assertEqual(first["flagNames"], ["hidden"])
        self.assertEqual([(c["id"], c["compression"]) for c in first["channels"]],
                         [(-1, "raw"), (0, "raw"), (1, "raw"), (2, "run-length")])
        text = self.succeed("info", path)
        for part in ("3 x 1", "multiply", "hidden", "-1 0 1 2", "layer and mask information"):
            self.assertIn(part, text)

    def test_flatten(self):
        path = self.write("a.psd", self.small())
        self.succeed("flatten", path, "-o", "out.png")
        self.assertEqual(png(self.path("out.png"))[:3], (6, 3, 1))
        self.succeed("flatten", path, "-o", "!out.psd")
        with open(self.path("!out.psd"), "rb") as file:
            self.assertEqual(file.read(), document(4, 3, 1, b"\0\0rrrgggbbbaaa"))
        grey = self.write("grey.psd", document(1, 2, 1, b"\0\0\x10\x90", mode=1))
        self.succeed("flatten", grey, "-o", "grey.png")
        colour, _, _, rows = png(self.path("grey.png"))
        self.assertEqual((colour, rows[:2]), (0, b"\0\x10") if rows[0] == 0 else (0, b"\1\x10"))

    def test_layers(self):
        self.assertIn("1 layer without pixels", self.succeed("layers", self.write("a.psd", self.small()), "-o", "out"))
        files = os.listdir(self.path("out"))
        self.assertEqual(len(files), 1)
        self.assertNotIn("/", files[0])
        self.assertEqual(png(os.path.join(self.path("out"), files[0]))[:3], (6, 2, 1))

    def test_refusals(self):
        good = self.small()
        for name, data, words in (("none", b"no such thing", "is no PSD file"), ("v2", b"8BPS\0\2" + good[6:], "version"),
                                  ("cut", good[:60], "cut off"), ("pixels", good[:-1], "cut off"),
                                  ("deep", document(3, 1, 1, bytes(8), depth=16), "16 bits"),
                                  ("cmyk", document(4, 1, 1, bytes(6), mode=4), "CMYK"),
                                  ("zip", document(3, 1, 1, b"\0\2" + bytes(9)), "ZIP"),
                                  ("huge", document(3, 300000, 300000, bytes(1000)), "cut off")):
            path = self.write(name, data)
            self.assertIn(words, self.fail_with(1, "flatten", path, "-o", "x.png"), name)
        bad = layer(b"bad", (0, 0, 30000, 30000), [(0, b"\0\1" + bytes(50))])
        self.assertIn("cannot be read", self.fail_with(1, "layers", self.write("b", document(3, 1, 1, bytes(5), [bad])), "-o", "x"))
        flat = self.write("flat.psd", document(3, 1, 1, bytes(5)))
        self.assertIn("no layers", self.fail_with(1, "layers", flat, "-o", "x"))
        self.fail_with(2, "flatten", flat, "-o", "x.jpg")
        self.fail_with(1, "flatten", flat, "-o", "missing/x.png")
        self.fail_with(1, "flatten", flat, "-o", "missing/x.psd")
        self.fail_with(1, "info", "missing.psd")
        self.fail_with(1, "info", ".")
        self.fail_with(2)
        self.assertFalse(os.path.exists(self.path("x.png")))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
