"""OBJ files with their groups and smoothing groups, in Blender: import, export, and masks, creases and the like for
meshes that any importer made of them. Needs the Python module `ksmthgrp`."""

bl_info = {
    "name": "OBJ with Groups",
    "description": "Import and export Wavefront OBJ with all groups and smoothing groups; masks and creases by them",
    "author": "KSmthGrpImpt",
    "version": (1, 0, 0),
    "blender": (3, 4, 0),
    "location": "File > Import-Export, and the sidebar of the 3D view",
    "category": "Import-Export",
}

import bpy

from . import export_operator, import_operator, mark_operators, panel, preferences, settings

_CLASSES = [
    cls
    for part in (preferences, settings, import_operator, export_operator, mark_operators, panel)
    for cls in part.CLASSES
]


def _import_entry(menu, _context):
    menu.layout.operator("import_scene.obj_groups", text="OBJ with Groups (.obj)")


def _export_entry(menu, _context):
    menu.layout.operator("export_scene.obj_groups", text="OBJ with Groups (.obj)")


def register():
    for cls in _CLASSES:
        bpy.utils.register_class(cls)
    settings.register()
    bpy.types.TOPBAR_MT_file_import.append(_import_entry)
    bpy.types.TOPBAR_MT_file_export.append(_export_entry)


def unregister():
    bpy.types.TOPBAR_MT_file_export.remove(_export_entry)
    bpy.types.TOPBAR_MT_file_import.remove(_import_entry)
    settings.unregister()
    for cls in reversed(_CLASSES):
        bpy.utils.unregister_class(cls)
