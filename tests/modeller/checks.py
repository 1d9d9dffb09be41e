"""Run by Blender without a window: the add-on on real, example and made models, against the module's figures, the
plug-in's and plain Python. Arguments behind "--": the folder of the module, smthgrp, then OBJ files."""

import itertools
import json
import os
import subprocess
import sys
import tempfile
import time
from unittest import mock

import bmesh
import bpy
import mathutils
import numpy as np

sys.dont_write_bytecode = True
here = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(here, "..", "..", "blender"))
import addon_utils

module_folder, tool, *models = sys.argv[sys.argv.index("--") + 1 :]
addon_utils.enable("ksmthgrp_obj", default_set=True)

from ksmthgrp_obj import document, import_mesh, mesh_arrays, module, versions


def refused(call, *words, **options):
    """The operator fails with a message that has the words."""
    try:
        call(**options)
    except RuntimeError as error:
        assert all(word in str(error) for word in words), error
        assert "Traceback" not in str(error), error
        return
    raise AssertionError(f"not refused: {words}")


with mock.patch.object(sys, "path", []), mock.patch.object(module, "_around", tuple):
    refused(bpy.ops.import_scene.obj_groups, "was not found", "preferences", filepath=models[0])
    bpy.context.preferences.addons["ksmthgrp_obj"].preferences.module_folder = module_folder
    ksmthgrp = module.find()
assert ksmthgrp.__file__.startswith(os.path.realpath(module_folder)), ksmthgrp.__file__
folder = tempfile.TemporaryDirectory()
work = folder.name
marks = bpy.ops.object


def clean():
    bpy.data.batch_remove([*bpy.data.objects, *bpy.data.meshes, *bpy.data.materials])


def load(path, **options):
    clean()
    assert bpy.ops.import_scene.obj_groups(filepath=path, **options) == {"FINISHED"}
    return bpy.context.active_object


def pairs(mesh, chosen):
    """The chosen edges as pairs of vertices, the smaller first."""
    rows = np.empty(len(mesh.edges) * 2, np.int32)
    mesh.edges.foreach_get("vertices", rows)
    return sorted(map(tuple, np.sort(rows.reshape(-1, 2)[chosen], axis=1).tolist()))


def selected_faces(mesh):
    chosen = np.empty(len(mesh.polygons), bool)
    mesh.polygons.foreach_get("select", chosen)
    return chosen


def edges_of(border):
    return sorted(map(tuple, border.edges.tolist()))


def groups_of(path):
    document = ksmthgrp.read(path)
    return {name: faces.tolist() for name, faces in document.groups.items()}


def check_marks(path):
    obj, document = load(path), ksmthgrp.read(path)
    mesh, kept = obj.data, obj.obj_groups
    assert np.array_equal(mesh_arrays.positions(mesh), document.positions.astype(np.float32))
    assert np.array_equal(mesh_arrays.corner_vertices(mesh), document.face_vertices)
    assert np.array_equal(mesh_arrays.face_starts(mesh), document.face_starts)
    assert not mesh.validate()
    all_borders = edges_of(document.creases())
    assert pairs(mesh, mesh_arrays.sharp(mesh)) == all_borders
    assert [(row.name, row.faces) for row in kept.groups] == [(n, len(f)) for n, f in document.groups.items()]
    members = mesh_arrays.vertex_groups(obj, mesh)
    assert {n: v.tolist() for n, v in members.items()} == {g: document.vertices_of(g).tolist() for g in document.groups}
    for choice in [{"group": g} for g in document.groups] + [{"smoothing": s} for s in document.smoothing if s]:
        marks.obj_groups_clear()
        marks.obj_groups_mask(**choice)
        marks.obj_groups_crease(**choice, weight=0.5)
        marks.obj_groups_sharp(**choice)
        host = np.frombuffer(document.host_mask(**choice), np.uint8) / np.float32(255)
        assert np.array_equal(versions.masks(mesh), host), (path, choice)
        creased = versions.creases(mesh)
        assert set(np.unique(creased)) <= {0.0, 0.5}
        assert pairs(mesh, creased > 0) == pairs(mesh, mesh_arrays.sharp(mesh)) == edges_of(document.creases(**choice))
        marks.obj_groups_mask_others(**choice, value=0.25)
        assert np.array_equal(versions.masks(mesh), np.where(host == 1, 1, np.float32(0.25)))
        marks.obj_groups_select(**choice)
        faces = document.groups[choice["group"]] if "group" in choice else document.smoothing[choice["smoothing"]]
        assert np.array_equal(np.flatnonzero(selected_faces(mesh)), faces)
    marks.obj_groups_clear()
    assert not versions.masks(mesh).any() and not mesh_arrays.sharp(mesh).any() and not versions.creases(mesh).any()
    marks.obj_groups_crease_all()
    assert pairs(mesh, versions.creases(mesh) > 0) == all_borders
    told = subprocess.run([tool, "mesh", path, "--crease-all-smoothing", "--json"], capture_output=True, text=True)
    if told.returncode == 0:
        assert json.loads(told.stdout)["mesh"]["edgesCreased"] == len(all_borders), path


