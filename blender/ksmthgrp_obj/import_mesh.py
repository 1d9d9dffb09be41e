"""Makes Blender objects of documents."""

import dataclasses
import os

import bpy
import numpy as np

from . import arrays, materials, mesh_arrays, record, versions
from .document import Document, text

# In bytes; what is longer is cut by Blender.
_LONGEST_NAME = 63


@dataclasses.dataclass
class ImportOptions:
    sharp: bool = True  # edges between smoothing groups
    crease: float = 0.0  # weight for the same edges
    normals: bool = False  # the file's normals as custom normals
    regions: bool = True  # face maps or face sets
    materials: bool = True
    split_objects: bool = False


def blender_name(name):
    """`name` as far as Blender's names can hold it."""
    return text(name).encode("utf-8")[:_LONGEST_NAME].decode("utf-8", "ignore")


def holdable(document):
    """The faces that Blender can hold, and notes on those that it cannot."""
    repeated = arrays.repeated_corners(document.starts, document.vertices)
    twice = arrays.repeated_faces(document.starts, document.vertices) & ~repeated
    notes = []
    for bad, what in ((repeated, "with a vertex twice"), (twice, "with the same vertices as an earlier face")):
        if bad.any():
            first = int(np.argmax(bad)) + 1
            notes.append(f"{np.count_nonzero(bad)} faces {what} left out, which Blender cannot hold; first face {first}")
    good = ~(repeated | twice)
    return np.flatnonzero(good), notes


def _corner_rows(rows, row_of_corner):
    """The rows of the corners, 0 for those without."""
    return np.append(rows, np.zeros((1, rows.shape[1])), axis=0).astype(np.float32)[row_of_corner]


def _fill(mesh, document):
    """Vertices, faces and edges. Answers notes."""
    notes = []
    with np.errstate(over="ignore"):
        positions = document.positions.astype(np.float32)
    finite = np.isfinite(positions)
    if not finite.all():
        bad = np.count_nonzero(~finite.all(axis=1))
        notes.append(f"{bad} vertices whose coordinates are no numbers of single precision: 0 instead")
        positions = np.where(finite, positions, np.float32(0))
    mesh.vertices.add(len(positions))
    mesh.vertices.foreach_set("co", positions.ravel())
    lines = np.unique(np.sort(document.lines[document.lines[:, 0] != document.lines[:, 1]], axis=1), axis=0)
    mesh.edges.add(len(lines))
    mesh.edges.foreach_set("vertices", lines.astype(np.int32).ravel())
    mesh.loops.add(len(document.vertices))
    mesh.loops.foreach_set("vertex_index", document.vertices.astype(np.int32))
    mesh.polygons.add(document.face_count)
    versions.set_face_rows(mesh, document.starts.astype(np.int32))
    mesh.polygons.foreach_set("use_smooth", document.smoothing != 0)
    mesh.update(calc_edges=True, calc_edges_loose=True)
    if (document.corner_texture >= 0).any():
        layer = mesh.uv_layers.new(name="UVMap", do_init=False)
        layer.data.foreach_set("uv", _corner_rows(document.source.texcoords, document.corner_texture).ravel())
    return notes


def _set_normals(mesh, document):
    """The file's normals as custom normals; corners without one keep the mesh's."""
    before = np.count_nonzero(mesh_arrays.sharp(mesh))
    mesh.normals_split_custom_set(_corner_rows(document.source.normals, document.corner_normal))
    added = np.count_nonzero(mesh_arrays.sharp(mesh)) - before
    return [f"{added} more edges sharp: custom normals differ there"] if added else []


