#!/usr/bin/python3
"""Reads from the binaries that they are hardened: hardening_test.py READELF OBJDUMP BINARY..."""

import re
import subprocess
import sys


def run(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def find_faults(readelf, objdump, binary):
    header = run(readelf, "--wide", "--file-header", "--program-headers", "--dynamic", binary)
    symbols = run(readelf, "--wide", "--dyn-syms", binary)
    if not re.search(r"Type: +DYN ", header):
        yield "is loaded at a fixed address"
    if "GNU_RELRO" not in header or not re.search(r"\((FLAGS|FLAGS_1)\).*\b(BIND_)?NOW\b", header):
        yield "has writable addresses of functions (no full RELRO)"
    if re.search(r"GNU_STACK.* RWE ", header) or "TEXTREL" in header:
        yield "has writable code or an executable stack"
    if "__stack_chk_fail" not in symbols:
        yield "has no stack protector"
    if "_chk" not in symbols.replace("__stack_chk", "") and "host" in binary:
        yield "has no fortified calls"
    if "_ZSt21__glibcxx_assert_fail" not in symbols:
        yield "has no assertions of the C++ library"
    if "X86-64" in header:
        # The start files of the C library have no mark, so the note of the whole file is missing.
        code = run(objdump, "--disassemble", "--section=.text", "--no-show-raw-insn", binary)
        if code.count("endbr64") < 100:
            yield "has functions without endbr64"


def main():
    readelf, objdump, *binaries = sys.argv[1:]
    faults = [f"{binary}: {fault}" for binary in binaries for fault in find_faults(readelf, objdump, binary)]
    sys.exit("\n".join(faults) or 0)


main()
