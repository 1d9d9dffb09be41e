#!/usr/bin/env python3
"""Writes the example models beside this script: robot.obj, robot.mtl and robot_pose.obj.

A toy robot, y up, about two units tall, facing +z. Both models have the same vertices in the same order; in
robot_pose.obj its right arm waves and its head is turned. Run without arguments; the output never varies.
"""

import math
from pathlib import Path

FOLDER = Path(__file__).resolve().parent

MATERIALS = {
    # name: (diffuse colour, specular exponent, opacity, diffuse map, other maps)
    "painted_metal": ((0.80, 0.23, 0.16), 60, 1.0, "tex/painted_metal.png", ["map_Bump tex/scratches.png"]),
    "bare_metal": ((0.62, 0.64, 0.67), 120, 1.0, "tex/bare_metal.png", ["map_Ks tex/bare_metal_gloss.png"]),
    "rubber": ((0.09, 0.09, 0.10), 5, 1.0, "tex/rubber.png", []),
    "glass": ((0.35, 0.78, 0.95), 250, 0.6, "tex/glass.png", ["map_d tex/glass_mask.png"]),
}


def rotate(point, axis, degrees, centre=(0, 0, 0)):
    """The point turned about an axis (0 x, 1 y, 2 z) through `centre`."""
    p = [point[i] - centre[i] for i in range(3)]
    i, j = [(1, 2), (2, 0), (0, 1)][axis]
    c, s = math.cos(math.radians(degrees)), math.sin(math.radians(degrees))
    p[i], p[j] = p[i] * c - p[j] * s, p[i] * s + p[j] * c
    return tuple(p[i] + centre[i] for i in range(3))


def number(value):
    text = f"{value:.5f}"
    return "0.00000" if text == "-0.00000" else text


