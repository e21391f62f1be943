"""Services and their requests' dates, and both as XML; it shares nothing with the agent."""

import datetime
import re
import xml.etree.ElementTree as ElementTree
from dataclasses import dataclass

EPOCH = datetime.date(1970, 1, 1).toordinal()
DAYS_OF_400_YEARS = 146097
NOT_IN_XML = {ord(text): xml for text, xml in {
    **dict.fromkeys(map(chr, [*range(32), 0xFFFE, 0xFFFF]), "\uFFFD"),
    "&": "&amp;", "<": "&lt;", ">": "&gt;", '"': "&quot;", "\t": "&#9;", "\n": "&#10;",
    "\r": "&#13;"}.items()}


class AgentError(Exception):
    """What the agent is documented to throw."""


@dataclass(eq=False)
class Service:
    id: int = 0
    is_shortcut: bool = False
    target: int = 0  # of a shortcut; all that follows is a guest service's
    name: str = ""
    description: str = ""
    request_code: str = ""
    icon: int = 0
    delay: int = 0
    state: int = 0
    request_time: tuple = (1970, 1, 1, 0, 0, 0)  # as it was given, if it is no date, too


def signed(number):
    return (number + 2**31) % 2**32 - 2**31


def unsigned(number):
    return number % 2**32


def read_number(text):
    """The decimal number that the text begins with, cut to 32 bits; 0 without one."""
    number = re.match("[+-]?[0-9]+", text)
    return signed(int(number.group())) if number else 0


def to_seconds(date):
    """Since 1970. Months and all below may count past their ends."""
    year, month, day, hour, minute, second = date
    years, month = divmod(month - 1, 12)
    cycles, year = divmod(year + years, 400)
    days = datetime.date(year + 400, month + 1, 1).toordinal() + (cycles - 1) * DAYS_OF_400_YEARS
    return ((days - EPOCH + day - 1) * 24 + hour) * 3600 + minute * 60 + second


def to_date(seconds):
    days, rest = divmod(seconds, 86400)
    cycles, days = divmod(days + EPOCH - 1, DAYS_OF_400_YEARS)
    day = datetime.date.fromordinal(days + 1)
    return (day.year + 400 * cycles, day.month, day.day,
            rest // 3600, rest // 60 % 60, rest % 60)


def date_as_xml(date, as_text):
    """The attributes of a date: one text, or six numbers."""
    if as_text:
        return 'DATETIME="{1:02}/{2:02}/{0:04} {3:02}:{4:02}:{5:02}"'.format(*date)
    return 'YEAR="{}" MONTH="{}" DAY="{}" HOUR="{}" MIN="{}" SEC="{}"'.format(*date)


def escape(text):
    """The text, whose bytes may be any, as XML holds it."""
    return text.encode("utf-8", "surrogateescape").decode("utf-8", "replace").translate(NOT_IN_XML)


def service_as_xml(service, date_as_text):
    if service.is_shortcut:
        return f'<shortcut id="{signed(service.id)}" shortcut_id="{signed(service.target)}"/>'
    return (f'<guest_service id="{signed(service.id)}" name="{escape(service.name)}"'
            f' description="{escape(service.description)}" icon="{service.icon}"'
            f' delay="{service.delay}" operarequest="{escape(service.request_code)}"'
            f' state="{service.state}"><request_time'
            f' {date_as_xml(service.request_time, date_as_text)}/></guest_service>')


def parse(text):
    """The root, by a parser that the agent does not use; None if the text is not one element."""
    try:
        return ElementTree.fromstring(text.encode("utf-8", "surrogateescape"))
    except ElementTree.ParseError:
        return None


def read_date(element):
    """Of both forms; the separators of a text do not matter."""
    text = element.get("DATETIME")
    if text is None:
        names = ("YEAR", "MONTH", "DAY", "HOUR", "MIN", "SEC")
        return tuple(read_number(element.get(name, "")) for name in names)
    if len(text) < 17:
        raise AgentError("basic_string::substr")
    return tuple(read_number(text[at:at + length])
                 for at, length in ((6, 4), (0, 2), (3, 2), (11, 2), (14, 2), (17, 2)))


def read_service(element, is_shortcut):
    def number(name):
        return read_number(element.get(name, ""))

    service = Service(unsigned(number("id")), is_shortcut)
    if is_shortcut:
        service.target = unsigned(number("shortcut_id"))
        return service
    service.name = element.get("name", "")
    service.description = element.get("description", "")
    service.request_code = element.get("operarequest", "")
    service.icon, service.delay, service.state = number("icon"), number("delay"), number("state")
    date = element.find("request_time")
    if date is not None:
        service.request_time = read_date(date)
    return service
