#!/usr/bin/python3
"""Holds the includes of all C++ files against the table of rooms: rooms_test.py PROJECT

The table "Room | May include" stands in docs/architecture.md. A room is a folder with C++ files;
the folders below tests/ belong to that room. A room may include its own files, and what its row
names: rooms, single headers, libraries, or everything. No files and no rooms may include each other
in a circle; a header and its source count as one file, and a header that a row names as a room.
"""

import graphlib
import pathlib
import re
import sys

LIBRARIES = {  # by the start of their headers' names
    "boost/asio": "Asio", "boost/beast": "Beast", "boost/": "Boost", "CLI/": "CLI11",
    "benchmark/": "benchmark", "dtl/": "dtl", "fuzzer/": "libFuzzer",
    "gtest/": "GoogleTest", "histedit": "libedit", "libxml/": "libxml2", "log4cplus/": "log4cplus", "mosquitto.h": "libmosquitto", "mqtt_protocol.h": "libmosquitto",
    "nlohmann/": "JSON", "openssl/": "OpenSSL",
    "pugixml": "pugixml", "rapidxml/": "RapidXml", "tinyxml2": "TinyXML-2", "valgrind/": "Valgrind"}
SYSTEM = re.compile(  # the C++ library's, and the operating system's
    r"[a-z_]+|(sys/\w+|dlfcn|elf|execinfo|fcntl|langinfo|malloc|poll|signal|stdlib|syslog|unistd)\.h")
INCLUDE = re.compile(r'^ *# *include *([<"])(.*?)[>"]', re.M)


def read_table(page):
    """What each room may include, by its folder."""
    table = re.search(r"\n\| Room \| May include \|.*\n\|[-|]+\n((?:\|.*\n)+)", page)
    rows = [[cell.strip() for cell in row.split("|")[1:3]] for row in table[1].splitlines()]
    return {room.strip("`/"): [name.strip("`/ ") for name in allowed.split(",")]
            for room, allowed in rows}


def names_of(header):
    """What a row can call the library of a header; nothing if the library is not known."""
    if SYSTEM.fullmatch(header):
        return {"system"}
    return {library for start, library in LIBRARIES.items() if header.startswith(start)}


class Rooms:
    def __init__(self, root):
        self.table = read_table((root / "docs/architecture.md").read_text(encoding="utf-8"))
        self.headers = {name for names in self.table.values() for name in names
                        if name.endswith(".h")}
        self.faults, self.file_edges, self.room_edges = [], {}, {}
        for path in sorted([*root.glob("*/**/*.h"), *root.glob("*/**/*.cpp")]):
            name = path.relative_to(root)
            if not {"build", "node_modules"} & set(name.parts):
                self.check(name.as_posix(), INCLUDE.findall(path.read_text(encoding="utf-8")))
        for kind, edges in (("files", self.file_edges), ("rooms", self.room_edges)):
            try:
                graphlib.TopologicalSorter(edges).prepare()
            except graphlib.CycleError as error:
                self.faults.append(f"a circle of {kind}: {' -> '.join(error.args[1][::-1])}")

    def room_of(self, name):
        folder = name.rpartition("/")[0]
        return "tests" if folder.startswith("tests/") else folder

    def check(self, name, includes):
        room = self.room_of(name)
        if room not in self.table:
            self.faults.append(f"{name}: the table has no room {room}/")
            return
        allowed = {room, "system", *self.table[room]}
        for quote, included in includes:
            names = self.follow(name, room, included) if quote == '"' else names_of(included)
            if not names or not names & allowed and "everything" not in allowed:
                self.faults.append(f"{name}: {room}/ may not include {included}")

    def follow(self, name, room, included):
        """Keeps the edges of an include of the project; returns what a row can call it."""
        to = self.room_of(included)
        self.add(self.file_edges, *(file.rpartition(".")[0] for file in (name, included)))
        self.add(self.room_edges, name if name in self.headers else room,
                 included if included in self.headers else to)
        return {to, included}

    @staticmethod
    def add(edges, start, end):
        if start != end:
            edges.setdefault(start, set()).add(end)


if faults := Rooms(pathlib.Path(sys.argv[1])).faults:
    sys.exit("\n".join(faults))
