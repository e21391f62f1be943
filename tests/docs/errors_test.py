#!/usr/bin/python3
"""Holds docs/troubleshooting.md against the sources: errors_test.py PROJECT

The first cells of the page's tables quote texts, with <names> for what varies. The rest of each stands
in the strings of the sources. Each text that the host or the bridge throws, prints or sends as an error is quoted,
but for refused steps, which the page has by family, and wrong calls of the classes (logic_error). So is each with which
a script fails, but for wrong arguments.
"""

import pathlib
import re
import sys

PAGE = "docs/troubleshooting.md"
STRING = r'"(?:\\.|[^"\\\n])*"'
# A statement that makes an error text, up to its end.
ERROR = re.compile(
    r"(?:\bthrow\s+(?!StepError|std::(?:logic_error|out_of_range))|\bThrowFileError\(|\bCheck\(|\bfail\(|\bRefus(?:e\(|al\{)"
    r"|otice_?\(|Warn\(|LogRecord\{|WriteHostError\(|\bReport\(|std::cerr|fputs\()(?:" + STRING + r"|'(?:\\.|[^'\\])'|[^;\"'])*;")
# What could not be done, and to what if that is no file.
STEP = re.compile(r'(?:ThrowFileError\(|\bCheck\([^;]*?, )"([^"]+)", (?:"([^"]+)")?')
WORDS = re.compile(r"[A-Za-z]{2}.*[A-Za-z]")


def read(path):
    """A source without comments, in which strings that follow each other are one."""
    code = re.sub(r"^\s*//.*$", "", path.read_text(encoding="utf-8"), flags=re.M)
    return re.sub(r'(?<!\\)"\s*\n\s*"', "", code)


def strings(code):
    return [re.sub(r"\\(.)", r"\1", text[1:-1].replace("\\n", "")) for text in re.findall(STRING, code)]


def find_error_texts(code):
    """The strings of all statements that make an error text, and of the constants in them."""
    for statement in (match[0] for match in ERROR.finditer(code)):
        if steps := STEP.findall(statement):
            yield from (f"cannot {step} {what or '<'}" for step, what in steps)
            continue
        yield from strings(statement)
        for name in re.findall(r"\bk[A-Z]\w*\b", statement):
            for value in re.findall(rf"\b{name} =((?:{STRING}|[^;\"])*);", code):
                yield from strings(value)


def find_script_errors(code):
    """The texts of a script's errors, without what varies."""
    for text in re.findall(r'^(?!\s*#).*\bfail "((?:\\.|[^"\\])*)', code, re.M):
        yield from re.split(r"\$(?:\{[^}]*\}|\w+|\*|\(.*)", text.replace(r"\"", '"'))


def remove_known(part, sources, known):
    """What is left of a part without what stands in the sources, in one string or in several."""
    if any(part in text for text in (*sources.values(), *known)):
        return ""
    for text in known:
        part = part.replace(text, "")
    return part


def find_faults(root):
    rows = [row for row in (root / PAGE).read_text(encoding="utf-8").splitlines() if row.startswith("| `")]
    quotes = [quote for row in rows for quote in re.findall(r"`([^`]+)`", row.split(" | ")[0])]
    sources = {path: read(path) for pattern in ("bridge/**/*.cpp", "host/**/*.cpp", "platform/**/*.cpp", "host/page/*.js", "scripts/*", "cmake/*")
               for path in root.glob(pattern)}
    known = sorted({text for code in sources.values() for text in strings(code) if len(text) > 3}, key=len, reverse=True)
    for path, code in sources.items():
        find = find_script_errors if path.parent.name == "scripts" else find_error_texts
        for text in find(code) if path.suffix not in (".js", ".cmake") else ():
            if WORDS.search(text) and not any(text.strip() in quote for quote in quotes):
                yield f"{path}: {PAGE} has no entry for: {text}"
    for part in (part for quote in quotes for part in re.split(r"<[^>]*>", quote)):
        if WORDS.search(remove_known(part, sources, known)):
            yield f"{PAGE}: no source has: {part}"


if faults := sorted(find_faults(pathlib.Path(sys.argv[1]))):
    sys.exit("\n".join(faults))
