"""Photoshop documents (PSD) as numpy arrays.

    from ksmthgrp import psd

    image = psd.read("shading.psd")
    image.pixels                    # uint8, shape (height, width, channels): the merged image
    image.layers[0].name, image.layers[0].pixels
    psd.write("out.psd", image.pixels, [("Background", image.pixels), psd.Layer("Ink", ink, left=10, top=20)])
"""

from ._ksmthgrp import psd_read as read
from ._ksmthgrp import psd_write as write
from ._types import Image, Layer

__all__ = ["Image", "Layer", "read", "write"]

for _thing in (Image, Layer):
    _thing.__module__ = __name__
del _thing
