#!/usr/bin/env python3
"""Prints the sums that the tests of src/geometry and src/system expect, computed anew by the headers' rules, and fails
where a test has another one."""
import pathlib
import re
import sys

import colours
import points
import rectangles
import strings

TESTS = pathlib.Path(__file__).resolve().parents[1]
TEST = re.compile(r"^TEST(?:_F)?\((\w+), (\w+)\)(.*?)^\}", re.DOTALL | re.MULTILINE)
# The sums of a table stand under the row's name, others under the variable's.
ROW = re.compile(r'(?:\{"([^"]+)",\s+\[\].*?\b|EXPECT_EQ\((\w+)\.sum, )(0x[0-9A-F]{8})[U})]', re.DOTALL)

computed = {(test, row, f"0x{value:08X}") for subject in (colours, points, rectangles, strings)
            for test, rows in subject.sums().items() for row, value in rows.items()}
held = {(f"{suite}.{test}", row or variable, constant)
        for path in (*TESTS.glob("geometry/*.cpp"), *TESTS.glob("system/*.cpp"))
        for suite, test, body in TEST.findall(path.read_text()) for row, variable, constant in ROW.findall(body)}
for line in sorted(computed | held):
    print(*line, *([] if line in held else ["DOES NOT STAND IN THE TEST"]),
          *([] if line in computed else ["STANDS IN THE TEST ALONE"]))
sys.exit(computed != held)
