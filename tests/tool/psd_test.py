"""smthgrp psd as a person meets it: psd_test.py SMTHGRP"""

import json
import os
import struct
import sys
import unittest

import PIL.Image

from support import ToolCase

RAW, RLE = b"\0\0", b"\0\1"


def sized(data):
    return struct.pack(">I", len(data)) + data


def resource(number, name, data):
    """A name takes an even number of bytes with its length, data an even number without."""
    name = bytes([len(name)]) + name
    return b"8BIM" + struct.pack(">H", number) + name + b"\0" * (len(name) % 2) + sized(data) + b"\0" * (len(data) % 2)


def layer(name, rectangle, channels, info=b""):
    """A layer record and its channel data: `channels` are (id, bytes)."""
    entries = b"".join(struct.pack(">hI", number, len(data)) for number, data in channels)
    extra = bytes(8) + (bytes([len(name)]) + name).ljust((len(name) + 4) // 4 * 4, b"\0") + info
    record = struct.pack(">4iH", *rectangle, len(channels)) + entries + b"8BIMmul \x80\0\2\0" + sized(extra)
    return record, b"".join(data for _, data in channels)


def document(channels, width, height, merged, layers=(), alpha=False, depth=8, mode=3, resources=b""):
    """`alpha`: the layer count says that the merged image has transparency."""
    info = struct.pack(">h", -len(layers) if alpha else len(layers)) + b"".join(p[i] for i in (0, 1) for p in layers)
    return b"8BPS\0\1" + bytes(6) + struct.pack(">HIIHH", channels, height, width, depth, mode) + sized(b"") + \
        sized(resources) + sized(sized(info) if layers else b"") + merged


def small(**options):
    """Two layers, one of them without pixels, and an opaque merged image unless `alpha` says otherwise."""
    name = "é🙂\0".encode("utf-16-be") + b"\xd8\0\0a\xdc\0" + bytes(2)
    luni = b"8BIMlsct" + sized(bytes(4)) + b"8BIMluni" + sized(struct.pack(">I", len(name) // 2) + name)
    channels = [(-1, RAW + b"\xff\x80"), (0, RAW + b"ab"), (1, RAW + b"cd"), (2, b"\0\1\0\2\xffe")]
    layers = [layer(b"up/../er", (0, 1, 1, 3), channels), layer(b"folder", (0, 0, 0, 0), [(0, RAW)], luni)]
    return document(4, 3, 1, RAW + b"rstghibcdxyz", layers, **options)


class PsdTest(ToolCase):
    def picture(self, name):
        with PIL.Image.open(self.path(name)) as image:
            return image.mode, image.size, image.tobytes()

    def test_info(self):
        resources = resource(1005, b"", b"abc") + resource(1000, b"odd", b"") + resource(1036, b"even", b"a")
        self.write("a.psd", small(alpha=True, resources=resources))
        told = json.loads(self.succeed("psd", "info", "--json", "a.psd"))
        first, second = told.pop("layers")
        self.assertEqual([told[key] for key in ("width", "height", "channels", "mode", "mergedTransparency", "compression")],
                         [3, 1, 4, "RGB", True, "raw"])
        self.assertEqual([tuple(r.values()) for r in told["resources"]], [(1005, "", 3), (1000, "odd", 0), (1036, "even", 1)])
        self.assertEqual([s["position"] for s in told["sections"]], [30, 34, 86, 86 + told["sections"][2]["size"]])
        self.assertEqual([first[key] for key in ("name", "left", "top", "width", "height", "blendMode", "opacity", "flagNames")],
                         ["up/../er", 1, 0, 2, 1, "multiply", 128, ["hidden"]])
        self.assertEqual([(c["id"], c["compression"]) for c in first["channels"]],
                         [(-1, "raw"), (0, "raw"), (1, "raw"), (2, "run-length")])
        self.assertEqual((second["name"], second["info"]), ("é🙂\0\ufffda\ufffd", ["lsct", "luni"]))
        self.assertRegex(self.succeed("psd", "info", "a.psd"), r"(?s)size +3 x 1\n.*merged image  raw, with transparency\n.*"
                         r"\n      1 +2x1 +1, 0  multiply +50%  hidden +-1 0 1 2 +up/../er\n.*\n   1000 +0  odd\n")
        self.write("a.psd", small()[:-14])
        self.assertRegex(self.succeed("psd", "info", "a.psd"), r"merged image  missing\n")
        self.assertIn("3 x 1", self.succeed("psd", "info", "/dev/stdin", input=small()))

    def test_flatten(self):
        # Rows of three and of two: 128 does nothing, wherever it is.
        rows = (b"\2rst\x80", b"\xfeg\x80", b"\x80\0b\xffc", b"\2xyz")
        packed = RLE + struct.pack(">4H", *map(len, rows)) + b"".join(rows)
        two = RLE + b"\0\4\0\3" + b"\1ab\x80\xffc\x80"
        some = [layer(b"a", (0, 0, 1, 1), [(n, RAW + b"a") for n in range(3)])]
        for name, data, wanted, planes in (
                ("flat", document(4, 3, 1, RAW + b"rstghibcdxyz"), ("RGBA", (3, 1), b"rgbxshcytidz"), b"rstghibcdxyz"),
                ("transparent", small(alpha=True), ("RGBA", (3, 1), b"rgbxshcytidz"), b"rstghibcdxyz"),
                ("saved selection", small(), ("RGB", (3, 1), b"rgbshctid"), b"rstghibcd"),
                ("packed", document(4, 3, 1, packed, some, alpha=True), ("RGBA", (3, 1), b"rgbxsgcytgcz"), b"rstgggbccxyz"),
                ("packed grey", document(1, 2, 2, two, mode=1), ("L", (2, 2), b"abcc"), b"abcc" * 3),
                ("grey, alpha", document(2, 2, 1, RAW + b"abxy", mode=1), ("LA", (2, 1), b"axby"), b"abababxy"),
                ("duotone, selection", document(2, 1, 1, RAW + b"ax", some, mode=8), ("L", (1, 1), b"a"), b"aaa"),
                ("two channels", document(2, 1, 1, RAW + b"ax", mode=7), ("LA", (1, 1), b"ax"), b"aaax"),
                ("three channels", document(3, 1, 1, RAW + b"abc", mode=7), ("RGB", (1, 1), b"abc"), b"abc"),
                ("widest row", document(1, 129, 1, RLE + b"\0\4\x81a\0b", mode=1), ("L", (129, 1), b"a" * 128 + b"b"), None)):
            size = "{} x {}".format(*wanted[1])
            self.assertEqual(self.succeed("psd", "flatten", self.write("a.psd", data), "-o", "out.PNG"), f"out.PNG: {size}\n")
            self.assertEqual(self.picture("out.PNG"), wanted, name)
            if planes:
                self.succeed("psd", "flatten", "a.psd", "-o", "out.psd")
                channels = len(planes) // (wanted[1][0] * wanted[1][1])
                self.assertEqual(self.read("out.psd"), document(channels, *wanted[1], RAW + planes), name)

    def test_layers(self):
        said = self.succeed("psd", "layers", self.write("a.psd", small()), "-o", "out")
        self.assertEqual(said, "out/up_.._er.png: 2 x 1 at 1, 0\n1 layer without pixels\n")
        self.assertEqual(self.picture("out/up_.._er.png"), ("RGBA", (2, 1), b"ace\xffbde\x80"))
        rows, masked = b"\0\1\0\3\0\2" + b"\1ab" + b"\xffc", [(-2, b"\0\0abcd")]
        layers = [layer(b"", (0, 0, 2, 2), [(n, rows) for n in range(3)] + masked), layer(b"mask", (0, 0, 2, 2), masked)]
        self.succeed("psd", "layers", self.write("b.psd", document(3, 2, 2, bytes(14), layers)), "-o", "out")
        self.assertEqual(self.picture("out/layer.png"), ("RGB", (2, 2), b"aaabbbcccccc"))
        grey = [layer(b"grey", (0, 0, 1, 2), [(0, RAW + b"ab"), (1, RAW + b"xx")])]
        self.succeed("psd", "layers", self.write("c.psd", document(1, 2, 1, bytes(4), grey, mode=1)), "-o", "out")
        self.assertEqual(self.picture("out/grey.png"), ("RGB", (2, 1), b"aaabbb"))

    def test_files(self):
        self.write("a.psd", small())
        os.mkdir(self.path("out"))
        os.link(self.path("a.psd"), self.path("out/up_.._er.png"))
        for target, line in (("a.psd", "flatten a.psd -o a.psd"), ("out/up_.._er.png", "layers a.psd -o out")):
            self.refuse(1, target + ": is the file that is read, and writing would destroy it", "psd", *line.split())
        self.assertEqual(self.read("a.psd"), small())
        for target in "x.png", "x.psd":
            os.symlink("/dev/full", self.path(target))
            self.refuse(1, target + ": No space left on device", "psd", "flatten", "a.psd", "-o", target)
        os.truncate(self.path(self.write("long.psd", small())), 1 << 32)
        for name, message in (("/dev/zero", "is no PSD file"), ("long.psd", "is longer than 2 GiB"), (".", "Is a directory"),
                              ("no.psd", "No such file or directory")):
            self.refuse(1, f"{name}: {message}", "psd", "info", name)
        self.refuse(2, "x.jpg: the output must end in .png or .psd", "psd", "flatten", "a.psd", "-o", "x.jpg")

    def test_refusals(self):
        good, damaged = small(), "the merged image cannot be read, it is cut off, damaged or too large"
        bad = [layer(b"bad", (0, 0, 30000, 30000), [(0, RLE + bytes(50))])]
        packed = [layer(b"zip", (0, 0, 1, 1), [(0, b"\0\2ab")])]
        at = good.index(sized(b"") * 2) + 8
        for data, message, *command in (
                (b"no such thing", "is no PSD file"), (b"8BPS\0\2" + good[6:], "is of a version of the format that is not 1"),
                (good[:60], "is cut off in the layer and mask information"), (good[:32], "is cut off in the image resources"),
                (good[:at + 4] + struct.pack(">I", 999) + good[at + 8:], "is cut off in the layer info"),
                (good[:at + 8] + b"\0\3" + good[at + 10:], "layer 3 is cut off"),
                (small()[:-14], "is cut off, the merged image is missing"), (good[:-1], damaged),
                (document(3, 1, 1, bytes(8), depth=16), "has 16 bits per channel, 8 can be read"),
                (document(4, 1, 1, bytes(6), mode=4), "is in colour mode CMYK, which cannot be read"),
                (document(3, 0, 1, bytes(6)), "has no pixels"),
                (document(3, 1, 1, b"\0\2" + bytes(9)), "the merged image is compressed in a way that cannot be read: ZIP"),
                (document(1, 3, 1, b"\0\1\0\3\1ab", mode=1), damaged), (document(1, 1, 1, b"\0\1\0\3\1ab", mode=1), damaged),
                (document(1, 3, 1, b"\0\1\0\3\2ab", mode=1), damaged), (document(1, 30000, 30000, RLE + bytes(60000), mode=1), damaged),
                (document(1, 130, 1, RLE + b"\0\2\x81a", mode=1), damaged), (document(3, 300000, 300000, bytes(1000)), damaged),
                (document(3, 1, 1, bytes(5), bad), 'the pixels of layer "bad" cannot be read', "layers"),
                (document(3, 1, 1, bytes(5), packed), 'layer "zip" is compressed in a way that cannot be read: ZIP', "layers"),
                (document(3, 1, 1, bytes(5)), "has no layers; smthgrp psd flatten writes its image", "layers")):
            self.refuse(1, "a.psd: " + message, "psd", *(command or ["flatten"]), self.write("a.psd", data), "-o", "x.png")
        self.assertFalse(os.path.isfile(self.path("x.png")))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
