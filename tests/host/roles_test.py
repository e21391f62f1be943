#!/usr/bin/python3
"""Tests what each role may send to the running live host, and what it hears: roles_test.py HOST"""

import re
import sys
import time
import unittest

from live import Client, Host

PROGRAM = sys.argv.pop(1)

REQUESTS = ("SEND_REQUEST_EVENT", "SEND_CANCEL_EVENT", "ui")
MAY_SEND = {"guest": REQUESTS, "desk": REQUESTS, "installer": ("any command", "ui"), "activity": ("ui",)}
COMMANDS = (
    "SEND_REQUEST_EVENT id=9", "SEND_CANCEL_EVENT id=9", "ADD_SERVICE type=shortcut", "OTHER a=b",
    "EDIT_SERVICE type=shortcut", "REMOVE_SERVICE id=9", "REORDER_SERVICES order=9", "NAME",
    "GET_SERVICE_TYPES", "GET_ALL_SERVICES", "GET_SERVICE id=9", "NAME id=9")
OTHERS = (
    "ui GET_ALL_SERVICES", "ui OTHER", "event none", "advance 1h", "clock 2024-01-01T00:00:00",
    "persist", "restart", "restart state=none", "reload", "programming off", "forwarder on",
    "loglevel OFF", "verbose on", "export /tmp/x", "help", "exit", "quit", "send_request_event id=9")

TECHNICAL = ("installer", "activity")
STAFF = ("desk", *TECHNICAL)
ALL = ("guest", *STAFF)

HEALTH = {"guest": "^$", "desk": '^! health state="none"$',
          **dict.fromkeys(TECHNICAL, '^! health state="none" plugin="/.*agent.so"$')}


def lines_of(sender, step, status, push, log, event, bound):
    """The lines of a request or a cancellation, each after the roles that hear it."""
    return ((STAFF, f"! from {sender}"), (TECHNICAL, f"> {step} id=1"), status, (ALL, f"push <{push}><id>1</id></{push}>"),
            (TECHNICAL, f'log INFO "sent {log} event for: Taxi eventid: {event}"'),
            (TECHNICAL, f"fire {event}"), (TECHNICAL, f"bound 100 {bound} id:INT=1"))


def request(sender):
    return sender, "SEND_REQUEST_EVENT id=1", lines_of(
        sender, "SEND_REQUEST_EVENT", (ALL, "! open 1 +1800"),
        "service_state_requested", "request", 1, "SERVICE_STATE_REQUESTED")


def cancel(sender):
    return sender, "SEND_CANCEL_EVENT id=1", lines_of(
        sender, "SEND_CANCEL_EVENT", (STAFF, f"! ended 1 {'withdrawn' if sender == 'guest' else 'done'}"),
        "service_state_canceled", "cancel", 10001, "SERVICE_STATE_CANCELED")


HEARD = (
    ("installer", "ADD_SERVICE name=Taxi delay=30", (
        (TECHNICAL, "! from installer"), (TECHNICAL, "> ADD_SERVICE name=Taxi delay=30"),
        (TECHNICAL, "bound 100 SERVICE_ADDED id:INT=1"),
        (ALL, 'push <service_added><guest_service id="1" name="Taxi" description="" icon="0" '
              'delay="30" operarequest="" state="0"><request_time YEAR="1970" MONTH="1" DAY="1" '
              'HOUR="0" MIN="0" SEC="0"/></guest_service></service_added>'))),
    request("guest"), cancel("desk"), request("desk"), cancel("installer"),
    request("installer"), cancel("console"), request("console"), cancel("guest"),
    ("guest", "SEND_CANCEL_EVENT id=1", (
        (STAFF, "! from guest"), (TECHNICAL, "> SEND_CANCEL_EVENT id=1"))),
    request("desk"),
    ("console", "advance 31m", (
        (TECHNICAL, "! from console"), (TECHNICAL, "> advance 31m"),
        (STAFF, "! ended 1 lapsed"),
        (ALL, "push <service_state_not_requested><id>1</id></service_state_not_requested>"),
        (TECHNICAL, 'log INFO "Timer Expired on Taxi state changed."'),
        (TECHNICAL, "bound 100 SERVICE_STATE_NOT_REQUESTED id:INT=1"))),
    ("desk", "SEND_CANCEL_EVENT x", (
        (STAFF, "! from desk"), (TECHNICAL, "> SEND_CANCEL_EVENT x"),
        (TECHNICAL, "error 'x' is no parameter: key=value is wanted"),
        (("desk",), "> SEND_CANCEL_EVENT x"),
        (("desk",), "error 'x' is no parameter: key=value is wanted"))),
    ("activity", "ui GET_SERVICE id=2", (
        (("activity",), "> ui GET_SERVICE id=2"), (("activity",), "answer"))),
    ("console", "restart", (
        (TECHNICAL, "! from console"), (TECHNICAL, "> restart"), (ALL, "! restarted"))),
)


