# SPDX-License-Identifier: Apache-2.0
"""The report: a page to look at, and the same figures for programs."""

import json
from pathlib import Path

import jinja2

from measure import charts

SUMMARY = ("latency", "ears", "loudspeakers", "reverb", "noise")  # sections whose pictures begin the page


class Report:
    """What all sections found, against all limits."""

    def __init__(self, sections, limits, about, tables=(), missing_tables=()):
        """`about` are pairs of names and values for the head of the page: what was measured, and when; `tables` are the
        other_tables beside the library's, and `missing_tables` lines about those that are not to be had."""
        self.sections, self.about, self.tables, self.missing_tables = sections, about, tables, missing_tables
        self.others = {name: values for section in sections for name, values in section.others.items()}
        self.figures = [figure for section in sections for figure in section.figures]
        self.missed = [figure for figure in self.figures if not figure.kept]
        measured = {figure.limit.id for figure in self.figures}
        self.unmeasured = [limit for name, limit in limits.items() if name not in measured]
        self.count = len(limits)

    @property
    def passed(self):
        """Whether every figure was measured and keeps its limit."""
        return not self.missed and not self.unmeasured

    def json(self):
        """{"passed": ..., "figures": [{"id", "what", "unit", "value", "at_least", "at_most", "passed"}],
        "other_tables": {id: {table: value}}}"""
        figures = [figure.as_json() for figure in self.figures]
        return json.dumps({"passed": self.passed, "figures": figures, "other_tables": self.others},
                          indent=2, ensure_ascii=False, allow_nan=False) + "\n"  # fmt: skip

    def page(self):
        """One self-contained HTML page."""
        loader = jinja2.FileSystemLoader(Path(__file__).parent)
        environment = jinja2.Environment(loader=loader, autoescape=True, trim_blocks=True, lstrip_blocks=True,
                                         undefined=jinja2.StrictUndefined)  # fmt: skip
        order = sorted((section for section in self.sections if section.id in SUMMARY), key=lambda s: SUMMARY.index(s.id))
        summary = [(section.id, picture) for section in order for picture in section.summary]
        return environment.get_template("page.html.jinja").render(report=self, summary=summary, style=charts.STYLE)

    def text(self):
        """A line per figure that is missed, and one for all."""
        lines = [f"{f.limit.id} is {f.value:.4g} {f.limit.unit}, not {f.limit.text}" for f in self.missed]
        lines += [f"{limit.id} was not measured" for limit in self.unmeasured]
        kept = self.count - len(self.missed) - len(self.unmeasured)
        return "\n".join([*lines, f"{kept} of {self.count} figures keep their limits"])
