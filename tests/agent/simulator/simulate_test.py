#!/usr/bin/env python3
"""A simulation that never finds anything proves nothing: here the model is wrong, on purpose.

simulate_test.py HOST...
"""

import sys
import tempfile
import unittest

from model import Model
from simulate import BATCH, Simulation

HOST = sys.argv[1:]


class LapsesASecondLate(Model):
    def has_run_out(self, service):
        self.now -= 1
        has_run_out = super().has_run_out(service)
        self.now += 1
        return has_run_out


class CountsToTheNextId(Model):
    def next_id(self):
        return len(self.services) + 1


class SimulationTest(unittest.TestCase):
    def test_finds_a_wrong_rule_and_shrinks_the_stream_to_what_shows_it(self):
        for model, most_steps in (
                (LapsesASecondLate, 5),  # add, request, sweeps at that second
                (CountsToTheNextId, 4)):  # add, add, remove the first, add
            with self.subTest(model), tempfile.TemporaryDirectory() as folder:
                simulation = Simulation(HOST, folder, model)
                seed = simulation.run(range(BATCH))[0]
                self.assertIsNotNone(seed)
                steps = simulation.shrink(seed)
                self.assertLessEqual(len(steps), most_steps, steps)
                self.assertTrue(simulation.differs(steps), steps)
                self.assertFalse(Simulation(HOST, folder).differs(steps), steps)


unittest.main(argv=sys.argv[:1])
