"""What the pixels of our files are, and what our loaders have to make of anybody's: the rules once more,
without the library."""

import struct

SIZES = ((1, 1), (3, 5), (257, 129))


def ruled(size, seed):
    """The bytes of interop_psd's bitmaps."""
    return bytes((i * 73 + seed * 31 + (i >> 8) * 17 + i // 1021 * 5) & 255 for i in range(size))


def pixels(width, height, seed):
    """Of a 32-bit bitmap, as (alpha, red, green, blue)."""
    data = ruled(width * height * 4, seed)
    return [tuple(data[i:i + 4]) for i in range(0, len(data), 4)]


def rgb(argb):
    return b"".join(bytes(p[1:4]) for p in argb)


def rgba(argb, alpha=None):
    """`alpha`: one value for all, a list of values, or None for the pixels' own."""
    if alpha is None:
        alpha = [p[0] for p in argb]
    elif isinstance(alpha, int):
        alpha = [alpha] * len(argb)
    return b"".join(bytes((*p[1:4], a)) for p, a in zip(argb, alpha))


def strided(size, width, height, seed, value_bytes):
    """The plane that a bitmap of `size` bytes gives: pixels are 4 bytes apart, and 0 past its end."""
    data = ruled(size, seed) + bytes(8 * width * height)
    return b"".join(data[4 * i:4 * i + value_bytes] for i in range(width * height))


def mask_alpha(width, height, seed, threshold):
    data = ruled(width * height * 4, seed)
    values = struct.unpack(f">{width * height}i", data)
    return [255 if value < threshold else 0 for value in values]


class Loader:
    """Our two loaders, in the plainest way. `load` answers the pixels as alpha, red, green, blue, or None."""

    def __init__(self, data):
        self.data = data
        self.channels, self.height, self.width = struct.unpack_from(">HII", data, 12)
        at = 26
        for _ in range(2):
            at += 4 + self.u32(at)
        self.section = at

    def u16(self, at):
        return struct.unpack_from(">H", self.data, at)[0]

    def u32(self, at):
        return struct.unpack_from(">I", self.data, at)[0]

    def plane(self, at, packed):
        """One channel from `at` on, and the position behind it."""
        count = self.width * self.height
        if not packed:
            if at + count > len(self.data):
                raise IndexError
            return self.data[at:at + count], at + count
        out = bytearray()
        while len(out) < count:
            n = self.data[at] - 256 if self.data[at] > 127 else self.data[at]
            used = n + 1 if n > 0 else 1
            piece = self.data[at + 1:at + 1 + used]
            if len(piece) < used:
                raise IndexError
            out += piece if n > 0 else piece * (1 - n)
            at += 1 + used
        return bytes(out[:count]), at

    def merged(self, with_alpha):
        at = self.section + 4 + self.u32(self.section)
        packed = self.u16(at) != 0
        at += 2 + (self.channels * self.height * 2 if packed else 0)
        planes = []
        for _ in range(min(self.channels, 4 if with_alpha else 3)):
            plane, at = self.plane(at, packed)
            planes.append(plane)
        return self.join(planes)

    def layer(self, with_alpha):
        if self.u32(self.section) == 0 or self.u32(self.section + 4) == 0:
            return self.merged(False)
        count, = struct.unpack_from(">h", self.data, self.section + 8)
        if count == 0:
            return self.merged(False)
        at = self.section + 10
        for _ in range(max(count, 0)):
            at += 18 + 6 * self.u16(at + 16) + 12
            at += 4 + self.u32(at)
        planes = []
        for _ in range(min(self.channels, 4 if with_alpha else 3)):
            packed = self.u16(at) != 0
            plane, at = self.plane(at + 2 + (self.height * 2 if packed else 0), packed)
            planes.append(plane)
        return self.join(planes)

    def join(self, planes):
        planes += [bytes(self.width * self.height)] * (4 - len(planes))
        return b"".join(bytes((a, r, g, b)) for r, g, b, a in zip(*planes))

    @staticmethod
    def load(data, what, with_alpha):
        try:
            loader = Loader(data)
            return loader.layer(with_alpha) if what == "layer" else loader.merged(with_alpha)
        except (IndexError, struct.error):
            return None
