"""File > Export > OBJ with Groups."""

import bpy
import mathutils
from bpy_extras.io_utils import ExportHelper, axis_conversion, orientation_helper

from . import export_mesh
from .operator_support import guarded


@orientation_helper(axis_forward="-Z", axis_up="Y")
class EXPORT_SCENE_OT_obj_groups(bpy.types.Operator, ExportHelper):
    """Export meshes as a Wavefront OBJ file with groups and smoothing groups"""

    bl_idname = "export_scene.obj_groups"
    bl_label = "Export OBJ with Groups"
    bl_options = {"PRESET"}

    filename_ext = ".obj"
    filter_glob: bpy.props.StringProperty(default="*.obj", options={"HIDDEN"})

    use_selection: bpy.props.BoolProperty(name="Selection only", default=False)
    apply_modifiers: bpy.props.BoolProperty(name="Apply modifiers", default=True)
    global_scale: bpy.props.FloatProperty(name="Scale", default=1.0, min=1e-4, max=1e4)
    groups_from: bpy.props.EnumProperty(
        name="Groups",
        items=(
            ("VERTEX_GROUPS", "Vertex groups", "Faces of which all corners are in it, unless it is still as imported"),
            ("REGIONS", "Face maps", "One of each face; where this Blender has them"),
        ),
    )
    use_smoothing: bpy.props.BoolProperty(
        name="Smoothing groups", description="Patches of smooth faces between sharp edges", default=True
    )
    use_uvs: bpy.props.BoolProperty(name="UVs", default=True)
    use_normals: bpy.props.BoolProperty(name="Normals", default=False)
    use_materials: bpy.props.BoolProperty(
        name="Materials", description="With a material library of the same name beside the file", default=True
    )
    use_objects: bpy.props.BoolProperty(name="Object names", description='As "o" lines', default=True)

    @guarded
    def execute(self, context):
        turn = axis_conversion(to_forward=self.axis_forward, to_up=self.axis_up)
        options = export_mesh.ExportOptions(
            matrix=mathutils.Matrix.Scale(self.global_scale, 4) @ turn.to_4x4(),
            modifiers=self.apply_modifiers,
            regions=self.groups_from == "REGIONS",
            smoothing=self.use_smoothing,
            texture_coordinates=self.use_uvs,
            normals=self.use_normals,
            materials=self.use_materials,
            objects=self.use_objects,
        )
        candidates = context.selected_objects if self.use_selection else context.scene.objects
        objects = [obj for obj in candidates if obj.type == "MESH"]
        if not objects:
            raise ValueError("there is no mesh to export")
        # What is being edited is not in the mesh yet.
        for obj in objects:
            obj.update_from_editmode()
        export_mesh.export(objects, context.evaluated_depsgraph_get(), bpy.path.abspath(self.filepath), options)
        self.report({"INFO"}, f"{len(objects)} objects written")
        return {"FINISHED"}


CLASSES = (EXPORT_SCENE_OT_obj_groups,)
