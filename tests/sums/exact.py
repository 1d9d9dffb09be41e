"""Numbers as the library computes them, to the bit, the tests' random numbers and the sum of their results."""
import fractions
import random
import struct

UNIT = 0x10000  # 1.0 as a raw 16.16 value


def wrap(number):
    """Held to 32 bits, signed, as sums and products of raw values wrap round."""
    return (number + 2**31) % 2**32 - 2**31


def product(a, b):
    """The fixed product of two raw values, rounded down."""
    return wrap(a * b >> 16)


def quotient(a, b):
    """Truncated towards zero; 0 for a divisor of 0."""
    return wrap(int(fractions.Fraction(a, b))) if b else 0


def truncated(real):
    """A real number as a whole one, truncated towards zero and held in 32 bits."""
    return max(-2**31, min(2**31 - 1, int(real)))


def single(real):
    """The nearest float. One step on floats (+, -, *, / or a root) that Python has rounded to a double before comes
    out as if rounded once, since a double has more than twice the digits."""
    return struct.unpack("f", struct.pack("f", real))[0]


class Random(random.Random):
    """std::mt19937: Python's own generator, but for the seed."""

    def __init__(self, seed):
        super().__init__()
        words = [seed]
        for i in range(1, 624):
            words.append((1812433253 * (words[-1] ^ words[-1] >> 30) + i) % 2**32)
        self.setstate((3, (*words, 624), None))

    def below(self, limit):
        return self.getrandbits(32) % limit

    def any_raw(self):
        """Raw values of every magnitude."""
        shift = self.below(32)
        return wrap(self.getrandbits(32)) >> shift


class Checksum:
    """The FNV-1a sum of Checksum.h: whole numbers by their low 32 bits, floats by theirs, texts by their bytes."""
    sum = 0x811C9DC5

    def add(self, *values):
        for value in values:
            if isinstance(value, (tuple, list)):
                self.add(*value)
            elif isinstance(value, str):
                self.add(*value.encode("latin-1"))
            else:
                word = struct.unpack("I", struct.pack("f", value))[0] if isinstance(value, float) else value % 2**32
                self.sum = (self.sum ^ word) * 0x01000193 % 2**32
