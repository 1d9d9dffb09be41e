"""What the functions of ksmthgrp answer and raise."""

from typing import Dict, List, NamedTuple, Optional, Tuple

import numpy


class Error(Exception):
    """What goes wrong with a file. The base of all errors of this module's own."""

    path: Optional[str] = None
    """The file, or the name that was given for bytes; None where it is about no file."""
    line: Optional[int] = None
    """The line, from 1; None where it is about no single line."""


class FileError(Error, OSError):
    """A file cannot be read or written, or has changed since it was opened."""


class NotFoundError(FileError, FileNotFoundError):
    """A file is not there."""


class FormatError(Error, ValueError):
    """A file is not what it should be: no text, past a limit, damaged, or, where that was asked for, with
    something in it that had to be left out."""


class Border(NamedTuple):
    """Edges where something ends."""

    edges: numpy.ndarray
    """int32, shape (E, 2): two vertices each, the smaller first; ascending, each edge once."""
    corners: numpy.ndarray
    """int32, shape (C,): where these edges begin in the faces that see the border. Indices into
    `Document.face_vertices`, ascending; the edge goes on to the next corner of the same face."""


class Finding(NamedTuple):
    """Something that is doubted about a file."""

    code: str
    """Stable name of the kind, such as "relative-index"."""
    severity: str
    """"error" (data are missing), "warning" (some program reads it otherwise) or "note"."""
    host_only: bool
    """Of interest only to who brings the file into the host, which reads it otherwise."""
    line: Optional[int]
    """From 1; None when it is about the whole file."""
    column: Optional[int]
    """From 1, in bytes; None when it is about the whole line."""
    message: str
    """A sentence for people."""
    text: str
    """What stands there, or how many; may be empty."""

    def __str__(self) -> str:
        place = "".join(f"{number}: " for number in (self.line, self.column) if number is not None)
        text = f": {self.text!r}" if self.text else ""
        return f"{place}{self.severity}: {self.message}{text} [{self.code}]"


class Counts(NamedTuple):
    """What was written: lines of each kind, and bytes."""

    vertices: int
    texcoords: int
    normals: int
    faces: int
    lines: int
    points: int
    bytes: int


class Change(NamedTuple):
    """One kind of change that `fix` made, or that it could not make."""

    code: str
    """Stable name of the kind."""
    effect: str
    """"rewritten" (says the same otherwise), "left-out" or "unsaid" (stays, but the host will not know)."""
    message: str
    """A sentence for people."""
    total: int
    """Places in all."""
    places: Tuple[Tuple[Optional[int], str], ...]
    """Line, from 1, and text of the first of them."""


class MergeReport(NamedTuple):
    """How `merge` went."""

    counts: Counts
    documents: int
    """Documents that were put together from parts."""
    missing: int
    """Vertex lines, elements and statements of those that no part has."""
    differing: int
    """Vertex lines that are not alike in all parts; the first file's holds."""
    first_differing: str
    """Where the first of them stands, for people; empty for none."""
    welded: int
    """Vertex lines left out for others with the same words."""


class Membership(NamedTuple):
    """A group, smoothing group, material or object that is not alike in two documents."""

    division: str
    """"group", "smoothing", "material" or "object"."""
    name: str
    """The number of a smoothing group; empty for the elements without material or object."""
    present: Tuple[bool, bool]
    faces: Tuple[int, int]
    faces_only: Tuple[int, int]
    """Faces that it has in one document and not in the other."""


class Difference(NamedTuple):
    """How two documents differ."""

    same_topology: bool
    """As many vertices, and the same faces, lines and points in the same order."""
    topology: Optional[str]
    """Where they first differ, for people; None with the same topology."""
    topology_lines: Optional[Tuple[int, int]]
    """The lines that this is about, 0 where there is none."""
    memberships: Tuple[Membership, ...]
    faces_with_other_texcoords: int
    faces_with_other_normals: int
    moved: Optional[int]
    """Vertices at another place; None with another number of vertices."""
    greatest_move: float
    mean_move: float
    """Distances, of the vertices that moved."""
    greatest_vertex: int
    """The vertex that moved farthest, from 0."""


class Material(NamedTuple):
    """A material of a material library."""

    name: str
    library: str
    """The path of its library."""
    values: Dict[str, Tuple[float, ...]]
    """The numbers of its statements by keyword in lower case: "kd" has red, green and blue, "ns" and "d" one
    number each."""
    textures: Dict[str, str]
    """Paths of image files by keyword in lower case, such as "map_kd". They need not be there."""


class Layer(NamedTuple):
    """A layer of a Photoshop document."""

    name: str
    pixels: numpy.ndarray
    """uint8, shape (height, width, 4): red, green, blue, alpha. Empty for a layer without pixels."""
    left: int = 0
    top: int = 0
    """Where its pixels begin in the image."""
    opacity: int = 255
    visible: bool = True
    blend: str = "norm"
    """The format's four-letter key: "norm", "mul ", "hLit" and so on."""


class Image(NamedTuple):
    """A Photoshop document."""

    pixels: numpy.ndarray
    """uint8, shape (height, width, channels): the merged image. 1 channel is grey, 2 grey and alpha, 3 red,
    green and blue, 4 with alpha."""
    layers: List[Layer]
    """The lowest first; empty for a flat document."""
