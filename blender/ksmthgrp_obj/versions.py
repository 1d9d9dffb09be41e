"""What differs between Blender's versions, in one place. Tried with 3.4; the other branches follow the documentation
of Blender's Python interface."""

import bmesh
import bpy
import numpy as np


def set_creases(mesh, weights):
    """Gives every edge its crease weight, 0 to 1."""
    if bpy.app.version >= (4, 0, 0):
        layer = mesh.attributes.get("crease_edge") or mesh.attributes.new("crease_edge", "FLOAT", "EDGE")
        layer.data.foreach_set("value", weights)
    else:
        mesh.edges.foreach_set("crease", weights)


def creases(mesh):
    """The crease weight of every edge."""
    weights = np.zeros(len(mesh.edges), np.float32)
    if bpy.app.version >= (4, 0, 0):
        if layer := mesh.attributes.get("crease_edge"):
            layer.data.foreach_get("value", weights)
    else:
        mesh.edges.foreach_get("crease", weights)
    return weights


def _mask_data(mesh):
    if bpy.app.version >= (4, 1, 0):
        layer = mesh.attributes.get(".sculpt_mask")
        return layer.data if layer else None
    layers = mesh.vertex_paint_masks
    return layers[0].data if layers else None


def masks(mesh):
    """The sculpting mask of every vertex: 0 free to 1 masked."""
    values = np.zeros(len(mesh.vertices), np.float32)
    if data := _mask_data(mesh):
        data.foreach_get("value", values)
    return values


def set_masks(mesh, values):
    """Gives every vertex its sculpting mask."""
    if _mask_data(mesh) is None:
        if bpy.app.version >= (4, 1, 0):
            mesh.attributes.new(".sculpt_mask", "FLOAT", "POINT")
        else:
            # Only BMesh makes the layer; the operator that fills it needs a window.
            edit = bmesh.new()
            edit.from_mesh(mesh)
            edit.verts.layers.paint_mask.verify()
            edit.to_mesh(mesh)
            edit.free()
    _mask_data(mesh).foreach_set("value", values)


def set_regions(obj, names, region_of_face):
    """Gives every face the one region of `names` that it is in, -1 for none: as face maps, which have names, or as
    face sets where there are no face maps any more."""
    mesh = obj.data
    if hasattr(obj, "face_maps"):
        for name in names:
            obj.face_maps.new(name=name)
        mesh.face_maps.new().data.foreach_set("value", region_of_face)
    else:
        layer = mesh.attributes.new(".sculpt_face_set", "INT", "FACE")
        # Face set 1 is that of everything; regions begin behind it.
        layer.data.foreach_set("value", region_of_face + 2)


def regions(obj, mesh):
    """The names of the face maps and the one of each face, -1 for none; no names where there are none."""
    region_of_face = np.full(len(mesh.polygons), -1, np.int32)
    names = [face_map.name for face_map in getattr(obj, "face_maps", ())]
    if names and mesh.face_maps:
        mesh.face_maps[0].data.foreach_get("value", region_of_face)
    return names, region_of_face


def set_face_rows(mesh, starts):
    """Gives the faces their places among the corners."""
    mesh.polygons.foreach_set("loop_start", starts[:-1])
    if bpy.app.version < (3, 6, 0):
        mesh.polygons.foreach_set("loop_total", np.diff(starts))


def show_sharp_edges(mesh):
    """Has sharp edges and custom normals shown, which later versions always do."""
    if hasattr(mesh, "use_auto_smooth"):
        mesh.use_auto_smooth = True
        mesh.auto_smooth_angle = np.pi


def corner_normals(mesh):
    """The normal of every corner as the mesh is shown."""
    normals = np.empty((len(mesh.loops), 3), np.float32)
    if hasattr(mesh, "calc_normals_split"):
        mesh.calc_normals_split()
        mesh.loops.foreach_get("normal", normals.ravel())
    else:
        mesh.corner_normals.foreach_get("vector", normals.ravel())
    return normals
