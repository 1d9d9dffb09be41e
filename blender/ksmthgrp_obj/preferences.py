"""The add-on's preferences."""

import textwrap

import bpy

from . import module


class ObjGroupsPreferences(bpy.types.AddonPreferences):
    bl_idname = __package__

    module_folder: bpy.props.StringProperty(
        name="Module folder",
        description='Folder of the Python module "ksmthgrp", where it is not found by itself',
        subtype="DIR_PATH",
    )

    def draw(self, _context):
        self.layout.prop(self, "module_folder")
        try:
            self.layout.label(text=f"Found: {module.find().__file__}", icon="CHECKMARK")
        except module.ModuleMissing as missing:
            lines = self.layout.column(align=True)
            for number, line in enumerate(textwrap.wrap(str(missing), 80, break_on_hyphens=False)):
                lines.label(text=line, icon="BLANK1" if number else "ERROR")


CLASSES = (ObjGroupsPreferences,)
