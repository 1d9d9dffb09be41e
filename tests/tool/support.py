"""What the tests of the tool share. The first argument of each of them is the tool."""

import os
import subprocess
import sys
import tempfile
import unittest

TOOL = os.path.abspath(sys.argv[1])


class ToolCase(unittest.TestCase):
    """Runs the tool in an empty folder, where all names without a folder are."""

    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, content):
        with open(self.path(name), "wb") as file:
            file.write(content if isinstance(content, bytes) else content.encode())
        return name

    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def run_tool(self, *arguments, stdout=subprocess.PIPE, **options):
        return subprocess.run([TOOL, *arguments], stdout=stdout, stderr=subprocess.PIPE, timeout=60, cwd=self.folder,
                              check=False, **options)

    def start(self, *arguments):
        return subprocess.Popen([TOOL, *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE, cwd=self.folder)

    def succeed(self, *arguments, notes=(), doubts=False, **options):
        """Answers what the tool printed; on standard error there have to be the notes and nothing else. Lines on
        what reading doubted are wanted only with `doubts`."""
        result = self.run_tool(*([] if doubts else ["--quiet"]), *arguments, **options)
        told = "".join(f"smthgrp: note: {note}\n" for note in notes)
        self.assertEqual((result.returncode, result.stderr.decode()), (0, told), arguments)
        return (result.stdout or b"").decode()

    def refuse(self, status, message, *arguments, **options):
        """The tool has to fail with this status and this line."""
        result = self.run_tool("--quiet", *arguments, **options)
        self.assertEqual((result.returncode, result.stderr.decode()), (status, f"smthgrp: {message}\n"), arguments)
