"""File > Import > OBJ with Groups, and files dropped into a window."""

import os

import bpy
import mathutils
from bpy_extras.io_utils import ImportHelper, axis_conversion, orientation_helper

from . import document, import_mesh, settings
from .operator_support import EXPECTED, guarded, tell


@orientation_helper(axis_forward="-Z", axis_up="Y")
class IMPORT_SCENE_OT_obj_groups(bpy.types.Operator, ImportHelper):
    """Import Wavefront OBJ files with all groups, smoothing groups and vertices as they are"""

    bl_idname = "import_scene.obj_groups"
    bl_label = "Import OBJ with Groups"
    bl_options = {"REGISTER", "UNDO", "PRESET"}

    filename_ext = ".obj"
    filter_glob: bpy.props.StringProperty(default="*.obj", options={"HIDDEN"})
    files: bpy.props.CollectionProperty(type=bpy.types.OperatorFileListElement, options={"HIDDEN", "SKIP_SAVE"})
    directory: bpy.props.StringProperty(subtype="DIR_PATH", options={"HIDDEN", "SKIP_SAVE"})

    global_scale: bpy.props.FloatProperty(name="Scale", default=1.0, min=1e-4, max=1e4)
    clamp_size: bpy.props.FloatProperty(
        name="Clamp bounding box",
        description="Scale down by tens to this greatest extent; 0 does not",
        default=0.0,
        min=0.0,
    )
    use_sharp: bpy.props.BoolProperty(
        name="Sharp smoothing borders", description="Between faces of different smoothing groups", default=True
    )
    use_crease: bpy.props.BoolProperty(
        name="Crease smoothing borders", description="For subdivision; the same edges", default=False
    )
    crease_weight: bpy.props.FloatProperty(name="Weight", default=1.0, min=0.0, max=1.0)
    use_normals: bpy.props.BoolProperty(
        name="Custom normals",
        description="Take the file's normals. Blender makes more edges sharp where they differ",
        default=False,
    )
    use_regions: bpy.props.BoolProperty(
        name="Face maps or face sets",
        description="As this Blender has them; a face goes into the smallest of its groups",
        default=True,
    )
    use_materials: bpy.props.BoolProperty(name="Materials", default=True)
    split_objects: bpy.props.BoolProperty(
        name="Split by object", description='An object for each "o" name; otherwise the file is one mesh', default=False
    )

    def invoke(self, context, event):
        # Files that were dropped are known.
        if self.files and self.directory:
            popup = getattr(self, "invoke_popup", None)
            return popup(context) if popup else self.execute(context)
        return ImportHelper.invoke(self, context, event)

    def _paths(self):
        named = [os.path.join(self.directory, file.name) for file in self.files if file.name]
        return [bpy.path.abspath(path) for path in named or [self.filepath]]

    def _matrix(self, found):
        scale = self.global_scale
        extent = float(found.positions.ptp(axis=0).max(initial=0)) if len(found.positions) else 0.0
        while 0 < self.clamp_size < extent * scale < float("inf"):
            scale /= 10
        turn = axis_conversion(from_forward=self.axis_forward, from_up=self.axis_up)
        return mathutils.Matrix.Scale(scale, 4) @ turn.to_4x4()

    def _import(self, context, path):
        """The objects of one file."""
        options = import_mesh.ImportOptions(
            sharp=self.use_sharp,
            crease=self.crease_weight if self.use_crease else 0.0,
            normals=self.use_normals,
            regions=self.use_regions,
            materials=self.use_materials,
            split_objects=self.split_objects,
        )
        found = document.read(path)
        made, notes = import_mesh.make_objects(found, options)
        tell(self, [f"{os.path.basename(path)}: {note}" for note in notes])
        matrix = self._matrix(found)
        for obj, part, name in made:
            obj.matrix_world = matrix
            context.collection.objects.link(obj)
            settings.connect(obj, path, part, name)
        return [obj for obj, _, _ in made]

    @guarded
    def execute(self, context):
        if context.active_object and context.active_object.mode != "OBJECT":
            bpy.ops.object.mode_set(mode="OBJECT")
        made, failures = [], []
        for path in self._paths():
            try:
                made += self._import(context, path)
            except EXPECTED as error:
                failures.append(error)
        if not made:
            raise failures[0]
        tell(self, [str(error) for error in failures])
        for obj in context.selected_objects:
            obj.select_set(False)
        for obj in made:
            obj.select_set(True)
        context.view_layer.objects.active = made[-1]
        faces = sum(len(obj.data.polygons) for obj in made)
        self.report({"INFO"}, f"{len(made)} objects, {faces} faces")
        return {"FINISHED"}


CLASSES = [IMPORT_SCENE_OT_obj_groups]

# From Blender 4.1 on.
if hasattr(bpy.types, "FileHandler"):

    class IO_FH_obj_groups(bpy.types.FileHandler):
        bl_idname = "IO_FH_obj_groups"
        bl_label = "OBJ with Groups"
        bl_import_operator = "import_scene.obj_groups"
        bl_file_extensions = ".obj"

        @classmethod
        def poll_drop(cls, context):
            return context.area and context.area.type in {"VIEW_3D", "OUTLINER"}

    CLASSES.append(IO_FH_obj_groups)
