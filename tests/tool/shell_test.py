"""Completion in a real bash, and the pages of the manual: shell_test.py SMTHGRP EXAMPLES-FOLDER"""

import os
import re
import subprocess
import sys
import unittest

from support import TOOL, ToolCase

EXAMPLES = os.path.abspath(sys.argv[2])
SCRIPT = os.path.join(EXAMPLES, "..", "tools", "smthgrp.bash")
# The words as readline takes them apart; a word ends where one of its COMP_WORDBREAKS stands.
COMPLETE = r"""
. /usr/share/bash-completion/bash_completion
. "$1"
tool=$2
shift 2
COMP_WORDS=("$tool" "$@") COMP_CWORD=$# COMP_LINE="smthgrp $LINE" COMP_TYPE=9 COMP_KEY=9
COMP_POINT=${#COMP_LINE}
_smthgrp "$tool" 2>/dev/null
printf '%s\n' "${COMPREPLY[@]}"
"""


class ShellTest(ToolCase):
    def complete(self, line):
        words = re.findall(r"""[^\s=:"']+\\ [^\s=:]+|"[^"]*"?|'[^']*'?|[=:]|[^\s=:]+""", line)
        if line.endswith(" "):
            words.append("")
        result = subprocess.run(["bash", "--norc", "-c", COMPLETE, "bash", SCRIPT, TOOL, *words], cwd=self.folder, timeout=60,
                                env={**os.environ, "LINE": line, "HOME": self.folder}, stdout=subprocess.PIPE, check=False)
        return [word for word in result.stdout.decode().split("\n") if word]

    def test_completion(self):
        model = "v 0 0 0\nv 1 0 0\nv 0 1 0\no a chair\nusemtl red\ng head hands ns:tail\ns 7\nf 1 2 3\n"
        self.write("one.obj", model)
        self.write("a b.obj", model)
        self.write("picture.psd", "")
        self.write("notes.txt", "")
        os.mkdir(self.path("parts"))
        groups = ["hands", "head"]
        for line, wanted in {"ex": ["export"], "psd f": ["flatten"], "--qu": ["--quiet"], "nope --k": [],
                             "split --ke": ["--keep-order"], "lint --kin": [], "split x --lib": ["--library"],
                             "split --by ": ["group", "material", "object", "smoothing"], "lint --severity=w": ["warning"],
                             "info o": ["one.obj"], "psd info ": ["parts", "picture.psd"], "split one.obj -o ": ["parts"],
                             "call --script n": ["notes.txt"], "call GetF": ["GetFile"], "lint --max ": [],
                             "export one.obj -g h": groups, "export one.obj --group=h": groups, "mesh ~/one.obj --crease h": groups,
                             "export 'a b.obj' -g h": groups,
                             "export a\\ b.obj -g h": groups, "export one.obj -g ns:t": ["tail"], "export -g h": [],
                             "export one.obj --object ": ["a\\ chair"], "export one.obj --material ": ["red"],
                             "mesh one.obj --mask-smoothing ": ["7"]}.items():
            self.assertEqual(sorted(self.complete(line)), wanted, line)

    def test_manual(self):
        self.succeed("--manual", self.folder, doubts=True)
        pages = {name: self.read(name).decode() for name in os.listdir(self.folder)}
        self.assertEqual(len(pages), 15)
        for name, page in pages.items():
            command = name[:-2].split("-")[1:]
            # Every word of the help is on the page, but for its headings.
            plain = page.replace("\\fB", "").replace("\\fR", "").replace("\\(aq", "'").replace("\\-", "-").replace("\\e", "\\")
            plain = plain.replace("smthgrp-psd-", "").replace("smthgrp-", "")
            for word in self.succeed(*command, "--help").split():
                if word not in {"Usage:", "Options:", "Positionals:", "Subcommands:", "Example:", "Examples:", "Calls:", "Exit", "status:"}:
                    self.assertIn(word, plain, name)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
