#!/usr/bin/python3
"""Compares the completions of bash with what the programs print for --help:
completion_test.py COMPLETIONS PROGRAM...

COMPLETIONS is the folder of the files PROGRAM.bash.
"""

import os
import re
import subprocess
import sys

COMPLETIONS, PROGRAMS = sys.argv[1], sys.argv[2:]


def complete(name, *words):
    """What bash offers for the last word."""
    script = """
        source "$1"; COMP_WORDS=("${@:2}"); COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
        name=_${2//-/_}
        compopt() { :; }
        $name "$2" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
        printf '%s\\n' "${COMPREPLY[@]}" """
    path = os.path.join(COMPLETIONS, name + ".bash")
    done = subprocess.run(["bash", "-euc", script, "bash", path, name, *words], check=True, text=True,
                          stdout=subprocess.PIPE)
    return set(done.stdout.split())


def read_help(program, *command):
    """The long options, those of them that take a value, and the commands."""
    text = subprocess.run([program, *command, "--help"], check=True, text=True, stdout=subprocess.PIPE).stdout
    options = {name: bool(value.strip()) for name, value in
               re.findall(r"^  (?:-\w,)?(--[\w-]+)((?: [^ \n]+)*)(?=  |\n|$)", text, re.M)}
    part = re.search(r"^Subcommands:\n((?:  .*\n)*)", text, re.M)
    return options, re.findall(r"^  (\w\S*)", part[1], re.M) if part else []


def main():
    faults = 0
    for program in PROGRAMS:
        name = os.path.basename(program)
        options, commands = read_help(program)
        places = [[command] for command in commands] or [[]]
        if commands and complete(name, "") != set(options) | set(commands):
            faults += 1
            print(f"{name}: offers {complete(name, '')}, not {set(options) | set(commands)}")
        for place in places:
            options, _ = read_help(program, *place)
            offered = {word for word in complete(name, *place, "--") if word.startswith("--")}
            if offered != set(options):
                faults += 1
                print(f"{name} {place}: offers {sorted(offered ^ set(options))} unlike --help")
            for option, takes_value in options.items():
                after = complete(name, *place, option, "--")
                if takes_value and "--help" in after:
                    faults += 1
                    print(f"{name} {place}: offers options after {option}, which takes a value")
                if not takes_value and option not in ("--help", "--version") and "--help" not in after:
                    faults += 1
                    print(f"{name} {place}: offers no options after {option}")
    return 1 if faults else 0


sys.exit(main())
