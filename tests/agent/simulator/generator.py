"""Makes up steps, by the rules in steps.txt."""

import os
import random
import re

from model import quote
from service import date_as_xml, escape, to_date

LAST_MOMENT = 253402300799  # of the year 9999
ODD_TEXTS = [text.decode("utf-8", "surrogateescape") for text in (
    b"&", b"<", b">", b'"', b"\t", b"\n", b"\r", b"\x01", b"\x1F",
    b"\x7F",  # odd to a terminal alone
    b"\xFF",  # never in UTF-8
    b"\xE2\x82",  # cut short
    b"\xC0\xAF",  # longer than needed
    b"\xED\xA0\x80",  # half of a pair
    b"\xEF\xBF\xBE")]  # a character that XML forbids


def read_rules(path):
    """The alternatives of each rule, as texts between names of rules."""
    with open(path, encoding="utf-8") as file:
        text = re.sub("^#.*\n|\n +", "", file.read(), flags=re.M)
    rules = {}
    for line in text.splitlines():
        if line:
            name, _, alternatives = line.partition(":")
            rules[name] = [re.split(r"\{(.*?)\}", alternative.strip())
                           for alternative in alternatives.split("|")]
    return rules


RULES = read_rules(os.path.join(os.path.dirname(__file__), "steps.txt"))


class Generator:
    """The same steps from the same seed, for the same model."""

    def __init__(self, seed, model):
        self.random = random.Random(seed)
        self.model = model

    def next_step(self):
        return self.apply("step")

    def apply(self, rule):
        if rule[0] == '"':
            return quote(self.apply(rule[1:]))
        if rule[0] == "&":
            return escape(self.apply(rule[1:]))
        alternatives = RULES.get(rule)
        if alternatives is None:
            return getattr(self, rule.replace("-", "_"))()
        pieces = alternatives[self.below(len(alternatives))]
        return "".join([self.apply(piece) if i % 2 else piece for i, piece in enumerate(pieces)])

    def below(self, limit):
        return int(self.random.random() * limit)

    # Rules that are no tables

    def known_id(self):
        return self.any_of([service.id for service in self.model.services])

    def known_item(self):
        return self.any_of([service.target for service in self.model.services])

    def any_of(self, numbers):
        return str(numbers[self.below(len(numbers))]) if numbers else "1"

    def order(self):
        ids = [str(service.id) for service in self.model.services]
        self.random.shuffle(ids)
        return ",".join(ids)

    def moment(self):
        """Up to a day before or after the present."""
        moment = self.model.now - 86400 + self.below(172800)
        date = to_date(moment if 0 < moment < LAST_MOMENT else 0)
        return "{:04}-{:02}-{:02}T{:02}:{:02}:{:02}".format(*date)

    def date(self):
        """Within five minutes of the present, in one of the two forms."""
        return date_as_xml(to_date(self.model.now - 300 + self.below(600)), self.below(2) == 0)

    def odd_text(self):
        return ODD_TEXTS[self.below(len(ODD_TEXTS))]

    def blank(self):
        return " "
