"""What the operators share."""

import contextlib

import bpy

from .document import text
from .marks import Mismatch
from .module import ModuleMissing

# What a file or a mesh that does not fit leads to; anything else is a fault of the add-on and shows as one.
EXPECTED = (ModuleMissing, Mismatch, OSError, ValueError)
_MOST_NOTES = 20


def guarded(execute):
    """Makes a plain message of the errors that are to be expected."""

    def wrapper(self, context):
        try:
            return execute(self, context)
        except EXPECTED as error:
            self.report({"ERROR"}, text(str(error)))
            return {"CANCELLED"}

    return wrapper


def tell(operator, notes):
    """Reports notes as warnings."""
    for note in notes[:_MOST_NOTES]:
        operator.report({"WARNING"}, text(note))
    if len(notes) > _MOST_NOTES:
        operator.report({"WARNING"}, f"and {len(notes) - _MOST_NOTES} more")


@contextlib.contextmanager
def object_mode(obj):
    """Leaves whatever mode the active object is in, and comes back."""
    mode = obj.mode
    if mode != "OBJECT":
        bpy.ops.object.mode_set(mode="OBJECT")
    try:
        yield
    finally:
        if mode != "OBJECT":
            bpy.ops.object.mode_set(mode=mode)
