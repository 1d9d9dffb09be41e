from typing import Iterable, Tuple, Union

from numpy.typing import ArrayLike

from . import _Source, _Target
from ._types import Image as Image, Layer as Layer

def read(source: _Source) -> Image: ...
def write(
    target: _Target, pixels: ArrayLike, layers: Iterable[Union[Layer, Tuple[object, ...]]] = ()
) -> None: ...
