"""What the functions of ksmthgrp answer and raise."""

from typing import Dict, List, NamedTuple, Optional, Tuple

import numpy
from numpy.typing import NDArray


class Error(Exception):
    """What goes wrong with a file. The base of all errors of this module's own.

    path  The file, or the name that was given for bytes; None where it is about no file.
    line  The line, from 1; None where it is about no single line.
    """

    path: Optional[str] = None
    line: Optional[int] = None


class FileError(Error, OSError):
    """A file cannot be read or written, or has changed since it was opened."""


class NotFoundError(FileError, FileNotFoundError):
    """A file is not there."""


class FormatError(Error, ValueError):
    """A file is not what it should be: no text, past a limit, damaged, or, where that was asked for, with
    something in it that had to be left out."""


class Border(NamedTuple):
    """Edges where something ends.

    edges    int32, shape (E, 2): two vertices each, the smaller first; ascending, each edge once.
    corners  int32, shape (C,): where these edges begin in the faces that see the border. Indices into
             `Document.face_vertices`, ascending; the edge goes on to the next corner of the same face.
    """

    edges: NDArray[numpy.int32]
    corners: NDArray[numpy.int32]


class Finding(NamedTuple):
    """Something that is doubted about a file.

    code       Stable name of the kind, such as "relative-index".
    severity   "error" (data are missing), "warning" (some program reads it otherwise) or "note".
    host_only  Of interest only to who brings the file into the host, which reads it otherwise.
    line       From 1; None when it is about the whole file.
    column     From 1, in bytes; None when it is about the whole line.
    message    A sentence for people.
    text       What stands there, or how many; may be empty.
    """

    code: str
    severity: str
    host_only: bool
    line: Optional[int]
    column: Optional[int]
    message: str
    text: str

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
    """One kind of change that `fix` made, or that it could not make.

    code     Stable name of the kind.
    effect   "rewritten" (says the same otherwise), "left-out" or "unsaid" (stays, but the host will not
             know).
    message  A sentence for people.
    total    Places in all.
    places   Line, from 1, and text of the first of them.
    """

    code: str
    effect: str
    message: str
    total: int
    places: Tuple[Tuple[Optional[int], str], ...]


class MergeReport(NamedTuple):
    """How `merge` went.

    counts           What was written.
    documents        Documents that were put together from parts.
    missing          Vertex lines, elements and statements of those that no part has.
    differing        Vertex lines that are not alike in all parts; the first file's holds.
    first_differing  Where the first of them stands, for people; empty for none.
    welded           Vertex lines left out for others with the same words.
    """

    counts: Counts
    documents: int
    missing: int
    differing: int
    first_differing: str
    welded: int


class Membership(NamedTuple):
    """A group, smoothing group, material or object that is not alike in two documents.

    division    "group", "smoothing", "material" or "object".
    name        The number of a smoothing group; empty for the elements without material or object.
    present     Whether the first document has it, and the second.
    faces       How many faces it has in each.
    faces_only  Faces that it has in one document and not in the other.
    """

    division: str
    name: str
    present: Tuple[bool, bool]
    faces: Tuple[int, int]
    faces_only: Tuple[int, int]


class Difference(NamedTuple):
    """How two documents differ.

    same_topology    As many vertices, and the same faces, lines and points in the same order.
    topology         Where they first differ, for people; None with the same topology.
    topology_lines   The lines that this is about, 0 where there is none.
    memberships      What is not alike in both.
    faces_with_other_texcoords, faces_with_other_normals
                     Faces with other indices of them; 0 with another topology.
    moved            Vertices at another place; None with another number of vertices.
    greatest_move, mean_move
                     Distances, of the vertices that moved.
    greatest_vertex  The vertex that moved farthest, from 0.
    """

    same_topology: bool
    topology: Optional[str]
    topology_lines: Optional[Tuple[int, int]]
    memberships: Tuple[Membership, ...]
    faces_with_other_texcoords: int
    faces_with_other_normals: int
    moved: Optional[int]
    greatest_move: float
    mean_move: float
    greatest_vertex: int


class Material(NamedTuple):
    """A material of a material library.

    name      As the library and "usemtl" lines have it.
    library   The path of its library.
    values    The numbers of its statements by keyword in lower case: "kd" has red, green and blue, "ns" and
              "d" one number each.
    textures  Paths of image files by keyword in lower case, such as "map_kd". They need not be there.
    """

    name: str
    library: str
    values: Dict[str, Tuple[float, ...]]
    textures: Dict[str, str]


class Layer(NamedTuple):
    """A layer of a Photoshop document.

    name       Up to 255 bytes of UTF-8. Programs that go by the format's old rule show others than ASCII otherwise.
    pixels     uint8, shape (height, width, 4): red, green, blue, alpha. Empty for a layer without pixels.
    left, top  Where its pixels begin in the image.
    opacity    0 to 255.
    visible    Whether programs show it.
    blend      The format's four-letter key: "norm", "mul ", "hLit" and so on.
    """

    name: str
    pixels: NDArray[numpy.uint8]
    left: int = 0
    top: int = 0
    opacity: int = 255
    visible: bool = True
    blend: str = "norm"


class Image(NamedTuple):
    """A Photoshop document.

    pixels  uint8, shape (height, width, channels): the merged image. 1 channel is grey, 2 grey and alpha, 3
            red, green and blue, 4 with alpha.
    layers  The lowest first; empty for a flat document.
    """

    pixels: NDArray[numpy.uint8]
    layers: List[Layer]
