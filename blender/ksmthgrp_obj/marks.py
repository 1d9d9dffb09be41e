"""What the buttons do to a mesh that some importer made of an OBJ file: masks, creases, sharp edges, selections,
positions. Plain functions on meshes and documents."""

import numpy as np

from . import arrays, import_mesh, mesh_arrays, versions
from .document import text


class Mismatch(Exception):
    """The mesh is not that of the file, or the file has no such group; the text says why."""


def fit(document, mesh):
    """The document with the faces of `mesh` alone: all, or those that Blender can hold. Raises `Mismatch`."""
    if len(document.positions) != len(mesh.vertices):
        raise Mismatch(f"the mesh has {len(mesh.vertices)} vertices, the file {len(document.positions)}")
    if document.face_count != len(mesh.polygons):
        faces, _ = import_mesh.holdable(document)
        if len(faces) != len(mesh.polygons):
            raise Mismatch(f"the mesh has {len(mesh.polygons)} faces, the file {document.face_count}")
        document = document.with_faces(faces)
    starts, vertices = mesh_arrays.face_starts(mesh), mesh_arrays.corner_vertices(mesh)
    other = np.diff(starts) != np.diff(document.starts)
    if not other.any() and len(vertices):
        # Where the order of the corners may differ, the corners are compared as they come in ascending order.
        face = arrays.face_of_corners(starts)
        ours, theirs = (v[np.lexsort((v, face))] for v in (vertices, document.vertices))
        other = np.add.reduceat(ours != theirs, starts[:-1]) > 0
    if other.any():
        raise Mismatch(f"face {int(np.argmax(other)) + 1} of the mesh has other vertices than that of the file")
    return document


def chosen_faces(document, group, smoothing):
    """The faces of a group by name, or of a smoothing group by number where `group` is empty. Raises `Mismatch`."""
    if group:
        named = {text(name): faces for name, faces in document.groups.items()}
        if group not in named:
            raise Mismatch(f'the file has no group "{group}"; it has: ' + ", ".join(list(named)[:20]))
        return named[group]
    faces = np.flatnonzero(document.smoothing == smoothing)
    if not len(faces):
        numbers = np.unique(document.smoothing).tolist()
        raise Mismatch(f"the file has no faces of smoothing group {smoothing}; it has: {str(numbers[:20])[1:-1]}")
    return faces


def mask(mesh, document, faces, value, others=False):
    """Masks the vertices of `faces`, or all others, with `value`, 0 to 1. Answers how many."""
    chosen = np.zeros(len(mesh.vertices), bool)
    chosen[document.vertices_of(faces)] = True
    if others:
        chosen = ~chosen
    values = versions.masks(mesh)
    values[chosen] = value
    versions.set_masks(mesh, values)
    return np.count_nonzero(chosen)


def _border(mesh, document, faces):
    """Whether each edge lies between one of `faces` and one that is none of them."""
    inside = np.zeros(document.face_count, bool)
    inside[faces] = True
    return mesh_arrays.borders(mesh, inside)


def crease_edges(mesh, edges, weight):
    """Creases `edges`, a mask, and leaves the others. Answers how many."""
    weights = versions.creases(mesh)
    weights[edges] = weight
    versions.set_creases(mesh, weights)
    return np.count_nonzero(edges)


def crease_border(mesh, document, faces, weight):
    """Creases the edges on the border of `faces`. Answers how many."""
    return crease_edges(mesh, _border(mesh, document, faces), weight)


def crease_smoothing(mesh, document, weight):
    """Creases the borders of all smoothing groups. Answers how many edges."""
    return crease_edges(mesh, mesh_arrays.borders(mesh, document.smoothing), weight)


def sharpen_border(mesh, document, faces):
    """Makes the edges on the border of `faces` sharp. Answers how many."""
    edges = _border(mesh, document, faces)
    mesh.edges.foreach_set("use_edge_sharp", mesh_arrays.sharp(mesh) | edges)
    versions.show_sharp_edges(mesh)
    return np.count_nonzero(edges)


def select(mesh, document, faces, extend=False):
    """Selects `faces` with their edges and vertices, and nothing else unless `extend`. Answers how many faces."""
    chosen = np.zeros(len(mesh.polygons), bool)
    chosen[faces] = True
    corners = arrays.corners_of(mesh_arrays.face_starts(mesh), faces)
    for items, hits in (
        (mesh.polygons, faces),
        (mesh.edges, mesh_arrays.corner_edges(mesh)[corners]),
        (mesh.vertices, mesh_arrays.corner_vertices(mesh)[corners]),
    ):
        flags = np.zeros(len(items), bool)
        if extend:
            items.foreach_get("select", flags)
        flags[hits] = True
        items.foreach_set("select", flags)
    return len(faces)


def clear(mesh, masks=True, creases=True, sharp=True):
    """Takes marks away."""
    if masks and versions.masks(mesh).any():
        versions.set_masks(mesh, np.zeros(len(mesh.vertices), np.float32))
    if creases:
        versions.set_creases(mesh, np.zeros(len(mesh.edges), np.float32))
    if sharp:
        mesh.edges.foreach_set("use_edge_sharp", np.zeros(len(mesh.edges), bool))


def _placed(base, positions, shown):
    """`positions` moved as an importer has moved the points `base` of the file to `shown`, where it turned or scaled
    them. Raises `Mismatch` when that cannot be told."""
    size = max(float(np.ptp(base, axis=0).max(initial=0)), 1e-30)
    if np.median(np.abs(base - shown).max(axis=1, initial=0)) <= 1e-5 * size:
        return positions
    rows = np.c_[base, np.ones(len(base))]
    map_, _, rank, _ = np.linalg.lstsq(rows, shown, rcond=1e-9)
    if rank < 4 or np.median(np.abs(rows @ map_ - shown).max(axis=1)) > 1e-5 * max(np.ptp(shown), 1e-30):
        raise Mismatch("the mesh does not lie as its file has it, so that the axes cannot be told")
    return np.c_[positions, np.ones(len(positions))] @ map_


def add_positions(obj, document, base, name):
    """Adds the positions of `document`, which fits the mesh, as a shape key with weight 1. `base` is the mesh's own
    file, which tells how an importer turned its points, or nothing. Answers how many vertices moved."""
    mesh = obj.data
    shown = mesh_arrays.positions(mesh) if not mesh.shape_keys else _basis(mesh)
    positions = document.positions
    if base is not None:
        positions = _placed(base.positions, positions, shown)
    if not mesh.shape_keys:
        obj.shape_key_add(name="Basis", from_mix=False)
    key = obj.shape_key_add(name=name, from_mix=False)
    positions = positions.astype(np.float32)
    key.data.foreach_set("co", positions.ravel())
    key.value = 1.0
    mesh.update()
    return np.count_nonzero((positions != shown).any(axis=1))


def _basis(mesh):
    points = np.empty(len(mesh.vertices) * 3, np.float32)
    mesh.shape_keys.reference_key.data.foreach_get("co", points)
    return points.reshape(-1, 3)
