"""Wavefront OBJ files with what other readers lose: overlapping groups, smoothing groups, exact digits.

    import ksmthgrp

    robot = ksmthgrp.read("robot.obj")
    robot.positions                        # float64, shape (N, 3)
    robot.face_starts, robot.face_vertices # the faces, of any number of corners
    robot.groups["head"]                   # int32, the faces of "g head"
    robot.mask("head")                     # uint8, 255 for the vertices of the group
    robot.border("head").edges             # int32, shape (E, 2): where the group ends
    robot.creases().edges                  # where smoothing groups meet
    robot.write("head.obj", groups="head") # that group alone, every digit as it was

Indices count from 0, for vertices, faces and corners alike; -1 stands for none. Lengths are in the file's units.
Arrays are read-only views of the document's tables where that is possible and keep alive what they look at.

Names of groups, materials and objects are str; bytes of a file that are no UTF-8 become lone surrogates
("surrogateescape"), and the same bytes again when they are written.

What goes wrong with a file raises Error or one of its kinds: FileError (an OSError), of it NotFoundError (a
FileNotFoundError), and FormatError (a ValueError). `path` and `line` tell where. Unknown names raise KeyError,
arguments that make no sense ValueError, TypeError or IndexError, want of memory MemoryError. Reading and writing
run without the interpreter's lock, and Ctrl-C stops them.

ksmthgrp.psd reads and writes Photoshop documents. ksmthgrp.__version__ is the library's version.
"""

from . import psd
from ._arrays import from_arrays, write_arrays
from ._ksmthgrp import Document, __version__, diff, merge, read, set_threads, written_names
from ._types import (Border, Change, Counts, Difference, Error, FileError, Finding, FormatError, Material,
                     Membership, MergeReport, NotFoundError)

__all__ = [
    "Border", "Change", "Counts", "Difference", "Document", "Error", "FileError", "Finding", "FormatError",
    "Material", "Membership", "MergeReport", "NotFoundError", "diff", "from_arrays", "merge", "psd", "read",
    "set_threads", "write_arrays", "written_names",
]

for _name in __all__:
    _thing = globals()[_name]
    if isinstance(_thing, type):
        _thing.__module__ = __name__
del _name, _thing
