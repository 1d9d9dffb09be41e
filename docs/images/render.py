"""Run by Blender without a window: renders the pictures of the README. Arguments behind "--": the folder of the module,
the robot, the folder for the pictures."""

import colorsys
import os
import sys

import bpy
import mathutils

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "blender"))
import addon_utils

module_folder, robot, folder = sys.argv[sys.argv.index("--") + 1 :]
addon_utils.enable("ksmthgrp_obj", default_set=True)
bpy.context.preferences.addons["ksmthgrp_obj"].preferences.module_folder = module_folder


def material(name, colour):
    made = bpy.data.materials.new(name)
    made.use_nodes = True
    shader = made.node_tree.nodes["Principled BSDF"]
    shader.inputs["Base Color"].default_value = (*colour, 1)
    shader.inputs["Roughness"].default_value = 0.45
    return made


def load(x, **options):
    bpy.ops.import_scene.obj_groups(filepath=robot, use_materials=False, **options)
    obj = bpy.context.active_object
    obj.location.x = x
    return obj


def colour_groups(obj):
    """A colour for the faces of each face map, which is the smallest of their groups."""
    count = len(obj.face_maps)
    for index, face_map in enumerate(obj.face_maps):
        hue = (index * 0.381966) % 1
        obj.data.materials.append(material(face_map.name, colorsys.hsv_to_rgb(hue, 0.85, 0.7)))
    for polygon, face_map in zip(obj.data.polygons, obj.data.face_maps[0].data):
        polygon.material_index = face_map.value % count


def subdivide(obj, colour):
    obj.data.materials.append(material("grey", colour))
    obj.data.polygons.foreach_set("use_smooth", [True] * len(obj.data.polygons))
    obj.data.use_auto_smooth = False
    obj.modifiers.new("Subdivision", "SUBSURF").render_levels = 3


def light(kind, energy, location, size=3.0):
    lamp = bpy.data.lights.new(kind, "AREA")
    lamp.energy, lamp.size = energy, size
    obj = bpy.data.objects.new(kind, lamp)
    bpy.context.collection.objects.link(obj)
    obj.location = location
    aim = mathutils.Vector((0, 0, 1)) - obj.location
    obj.rotation_euler = aim.to_track_quat("-Z", "Y").to_euler()


def picture(name, width, height, span, side):
    scene = bpy.context.scene
    bpy.ops.mesh.primitive_plane_add(size=60)
    bpy.context.active_object.data.materials.append(material("floor", (0.8, 0.8, 0.8)))
    light("key", 150, (-3, -4, 5))
    light("fill", 35, (4, -3, 2.5), 4.0)
    camera = bpy.data.objects.new("camera", bpy.data.cameras.new("camera"))
    scene.collection.objects.link(camera)
    camera.data.type, camera.data.ortho_scale = "ORTHO", span
    camera.location = (side, -6, 2.6)
    aim = mathutils.Vector((0, 0, 0.98)) - camera.location
    camera.rotation_euler = aim.to_track_quat("-Z", "Y").to_euler()
    scene.camera = camera
    scene.world = bpy.data.worlds.new("world")
    scene.world.use_nodes = True
    scene.world.node_tree.nodes["Background"].inputs[0].default_value = (1, 1, 1, 1)
    scene.world.node_tree.nodes["Background"].inputs[1].default_value = 0.35
    scene.render.engine = "CYCLES"
    scene.cycles.device, scene.cycles.samples, scene.cycles.use_denoising = "CPU", 96, False
    scene.view_settings.view_transform = "Standard"
    scene.render.resolution_x, scene.render.resolution_y = width, height
    scene.render.image_settings.file_format, scene.render.image_settings.quality = "JPEG", 85
    scene.render.filepath = os.path.join(folder, name)
    bpy.ops.render.render(write_still=True)


def start():
    bpy.data.batch_remove([*bpy.data.objects, *bpy.data.meshes, *bpy.data.materials])


start()
colour_groups(load(0))
picture("groups.jpg", 480, 480, 2.35, 2.2)
start()
subdivide(load(-0.75), (0.55, 0.55, 0.58))
subdivide(load(0.75, use_crease=True), (0.85, 0.45, 0.15))
picture("creases.jpg", 640, 480, 3.0, 0.5)