def without_times(lines):
    """How long a request stays open, and how it ended, without the moments of that."""
    lines = [re.sub(r"^(! ended \d+ \w+) .*", r"\1", line) for line in lines]
    span = lambda match: f"{match[1]} +{int(match[3]) - int(match[2])}"
    return [re.sub(r"^(! open \d+) (\d+) \d+ (\d+) \d+$", span, line) for line in lines]


class Roles(unittest.TestCase):
    def start(self, **how):
        self.host = Host(PROGRAM, **how)
        self.addCleanup(self.host.end)
        self.pages = {role: self.open(role) for role in ALL}
        for page in self.pages.values():
            page.receive_until("! replay-end")

    def open(self, role):
        page = Client(self.host.port, role)
        self.addCleanup(page.shutdown)
        return page

    def type(self, step):
        """Carries out a step on the console."""
        mark = f"# {len(self.host.rest)}"
        self.host.process.stdin.write(f"{step}\n{mark}\n")
        self.host.process.stdin.flush()
        while mark + "\n" not in self.host.rest:
            time.sleep(0.01)

    def test_what_each_may_send(self):
        self.start()
        for role in ALL:
            for step in COMMANDS + OTHERS:
                name = step.split()[0]
                self.pages[role].send(step)
                may = name in MAY_SEND[role] or step in COMMANDS and "any command" in MAY_SEND[role]
                answer = f"error the role {role} may not send '{name}', only {', '.join(MAY_SEND[role])}"
                refused = self.pages[role].catch_up()[-2:] == [f"> {step}", answer]
                self.assertEqual(refused, not may, (role, step))
            for step in ("x\ny", "", "ui a='"):
                self.pages[role].send(step)
                self.assertRegex(self.pages[role].catch_up()[-1], "^error ")

    def test_what_each_hears(self):
        self.start()
        kept = {role: [] for role in ALL}  # for pages that come later
        for sender, step, lines in HEARD:
            if sender == "console":
                self.type(step)
            else:
                self.pages[sender].send(step)
            for role in sorted(ALL, key=lambda each: each != sender):
                self.assertEqual(without_times(self.pages[role].catch_up()),
                                 [line for roles, line in lines if role in roles], (role, step))
                kept[role] += [line for roles, line in lines if role in roles and len(roles) > 1]
        self.assertAlmostEqual(self.pages["guest"].time, time.time() + 31 * 60, delta=5)

        for role in ALL:
            lines = without_times(self.open(role).receive_until("! replay-end"))
            health = [lines.pop(0) for line in lines[:1] if line.startswith("! health")]
            self.assertRegex("".join(health), HEALTH[role])
            ended = [line for line in kept[role] if line.startswith("! ended")]
            recent = [line for line in kept[role] if line.startswith("! from") or line[0] != "!"]
            self.assertEqual(lines, [*ended, *recent, "! replay-end"], role)

    def test_moments_when_the_hour_changes(self):
        self.start(environment={"TZ": "CET-1CEST,M3.5.0,M10.5.0/3"})
        desk = self.pages["desk"]
        march, october = 1711843200, 1729987200  # 00:00 UTC on the days when the hour changes
        self.type("ADD_SERVICE name=Taxi delay=30\nADD_SERVICE name=Privacy delay=-1")
        for steps, expected in (
                ("clock 2024-03-31T01:50:00\nSEND_REQUEST_EVENT id=1", (march + 3000, 3600, march + 4800, 7200)),
                ("EDIT_SERVICE guest_service='<guest_service id=\"1\" delay=\"5\"/>'",
                 (march + 3000, 3600, march + 3300, 3600)),
                ("REMOVE_SERVICE id=1\nADD_SERVICE delay=30", None),
                ("clock 2024-10-27T02:50:00\nadvance 40m\nSEND_REQUEST_EVENT id=3",
                 (october + 5400, 3600, october + 7200, 3600)),
                # As the agent reads the state: the first of the two.
                ("restart", (october + 1800, 7200, october + 3600, 3600)),
                ("SEND_CANCEL_EVENT id=3\nSEND_REQUEST_EVENT id=2", (october + 5400, 3600))):
            desk.catch_up()
            self.type(steps)
            lines = [line.split()[3:] for line in desk.catch_up() if line.startswith("! open")]
            self.assertEqual([len(line) for line in lines], [len(expected)] if expected else [], steps)
            for number, wanted in zip(sum(lines, []), expected or ()):
                self.assertAlmostEqual(int(number), wanted, delta=5, msg=steps)


unittest.main()
