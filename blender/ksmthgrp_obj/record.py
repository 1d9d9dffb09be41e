"""What a mesh remembers of the OBJ file beside what Blender has a place for: of each face the groups it is in, which
vertex groups alone do not tell, and its smoothing number. A mesh that was changed keeps what still holds."""

import json

import numpy as np

GROUPS = "obj_groups"
SMOOTHING = "obj_smoothing"


def _set_layer(mesh, name, values):
    layer = mesh.attributes.get(name) or mesh.attributes.new(name, "INT", "FACE")
    layer.data.foreach_set("value", values.astype(np.int32))


def _layer(mesh, name):
    layer = mesh.attributes.get(name)
    if layer is None or layer.domain != "FACE" or layer.data_type != "INT":
        return None
    values = np.empty(len(mesh.polygons), np.int32)
    layer.data.foreach_get("value", values)
    return values


def store_groups(mesh, names, sets, set_of_face):
    """Keeps `names`, pairs of the vertex group's name and the file's, and for each face which of `sets` (indices of
    names in the order of the "g" line) it has."""
    mesh[GROUPS] = json.dumps({"names": names, "sets": sets})
    _set_layer(mesh, GROUPS, set_of_face)


def groups(mesh, original):
    """Vertex group's name to the file's name and the faces in it; empty where nothing was kept. `mesh` is `original`
    or what its modifiers make of it."""
    set_of_face = _layer(mesh, GROUPS)
    if set_of_face is None or GROUPS not in original:
        return {}
    kept = json.loads(original[GROUPS])
    order = np.argsort(set_of_face, kind="stable")
    begins = np.searchsorted(set_of_face[order], np.arange(len(kept["sets"]) + 1))
    members = [[] for _ in kept["names"]]
    for index, names in enumerate(kept["sets"]):
        for name in names:
            members[name].append(order[begins[index] : begins[index + 1]])
    none = np.empty(0, np.int64)
    return {
        name: (file_name, np.sort(np.concatenate([none, *faces])))
        for (name, file_name), faces in zip(kept["names"], members)
    }


def store_smoothing(mesh, numbers):
    """Keeps the smoothing number of each face where Blender's integers can."""
    if numbers.max(initial=0) < 2**31:
        _set_layer(mesh, SMOOTHING, numbers)


def smoothing(mesh):
    """The smoothing number of each face, or nothing where none were kept."""
    return _layer(mesh, SMOOTHING)
