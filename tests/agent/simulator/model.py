"""What the agent is documented to do, in its plainest form: every line of the transcript."""

import re

from service import (AgentError, Service, escape, parse, read_number, read_service,
                     service_as_xml, signed, to_date, to_seconds, unsigned)

SWEEP_PERIOD = 30
CANCEL_EVENT_OFFSET = 10000
LEVELS = ["DEBUG", "INFO", "ERROR", "OFF"]
ITEM_REMOVED, DEVICE_ITEM = 11, "7"

WORD = re.compile(r'[^ "]*"(?:[^"\\]|\\.)*"|[^ ]+')


# Texts may hold any bytes: those that are not UTF-8 are lone surrogates.
def quote(text):
    def escaped(match):
        char = match.group()
        return {"\n": r"\n", "\t": r"\t", '"': r"\"", "\\": r"\\"}.get(
            char, f"\\x{ord(char) & 0xFF:02X}")
    return '"' + re.sub('["\\\\\x00-\x1F\x7F\udc80-\udcff]', escaped, text) + '"'


def unquote(text):
    def unescaped(match):
        char = match.group(1)
        if char.startswith(b"x"):
            return bytes.fromhex(char[1:].decode())
        return {b"n": b"\n", b"t": b"\t"}.get(char, char)
    data = re.sub(rb"\\(x..|.)", unescaped, text[1:-1].encode("utf-8"))
    return data.decode("utf-8", "surrogateescape")


def params_of(words):
    """The key and the value of each word; "" is the key of a word without one."""
    params = {}
    for word in words:
        key, equals, value = word.partition("=")
        if not equals:
            key, value = "", word
        params[key] = unquote(value) if value.startswith('"') else value
    return params


def read_order(order):
    ids = []
    for item in order.split(","):
        if not re.fullmatch("[+-]?[0-9]+", item) or int(item) != signed(int(item)):
            raise AgentError(
                "bad lexical cast: source type value could not be interpreted as target")
        ids.append(unsigned(int(item)))
    return ids


