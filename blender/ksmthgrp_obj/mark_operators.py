"""The buttons of the panel: what the groups of an object's OBJ file do to its mesh."""

import os

import bpy
from bpy_extras.io_utils import ImportHelper

from . import document, marks, settings
from .operator_support import guarded, object_mode


class _OnMesh:
    """An operator on the active mesh and its OBJ file."""

    bl_options = {"REGISTER", "UNDO"}

    filepath: bpy.props.StringProperty(
        name="OBJ file", description="Empty for that of the object", subtype="FILE_PATH", options={"SKIP_SAVE"}
    )

    @classmethod
    def poll(cls, context):
        return context.active_object is not None and context.active_object.type == "MESH"

    @guarded
    def execute(self, context):
        obj = context.active_object
        found = settings.read(obj, self.filepath)
        with object_mode(obj):
            self.report({"INFO"}, self.work(obj, marks.fit(found, obj.data)))
            obj.data.update()
        return {"FINISHED"}


class _OnGroup(_OnMesh):
    """The same with a group, or a smoothing group, of the file."""

    group: bpy.props.StringProperty(name="Group", description="Name of a group", options={"SKIP_SAVE"})
    smoothing: bpy.props.IntProperty(
        name="Smoothing group", description="Number; 0 for faces without", default=-1, min=-1, options={"SKIP_SAVE"}
    )

    def work(self, obj, found):
        if not self.group and self.smoothing < 0:
            raise marks.Mismatch("choose a group or a smoothing group")
        return self.mark(obj.data, found, marks.chosen_faces(found, self.group, self.smoothing))


class _Mask(_OnGroup):
    value: bpy.props.FloatProperty(name="Mask", description="0 free, 1 masked", min=0, max=1, default=1)
    others = False

    def mark(self, mesh, found, faces):
        return f"{marks.mask(mesh, found, faces, self.value, self.others)} vertices masked"


class OBJECT_OT_obj_groups_mask(_Mask, bpy.types.Operator):
    """Mask the vertices of the group for sculpting"""

    bl_idname = "object.obj_groups_mask"
    bl_label = "Mask"


class OBJECT_OT_obj_groups_mask_others(_Mask, bpy.types.Operator):
    """Mask all vertices but those of the group for sculpting"""

    bl_idname = "object.obj_groups_mask_others"
    bl_label = "Mask Others"
    others = True


class OBJECT_OT_obj_groups_select(_OnGroup, bpy.types.Operator):
    """Select the faces of the group"""

    bl_idname = "object.obj_groups_select"
    bl_label = "Select"

    extend: bpy.props.BoolProperty(name="Extend", description="Keep what is selected", options={"SKIP_SAVE"})

    def mark(self, mesh, found, faces):
        return f"{marks.select(mesh, found, faces, self.extend)} faces selected"


class _Crease:
    weight: bpy.props.FloatProperty(name="Weight", description="Of the crease", min=0, max=1, default=1)


class OBJECT_OT_obj_groups_crease(_Crease, _OnGroup, bpy.types.Operator):
    """Crease the edges on the group's border, for subdivision"""

    bl_idname = "object.obj_groups_crease"
    bl_label = "Crease Border"

    def mark(self, mesh, found, faces):
        return f"{marks.crease_border(mesh, found, faces, self.weight)} edges creased"


class OBJECT_OT_obj_groups_sharp(_OnGroup, bpy.types.Operator):
    """Make the edges on the group's border sharp"""

    bl_idname = "object.obj_groups_sharp"
    bl_label = "Sharp Border"

    def mark(self, mesh, found, faces):
        return f"{marks.sharpen_border(mesh, found, faces)} edges sharp"


class OBJECT_OT_obj_groups_crease_all(_Crease, _OnMesh, bpy.types.Operator):
    """Crease the edges between faces of different smoothing groups"""

    bl_idname = "object.obj_groups_crease_all"
    bl_label = "Crease All Smoothing Borders"

    def work(self, obj, found):
        return f"{marks.crease_smoothing(obj.data, found, self.weight)} edges creased"


class OBJECT_OT_obj_groups_clear(bpy.types.Operator):
    """Take masks, creases and sharp edges away"""

    bl_idname = "object.obj_groups_clear"
    bl_label = "Clear"
    bl_options = {"REGISTER", "UNDO"}
    poll = _OnMesh.poll

    masks: bpy.props.BoolProperty(name="Masks", default=True)
    creases: bpy.props.BoolProperty(name="Creases", default=True)
    sharp: bpy.props.BoolProperty(name="Sharp edges", default=True)

    def execute(self, context):
        obj = context.active_object
        with object_mode(obj):
            marks.clear(obj.data, self.masks, self.creases, self.sharp)
            obj.data.update()
        return {"FINISHED"}


class OBJECT_OT_obj_groups_positions(_OnMesh, bpy.types.Operator, ImportHelper):
    """Take the positions of another OBJ file with the same vertices and faces as a shape key"""

    bl_idname = "object.obj_groups_positions"
    bl_label = "Positions from OBJ"

    filter_glob: bpy.props.StringProperty(default="*.obj", options={"HIDDEN"})

    @guarded
    def execute(self, context):
        obj = context.active_object
        path = bpy.path.abspath(self.filepath)
        other, kept = document.read(path), obj.obj_groups
        with object_mode(obj):
            base = settings.read(obj) if kept.filepath else None
            if kept.is_part:
                other = other.part(kept.part)
            name = os.path.splitext(os.path.basename(path))[0]
            moved = marks.add_positions(obj, marks.fit(other, obj.data), base, name)
        self.report({"INFO"}, f"{moved} vertices moved")
        return {"FINISHED"}


class OBJECT_OT_obj_groups_read(bpy.types.Operator):
    """Read the OBJ file and list its groups"""

    bl_idname = "object.obj_groups_read"
    bl_label = "Read Groups"
    bl_options = {"REGISTER", "UNDO"}
    poll = _OnMesh.poll

    @guarded
    def execute(self, context):
        obj = context.active_object
        found = settings.read(obj)
        with object_mode(obj):
            marks.fit(found, obj.data)
        settings.list_groups(obj, found)
        return {"FINISHED"}


CLASSES = (
    OBJECT_OT_obj_groups_mask,
    OBJECT_OT_obj_groups_mask_others,
    OBJECT_OT_obj_groups_select,
    OBJECT_OT_obj_groups_crease,
    OBJECT_OT_obj_groups_sharp,
    OBJECT_OT_obj_groups_crease_all,
    OBJECT_OT_obj_groups_clear,
    OBJECT_OT_obj_groups_positions,
    OBJECT_OT_obj_groups_read,
)
