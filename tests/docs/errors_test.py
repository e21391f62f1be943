#!/usr/bin/python3
"""Holds docs/troubleshooting.md against the sources: errors_test.py PROJECT

The page quotes each text in the first cells of its tables, with <names> for what varies.
- What does not vary in a quoted text stands in a string of the sources.
- Each text that the host throws, prints or sends as an error is quoted, but for refused steps and
  for wrong calls of the classes (logic_error, out_of_range): the page has the steps by family.
"""

import pathlib
import re
import sys

STRING = r'"(?:\\.|[^"\\\n])*"'
# A statement that makes an error text, up to its end.
ERROR = re.compile(
    r"(?:\bthrow\s+(?!StepError|std::(?:logic_error|out_of_range))|\bThrowFileError\(|\bCheck\(|\bfail\(|\bRefus(?:e\(|al\{)"
    r"|otice_?\(|WriteHostError\(|\bReport\(|std::cerr|fputs\()(?:" + STRING + r"|'(?:\\.|[^'\\])'|[^;\"'])*;")
# What could not be done, and to what if that is no file.
STEP = re.compile(r'(?:ThrowFileError\(|\bCheck\([^;]*?, )"([^"]+)", (?:"([^"]+)")?')
CONSTANT = re.compile(r"\b(k[A-Z]\w*)\b")
WORDS = re.compile(r"[A-Za-z]{2}.*[A-Za-z]")


def join(code):
    """Makes one string of those that follow each other, and leaves out comments."""
    code = re.sub(r"^\s*//.*$", "", code, flags=re.M)
    return re.sub(r'(?<!\\)"\s*\n\s*"', "", code)


def unescape(literal):
    return re.sub(r"\\(.)", r"\1", literal[1:-1].replace("\\n", ""))


def strings(code):
    return [unescape(literal) for literal in re.findall(STRING, code)]


def find_error_texts(code):
    """The strings of all statements that make an error text, and of the constants in them."""
    for statement in (match[0] for match in ERROR.finditer(code)):
        if steps := STEP.findall(statement):
            yield from (f"cannot {step} {what or '<'}" for step, what in steps)
            continue
        yield from strings(statement)
        for name in CONSTANT.findall(statement):
            for value in re.findall(rf"\b{name} =((?:{STRING}|[^;\"])*);", code):
                yield from strings(value)


def read_quotes(page):
    """The quoted texts of the first cells."""
    rows = [row for row in page.splitlines() if row.startswith("| `")]
    return [quote for row in rows for quote in re.findall(r"`([^`]+)`", row.split(" | ")[0])]


def remove_known(part, sources):
    """What is left of a part without what stands in the sources, in one string or in several."""
    if any(part in source for source in sources):
        return ""
    known = {text for source in sources for text in strings(source) if len(text) > 3}
    for text in sorted(known, key=len, reverse=True):
        part = part.replace(text, "")
    return part


def main(root):
    quotes = read_quotes((root / "docs/troubleshooting.md").read_text(encoding="utf-8"))
    faults, sources = [], []
    for pattern in ("host/**/*.cpp", "platform/**/*.cpp", "host/page/*.js", "scripts/*", "cmake/*"):
        for path in sorted(root.glob(pattern)):
            code = join(path.read_text(encoding="utf-8"))
            sources += [code, *strings(code)]
            if path.suffix != ".cpp":
                continue
            for text in find_error_texts(code):
                if WORDS.search(text) and not any(text.strip() in quote for quote in quotes):
                    faults.append(f"{path.relative_to(root)}: docs/troubleshooting.md has no entry for: {text}")
    for quote in quotes:
        for part in re.split(r"<[^>]*>", quote):
            if WORDS.search(remove_known(part, sources)):
                faults.append(f"docs/troubleshooting.md: no source has: {part}")
    return faults


if found := main(pathlib.Path(sys.argv[1])):
    sys.exit("\n".join(found))
