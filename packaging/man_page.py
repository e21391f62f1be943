#!/usr/bin/python3
"""Makes a manual page of what a program prints for --help: man_page.py BUILD VERSION MORE PAGE PROGRAM...

PROGRAM is the command that runs it; the help of each of its own commands is a part of the page.
BUILD is a folder in the layout of /usr. The page has /usr in the place of its name. MORE is a file with
further sections.
"""

import os
import re
import subprocess
import sys


def to_roff(text):
    text = text.replace("\\", r"\e").replace("-", r"\-")
    return re.sub(r"^(?=[.'])", r"\\&", text, flags=re.MULTILINE)


def read_help(program, *command):
    """What the help says about the command, its usage, and the other paragraphs."""
    text = subprocess.run([*program, *command, "--help"], check=True, text=True, stdout=subprocess.PIPE).stdout
    head, *paragraphs = text.replace(program[-1], os.path.basename(program[-1])).strip().split("\n\n")
    meaning, usage = head.split("\nUsage: ")
    return meaning.rstrip("."), usage, paragraphs


def find_entries(lines):
    """Options or commands, each with its meaning, which stands on the next line if the name is long."""
    for name, meaning in re.findall(r"^  (\S.*?)(?:\n? {3,}(\S.*))?$", lines, re.MULTILINE):
        yield from (".TP", rf"\fB{to_roff(name)}\fR", to_roff(meaning))


def to_section(paragraph):
    title, _, lines = paragraph.partition(":\n")
    if not lines:
        yield from (".PP", to_roff(paragraph))
        return
    yield f".SS {title}"
    yield from ((".nf", to_roff(lines), ".fi") if title.startswith("Example") else find_entries(lines))


def to_page(program, version):
    name = os.path.basename(program[-1])
    meaning, usage, paragraphs = read_help(program)
    commands = [command for paragraph in paragraphs if paragraph.startswith("Subcommands:")
                for command in re.findall(r"^  (\S+)", paragraph, re.MULTILINE)]
    helps = {command: read_help(program, command) for command in commands}
    yield f'.TH {name.upper()} 1 "" "Guest Services {version}" "User Commands"'
    yield from (".SH NAME", to_roff(name) + r" \- " + to_roff(meaning[0].lower() + meaning[1:]), ".SH SYNOPSIS")
    yield "\n.br\n".join(to_roff(text[1]) for text in helps.values() or [(meaning, usage)])
    yield from (".SH DESCRIPTION", to_roff(meaning) + ".")
    for paragraph in paragraphs:
        yield from to_section(paragraph)
    for command, (meaning, _, paragraphs) in helps.items():
        yield from (f".SH THE COMMAND {command.upper()}", to_roff(meaning) + ".")
        for paragraph in paragraphs:
            yield from to_section(paragraph)


def main():
    build, version, more, page, *program = sys.argv[1:]
    with open(more, encoding="utf-8") as file:
        text = "\n".join(to_page(program, version)) + "\n" + file.read()
    with open(page, "w", encoding="utf-8") as file:
        file.write(text.replace(to_roff(build), "/usr"))


main()
