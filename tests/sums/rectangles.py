"""Rectangles (ARect): [left, top, right, bottom] as raw values. Axis 0 runs to the right, 1 down, so that the edges on
an axis are those at `axis` and `axis + 2`."""
from exact import UNIT, Checksum, Random, product, quotient, wrap

CENTER, TOP, RIGHT, BOTTOM, LEFT = 2, 4, 8, 16, 32


class Results(Checksum):
    stops = 0  # calls that break to the debugger


def size(r):
    return wrap(r[2] - r[0]), wrap(r[3] - r[1])


def floor(raw):
    return raw // UNIT * UNIT


def is_empty(r):
    return r[2] <= r[0] or r[3] <= r[1]


def overlaps(a, b):
    return a[2] > b[0] and a[0] < b[2] and a[3] > b[1] and a[1] < b[3]


def center(r, ref, axis, whole_way):
    """Rounds the way moved down to whole units, or else the place."""
    length = size(r)[axis]
    place = wrap((wrap(size(ref)[axis] - length) >> 1) + ref[axis])
    place = wrap(r[axis] + floor(wrap(place - r[axis]))) if whole_way else floor(place)
    r[axis], r[axis + 2] = place, wrap(place + length)


def align(r, ref, flags, margin, outside, out):
    """`Align` and `AlignOutside`."""
    lengths, columns, rows = size(r), flags & (RIGHT | LEFT), flags & (TOP | BOTTOM)
    if flags & CENTER and (rows or columns):
        center(r, ref, 0 if rows else 1, True)
    elif flags & CENTER and outside:
        out.stops += 1
    elif flags & CENTER:
        center(r, ref, 0, False)
        center(r, ref, 1, False)
    for axis, asked, far in (1, rows, not flags & TOP), (0, columns, flags & RIGHT):
        at, opposite, inwards = (axis + 2, axis, -1) if far else (axis, axis + 2, 1)
        gap, length = margin * UNIT * inwards, lengths[axis] * inwards
        if asked and outside:
            r[opposite], r[at] = wrap(ref[at] - gap), wrap(ref[at] - gap - length)
        elif asked:
            r[at], r[opposite] = wrap(ref[at] + gap), wrap(ref[at] + length)


def align_to_grid(r, step, out):
    if step < 1:
        out.stops += 4
    else:
        step *= UNIT
        r[:] = [wrap(edge // step * step if i > 1 else -(-edge // step) * step) for i, edge in enumerate(r)]


def map_rect(r, start, end, out):
    if is_empty(start):
        out.stops += 1
        r[:] = [0] * 4
        return
    offsets = [wrap(a - b) for a, b in zip(r, start)]
    if size(start) != size(end):
        factors = [quotient(b * UNIT, a) for a, b in zip(size(start), size(end))]
        offsets = map(product, offsets, factors * 2)
    r[:] = [wrap(a + b) for a, b in zip(offsets, end)]


def resize_to_fit(r, room, floored, out):
    out.stops += 0 in (*size(r), *room)
    factor = min(quotient(wrap(a - 2 * UNIT), b) for a, b in zip(room, size(r)))
    r[:] = [floor(product(edge, factor)) if floored else product(edge, factor) for edge in r]
    out.add(factor)


def remove_rect(cut, source, slot, out):
    """The slot gets the last piece."""
    pieces, rest, cut = [], list(source), list(cut)
    for edge in (3, 1, 2, 0) if overlaps(cut, source) else ():
        if cut[edge] < rest[edge] if edge > 1 else cut[edge] > rest[edge]:
            pieces.append(list(rest))
            pieces[-1][edge - 2] = rest[edge] = cut[edge]
    if not overlaps(cut, source):
        pieces = [rest]
    slot[:] = pieces[-1] if pieces else slot
    out.add(len(pieces))


def clip_rects(r, out):
    source, source_bounds, destination_bounds, destination = r
    same = size(source) == size(destination)
    for a, bounds, other in (source, source_bounds, destination), (destination, destination_bounds, source):
        for edge in range(4) if same else ():
            step = bounds[edge] - a[edge]
            if step > 0 if edge < 2 else step < 0:
                a[edge], other[edge] = bounds[edge], wrap(other[edge] + step)
    for a in source, destination:
        a[2:] = max(a[0], a[2]), max(a[1], a[3])
    out.stops += (not same) + (size(source) != size(destination))


def clip_moved(r, n, out):
    r[3][:] = [wrap(edge + n * UNIT) for edge in r[0]]
    clip_rects(r, out)


def arithmetic(r, flags, n):
    moved = [wrap(a + b - step) for a, b, step in zip(r[0], r[1], (n, flags, n, flags))]
    r[0][:] = [wrap(product(a, n) - b) for a, b in zip(moved, r[2])]


def tests(a, b):
    inside = a[0] >= b[0] and a[2] <= b[2] and a[1] >= b[1] and a[3] <= b[3]
    return is_empty(a) + 2 * overlaps(a, b) + 4 * inside


# On four rectangles, any flags and a small number.
ROWS = {
    "Align": lambda r, flags, n, out: align(r[0], r[1], flags, n, False, out),
    "AlignOutside": lambda r, flags, n, out: align(r[0], r[1], flags, n, True, out),
    "AlignToGrid": lambda r, flags, n, out: align_to_grid(r[0], n, out),
    "MapRect": lambda r, flags, n, out: map_rect(r[0], r[1], r[2], out),
    "ResizeToFit": lambda r, flags, n, out: resize_to_fit(r[0], r[1][:2], flags % 2, out),
    "RemoveRect": lambda r, flags, n, out: remove_rect(r[0], r[1], r[2], out),
    "RemoveRect into the cut": lambda r, flags, n, out: remove_rect(r[0], r[1], r[0], out),
    "ClipRects": lambda r, flags, n, out: clip_moved(r, n, out),
    "ClipRects of two sizes": lambda r, flags, n, out: clip_rects(r, out),
    "Tests": lambda r, flags, n, out: out.add(tests(r[0], r[1])),
    "Arithmetic": lambda r, flags, n, out: arithmetic(r, flags, n),
}


def random_rectangle(random, in_order):
    r = [random.any_raw() if random.below(8) == 0 else
         random.below(16) * UNIT // 2 + random.below(3) - 1 - 3 * UNIT for _ in range(4)]
    return [min(r[0], r[2]), min(r[1], r[3]), max(r[0], r[2]), max(r[1], r[3])] if in_order else r


def sums():
    random, results = Random(4), {name: Results() for name in ROWS}
    for i in range(5000):
        rectangles = [random_rectangle(random, i % 4 != 0) for _ in range(4)]
        flags, n = random.below(64), random.below(13) - 4
        for name, row in ROWS.items():
            r, out = [list(edges) for edges in rectangles], results[name]
            out.stops = 0
            row(r, flags, n, out)
            out.add(r, out.stops)
    return {"Rect.OperationsAreExactToTheBit": {name: result.sum for name, result in results.items()}}
