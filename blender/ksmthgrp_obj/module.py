"""Where the Python module `ksmthgrp` is found: this Blender's Python rarely looks where it was installed."""

import importlib
import os
import sys

NAME = "ksmthgrp"


class ModuleMissing(Exception):
    """The module is nowhere, or is for another Python; the text says where it was looked for."""


def _preferred():
    """The folder that the add-on's preferences name, if any."""
    import bpy

    addon = bpy.context.preferences.addons.get(__package__)
    folder = addon.preferences.module_folder if addon and addon.preferences else ""
    return [bpy.path.abspath(folder)] if folder else []


def _around():
    """Folders beside the add-on, in the prefix it is installed in and in the source tree it belongs to."""
    here = os.path.dirname(os.path.realpath(__file__))
    yield here
    yield os.path.join(here, "lib")
    version = f"python{sys.version_info.major}.{sys.version_info.minor}"
    folder = here
    while (above := os.path.dirname(folder)) != folder:
        folder = above
        yield os.path.join(folder, "build", "python")
        for lib in ("lib", "lib64"):
            for python in ("python3", version):
                for packages in ("dist-packages", "site-packages"):
                    yield os.path.join(folder, lib, python, packages)


def _import_from(folder):
    sys.path.insert(0, folder)
    try:
        return importlib.import_module(NAME)
    finally:
        sys.path.remove(folder)


def find():
    """The module `ksmthgrp`: from the folder of the preferences, from where Python looks anyway, or from the folders
    around the add-on. Raises `ModuleMissing`."""
    if NAME in sys.modules:
        return sys.modules[NAME]
    importlib.invalidate_caches()
    failures = []
    for folder in [*_preferred(), None, *_around()]:
        # Only where something of that name is: the import system would keep every folder tried in mind.
        if folder is not None and not any(entry.split(".")[0] == NAME for entry in _listing(folder)):
            continue
        try:
            return importlib.import_module(NAME) if folder is None else _import_from(folder)
        except ImportError as error:
            if folder is not None or error.name != NAME:
                failures.append(f"{folder or 'on the path'}: {error}")
    python = f"{sys.version_info.major}.{sys.version_info.minor}"
    raise ModuleMissing(
        f'The Python module "{NAME}" for Python {python} was not found: '
        + ("; ".join(failures) or "it is not on this Python's path, beside the add-on or in its prefix")
        + ". Name its folder in the add-on's preferences."
    )


def _listing(folder):
    try:
        return os.listdir(folder)
    except OSError:
        return []
