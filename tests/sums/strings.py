"""Paths and strings."""
import itertools

from exact import Checksum

DELIMITERS = ",/:\\"


def every_text(letters, length):
    """Every text of at most `length` of these letters, short ones first."""
    return ["".join(text) for n in range(length + 1) for text in itertools.product(letters, repeat=n)]


def components(path, wanted):
    """Whether all wanted parts (bits: folder, name, extension) are there, and what they are put together."""
    start, end, extension = 0, len(path), ""
    if path[-4:-3] == "." and path[-1] not in DELIMITERS:
        end -= 4
        extension = "." + "".join(itertools.takewhile(str.isalnum, path[-3:]))
    if path[1:2] == ":":
        start = max(path.rfind(c, 0, end) for c in DELIMITERS) + 1
    parts = [part for bit, part in enumerate((path[:start], path[start:end], extension)) if wanted >> bit & 1]
    out = "".join(parts)
    drive = 2 if out[1:2] == ":" else 0
    return all(parts), out[:drive] + out[drive:].replace("\\", "/").replace(":", "/")


def compare(pattern, text, loose, skip_digits):
    """The place in the text behind the match, or -1."""
    if not loose:
        return len(pattern) if text.startswith(pattern) else -1
    blank = {c for c in pattern + text if not "!" <= c < "\x80"}
    digit = {c for c in pattern + text if skip_digits and c.isdigit()}
    i = j = 0
    while i < len(pattern) and j < len(text):
        a, b = pattern[i], text[j]
        in_pattern = a in blank or (a in digit and b not in blank)
        if a != b and not in_pattern and b not in blank | digit:
            return -1
        i, j = i + (a == b or in_pattern), j + (a == b or not in_pattern)
    return j if blank | digit >= set(pattern[i:]) else -1


def sums():
    paths, matches, numbers = Checksum(), Checksum(), Checksum()
    for path, wanted in itertools.product(every_text("a.:/-", 6), range(8)):
        paths.add(components(path, wanted))
    texts = every_text("A1! \xE9", 3)
    for pattern, text, mode in itertools.product(texts, texts, range(4)):
        matches.add(compare(pattern, text, mode & 1, mode & 2))
    for value, width in itertools.product((0, 7, -5, 1234, -1234, 2**31 - 1, -2**31), range(-1, 14)):
        numbers.add("-" if value < 0 and width == 1 else str(value).rjust(width, "0"))
    return {"Files.PathsComeApart": {"all": paths.sum},
            "Strings.CompareMatchesPatternAgainstText": {"all": matches.sum},
            "Strings.LongToStringPadsInFrontOfTheSign": {"all": numbers.sum}}
