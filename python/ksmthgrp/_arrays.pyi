from typing import Mapping, Optional, Sequence

from numpy.typing import ArrayLike

from . import Document, _Path, _Target
from ._types import Counts

def write_arrays(
    target: _Target,
    positions: ArrayLike,
    face_vertices: Optional[ArrayLike] = None,
    face_starts: Optional[ArrayLike] = None,
    *,
    texcoords: Optional[ArrayLike] = None,
    face_texcoords: Optional[ArrayLike] = None,
    normals: Optional[ArrayLike] = None,
    face_normals: Optional[ArrayLike] = None,
    colors: Optional[ArrayLike] = None,
    lines: Optional[ArrayLike] = None,
    groups: Optional[Mapping[str, ArrayLike]] = None,
    smoothing: Optional[ArrayLike] = None,
    materials: Optional[Sequence[str]] = None,
    face_material: Optional[ArrayLike] = None,
    objects: Optional[Sequence[str]] = None,
    face_object: Optional[ArrayLike] = None,
    libraries: Optional[Sequence[str]] = None,
    comments: Optional[Sequence[str]] = None,
) -> Counts: ...
def from_arrays(
    positions: ArrayLike,
    face_vertices: Optional[ArrayLike] = None,
    face_starts: Optional[ArrayLike] = None,
    *,
    texcoords: Optional[ArrayLike] = None,
    face_texcoords: Optional[ArrayLike] = None,
    normals: Optional[ArrayLike] = None,
    face_normals: Optional[ArrayLike] = None,
    colors: Optional[ArrayLike] = None,
    lines: Optional[ArrayLike] = None,
    groups: Optional[Mapping[str, ArrayLike]] = None,
    smoothing: Optional[ArrayLike] = None,
    materials: Optional[Sequence[str]] = None,
    face_material: Optional[ArrayLike] = None,
    objects: Optional[Sequence[str]] = None,
    face_object: Optional[ArrayLike] = None,
    libraries: Optional[Sequence[str]] = None,
    comments: Optional[Sequence[str]] = None,
    name: _Path = "arrays",
) -> Document: ...