def check_round_trip(path):
    """Import, export, import: the same mesh, groups, smoothing and materials; a changed group is seen."""
    obj, before, out = load(path), ksmthgrp.read(path), os.path.join(work, "out.obj")
    sharp = pairs(obj.data, mesh_arrays.sharp(obj.data))
    for options in ({}, {"use_normals": True}):
        bpy.ops.export_scene.obj_groups(filepath=out, **options)
        after = ksmthgrp.read(out)
        assert ksmthgrp.diff(before, after).same_topology
        assert groups_of(out) == groups_of(path), path
        assert np.array_equal(after.face_smoothing, before.face_smoothing)
        assert np.array_equal(after.positions.astype(np.float32), before.positions.astype(np.float32))
        assert np.array_equal(after.face_material, before.face_material)
    if (before.face_texcoords >= 0).all():
        uvs = [d.texcoords[d.face_texcoords].astype(np.float32) for d in (before, after)]
        assert np.array_equal(*uvs)
    # With other sharp edges, patches take the place of the kept numbers.
    again = load(out)
    assert pairs(again.data, mesh_arrays.sharp(again.data)) == sharp
    again.data.attributes.remove(again.data.attributes["obj_smoothing"])
    bpy.ops.export_scene.obj_groups(filepath=out)
    again = load(out)
    assert pairs(again.data, mesh_arrays.sharp(again.data)) == sharp
    group = again.vertex_groups[0]
    face = again.data.polygons[len(again.data.polygons) // 2]
    group.add(range(len(again.data.vertices)), 0.0, "REPLACE")
    group.add(list(face.vertices), 1.0, "REPLACE")
    bpy.ops.export_scene.obj_groups(filepath=out)
    inside = [other.index for other in again.data.polygons if {*other.vertices} <= {*face.vertices}]
    assert groups_of(out)[group.name] == inside


def made(name, text):
    path = os.path.join(work, name)
    with open(path, "w", encoding="utf-8", errors="surrogateescape") as file:
        file.write(text)
    return path


SQUARE = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\n"


def check_odd_files():
    # What Blender cannot hold is left out, and the marks still fit the rest.
    path = made("odd.obj", SQUARE + "g a\nf 1 2\nf 1 2 2\nf 2 1 2\nf 1 2 3\nf 3 1 2\ng b\nf 1 3 4\n")
    obj = load(path)
    assert [tuple(p.vertices) for p in obj.data.polygons] == [(0, 1, 2), (0, 2, 3)] and not obj.data.validate()
    marks.obj_groups_crease(group="b")
    assert pairs(obj.data, versions.creases(obj.data) > 0) == [(0, 2)]
    _, notes = import_mesh.make_objects(document.read(path), import_mesh.ImportOptions())
    for note, words in zip(notes, ("fewer than three corners", "2 faces with a vertex twice", "face 4"), strict=True):
        assert words in note, note
    refused(marks.obj_groups_mask, 'no group "c"', "a, b", group="c")
    refused(marks.obj_groups_mask, "smoothing group 7", smoothing=7)
    refused(marks.obj_groups_mask, "4 vertices", "5", group="a", filepath=made("v.obj", SQUARE + "v 9 9 9\nf 1 2 3\n"))
    refused(marks.obj_groups_mask, "2 faces", "1", group="a", filepath=made("f.obj", SQUARE + "f 1 2 3\n"))
    refused(marks.obj_groups_select, "face 2", group="a", filepath=made("o.obj", SQUARE + "g a\nf 1 2 3\nf 1 2 4\n"))
    refused(bpy.ops.import_scene.obj_groups, "gone.obj", filepath=os.path.join(work, "gone.obj"))
    refused(bpy.ops.import_scene.obj_groups, "", filepath=work)
    refused(bpy.ops.import_scene.obj_groups, "no vertices", filepath=made("none.obj", "# nothing\n"))
    refused(bpy.ops.export_scene.obj_groups, "none", filepath=os.path.join(work, "none", "x.obj"))
    # Names that are long, equal when cut, not ASCII and no UTF-8; lines become edges.
    long = "x" * 70
    path = made("names.obj", SQUARE + f"g {long}a é\udcff\nf 1 2 3\ng {long}b\nf 1 3 4\nl 2 4\n")
    obj, out = load(path), os.path.join(work, "names_out.obj")
    assert len(obj.vertex_groups) == 3 and (1, 3) in pairs(obj.data, np.ones(len(obj.data.edges), bool))
    marks.obj_groups_mask(group="é\\udcff")
    bpy.ops.export_scene.obj_groups(filepath=out)
    assert groups_of(out) == groups_of(path) and len(ksmthgrp.read(out).line_vertices) == 2


def check_split_and_axes():
    path = made("two.obj", SQUARE + "v 5 0 0\nv 6 0 0\nv 6 1 0\no one\ng a\nusemtl p\nf 1 2 3\nf 1 3 4\no two\ng b\nusemtl q\nf 5 6 7\n")
    obj = load(path, split_objects=True, axis_forward="Y", axis_up="Z", global_scale=2.0)
    assert sorted(o.name for o in bpy.data.objects) == ["one", "two"]
    assert [row.name for o in bpy.data.objects for row in o.obj_groups.groups] == ["a", "b"]
    assert np.allclose(obj.matrix_world @ obj.data.vertices[0].co, (10, 0, 0))
    marks.obj_groups_mask(group="b")
    assert versions.masks(obj.data).tolist() == [1, 1, 1]
    out = os.path.join(work, "two_out.obj")
    bpy.ops.export_scene.obj_groups(filepath=out, axis_forward="Y", axis_up="Z", global_scale=0.5)
    assert groups_of(out) == groups_of(path)
    assert np.allclose(ksmthgrp.read(out).positions, ksmthgrp.read(path).positions)
    # Names that differ in a blank stay apart.
    for item, name in zip((*bpy.data.objects, *bpy.data.materials), ("a b", "a_b", "c d", "c_d")):
        item.name = name
    bpy.ops.export_scene.obj_groups(filepath=out)
    found = ksmthgrp.read(out)
    assert [len(faces) for faces in (*found.objects.values(), *found.materials.values())] == [2, 1, 2, 1]
    bpy.data.objects["a b"].select_set(False)
    bpy.ops.export_scene.obj_groups(filepath=out, use_selection=True)
    assert list(ksmthgrp.read(out).objects) == ["a_b"]
    # Mirrored and stretched, faces and normals still show the same side.
    obj = bpy.data.objects["a_b"]
    obj.data.transform(mathutils.Matrix.Rotation(0.5, 4, (1, 1, 0)))
    obj.scale = (-1, 3, 1)
    bpy.ops.export_scene.obj_groups(filepath=out, use_selection=True, use_normals=True)
    found = ksmthgrp.read(out)
    a, b, c = found.positions[found.face_vertices]
    side = np.cross(b - a, c - a)
    assert np.allclose(found.normals[found.face_normals], side / np.linalg.norm(side), atol=1e-4)
    # Axes and scales are those of Blender's own importer.
    plain = made("plain.obj", SQUARE + "f 1 2 3 4\n")
    for forward, up in itertools.product(("X", "Y", "Z", "-X", "-Y", "-Z"), repeat=2):
        if forward[-1] == up[-1]:
            continue
        own = [axis.replace("-", "NEGATIVE_") for axis in (forward, up)]
        for scale in ({"global_scale": 3.0}, {"clamp_size": 0.05}):
            clean()
            bpy.ops.wm.obj_import(filepath=plain, forward_axis=own[0], up_axis=own[1], **scale)
            wanted = np.array(bpy.data.objects[0].matrix_world)
            obj = load(plain, axis_forward=forward, axis_up=up, **scale)
            assert np.allclose(obj.matrix_world, wanted, atol=1e-5), (forward, up, scale)


def check_positions_and_modes(robot):
    obj, pose = load(robot), robot.replace("robot.obj", "robot_pose.obj")
    marks.obj_groups_positions(filepath=pose)
    key = np.empty(len(obj.data.vertices) * 3, np.float32)
    obj.data.shape_keys.key_blocks["robot_pose"].data.foreach_get("co", key)
    assert np.array_equal(key.reshape(-1, 3), ksmthgrp.read(pose).positions.astype(np.float32))
    refused(marks.obj_groups_positions, "vertices", filepath=os.path.join(work, "two.obj"))
    for mode in ("EDIT", "SCULPT"):
        obj = load(robot)
        marks.mode_set(mode=mode)
        marks.obj_groups_mask(group="eyes")
        assert obj.mode == mode
        marks.mode_set(mode="OBJECT")
        assert np.count_nonzero(versions.masks(obj.data)) == 48
    # Other importers' meshes, whose points may be turned.
    clean()
    bpy.ops.wm.obj_import(filepath=robot)
    obj = bpy.context.selected_objects[0]
    bpy.context.view_layer.objects.active = obj
    obj.obj_groups.filepath = robot
    marks.obj_groups_read()
    assert [row.name for row in obj.obj_groups.groups] == list(ksmthgrp.read(robot).groups)
    obj.obj_groups.filepath = os.path.join(work, "two.obj")
    refused(marks.obj_groups_read, "522 vertices", "7")
    assert not obj.obj_groups.groups
    obj.obj_groups.filepath = robot
    marks.obj_groups_crease(group="head")
    document = ksmthgrp.read(robot)
    assert pairs(obj.data, versions.creases(obj.data) > 0) == edges_of(document.border("head"))
    obj.data.transform(obj.matrix_world)
    marks.obj_groups_positions(filepath=pose)
    moved = np.array(obj.data.shape_keys.key_blocks["robot_pose"].data[411].co)
    assert np.allclose(moved, np.array(obj.matrix_world)[:3, :3] @ ksmthgrp.read(pose).positions[411], atol=1e-5)


def check_materials():
    """Values and images survive an export; a texture that is there is loaded."""
    image = bpy.data.images.new("image", 2, 2)
    image.filepath_raw, image.file_format = os.path.join(work, "tex", "an image.png"), "PNG"
    image.save()
    kinds = ("map_Kd", "map_Ks", "map_Ke", "map_Ns", "refl", "map_d", "map_Bump")
    lines = [f"{kind} tex/an image.png" for kind in kinds]
    values = "Kd 0.5 0.25 1\nKs 0.5 0.5 0.5\nKe 0 0.5 1\nNs 250\nNi 1.5\nd 0.5\n"
    made("look.mtl", "newmtl look\n" + values + "\n".join(lines) + "\nnewmtl plain\nKd 0 1 0\n")
    text = SQUARE + "vt 0 0\nusemtl look\nf 1/1 2/1 3/1\nusemtl plain\nf 1 3 4\n"
    path, out = made("look.obj", "mtllib look.mtl\n" + text), os.path.join(work, "look_out.obj")
    obj = load(path)
    assert [slot.name for slot in obj.material_slots] == ["look", "plain"]
    images = [n.image for n in obj.data.materials[0].node_tree.nodes if n.type == "TEX_IMAGE"]
    assert len(images) == len(kinds) and all(tuple(image.size) == (2, 2) for image in images)
    bpy.ops.export_scene.obj_groups(filepath=out)
    before, after = (ksmthgrp.read(file).read_materials() for file in (path, out))
    assert before["look"].textures == after["look"].textures
    for keyword, numbers in before["look"].values.items():
        assert np.allclose(after["look"].values[keyword], numbers, atol=1e-4), keyword
    # A folder where the library is to be: nothing is written.
    os.mkdir(os.path.join(work, "taken.mtl"))
    refused(bpy.ops.export_scene.obj_groups, "taken.mtl", filepath=os.path.join(work, "taken.obj"))
    assert not [name for name in os.listdir(work) if name in ("taken.obj", "taken.mtl.new")]


def check_normals_and_files(robot):
    """Custom normals are those of the file; several files at once become an object each, bad ones are passed over."""
    mesh, document = load(robot, use_normals=True).data, ksmthgrp.read(robot)
    has = document.face_normals >= 0
    wanted = document.normals[document.face_normals[has]]
    wanted /= np.linalg.norm(wanted, axis=1, keepdims=True)
    assert np.allclose(versions.corner_normals(mesh)[has], wanted, atol=2e-3)
    assert set(edges_of(document.creases())) <= set(pairs(mesh, mesh_arrays.sharp(mesh)))
    mesh = load(robot, use_sharp=False, use_crease=True, crease_weight=0.25).data
    assert edges_of(document.creases()) == pairs(mesh, versions.creases(mesh) == 0.25)
    assert not mesh_arrays.sharp(mesh).any()
    # A face map has one group of each face: the smallest.
    out = os.path.join(work, "maps.obj")
    mesh = load(robot).data
    marks.obj_groups_sharp(smoothing=3)  # sharp already, as others are
    assert pairs(mesh, mesh_arrays.sharp(mesh)) == edges_of(document.creases())
    bpy.ops.export_scene.obj_groups(filepath=out, groups_from="REGIONS")
    maps, groups = groups_of(out), groups_of(robot)
    assert maps["eyes"] == groups["eyes"] and set(maps["head"]) == set(groups["head"]) - set(groups["eyes"])
    # A hole leaves the smoothing numbers of the other faces.
    mesh, out = load(robot).data, os.path.join(work, "hole.obj")
    gone = document.creases().corners[0]
    face = int(np.searchsorted(document.face_starts, gone, side="right") - 1)
    edit = bmesh.new()
    edit.from_mesh(mesh)
    edit.faces.ensure_lookup_table()
    edit.faces.remove(edit.faces[face])
    edit.to_mesh(mesh)
    edit.free()
    bpy.ops.export_scene.obj_groups(filepath=out)
    assert np.array_equal(ksmthgrp.read(out).face_smoothing, np.delete(document.face_smoothing, face))
    clean()
    files = [{"name": name} for name in ("two.obj", "gone.obj", "names.obj")]
    bpy.ops.import_scene.obj_groups(directory=work, files=files)
    assert {o.name for o in bpy.context.selected_objects} == {"names", "two"}, list(bpy.data.objects)
    assert bpy.context.active_object.name == "names"


def check_undo(robot):
    name = load(robot, use_sharp=False).name  # the object itself does not outlive an undo

    def state():
        mesh = bpy.data.objects[name].data
        keys = [key.name for key in mesh.shape_keys.key_blocks] if mesh.shape_keys else []
        marked = versions.masks(mesh), mesh_arrays.sharp(mesh), versions.creases(mesh), selected_faces(mesh)
        return [array.tolist() for array in marked], keys

    pose = robot.replace("robot.obj", "robot_pose.obj")
    with bpy.context.temp_override(window=bpy.context.window_manager.windows[0]):
        bpy.ops.ed.undo_push(message="before")
        for call, options in (
            (marks.obj_groups_mask, {"group": "eyes"}),
            (marks.obj_groups_mask_others, {"group": "eyes", "value": 0.5}),
            (marks.obj_groups_sharp, {"smoothing": 3}),
            (marks.obj_groups_select, {"group": "eyes"}),
            (marks.obj_groups_crease, {"smoothing": 3}),
            (marks.obj_groups_crease_all, {}),
            (marks.obj_groups_clear, {}),
            (marks.obj_groups_positions, {"filepath": pose}),
        ):
            before = state()
            call(**options)
            bpy.ops.ed.undo_push(message="marked")
            after = state()
            bpy.ops.ed.undo()
            assert state() == before != after, options
            bpy.ops.ed.redo()
            assert state() == after, options


def check_large():
    """A sheet of 600 x 600 quads, and how long it takes."""
    n = 600
    points = [f"v {x} {y} 0" for y in range(n + 1) for x in range(n + 1)]
    faces = []
    for y in range(n):
        faces.append(f"g row{y // 40} half{y * 2 // n}\ns {y // 100 + 1}")
        at = y * (n + 1) + 1
        faces += [f"f {i} {i + 1} {i + n + 2} {i + n + 1}" for i in range(at, at + n)]
    path = made("sheet.obj", "\n".join(points + faces) + "\n")
    begin = time.time()
    obj = load(path)
    imported = time.time()
    assert len(obj.data.polygons) == n * n and np.count_nonzero(mesh_arrays.sharp(obj.data)) == 5 * n
    bpy.ops.export_scene.obj_groups(filepath=os.path.join(work, "sheet_out.obj"))
    exported = time.time()
    assert groups_of(os.path.join(work, "sheet_out.obj")) == groups_of(path)
    print(f"{n * n} faces: import {imported - begin:.2f} s, export {exported - imported:.2f} s")


def table_row(path):
    """Blender's own importer, with its vertex groups, beside this one: groups, sharp edges, creased edges."""

    def counts(objects):
        meshes = [obj.data for obj in objects]
        sharp = sum(np.count_nonzero(mesh_arrays.sharp(mesh)) for mesh in meshes)
        creased = sum(np.count_nonzero(versions.creases(mesh)) for mesh in meshes)
        return f"{sum(len(obj.vertex_groups) for obj in objects):4}{sharp:6}{creased:6}"

    clean()
    bpy.ops.wm.obj_import(filepath=path, import_vertex_groups=True)
    own = counts(bpy.data.objects)
    load(path, use_crease=True)
    return f"{os.path.basename(path):28}{own}   {counts(bpy.data.objects)}"


rows = []
for model in models:
    check_marks(model)
    check_round_trip(model)
    rows.append(table_row(model))
check_odd_files()
check_split_and_axes()
check_positions_and_modes(models[0])
check_materials()
check_normals_and_files(models[0])
check_undo(models[0])
check_large()
print(f"{'':28}{'Blender':>16}   {'this add-on':>16}\n{'':28} grp sharp crease  grp sharp crease")
print("\n".join(rows))
print("modeller: all checks passed")
