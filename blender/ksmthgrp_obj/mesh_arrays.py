"""Blender's meshes as arrays."""

import numpy as np

from . import arrays


def _read(collection, field, dtype, width=1):
    values = np.empty(len(collection) * width, dtype)
    collection.foreach_get(field, values)
    return values.reshape(-1, width) if width > 1 else values


def positions(mesh):
    """Of the vertices: rows of x, y, z."""
    return _read(mesh.vertices, "co", np.float32, 3)


def face_starts(mesh):
    """Where the corners of each face begin, and where those of the last end."""
    return np.append(_read(mesh.polygons, "loop_start", np.int32), np.int32(len(mesh.loops)))


def corner_vertices(mesh):
    """The vertex of each corner."""
    return _read(mesh.loops, "vertex_index", np.int32)


def corner_edges(mesh):
    """The edge from each corner to the next of its face."""
    return _read(mesh.loops, "edge_index", np.int32)


def loose_edges(mesh):
    """Pairs of vertices of the edges that no face has."""
    loose = np.ones(len(mesh.edges), bool)
    loose[corner_edges(mesh)] = False
    return _read(mesh.edges, "vertices", np.int32, 2)[loose]


def sharp(mesh):
    """Whether each edge is sharp."""
    return _read(mesh.edges, "use_edge_sharp", bool)


def smooth(mesh):
    """Whether each face is shaded smooth."""
    return _read(mesh.polygons, "use_smooth", bool)


def borders(mesh, label_of_face):
    """Whether each edge lies between faces of different labels."""
    face = arrays.face_of_corners(face_starts(mesh))
    return arrays.edges_between(corner_edges(mesh), label_of_face[face], len(mesh.edges))


def materials(mesh):
    """The material slot of each face."""
    return _read(mesh.polygons, "material_index", np.int32)


def texture_coordinates(mesh):
    """Rows of u, v of the corners in the active layer; none without one."""
    layer = mesh.uv_layers.active
    return _read(layer.data, "uv", np.float32, 2) if layer else None


def vertex_groups(obj, mesh):
    """Name of each vertex group and its vertices, those of weight 0 left out."""
    members = [[] for _ in obj.vertex_groups]
    for vertex in mesh.vertices:
        for entry in vertex.groups:
            if entry.weight > 0 and entry.group < len(members):
                members[entry.group].append(vertex.index)
    return {group.name: np.array(vertices, np.int64) for group, vertices in zip(obj.vertex_groups, members)}
