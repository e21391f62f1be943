"""The systemd units of packaging/, as systemd reads them."""

import re
import shlex


def read_settings(path):
    """A unit's settings, by name: their values, in their order."""
    found = {}
    with open(path, encoding="utf-8") as unit:
        for name, value in re.findall(r"^(\w+)=(.*)$", unit.read(), re.MULTILINE):
            found.setdefault(name, []).append(value)
    return found


def get_command(settings, environment):
    """The words of the unit's command. Those of a variable without braces are split."""
    return shlex.split(re.sub(r"\$\{?(\w+)\}?", lambda name: environment[name[1]],
                              settings["ExecStart"][0]))
