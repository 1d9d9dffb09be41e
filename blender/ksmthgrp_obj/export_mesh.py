"""Makes an OBJ file of Blender objects."""

import dataclasses
import os

import numpy as np

from . import arrays, materials, mesh_arrays, module, record, versions


@dataclasses.dataclass
class ExportOptions:
    matrix: object = None  # 4 x 4, from the scene to the file
    modifiers: bool = True  # as shown, and not as edited
    regions: bool = False  # face maps as groups, and not vertex groups
    smoothing: bool = True
    texture_coordinates: bool = True
    normals: bool = False
    materials: bool = True
    objects: bool = True  # "o" lines


def _word(name, taken):
    """`name` as one word that is not taken yet: blanks part names in a "g" line."""
    word = unique = "_".join(name.split()) or "_"
    number = 1
    while unique in taken:
        unique, number = f"{word}.{number:03}", number + 1
    return unique


def _faces_within(starts, vertices, vertex_count, members):
    """The faces of which every corner is one of the vertices `members`."""
    inside = np.zeros(vertex_count, bool)
    inside[members] = True
    outside = np.zeros(len(starts) - 1, np.int64)
    np.add.at(outside, arrays.face_of_corners(starts)[~inside[vertices]], 1)
    return np.flatnonzero(outside == 0)


def vertex_group_faces(obj, mesh, starts, vertices):
    """Name in the file to the faces of each vertex group. Faces kept at the import count while they still use just the
    group's vertices; of other groups, it is the faces with all corners in them."""
    kept = record.groups(mesh, obj.data)
    found = {}
    for name, members in mesh_arrays.vertex_groups(obj, mesh).items():
        file_name, faces = kept.get(name, ("", None))
        if faces is not None and np.array_equal(np.unique(vertices[arrays.corners_of(starts, faces)]), members):
            word = file_name
        else:
            faces = _faces_within(starts, vertices, len(mesh.vertices), members)
            word = _word(name, found)
        if len(faces):
            found[word] = faces
    return found


def region_faces(obj, mesh):
    """The same of face maps."""
    names, region_of_face = versions.regions(obj, mesh)
    found = {}
    for index, name in enumerate(names):
        faces = np.flatnonzero(region_of_face == index)
        if len(faces):
            found[_word(name, found)] = faces
    return found


def smoothing_numbers(mesh, starts, vertices):
    """The number of each face, 0 for flat ones: those of the import while the sharp edges are still their borders,
    otherwise one for each patch that sharp edges enclose, different for those that meet."""
    sharp, smooth = mesh_arrays.sharp(mesh), mesh_arrays.smooth(mesh)
    kept = record.smoothing(mesh)
    # What is sharp at the rim divides nothing.
    inner = np.bincount(mesh_arrays.corner_edges(mesh), minlength=len(sharp)) > 1
    if kept is not None and np.array_equal(kept != 0, smooth):
        if np.array_equal(mesh_arrays.borders(mesh, kept), sharp & inner):
            return kept
    # Patches are of smooth faces alone.
    face = arrays.face_of_corners(starts)
    corners = smooth[face]
    island = arrays.islands(face[corners], mesh_arrays.corner_edges(mesh)[corners], sharp, len(smooth))
    numbers = np.zeros(len(smooth), np.int64)
    if corners.any():
        number_of = arrays.colours(island[face[corners]], vertices[corners], int(island.max()) + 1)
        numbers[smooth] = number_of[island[smooth]]
    return numbers


