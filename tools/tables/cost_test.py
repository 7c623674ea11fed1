#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Tests of the table generator's cost: its analytic slopes, and what it must not notice."""

import unittest

import numpy as np

import cpp_writer  # noqa: F401, so that the package measure is found
from hrir import alignment, constraints, pipeline, refinement, table_file
from hrir.cost_target import Target

STEP = 1e-6
SPREAD = 4e-2  # of the values around the committed table, where most terms have their least


class CostTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        hrtfs = pipeline.prepare()
        all_pass = alignment.all_pass(alignment.ALIGNMENT)
        cls.cost = refinement.Cost(Target(hrtfs, all_pass, dtype=np.float64))
        cls.terms = dict(cls.cost.terms)
        random = np.random.default_rng(1)
        committed = cls.cost.values(table_file.read().T.astype(float))
        cls.values = committed + SPREAD * random.normal(size=committed.shape)
        cls.directions = random.normal(size=(3, len(committed)))

    def tearDown(self):
        self.cost.terms = dict(self.terms)

    def test_every_term_has_the_slope_that_differences_show(self):
        for name, term in self.terms.items():
            self.cost.terms = {name: term}
            cost, slope = self.cost(self.values)
            self.assertGreater(cost, 0.0, name)
            for direction in self.directions:
                with self.subTest(term=name):
                    ahead, behind = (
                        self.cost(self.values + step * direction)[0] for step in (STEP, -STEP)
                    )
                    numeric = (ahead - behind) / (2.0 * STEP)
                    self.assertLess(abs(slope @ direction - numeric), 1e-4 * np.linalg.norm(slope))

    def test_a_table_survives_the_way_to_free_values_and_back(self):
        taps = constraints.impose(self.cost.taps(self.values))
        np.testing.assert_allclose(self.cost.taps(self.cost.values(taps)), taps, rtol=0, atol=1e-15)

    def test_imposed_constraints_hold_in_single_precision(self):
        wild = 0.05 * np.random.default_rng(2).normal(size=(25, 256))
        self.assertEqual(constraints.violations(pipeline.stored(constraints.impose(wild))), [])


if __name__ == "__main__":
    unittest.main()
