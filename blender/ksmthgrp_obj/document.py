"""An OBJ file as arrays, read by the module `ksmthgrp`. What the add-on takes from the module is all here."""

import dataclasses
import os

import numpy as np

from . import arrays, module


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
        corners = arrays.corners_of(self.starts, faces)
        new_face = np.full(self.face_count, -1)
        new_face[faces] = np.arange(len(faces))
        groups = {name: new_face[old][new_face[old] >= 0] for name, old in self.groups.items()}
        return dataclasses.replace(
            self,
            starts=np.append(0, np.cumsum(np.diff(self.starts)[faces])).astype(self.starts.dtype),
            vertices=self.vertices[corners],
            corner_texture=self.corner_texture[corners],
            corner_normal=self.corner_normal[corners],
            groups={name: members for name, members in groups.items() if len(members)},
            smoothing=self.smoothing[faces],
            materials=self.materials[faces],
            objects=self.objects[faces],
        )

    def part(self, name):
        """The faces of one object, "" for those of none, with the vertices that they use, in the file's order.
        Raises ValueError for an unknown name."""
        index = list(self.source.objects).index(name) if name else -1
        chosen = self.with_faces(np.flatnonzero(self.objects == index))
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
