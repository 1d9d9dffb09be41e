"""Vectors of 16.16 values (APoint3D) and of floats (FPoint3D)."""
import math

from exact import UNIT, Checksum, Random, product, single, truncated, wrap


class Vectors:
    """Vectors in an arithmetic of its own: how it multiplies, and what it keeps of a sum."""

    def __init__(self, times, keep):
        self.times, self.keep = times, keep

    def minus(self, a, b):
        return tuple(self.keep(p - q) for p, q in zip(a, b))

    def scaled(self, factor, a):
        return tuple(self.times(factor, p) for p in a)

    def dot(self, a, b):
        x, y, z = map(self.times, a, b)
        return self.keep(self.keep(x + y) + z)

    def cross(self, a, b):
        return tuple(self.keep(self.times(a[i], b[j]) - self.times(a[j], b[i])) for i, j in ((1, 2), (2, 0), (0, 1)))

    def normal(self, p, q, r):
        """Of the triangle, as long as it comes out."""
        return self.cross(self.minus(q, p), self.minus(r, q))

    def reflected(self, n, d):
        """The direction d at the plane with the unit normal n."""
        return self.minus(d, self.scaled(self.keep(2 * self.dot(n, d)), n))


FIXED = Vectors(product, wrap)
SINGLE = Vectors(lambda a, b: single(a * b), single)
DOUBLE = Vectors(lambda a, b: float(a) * b, float)


def floats(a):
    return tuple(single(c) / UNIT for c in a)


def stored(a):
    return tuple(truncated(c * UNIT) for c in a)


def magnitude(a):
    square = single(FIXED.dot(a, a)) / UNIT
    return -2**31 if square < 0 else truncated(single(math.sqrt(square)) * UNIT)


def unified(a):
    """The factor used and the vector at a length near 1, in fixed point."""
    factor = truncated(2**32 / (magnitude(a) + 1)) if magnitude(a) else 0
    return factor, FIXED.scaled(factor, a) if factor else a


def float_unified(a):
    square = SINGLE.dot(a, a)
    return SINGLE.scaled(single(1 / single(math.sqrt(square))), a) if square else a


def direction(a):
    """Of length 1."""
    return tuple(single(c / (math.sqrt(DOUBLE.dot(a, a)) or 1)) for c in a)


def to_256(a):
    """At length 256, where components are about 2**24."""
    return tuple(map(truncated, DOUBLE.scaled(2**24 / (math.sqrt(DOUBLE.dot(a, a)) or 1), a)))


def cos_angle(a, b):
    lengths = math.sqrt(DOUBLE.dot(a, a) * DOUBLE.dot(b, b)) or 1
    return truncated(max(-1, min(1, DOUBLE.dot(a, b) / lengths)) * UNIT)


def refracted(n, eye):
    """Where light goes on behind a surface of the refractive index 1.33 with the unit normal n."""
    inverse, cosine = single(1 / single(1.33)), SINGLE.dot(n, eye)
    behind = single(1 - single(single(inverse * inverse) * single(1 - single(cosine * cosine))))
    along = single(single(inverse * cosine) - single(math.sqrt(behind)))
    return float_unified(SINGLE.minus(SINGLE.scaled(along, n), SINGLE.scaled(inverse, eye)))


def turns(p, a, b):
    """CCW and CW in x and y as bits 0 and 1, in space as bits 2 and 3."""
    u, v = SINGLE.minus(a, p), SINGLE.minus(b, p)
    flat = single(single(u[0] * v[1]) - single(u[1] * v[0]))
    space = SINGLE.dot(SINGLE.cross(p, a), b)
    return (flat > 0) + 2 * (flat < 0) + 4 * (space < 0) + 8 * (space > 0)


# Of four vectors p, and the same as floats f: what an operation answers, and then what the first vector has become.
Z = (0, 0, 1)
ROWS = {
    "Cross": lambda p, f: FIXED.cross(p[0], p[1]),
    "Magnitude": lambda p, f: (magnitude(p[0]), p[0]),
    "Unified": lambda p, f: unified(p[0]),
    "Normal": lambda p, f: unified(FIXED.normal(*p[:3]))[1],
    "Normal_Ununified": lambda p, f: FIXED.normal(*p[:3]),
    "Reflection": lambda p, f: FIXED.reflected(p[0], p[1]),
    "Reflection of z": lambda p, f: FIXED.reflected(p[0], stored(Z)),
    "FMagnitude": lambda p, f: (single(math.sqrt(SINGLE.dot(f[0], f[0]))), p[0]),
    "FDot": lambda p, f: (SINGLE.dot(f[0], f[1]), p[0]),
    "FCross": lambda p, f: stored(SINGLE.cross(f[0], f[1])),
    "FUnified": lambda p, f: stored(float_unified(f[0])),
    "FUnifiedL24": lambda p, f: to_256(p[0]),
    "CosAngle": lambda p, f: (cos_angle(p[0], p[1]), p[0]),
    "FNormal of 2": lambda p, f: stored(float_unified(SINGLE.cross(f[0], f[1]))),
    "FNormal of 3": lambda p, f: stored(float_unified(SINGLE.normal(*f[:3]))),
    "FNormal of 4": lambda p, f: stored(float_unified(SINGLE.minus(SINGLE.normal(*f[:3]), SINGLE.normal(*f[:0:-1])))),
    "FNormal_Ununified": lambda p, f: stored(SINGLE.cross(*(floats(FIXED.minus(p[i + 1], p[i])) for i in (0, 1)))),
    "FReflection": lambda p, f: stored(SINGLE.reflected(f[0], f[1])),
    "FReflection of z": lambda p, f: stored(SINGLE.reflected(f[0], Z)),
    "Direction": lambda p, f: (direction(f[0]), p[0]),
    "NormalOne": lambda p, f: stored(direction(f[0])),
    "Refraction": lambda p, f: (refracted(direction(f[0]), direction(f[1])), p[0]),
    "Refraction of z": lambda p, f: (refracted(direction(f[0]), Z), p[0]),
    "Turns": lambda p, f: (turns(*f[:3]), p[0]),
}


def sums():
    random, results = Random(20), {name: Checksum() for name in ROWS}
    for _ in range(5000):
        p = [tuple(random.any_raw() for _ in range(3)) for _ in range(4)]
        f = [floats(v) for v in p]
        for name, row in ROWS.items():
            results[name].add(row(p, f))
    return {"Point3D.OperationsAreExactToTheBit": {name: result.sum for name, result in results.items()}}
