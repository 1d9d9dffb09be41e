"""Documents made of a program's own arrays."""

from . import _ksmthgrp


def write_arrays(target, positions, face_vertices=None, face_starts=None, *, texcoords=None, face_texcoords=None,
                 normals=None, face_normals=None, colors=None, lines=None, groups=None, smoothing=None,
                 materials=None, face_material=None, objects=None, face_object=None, libraries=None,
                 comments=None):
    """Writes a mesh in arrays as an OBJ file and answers Counts.

    target          a path, whose file is replaced when all is written, or a binary file object
    positions       float (N, 3); float32 is written with the digits that a float32 needs
    face_vertices   int (corners,), from 0, or (faces, corners) without face_starts
    face_starts     int (faces + 1,): face i has the corners face_starts[i] up to face_starts[i + 1]
    texcoords       float (T, 2), with face_texcoords: int (corners,), -1 for none
    normals         float (M, 3), with face_normals: int (corners,), -1 for none
    colors          float (N, 3), 0 to 1, of the vertices
    lines           int (L, 2): vertices of line elements
    groups          mapping, name -> int array of faces, which may overlap; see written_names() for names that
                    are no single word. Faces of none are written into "default" where there are groups.
    smoothing       int (faces,): smoothing number, 0 for none
    materials       names, with face_material: int (faces,), an index into them, -1 for none
    objects         names, with face_object: the same
    libraries       names of material libraries for "mtllib" lines
    comments        lines for the file's head

    Vertices and faces keep their order. Raises ValueError or TypeError for arrays that do not fit, with name and
    place of what is wrong, before anything is written; FileError when the file cannot be written.
    """
    mesh = dict(locals())
    return _ksmthgrp.write_arrays(mesh.pop("target"), mesh)


def from_arrays(positions, face_vertices=None, face_starts=None, *, texcoords=None, face_texcoords=None,
                normals=None, face_normals=None, colors=None, lines=None, groups=None, smoothing=None,
                materials=None, face_material=None, objects=None, face_object=None, libraries=None,
                comments=None, name="arrays"):
    """A Document, held in memory, of a mesh in arrays; the arguments are those of write_arrays(). name stands for
    it in messages, and libraries are looked for beside it."""
    mesh = dict(locals())
    return _ksmthgrp.from_arrays(mesh, mesh.pop("name"))