class Model:
    """Gathers the parts of one robot. `bends` maps a limb's name to the turns that it makes in this pose.
    Each shape has texture coordinates of its own; normals are shared."""

    def __init__(self, bends):
        self.bends = bends
        self.vertices, self.textures, self.normals = [], [], []
        self.texture_index, self.normal_index = {}, {}
        self.statements = []
        self.state = {}
        self.limb, self.turns = None, []

    def part(self, groups, material, limb=None):
        """What follows belongs to these groups, has this material and moves with this limb."""
        self.limb, self.turns = limb, self.bends.get(limb, [])
        self.keyword("g", groups)
        self.keyword("usemtl", material)

    def keyword(self, keyword, value):
        if self.state.get(keyword) != value:
            self.state[keyword] = value
            self.statements.append(f"{keyword} {value}")

    def point(self, point):
        for axis, degrees, centre in self.turns:
            point = rotate(point, axis, degrees, centre)
        self.vertices.append("v " + " ".join(map(number, point)))
        return len(self.vertices)

    def texture(self, u, v):
        line = f"vt {number(u)} {number(v)}"
        if line not in self.texture_index:
            self.textures.append(line)
            self.texture_index[line] = len(self.textures)
        return self.texture_index[line]

    def normal(self, direction):
        length = math.hypot(*direction)
        direction = tuple(component / length for component in direction)
        # Shared within a limb, turned or not: both files then have the same face lines.
        key = self.limb, tuple(map(number, direction))
        if key not in self.normal_index:
            for axis, degrees, _ in self.turns:
                direction = rotate(direction, axis, degrees)
            self.normals.append("vn " + " ".join(map(number, direction)))
            self.normal_index[key] = len(self.normals)
        return self.normal_index[key]

    def face(self, smoothing, corners):
        """One face of (vertex, (u, v), direction of the normal) corners, counter-clockwise from outside."""
        self.keyword("s", smoothing)
        words = [f"{v}/{self.texture(*uv)}/{self.normal(n)}" for v, uv, n in corners]
        self.statements.append("f " + " ".join(words))

    def box(self, centre, size, taper=1.0):
        """A box with hard edges, its top `taper` times as wide as its bottom."""
        self.texture_index = {}
        points = []
        for y in (-1, 1):
            for x, z in ((-1, 1), (1, 1), (1, -1), (-1, -1)):
                width = taper if y > 0 else 1.0
                points.append((centre[0] + x * size[0] / 2 * width, centre[1] + y * size[1] / 2,
                               centre[2] + z * size[2] / 2 * width))
        v = [self.point(p) for p in points]
        sides = [((0, 1, 5, 4), (0, 0, 1), 0), ((1, 2, 6, 5), (1, 0, 0), 1), ((2, 3, 7, 6), (0, 0, -1), 2),
                 ((3, 0, 4, 7), (-1, 0, 0), 3), ((4, 5, 6, 7), (0, 1, 0), 4), ((3, 2, 1, 0), (0, -1, 0), 5)]
        for corners, direction, cell in sides:
            # Each side has a cell of its own in a map of 4 x 2 cells.
            u, w = (cell % 4) / 4, (cell // 4) / 2
            square = [(u, w), (u + 0.25, w), (u + 0.25, w + 0.5), (u, w + 0.5)]
            self.face("off", [(v[c], uv, direction) for c, uv in zip(corners, square)])

    def lathe(self, smoothing, base, axis, profile, sides):
        """A solid of revolution about `axis` (0 x, 1 y, 2 z). The profile lists (radius, height) from the
        base on. Ends of radius 0 close with triangles, other ends with one flat cap of `sides` corners."""
        self.texture_index = {}

        def place(radius, height, step):
            angle = 2 * math.pi * step / sides
            a, b = radius * math.sin(angle), radius * math.cos(angle)
            return [(height, b, a), (a, height, b), (b, a, height)][axis]

        def at(radius, height, step):
            return tuple(b + p for b, p in zip(base, place(radius, height, step)))

        rings = [[self.point(at(r, h, s)) for s in range(sides if r else 1)] for r, h in profile]
        low, high = profile[0][1], profile[-1][1]

        def corner(ring, step):
            vertex = rings[ring][step % sides] if len(rings[ring]) > 1 else rings[ring][0]
            before, after = profile[max(ring - 1, 0)], profile[min(ring + 1, len(profile) - 1)]
            outward, along = after[1] - before[1], before[0] - after[0]
            uv = (step / sides, 0.5 + 0.5 * (profile[ring][1] - low) / (high - low))
            return vertex, uv, tuple(place(outward, along, step % sides))

        for ring in range(len(profile) - 1):
            for step in range(sides):
                corners = [corner(ring, step), corner(ring, step + 1), corner(ring + 1, step + 1),
                           corner(ring + 1, step)]
                if len(rings[ring]) == 1:
                    del corners[1]
                elif len(rings[ring + 1]) == 1:
                    del corners[2]
                self.face(smoothing, corners)
        for ring, up in ((0, False), (len(profile) - 1, True)):
            if len(rings[ring]) == 1:
                continue
            steps = range(sides) if up else reversed(range(sides))
            direction = tuple(place(0, 1 if up else -1, 0))
            self.face("off", [(rings[ring][s], self.cap_uv(s, sides, up), direction) for s in steps])

    @staticmethod
    def cap_uv(step, sides, up):
        angle = 2 * math.pi * step / sides
        return (0.75 if up else 0.25) + 0.2 * math.sin(angle), 0.25 + 0.2 * math.cos(angle)

    def write(self, path, title):
        lines = [f"# {title}, written by make_examples.py", "mtllib robot.mtl"]
        lines += self.vertices + self.textures + self.normals + self.statements
        path.write_text("\n".join(lines) + "\n", encoding="ascii", newline="\n")


def dome(radius, height, rings):
    """Profile from the rim to the pole."""
    arc = [math.pi / 2 * i / rings for i in range(rings)]
    return [(radius * math.cos(a), height * math.sin(a)) for a in arc] + [(0, height)]


def ball(radius, rings):
    upper = dome(radius, radius, rings)
    return [(r, -h) for r, h in reversed(upper[1:])] + upper


def add_head(robot):
    robot.part("head", "painted_metal", "head")
    robot.lathe("off", (0, 1.30, 0), 1, [(0.10, 0), (0.10, 0.08)], 8)
    skull = [(radius, 0.16 + height) for radius, height in dome(0.24, 0.20, 4)]
    robot.lathe(1, (0, 1.38, 0), 1, [(0.22, 0), (0.24, 0.04), *skull], 16)
    robot.part("head eyes", "glass", "head")
    for x in (-0.09, 0.09):
        robot.lathe(2, (x, 1.50, 0.20), 2, [(0.055, 0), (0.055, 0.05), (0.035, 0.07)], 8)
    robot.part("antenna", "bare_metal", "head")
    robot.lathe(3, (0, 1.72, 0), 1, [(0.02, 0), (0.015, 0.20)], 6)
    robot.lathe(3, (0, 1.95, 0), 1, ball(0.045, 2), 8)


def add_body(robot):
    robot.part("body", "painted_metal")
    robot.box((0, 1.02, 0), (0.52, 0.56, 0.36), 1.15)
    robot.box((0, 0.67, 0), (0.40, 0.14, 0.28))
    robot.part("body chest_panel", "bare_metal")
    robot.box((0, 1.06, 0.17), (0.30, 0.24, 0.06))
    robot.part("chest_panel", "glass")
    for x in (-0.08, 0.0, 0.08):
        robot.lathe(4, (x, 1.10, 0.19), 2, [(0.028, 0), (0.028, 0.02), (0, 0.035)], 6)


def add_arm(robot, name, side, smoothing):
    x = 0.40 * side
    robot.part(name, "bare_metal", name)
    robot.lathe(smoothing, (x, 1.20, 0), 1, ball(0.10, 2), 8)
    robot.lathe(smoothing, (x, 0.92, 0), 1, [(0.055, 0), (0.06, 0.22)], 8)
    robot.part(name, "painted_metal", name)
    robot.lathe(smoothing, (x, 0.66, 0), 1, [(0.06, 0), (0.085, 0.06), (0.07, 0.28)], 8)
    robot.part(f"{name} hands", "rubber", name)
    for z in (-0.05, 0.05):
        robot.box((x, 0.59, z), (0.05, 0.14, 0.035), 1.3)


def add_leg(robot, name, side, smoothing):
    x = 0.14 * side
    robot.part(name, "bare_metal")
    robot.lathe(smoothing, (x, 0.36, 0), 1, [(0.07, 0), (0.08, 0.26)], 8)
    robot.part(name, "painted_metal")
    robot.lathe(smoothing, (x, 0.10, 0), 1, [(0.10, 0), (0.09, 0.20), (0.07, 0.26)], 8)
    robot.part(f"{name} feet", "rubber")
    robot.box((x, 0.05, 0.05), (0.20, 0.10, 0.34), 0.8)


def robot(bends):
    model = Model(bends)
    add_head(model)
    add_body(model)
    add_arm(model, "left_arm", 1, 5)
    add_arm(model, "right_arm", -1, 6)
    add_leg(model, "left_leg", 1, 7)
    add_leg(model, "right_leg", -1, 8)
    return model


def material_lines():
    yield "# Materials of the toy robot, written by make_examples.py"
    for name, (colour, exponent, opacity, diffuse, maps) in MATERIALS.items():
        kd = " ".join(f"{c:.2f}" for c in colour)
        ka = " ".join(f"{c / 10:.3f}" for c in colour)
        yield from ("", f"newmtl {name}", f"Ka {ka}", f"Kd {kd}", "Ks 0.50 0.50 0.50", f"Ns {exponent}",
                    f"d {opacity}", "illum 2", f"map_Kd {diffuse}", *maps)


def main():
    robot({}).write(FOLDER / "robot.obj", "Toy robot")
    shoulder, neck = (-0.40, 1.20, 0), (0, 1.30, 0)
    pose = {"head": [(1, 25, neck), (2, -6, neck)], "right_arm": [(2, -150, shoulder)],
            "left_arm": [(0, -35, (0.40, 1.20, 0))]}
    robot(pose).write(FOLDER / "robot_pose.obj", "Toy robot that waves")
    (FOLDER / "robot.mtl").write_text("\n".join(material_lines()) + "\n", encoding="ascii", newline="\n")


if __name__ == "__main__":
    main()