class _Scene:
    """What the objects put together so far come to: the arguments of the module's `write_arrays`."""

    def __init__(self, options):
        self._options = options
        self._columns = {}
        self._groups = {}
        self.materials = {}  # name in the library to Blender's material
        self._material_row = {}  # of each Blender material
        self._objects = {}  # by name, in order
        self._counts = {"vertices": 0, "faces": 0, "texcoords": 0, "normals": 0, "corners": 0}

    def _append(self, name, values, count=""):
        """More rows of a column; indices are raised by what there is of `count`."""
        values = np.asarray(values)
        if count:
            values = np.where(values >= 0, values + self._counts[count], -1)
        self._columns.setdefault(name, []).append(values)

    def _append_rows(self, name, rows, corner_count):
        """A row for each corner, equal ones once; none without rows."""
        if rows is None or not len(rows):
            self._append(f"face_{name}", np.full(corner_count, -1))
            return
        rows = np.ascontiguousarray(rows, np.float32) + np.float32(0)  # minus zero is zero
        keys = rows.view(np.dtype((np.void, rows.strides[0]))).ravel()
        _, first, row_of = np.unique(keys, return_index=True, return_inverse=True)
        # In the order in which they first come.
        order = np.argsort(first)
        place = np.empty(len(order), np.int64)
        place[order] = np.arange(len(order))
        self._append(name, rows[first[order]])
        self._append(f"face_{name}", place[row_of], name)
        self._counts[name] += len(order)

    def _material_rows(self, obj, mesh):
        """Of each face, the place of its material among all; -1 for none."""
        slots = obj.material_slots if self._options.materials else ()
        row_of_slot = []
        for slot in slots:
            row_of_slot.append(-1)
            if slot.material:
                if slot.material not in self._material_row:
                    self._material_row[slot.material] = len(self.materials)
                    self.materials[_word(slot.material.name, self.materials)] = slot.material
                row_of_slot[-1] = self._material_row[slot.material]
        if not row_of_slot:
            return np.full(len(mesh.polygons), -1)
        return np.array(row_of_slot)[np.minimum(mesh_arrays.materials(mesh), len(row_of_slot) - 1)]

    def add(self, obj, mesh):
        options = self._options
        starts, vertices = mesh_arrays.face_starts(mesh), mesh_arrays.corner_vertices(mesh)
        positions = mesh_arrays.positions(mesh)
        normals = versions.corner_normals(mesh) if options.normals else None
        uvs = mesh_arrays.texture_coordinates(mesh) if options.texture_coordinates else None
        matrix = np.array(options.matrix @ obj.matrix_world)
        # Turning there and back must leave the last digits as they were.
        whole = np.round(matrix)
        matrix = np.where(np.abs(matrix - whole) <= 1e-6 * np.abs(matrix[:3, :3]).max(), whole, matrix)
        positions = positions @ matrix[:3, :3].T + matrix[:3, 3]
        if normals is not None:
            normals = normals @ np.linalg.pinv(matrix[:3, :3])
            normals /= np.maximum(np.linalg.norm(normals, axis=1, keepdims=True), 1e-30)
        order = np.arange(len(vertices))
        if np.linalg.det(matrix[:3, :3]) < 0:
            # A mirrored object shows its faces the other way round.
            face = arrays.face_of_corners(starts)
            order = starts[face] + starts[face + 1] - 1 - order
        self._append("positions", positions.astype(np.float32))
        self._append("face_vertices", vertices[order], "vertices")
        self._append("face_starts", starts[1:], "corners")
        self._append_rows("texcoords", None if uvs is None else uvs[order], len(vertices))
        self._append_rows("normals", None if normals is None else normals[order], len(vertices))
        self._append("lines", mesh_arrays.loose_edges(mesh).ravel(), "vertices")
        count = len(starts) - 1
        groups = region_faces(obj, mesh) if options.regions else vertex_group_faces(obj, mesh, starts, vertices)
        for name, faces in groups.items():
            self._groups.setdefault(name, []).append(faces + self._counts["faces"])
        self._append("smoothing", smoothing_numbers(mesh, starts, vertices) if options.smoothing else np.zeros(count))
        self._append("face_material", self._material_rows(obj, mesh))
        self._append("face_object", np.full(count, len(self._objects) if options.objects else -1))
        self._objects[_word(obj.name, self._objects)] = obj
        self._counts["vertices"] += len(positions)
        self._counts["corners"] += len(vertices)
        self._counts["faces"] += count

    def arguments(self, library):
        """All of it; `library` is the name of the material library."""
        whole = {name: np.concatenate(parts) for name, parts in self._columns.items()}
        for name in ("face_vertices", "face_texcoords", "face_normals", "lines", "face_material", "face_object"):
            whole[name] = whole[name].astype(np.int32)
        whole["face_starts"] = np.append(0, whole["face_starts"]).astype(np.int32)
        whole["smoothing"] = whole["smoothing"].astype(np.int64)
        whole["groups"] = {name: np.concatenate(parts).astype(np.int32) for name, parts in self._groups.items()}
        return {
            **whole,
            "materials": list(self.materials),
            "objects": list(self._objects),
            "libraries": [library] if self.materials else [],
        }


def export(objects, depsgraph, path, options):
    """Writes the meshes of `objects` to `path`, and their materials to a library beside it. Raises `ModuleMissing` and
    OSError."""
    writer = module.find()
    scene = _Scene(options)
    for obj in objects:
        source = obj.evaluated_get(depsgraph) if options.modifiers else obj
        mesh = source.to_mesh()
        try:
            scene.add(obj, mesh)
        finally:
            source.to_mesh_clear()
    stem = os.path.splitext(path)[0]
    if scene.materials:
        materials.write_library(f"{stem}.mtl", scene.materials)
    writer.write_arrays(path, **scene.arguments(f"{os.path.basename(stem)}.mtl"))
