"""An OBJ file as arrays, read by the module `ksmthgrp`. What the add-on takes from the module is all here."""

import dataclasses
import functools
import os

import numpy as np

from . import arrays, module


def text(name):
    """A name of the file, or a path, as text that Blender takes: bytes that are no UTF-8 become escapes."""
    return name.encode("utf-8", "backslashreplace").decode("utf-8")


@dataclasses.dataclass
class Document:
    """A file, or a part of one. Indices count from 0; -1 is none."""

    path: str
    source: object  # the module's document
    positions: np.ndarray  # N x 3, double precision
    lines: np.ndarray  # E x 2, edges of line elements
    starts: np.ndarray  # see `arrays`
    vertices: np.ndarray  # of each corner, as the next two
    corner_texture: np.ndarray
    corner_normal: np.ndarray
    groups: dict  # name to faces, ascending
    smoothing: np.ndarray  # number of each face, 0 for none
    materials: np.ndarray  # of each face
    objects: np.ndarray  # of each face

    @property
    def face_count(self):
        return len(self.starts) - 1

    def with_faces(self, faces):
        """The same with `faces`, ascending, alone. Groups without a face go."""
        new_face = np.full(self.face_count, -1)
        new_face[faces] = np.arange(len(faces))
        groups = {name: new_face[old][new_face[old] >= 0] for name, old in self.groups.items()}
        return self._with(faces, {name: members for name, members in groups.items() if len(members)})

    def _with(self, faces, groups):
        corners = arrays.corners_of(self.starts, faces)
        return dataclasses.replace(
            self,
            starts=np.append(0, np.cumsum(np.diff(self.starts)[faces])).astype(self.starts.dtype),
            vertices=self.vertices[corners],
            corner_texture=self.corner_texture[corners],
            corner_normal=self.corner_normal[corners],
            groups=groups,
            smoothing=self.smoothing[faces],
            materials=self.materials[faces],
            objects=self.objects[faces],
        )

    @functools.cached_property
    def parts(self):
        """The names of the objects that have faces, "" for those of none: each with its faces, and with its part of
        what the groups have, as pairs of an index of the group and a face."""
        names = [text(name) for name in self.source.objects] + [""]
        face = np.concatenate([np.empty(0, np.int64), *self.groups.values()])
        group = np.repeat(np.arange(len(self.groups)), [len(members) for members in self.groups.values()])
        rows = dict(arrays.places_by_label(self.objects[face]))
        faces = arrays.places_by_label(self.objects)
        return {names[index]: (members, group[rows[index]], face[rows[index]]) for index, members in faces}

    def part(self, name):
        """The faces of one object, "" for those of none, with the vertices that they use, in the file's order.
        Raises ValueError for an unknown name."""
        if name not in self.parts:
            raise ValueError(f'the file has no faces of the object "{name}"')
        faces, group, face = self.parts[name]
        names = list(self.groups)
        members = arrays.places_by_label(group)
        chosen = self._with(faces, {names[index]: np.searchsorted(faces, face[rows]) for index, rows in members})
        used, chosen.vertices = np.unique(chosen.vertices, return_inverse=True)
        return dataclasses.replace(chosen, positions=self.positions[used], lines=self.lines[:0])

    def vertices_of(self, faces):
        """The vertices of `faces`, ascending."""
        return np.unique(self.vertices[arrays.corners_of(self.starts, faces)])


_kept = {}
_MOST_KEPT = 2


def read(path):
    """The `Document` at `path`; one that has not changed is not read again. Raises `ModuleMissing`, and what the
    module raises: OSError, ValueError."""
    path = os.path.abspath(path)
    state = os.stat(path)
    stamp = state.st_mtime_ns, state.st_size
    if path not in _kept or _kept[path][0] != stamp:
        while len(_kept) >= _MOST_KEPT:
            del _kept[next(iter(_kept))]
        _kept[path] = stamp, _convert(path, module.find().read(path))
    return _kept[path][1]


def _convert(path, found):
    """A document of the module as one of ours."""
    starts = found.line_starts
    # Each corner of a line leads to its next; the last of each leads nowhere.
    begins = np.setdiff1d(np.arange(len(found.line_vertices)), starts[1:] - 1)
    return Document(
        path=path,
        source=found,
        positions=found.positions,
        lines=np.stack([found.line_vertices[begins], found.line_vertices[begins + 1]], axis=1),
        starts=found.face_starts,
        vertices=found.face_vertices,
        corner_texture=found.face_texcoords,
        corner_normal=found.face_normals,
        groups=dict(found.groups),
        smoothing=found.face_smoothing,
        materials=found.face_material,
        objects=found.face_object,
    )
