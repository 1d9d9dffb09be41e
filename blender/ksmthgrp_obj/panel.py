"""The panel in the sidebar. It only shows lists and buttons."""

import bpy


def _row(layout, name, faces, vertices):
    """A row of the lists, or what stands above them, in columns that a narrow sidebar has room for."""
    columns = layout.split(factor=0.45)
    columns.label(text=name)
    counts = columns.row()
    counts.label(text=str(faces))
    counts.label(text=str(vertices))


class OBJ_GROUPS_UL_rows(bpy.types.UIList):
    def draw_item(self, _context, layout, _data, item, _icon, _active_data, _active_property):
        _row(layout, item.name if item.number != 0 else "0 (off)", item.faces, item.vertices)


class VIEW3D_PT_obj_groups(bpy.types.Panel):
    bl_label = "OBJ Groups"
    bl_category = "OBJ Groups"
    bl_space_type = "VIEW_3D"
    bl_region_type = "UI"

    @classmethod
    def poll(cls, context):
        return context.active_object is not None and context.active_object.type == "MESH"

    def draw(self, context):
        layout, kept = self.layout, context.active_object.obj_groups
        layout.prop(kept, "filepath")
        if kept.is_part:
            layout.label(text=f'Object "{kept.part}" of the file' if kept.part else "Faces of no object")
        if not kept.groups and not kept.smoothings:
            layout.operator("object.obj_groups_read")
        else:
            settings = layout.column(align=True)
            settings.prop(kept, "mask_value")
            settings.prop(kept, "weight")
            for rows, index in (("groups", "group_index"), ("smoothings", "smoothing_index")):
                self._draw_list(kept, rows, index)
            layout.operator("object.obj_groups_crease_all").weight = kept.weight
        layout.operator("object.obj_groups_clear")
        layout.operator("object.obj_groups_positions")

    def _draw_list(self, kept, rows_name, index_name):
        rows, index = getattr(kept, rows_name), getattr(kept, index_name)
        self.layout.label(text=f"{'Groups' if rows_name == 'groups' else 'Smoothing groups'}: {len(rows)}")
        _row(self.layout, "Name", "Faces", "Verts")
        self.layout.template_list("OBJ_GROUPS_UL_rows", rows_name, kept, rows_name, kept, index_name, rows=4)
        if index >= len(rows):
            return
        grid = self.layout.grid_flow(columns=2, align=True)
        for name in ("mask", "mask_others", "select", "crease", "sharp"):
            button = grid.operator(f"object.obj_groups_{name}")
            if rows_name == "groups":
                button.group = rows[index].name
            else:
                button.smoothing = rows[index].number
            if name.startswith("mask"):
                button.value = kept.mask_value
            elif name == "crease":
                button.weight = kept.weight


CLASSES = (OBJ_GROUPS_UL_rows, VIEW3D_PT_obj_groups)