class Model:
    """The list, the requests and the clock of a session that was just started."""

    def __init__(self):
        self.services = []
        self.now = 1709283600  # seconds since 1970
        self.until_sweep = SWEEP_PERIOD
        self.has_programming, self.has_forwarder = True, False
        self.level = "INFO"
        self.lines = []

    def follow(self, step):
        """Carries out a step and returns the lines that must follow it."""
        self.lines = []
        name, *words = WORD.findall(step)
        try:
            if name.isupper():
                getattr(self, name.lower(), self.query)(params_of(words), name)
            else:
                getattr(self, name)(*words)
        except AgentError as error:
            self.say(f"error {error}")
        return self.lines

    # Rules that a test may get wrong on purpose

    def next_id(self):
        return unsigned(max((service.id for service in self.services), default=0) + 1)

    def has_run_out(self, service):
        return service.delay != -1 and (
            self.now >= to_seconds(service.request_time) + 60 * service.delay)

    # Commands

    def add_service(self, params, _):
        service = Service(self.next_id(), params.get("type") == "shortcut")
        if service.is_shortcut:
            self.log("DEBUG", "Creating Shortcut Guest Service")
            service.target = unsigned(read_number(params.get("shortcut_id", "")))
        else:
            self.log("DEBUG", "Creating Guest Service")
            service.name = params.get("name", "")
            service.description = params.get("description", "")
            service.request_code = params.get("operarequest", "")
            service.icon = read_number(params.get("icon", ""))
            service.delay = read_number(params.get("delay", ""))
            self.bound("SERVICE_ADDED", service.id)
        self.services.append(service)
        self.push("service_added", service_as_xml(service, False))

    def edit_service(self, params, _):
        is_shortcut = params.get("type") == "shortcut"
        if not is_shortcut:
            self.log("DEBUG", "Editing guest service")
        element = parse(params.get("shortcut" if is_shortcut else "guest_service", ""))
        edited = read_service(element, is_shortcut) if element is not None else Service()
        stored = self.find(edited.id) if edited.id != 0 else None
        if stored is None or stored.is_shortcut != is_shortcut:
            if not is_shortcut:
                self.log("ERROR", "Edit Service, service doesn't exist")
            return
        edited.state, edited.request_time = stored.state, stored.request_time
        self.services[self.services.index(stored)] = edited
        if not is_shortcut:
            self.bound("SERVICE_CHANGED", edited.id)
        self.push("service_changed", service_as_xml(edited, False))

    def remove_service(self, params, _):
        self.remove(id_param(params))

    def reorder_services(self, params, _):
        order = params.get("order", "")
        ids = read_order(order)
        ordered = [self.find(number) for number in dict.fromkeys(ids)]
        if None in ordered or not len(ids) == len(ordered) == len(self.services):
            self.log("ERROR", "Reorder Services, order doesn't name every service exactly once")
            return
        self.services = ordered
        self.push("services_reordered", f"<order>{escape(order)}</order>")

    def send_request_event(self, params, _):
        service = self.find(id_param(params))
        if service is None or service.is_shortcut or service.state == 1:
            return
        self.push_id("service_state_requested", service.id)
        self.log("INFO", f"sent request event for: {service.name} eventid: {service.id}")
        service.state = 1
        service.request_time = to_date(self.now)
        self.say(f"fire {service.id}")
        self.bound("SERVICE_STATE_REQUESTED", service.id)
        if self.has_forwarder and params.get("operarequest"):
            self.say(f'forward "Builtin_GuestService" {quote(params["operarequest"])}')

    def send_cancel_event(self, params, _):
        service = self.find(id_param(params))
        if service is None or service.is_shortcut or service.state != 1:
            return
        event = unsigned(service.id + CANCEL_EVENT_OFFSET)
        self.push_id("service_state_canceled", service.id)
        self.log("INFO", f"sent cancel event for: {service.name} eventid: {event}")
        service.state = 0
        self.say(f"fire {event}")
        self.bound("SERVICE_STATE_CANCELED", service.id)

    def query(self, params, name, date_as_text=True):
        if name == "GET_ALL_SERVICES":
            self.say(f"answer {self.list_as_xml(date_as_text)}")
        elif name == "GET_SERVICE":
            service = self.find(id_param(params))
            self.say("answer " + service_as_xml(service, date_as_text) if service else "answer")
        else:
            raise AgentError(f"nothing is registered for {name}")

    # Other steps

    def ui(self, name, *words):
        self.query(params_of(words), name, False)

    def event(self, code, *values):
        if code == "none":
            return
        if int(code) != ITEM_REMOVED:
            self.log("DEBUG", 'Services Agent: Unknown system event "Unknown"')
        elif len(values) == 4 and values[2] == DEVICE_ITEM:
            for service in self.services:
                if service.is_shortcut and service.target == int(values[0]):
                    self.remove(service.id)
                    break

    def advance(self, duration):
        units = {"h": 3600, "m": 60, "s": 1}
        seconds = sum(int(number) * units[unit]
                      for number, unit in re.findall("([0-9]+)([hms])", duration))
        while seconds >= self.until_sweep:
            self.now += self.until_sweep
            seconds -= self.until_sweep
            self.sweep()
            self.until_sweep = SWEEP_PERIOD
        self.now += seconds
        self.until_sweep -= seconds

    def sweep(self):
        self.log("DEBUG", "ServicesAgent::OnTimerExpired")
        for service in self.services:
            if service.is_shortcut or service.state != 1 or not self.has_run_out(service):
                continue
            service.state = 0
            self.push_id("service_state_not_requested", service.id)
            self.log("INFO", f"Timer Expired on {service.name} state changed.")
            self.bound("SERVICE_STATE_NOT_REQUESTED", service.id)

    def clock(self, moment):
        self.now = to_seconds(int(part) for part in re.split("[-T:]", moment))

    def persist(self):
        self.say(f"answer {self.list_as_xml(False)}")

    def restart(self, *words):
        text = params_of(words)["state"] if words else self.list_as_xml(False)
        root = parse(text)
        if root is None and text != "none":
            raise AgentError("the state does not parse")
        self.services = []
        if root is not None:
            self.restore(root)
        self.until_sweep = SWEEP_PERIOD

    def restore(self, root):
        try:
            for element in root:
                self.services.append(read_service(element, element.tag != "guest_service"))
        except AgentError as error:
            failure = [f"error {error}"]
        else:
            failure = []
        self.say(*[] if root.tag == "guest_services" else ["assert ServicesAgent"], *failure)

    def programming(self, switch):
        self.has_programming = switch == "on"

    def forwarder(self, switch):
        self.has_forwarder = switch == "on"

    def loglevel(self, level):
        self.level = level

    # The list

    def find(self, number):
        """The first service with that id."""
        for service in self.services:
            if service.id == number:
                return service
        return None

    def remove(self, number):
        service = self.find(number)
        if service is None:
            return
        for item in (service.id, unsigned(service.id + CANCEL_EVENT_OFFSET)):
            if self.has_programming:
                self.say(f"programming-owned 1 {item} 3", f"programming-item 1 {item}")
                self.log("INFO", "ServicesAgent: RemoveProgramming successful.")
            else:
                self.say("assert ServicesAgent")
        self.services.remove(service)
        self.push_id("service_removed", service.id)
        self.say(f"owner-removed {service.id} 3")
        self.bound("SERVICE_REMOVED", service.id)

    def list_as_xml(self, date_as_text):
        entries = [service_as_xml(service, date_as_text) for service in self.services]
        return f"<guest_services>{''.join(entries)}</guest_services>" if entries else (
            "<guest_services/>")

    # Lines

    def say(self, *lines):
        self.lines += lines

    def log(self, level, text):
        if LEVELS.index(level) >= LEVELS.index(self.level):
            self.say(f"log {level} {quote(text)}")

    def push(self, name, content):
        self.say(f"push <{name}>{content}</{name}>")

    def push_id(self, name, number):
        self.push(name, f"<id>{number}</id>")

    def bound(self, name, number):
        self.say(f"bound 100 {name} id:INT={number}")


def id_param(params):
    return unsigned(read_number(params.get("id", "")))
