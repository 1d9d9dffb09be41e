"""Materials of material libraries (MTL files) and those of Blender."""

import contextlib
import os

import bpy
from bpy_extras import image_utils, node_shader_utils

# Keyword of a texture: what of the Principled BSDF it goes to, and how it is written.
_TEXTURES = {
    "map_kd": ("base_color_texture", "map_Kd"),
    "map_ks": ("specular_texture", "map_Ks"),
    "map_ke": ("emission_color_texture", "map_Ke"),
    "map_ns": ("roughness_texture", "map_Ns"),
    "refl": ("metallic_texture", "refl"),
    "map_d": ("alpha_texture", "map_d"),
    "map_bump": ("normalmap_texture", "map_Bump"),
    "bump": ("normalmap_texture", "map_Bump"),
}
# Specular exponents are 0 to 1000, roughness 1 to 0: the square between them is that of Blender's own importer.
_LARGEST_EXPONENT = 1000.0


def make(name, described):
    """A new Blender material: with the values and textures of a library's, or grey for none. Answers it and the
    texture files that are missing."""
    made = bpy.data.materials.new(name)
    shader = node_shader_utils.PrincipledBSDFWrapper(made, is_readonly=False)
    if described is None:
        return made, []
    values = described.values
    exponent = min(max(values.get("ns", (250.0,))[0], 0.0), _LARGEST_EXPONENT)
    colour = tuple(values.get("kd", ()))[:3]
    shader.base_color = colour if len(colour) == 3 else (0.8, 0.8, 0.8)
    specular = values.get("ks", (0.5,))
    shader.specular = sum(specular) / len(specular)
    shader.roughness = 1.0 - (exponent / _LARGEST_EXPONENT) ** 0.5
    if len(values.get("ke", ())) == 3:
        shader.emission_color = values["ke"]
    shader.ior = values.get("ni", (1.45,))[0]
    shader.alpha = values["d"][0] if "d" in values else 1.0 - values.get("tr", (0.0,))[0]
    made.diffuse_color = (*shader.base_color[:3], shader.alpha)
    if (shader.alpha < 1.0 or "map_d" in described.textures) and hasattr(made, "blend_method"):
        made.blend_method = "HASHED"
    missing = []
    for keyword, path in described.textures.items():
        slot, _ = _TEXTURES.get(keyword, (None, None))
        if slot is None:
            continue
        if not os.path.isfile(path):
            missing.append(path)
        image = image_utils.load_image(path, place_holder=True, check_existing=True)
        if slot not in ("base_color_texture", "emission_color_texture"):
            image.colorspace_settings.name = "Non-Color"
        getattr(shader, slot).image = image
    return made, missing


def _texture_lines(shader, folder):
    for keyword, (slot, written) in _TEXTURES.items():
        # Asking for a normal map would make one; "bump" is another name of what is written.
        if keyword == "bump" or (keyword == "map_bump" and not shader.node_normalmap):
            continue
        texture = getattr(shader, slot)
        if texture and texture.image and texture.image.filepath:
            path = bpy.path.abspath(texture.image.filepath, library=texture.image.library)
            try:
                path = os.path.relpath(path, folder)
            except ValueError:
                pass  # On another drive.
            yield f"{written} {path.replace(os.sep, '/')}"


def library_text(materials, folder):
    """The text of a library with `materials`, name to Blender's material; textures are named relative to `folder`
    where that is possible."""
    lines = []
    for name, material in materials.items():
        shader = node_shader_utils.PrincipledBSDFWrapper(material)
        plain = not material.use_nodes or shader.node_principled_bsdf is None
        colour = material.diffuse_color if plain else shader.base_color
        lines += [f"newmtl {name}", f"Kd {colour[0]:.6g} {colour[1]:.6g} {colour[2]:.6g}"]
        if not plain:
            specular = f"{shader.specular:.6g}"
            lines.append(f"Ks {specular} {specular} {specular}")
            emission = shader.emission_color
            lines.append(f"Ke {emission[0]:.6g} {emission[1]:.6g} {emission[2]:.6g}")
            lines.append(f"Ns {(1.0 - shader.roughness) ** 2 * _LARGEST_EXPONENT:.6g}")
            lines += [f"Ni {shader.ior:.6g}", f"d {shader.alpha:.6g}", "illum 2"]
            lines += _texture_lines(shader, folder)
        lines.append("")
    return "\n".join(lines)


def write_library(path, materials):
    """Writes a library; what is at `path` stays until all of it is written. Raises OSError."""
    beside = path + ".new"
    try:
        with open(beside, "w", encoding="utf-8", errors="surrogateescape", newline="\n") as file:
            file.write(library_text(materials, os.path.dirname(os.path.abspath(path))))
        os.replace(beside, path)
    except BaseException:
        with contextlib.suppress(OSError):
            os.remove(beside)
        raise