def _add_groups(obj, document):
    names = []
    for name, faces in document.groups.items():
        group = obj.vertex_groups.new(name=blender_name(name))
        group.add(document.vertices_of(faces).tolist(), 1.0, "REPLACE")
        names.append((group.name, name))
    members = list(document.groups.values())
    faces = np.concatenate([np.empty(0, np.int64), *members])
    group_of = np.repeat(np.arange(len(members)), [len(m) for m in members])
    order = np.argsort(faces, kind="stable")
    begins = np.searchsorted(faces[order], np.arange(document.face_count + 1))
    flat, rows = group_of[order].tolist(), begins.tolist()
    numbers = {}
    set_of_face = [numbers.setdefault(tuple(flat[a:b]), len(numbers)) for a, b in zip(rows, rows[1:])]
    record.store_groups(obj.data, names, list(numbers), np.array(set_of_face, np.int32))


def _add_regions(obj, document):
    """A face has one region: the smallest of its groups."""
    region_of_face = np.full(document.face_count, -1, np.int32)
    members = list(document.groups.values())
    for index in sorted(range(len(members)), key=lambda i: -len(members[i])):
        region_of_face[members[index]] = index
    versions.set_regions(obj, [blender_name(name) for name in document.groups], region_of_face)


class MaterialStock:
    """The materials of one file, made when they are first used."""

    def __init__(self, document):
        self.names = list(document.source.materials)
        self._described, self._made = document.source.read_materials(), {}
        self.notes = [
            f"material library {path} is missing" for path in document.source.libraries if not os.path.isfile(path)
        ]

    def get(self, index):
        if index not in self._made:
            name = self.names[index]
            if name not in self._described:
                self.notes.append(f'material "{name}" is in no library')
            self._made[index], missing = materials.make(blender_name(name), self._described.get(name))
            self.notes += [f"texture {path} is missing" for path in missing]
        return self._made[index]


def _add_materials(mesh, document, stock):
    used, slot = np.unique(document.materials, return_inverse=True)
    # Faces without a material need a slot only beside others.
    if used.tolist() != [-1]:
        for material in used.tolist():
            mesh.materials.append(stock.get(material) if material >= 0 else None)
    mesh.polygons.foreach_set("material_index", slot.astype(np.int32))


def make_object(document: Document, name, options: ImportOptions, stock: MaterialStock):
    """A new object with a mesh of the document, in no collection yet. Answers it and notes on what it lacks."""
    faces, notes = holdable(document)
    if len(faces) < document.face_count:
        document = document.with_faces(faces)
    mesh = bpy.data.meshes.new(blender_name(name))
    notes += _fill(mesh, document)
    obj = bpy.data.objects.new(blender_name(name), mesh)
    borders = mesh_arrays.borders(mesh, document.smoothing)
    if options.sharp:
        mesh.edges.foreach_set("use_edge_sharp", borders)
        versions.show_sharp_edges(mesh)
    if options.crease > 0:
        versions.set_creases(mesh, borders.astype(np.float32) * np.float32(options.crease))
    _add_groups(obj, document)
    if options.regions:
        _add_regions(obj, document)
    record.store_smoothing(mesh, document.smoothing)
    if options.materials:
        _add_materials(mesh, document, stock)
    if options.normals and (document.corner_normal >= 0).any():
        versions.show_sharp_edges(mesh)
        notes += _set_normals(mesh, document)
    mesh.update()
    return obj, notes


def make_objects(document: Document, options: ImportOptions):
    """The objects of a file, each with its part of the file and the part's name (none for all of it), and notes.
    Raises ValueError for a file without vertices."""
    if not len(document.positions):
        raise ValueError(f"{document.path}: there are no vertices in it")
    stem = os.path.splitext(os.path.basename(document.path))[0]
    stock = MaterialStock(document) if options.materials else None
    notes = [str(finding) for finding in document.source.findings if finding.severity == "error"]
    made = []
    if options.split_objects and len(document.source.objects):
        for name in document.parts:
            part = document.part(name)
            obj, more = make_object(part, name or stem, options, stock)
            made.append((obj, part, name))
            notes += [f"{name or stem}: {note}" for note in more]
    else:
        obj, more = make_object(document, stem, options, stock)
        made.append((obj, document, None))
        notes += more
    return made, notes + (stock.notes if stock else [])
