"""What an object keeps for the panel: its OBJ file and the groups in it."""

import bpy

from . import arrays, document


class ObjGroupsRow(bpy.types.PropertyGroup):
    """One group or smoothing group; `name` is that of the group or the number as text."""

    number: bpy.props.IntProperty(default=-1)  # of the smoothing group
    faces: bpy.props.IntProperty()
    vertices: bpy.props.IntProperty()


def _file_changed(self, _context):
    # Shown again once they are read.
    self.groups.clear()
    self.smoothings.clear()


class ObjGroupsSettings(bpy.types.PropertyGroup):
    filepath: bpy.props.StringProperty(
        name="OBJ file",
        description="File that the mesh was imported from, with whatever importer",
        subtype="FILE_PATH",
        update=_file_changed,
    )
    part: bpy.props.StringProperty(
        name="Part", description='Name of the "o" line whose faces the mesh has; empty for the whole file'
    )
    is_part: bpy.props.BoolProperty()
    groups: bpy.props.CollectionProperty(type=ObjGroupsRow)
    smoothings: bpy.props.CollectionProperty(type=ObjGroupsRow)
    group_index: bpy.props.IntProperty(name="Group")
    smoothing_index: bpy.props.IntProperty(name="Smoothing group")
    mask_value: bpy.props.FloatProperty(name="Mask", description="0 free, 1 masked", min=0, max=1, default=1)
    weight: bpy.props.FloatProperty(name="Crease", description="Weight of creases", min=0, max=1, default=1)


def read(obj, filepath=""):
    """The document of an object's file, or of `filepath`. Raises what `document.read` does."""
    kept = obj.obj_groups
    path = bpy.path.abspath(filepath or kept.filepath)
    if not path:
        raise FileNotFoundError("choose the OBJ file that the mesh was imported from")
    whole = document.read(path)
    return whole.part(kept.part) if kept.is_part and not filepath else whole


def list_groups(obj, found):
    """Fills the lists of the panel from a document."""
    kept = obj.obj_groups
    for rows, named in (
        (kept.groups, ((document.text(name), faces) for name, faces in found.groups.items())),
        (kept.smoothings, arrays.places_by_label(found.smoothing)),
    ):
        rows.clear()
        for name, faces in named:
            row = rows.add()
            row.name = str(name)
            row.faces, row.vertices = len(faces), len(found.vertices_of(faces))
            if rows == kept.smoothings:
                row.number = min(name, 2**31 - 1)


def connect(obj, path, found, part=None):
    """Has the object remember its file, and its part of it where it is one, and lists the groups."""
    kept = obj.obj_groups
    kept.filepath = path
    kept.is_part, kept.part = part is not None, part or ""
    list_groups(obj, found)


CLASSES = (ObjGroupsRow, ObjGroupsSettings)


def register():
    bpy.types.Object.obj_groups = bpy.props.PointerProperty(type=ObjGroupsSettings)


def unregister():
    del bpy.types.Object.obj_groups
