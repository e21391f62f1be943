#!/usr/bin/python3
"""Compares the completions of bash with what the programs print for --help:
completion_test.py COMPLETIONS PROGRAM...

COMPLETIONS is the file with the completions of all programs.
"""

import os
import re
import subprocess
import sys

COMPLETIONS, PROGRAMS = sys.argv[1], sys.argv[2:]


def complete(name, *words):
    """What bash offers for the end of the last word."""
    # As bash splits a line: ":" and "=" are words, and nothing of them is completed.
    parts = [part for word in words for part in re.split("([:=]+)", word) if part or not word]
    end = parts[-1] if parts[-1][:1] not in (":", "=") else ""
    script = """
        source "$1"; end="$2"; COMP_WORDS=("${@:3}"); COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
        name=_${3//-/_}
        compopt() { :; }
        $name "$3" "$end" "${COMP_WORDS[COMP_CWORD - 1]}"
        printf '%s\\n' "${COMPREPLY[@]}" """
    done = subprocess.run(["bash", "-euc", script, "bash", COMPLETIONS, end, name, *parts], check=True,
                          text=True, stdout=subprocess.PIPE)
    return set(done.stdout.split())


def read_help(program, *command):
    """The long options, each with its value's form or "", and the commands."""
    text = subprocess.run([program, *command, "--help"], check=True, text=True, stdout=subprocess.PIPE).stdout
    options = dict(re.findall(r"^  (?:-\w,)?(--[\w-]+)((?: [^ \n]+)*)(?=  |\n|$)", text, re.M))
    part = re.search(r"^Subcommands:\n((?:  .*\n)*)", text, re.M)
    return options, re.findall(r"^  (\w\S*)", part[1], re.M) if part else []


def find_values(form):
    """The values of "LEVEL:{A,B}", or the default of "ADDRESS:PORT=127.0.0.1:80", typed up to its ":"."""
    if listed := re.search(r":\{(.*)\}", form):
        return "", set(listed[1].split(","))
    default = re.search(r"=([^/]*:)(.*)", form)
    return (default[1], {default[2]}) if default else ("", set())


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
            for option, value in options.items():
                after = complete(name, *place, option, "--")
                if value and "--help" in after:
                    faults += 1
                    print(f"{name} {place}: offers options after {option}, which takes a value")
                typed, ends = find_values(value)
                for words in (option, typed), (f"{option}={typed}",):
                    if ends and complete(name, *place, *words) != ends:
                        faults += 1
                        print(f"{name} {place}: offers {complete(name, *place, *words)} after {words}")
                if "FILE" in value and complete(name, *place, option + "=" + COMPLETIONS[:-1]) != {COMPLETIONS}:
                    faults += 1
                    print(f"{name} {place}: offers no file after {option}=")
                if not value and option not in ("--help", "--version") and "--help" not in after:
                    faults += 1
                    print(f"{name} {place}: offers no options after {option}")
    return 1 if faults else 0


sys.exit(main())
