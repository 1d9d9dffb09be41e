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


def document(channels, width, height, merged, layers=(), alpha=False, **options):
    """`alpha`: the layer count says that the merged image has transparency."""
    info = b""
    if layers:
        info = struct.pack(">h", -len(layers) if alpha else len(layers)) + b"".join(r for r, _ in layers) + b"".join(d for _, d in layers)
        info = sized(info)
    return header(channels, width, height, **options) + sized(b"") + sized(b"") + sized(info) + merged


def unfilter(kind, row, above, size):
    """One row of a PNG of `size` bytes a pixel, by the published filters."""
    out = bytearray()
    for i, byte in enumerate(row):
        a, b, c = (out[i - size], above[i], above[i - size]) if i >= size else (0, above[i], 0)
        paeth = min((abs(b - c), 0, a), (abs(a - c), 1, b), (abs(a + b - 2 * c), 2, c))[2]
        out.append((byte + (0, a, b, (a + b) // 2, paeth)[kind]) & 255)
    return bytes(out)


def png(path):
    """Colour type, width, height and pixels of an 8-bit PNG."""
    with open(path, "rb") as file:
        data = file.read()
    width, height, _, colour = struct.unpack(">IIBB", data[16:26])
    at, packed = 8, b""
    while at < len(data):
        length, = struct.unpack(">I", data[at:at + 4])
        if data[at + 4:at + 8] == b"IDAT":
            packed += data[at + 8:at + 8 + length]
        at += 12 + length
    size = {0: 1, 2: 3, 4: 2, 6: 4}[colour]
    packed, rows = zlib.decompress(packed), [bytes(width * size)]
    for y in range(height):
        start = y * (width * size + 1)
        rows.append(unfilter(packed[start], packed[start + 1:start + 1 + width * size], rows[-1], size))
    return colour, width, height, b"".join(rows[1:])


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

    def small(self, **options):
        raw = b"\0\0"
        upper = layer(b"up/../er", (0, 1, 1, 3), [(-1, raw + b"\xff\x80"), (0, raw + b"ab"), (1, raw + b"cd"),
                                                  (2, b"\0\1\0\2\xffe")])
        return document(4, 3, 1, raw + b"rstghibcdxyz", [upper, layer(b"folder", (0, 0, 0, 0), [(0, raw)])], **options)

    def content(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

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

    def test_info_without_merged_image(self):
        path = self.write("a.psd", self.small()[:-14])
        self.assertIsNone(json.loads(self.succeed("info", "--json", path))["compression"])
        self.assertRegex(self.succeed("info", path), r"merged image +missing\n")
        self.assertIn("merged image is missing", self.fail_with(1, "flatten", path, "-o", "x.png"))

    def test_flatten(self):
        raw, rle = b"\0\0", b"\0\1"
        planes, colours, pixels = b"rstghibcdxyz", b"rgbshctid", b"rgbxshcytidz"
        # Rows of three and of two: 128 does nothing, wherever it is.
        rows = (b"\2rst\x80", b"\xfeg\x80", b"\x80\0b\xffc", b"\2xyz")
        packed = rle + struct.pack(">4H", *map(len, rows)) + b"".join(rows)
        two = (b"\1ab\x80", b"\xffc\x80")
        some = [layer(b"a", (0, 0, 1, 1), [(n, raw + b"a") for n in range(3)])]
        for name, data, wanted in (
                ("flat", document(4, 3, 1, raw + planes), (6, 3, 1, pixels)),
                ("transparent", self.small(alpha=True), (6, 3, 1, pixels)),
                ("saved selection", self.small(), (2, 3, 1, colours)),
                ("packed", document(4, 3, 1, packed, some, alpha=True), (6, 3, 1, b"rgbxsgcytgcz")),
                ("packed grey", document(1, 2, 2, rle + b"\0\4\0\3" + b"".join(two), mode=1), (0, 2, 2, b"abcc")),
                ("grey", document(1, 2, 1, raw + b"\x10\x90", mode=1), (0, 2, 1, b"\x10\x90")),
                ("grey, alpha", document(2, 2, 1, raw + b"abxy", mode=1), (4, 2, 1, b"axby")),
                ("grey, selection", document(2, 1, 1, raw + b"ax", some, mode=1), (0, 1, 1, b"a"))):
            self.succeed("flatten", self.write("a.psd", data), "-o", "out.png")
            self.assertEqual(png(self.path("out.png")), wanted, name)
        self.succeed("flatten", self.write("a.psd", self.small(alpha=True)), "-o", "!out.psd")
        self.assertEqual(self.content("!out.psd"), document(4, 3, 1, raw + planes))
        self.succeed("flatten", self.write("a.psd", self.small()), "-o", "!out.psd")
        self.assertEqual(self.content("!out.psd"), document(3, 3, 1, raw + planes[:9]))

    def test_layers(self):
        said = self.succeed("layers", self.write("a.psd", self.small()), "-o", "out")
        self.assertIn("1 layer without pixels", said)
        files = os.listdir(self.path("out"))
        self.assertEqual(len(files), 1)
        self.assertNotIn("/", files[0])
        self.assertEqual(png(os.path.join(self.path("out"), files[0])), (6, 2, 1, b"ace\xffbde\x80"))
        rows = b"\0\1\0\3\0\2" + b"\1ab" + b"\xffc"
        data = document(3, 2, 2, bytes(14), [layer(b"", (0, 0, 2, 2), [(n, rows) for n in range(3)]),
                                             layer(b"mask", (0, 0, 2, 2), [(-2, b"\0\0abcd")])])
        said = self.succeed("layers", self.write("b.psd", data), "-o", "named")
        self.assertIn("1 layer without pixels", said)
        self.assertEqual(os.listdir(self.path("named")), ["layer.png"])
        self.assertEqual(png(self.path("named/layer.png")), (2, 2, 2, b"aaabbbcccccc"))

    def test_input_is_output(self):
        good = self.small()
        path = self.write("a.psd", good)
        os.symlink("a.psd", self.path("soft.psd"))
        os.link(path, self.path("hard.png"))
        os.mkdir(self.path("out"))
        os.link(path, self.path("out/up_.._er.png"))
        for command in (("flatten", path, "-o", "a.psd"), ("flatten", path, "-o", "soft.psd"),
                        ("flatten", "soft.psd", "-o", "hard.png"), ("layers", path, "-o", "out")):
            self.assertIn("is the file that is read", self.fail_with(1, *command))
            self.assertEqual(self.content("a.psd"), good)

    def test_failed_writing(self):
        path = self.write("a.psd", self.small())
        for ending in ("png", "psd"):
            full, folder = "full." + ending, "folder." + ending
            os.symlink("/dev/full", self.path(full))
            os.mkdir(self.path(folder))
            os.symlink("kept", self.path("link." + ending))
            self.assertEqual(self.fail_with(1, "flatten", path, "-o", full), f"smthgrp: {full}: No space left on device")
            self.assertEqual(self.fail_with(1, "flatten", path, "-o", folder), f"smthgrp: {folder}: Is a directory")
            none = f"missing/x.{ending}"
            self.assertEqual(self.fail_with(1, "flatten", path, "-o", none), f"smthgrp: {none}: No such file or directory")
            self.succeed("flatten", path, "-o", "link." + ending)
            self.assertTrue(os.path.islink(self.path(full)) and os.path.islink(self.path("link." + ending)))

    def test_endless_and_long_input(self):
        self.assertIn("is no PSD file", self.fail_with(1, "info", "/dev/zero"))
        path = self.write("long.psd", self.small())
        os.truncate(path, 1 << 32)
        self.assertIn("is longer than 2 GiB", self.fail_with(1, "info", path))
        read = subprocess.run([TOOL, "psd", "info", "/dev/stdin"], input=self.small(), capture_output=True, timeout=60,
                              check=False)
        self.assertEqual((read.returncode, read.stderr), (0, b""))

    def test_refusals(self):
        good = self.small()
        for name, data, words in (("none", b"no such thing", "is no PSD file"), ("v2", b"8BPS\0\2" + good[6:], "version"),
                                  ("cut", good[:60], "cut off"), ("pixels", good[:-1], "cut off"),
                                  ("deep", document(3, 1, 1, bytes(8), depth=16), "16 bits"),
                                  ("cmyk", document(4, 1, 1, bytes(6), mode=4), "CMYK"),
                                  ("zip", document(3, 1, 1, b"\0\2" + bytes(9)), "ZIP"),
                                  ("short row", document(1, 3, 1, b"\0\1\0\3\1ab", mode=1), "damaged"),
                                  ("long row", document(1, 1, 1, b"\0\1\0\3\1ab", mode=1), "damaged"),
                                  ("torn row", document(1, 3, 1, b"\0\1\0\3\2ab", mode=1), "damaged"),
                                  ("huge, packed", document(1, 30000, 30000, b"\0\1" + bytes(60000), mode=1), "damaged"),
                                  ("huge", document(3, 300000, 300000, bytes(1000)), "cut off")):
            path = self.write(name, data)
            self.assertIn(words, self.fail_with(1, "flatten", path, "-o", "x.png"), name)
        bad = layer(b"bad", (0, 0, 30000, 30000), [(0, b"\0\1" + bytes(50))])
        self.assertIn("cannot be read", self.fail_with(1, "layers", self.write("b", document(3, 1, 1, bytes(5), [bad])), "-o", "x"))
        flat = self.write("flat.psd", document(3, 1, 1, bytes(5)))
        self.assertIn("no layers", self.fail_with(1, "layers", flat, "-o", "nowhere"))
        self.assertFalse(os.path.exists(self.path("nowhere")))
        self.fail_with(2, "flatten", flat, "-o", "x.jpg")
        self.assertEqual(self.fail_with(1, "info", "missing.psd"), "smthgrp: missing.psd: No such file or directory")
        self.assertEqual(self.fail_with(1, "info", "."), "smthgrp: .: Is a directory")
        self.assertIn("see smthgrp psd --help", self.fail_with(2))
        self.assertIn("see smthgrp psd info --help", self.fail_with(2, "info"))
        self.assertFalse(os.path.exists(self.path("x.png")))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
