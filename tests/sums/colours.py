"""Colours: components from 0 to 1, in single precision."""
from exact import Checksum, Random, single, truncated


def rgb_to_hsl(r, g, b):
    most, least = max(r, g, b), min(r, g, b)
    total, delta = single(most + least), single(most - least)
    lightness = single(total * 0.5)
    if lightness <= 0 or delta <= 0:
        return 0.0, 0.0, lightness
    saturation = single(delta / (total if lightness <= 0.5 else single(single(2 - most) - least)))
    red, green, blue = (single(single(most - c) / delta) for c in (r, g, b))
    if most == r:
        sixths = 5 + blue if least == g else 1 - green
    elif most == g:
        sixths = 1 + red if least == b else 3 - blue
    else:
        sixths = 3 + green if least == r else 5 - red
    return single(single(sixths) / 6), saturation, lightness


def hsl_to_rgb(h, s, l):
    v = single(l * single(1 + s)) if l <= 0.5 else single(single(l + s) - single(l * s))
    if v <= 0:
        return 0.0, 0.0, 0.0
    m, sixths = single(single(2 * l) - v), single(h * 6)
    way = single(single(v * single(single(v - m) / v)) * single(sixths % 1))
    up, down = single(m + way), single(v - way)
    return ((v, up, m), (down, v, m), (m, v, up), (m, down, v), (up, m, v), (v, m, down), (v, up, m))[int(sixths)]


def packed(rgb):
    """0xRRGGBB. Rounded once: as a double 255 c + 0.5 is exact for the components here."""
    red, green, blue = (truncated(single(255 * c + 0.5)) % 2**32 for c in rgb)
    return (red << 16 | green << 8 | blue) % 2**32


def sums():
    random, rgb, hsl, pack, palette = Random(13), Checksum(), Checksum(), Checksum(), Checksum()

    def component():
        value, digits = (random.below(9), 3) if i % 2 == 0 else (random.below(2**24 + 1), 24 + random.below(4))
        return value / 2**digits

    for i in range(20000):
        a = component()
        b = component() if i % 3 else single(1 - a)
        c = component() if i % 5 else 0.5
        rgb.add(hsl_to_rgb(a, b, c))
        hsl.add(rgb_to_hsl(a, b, c))
        pack.add(packed(single((x - 0.25) * 2**(i % 18)) for x in (a, b, c)))
    h, s, step = 0.0, 1.0, single(0.025)
    for group in range(512):
        light = packed(hsl_to_rgb(h, s, 0.5))
        light = ((light >> 16 & 0xFE | light << 16 & 0xFE0000 | light & 0xFE00) >> 1) + 0x7F7F7F
        palette.add(0xFFFEFEFE if group == 1 else light)
        h = single(h + step)
        if h > 1:
            h, s = single(h - 1), single(s - step)
    return {"Colour.ConversionsAreExactToTheBit": {"rgb": rgb.sum, "hsl": hsl.sum, "packed": pack.sum},
            "Colour.GroupColoursAreLightAndWrap": {"palette": palette.sum}}
