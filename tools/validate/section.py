# SPDX-License-Identifier: Apache-2.0
"""What one check of the report found: figures, each with its limit, and pictures."""

import math
from dataclasses import dataclass, field

from .limits import Limit


@dataclass(frozen=True)
class Figure:
    limit: Limit
    value: float

    @property
    def kept(self):
        """False also for a value that is no number."""
        return self.limit.allows(self.value)

    def as_json(self):
        """A value that is not finite is null, as a limit is that does not exist."""
        return {
            "id": self.limit.id,
            "what": self.limit.what,
            "unit": self.limit.unit,
            "value": float(f"{self.value:.9g}") if math.isfinite(self.value) else None,
            "at_least": self.limit.at_least,
            "at_most": self.limit.at_most,
            "passed": self.kept,
        }


@dataclass
class Section:
    """`id` is a word, which begins the names of its figures; `limits` is where these have their limits."""

    id: str
    title: str
    text: str
    limits: dict
    figures: list = field(default_factory=list)
    pictures: list = field(default_factory=list)
    summary: list = field(default_factory=list)  # pictures for the head of the page
    others: dict = field(default_factory=dict)  # what other tables give: {id of a figure: {name of a table: value}}

    def add(self, what, value):
        """Adds the figure `id`.`what` and returns its limit. Raises KeyError where there is none."""
        limit = self.limits[f"{self.id}.{what}"]
        self.figures.append(Figure(limit, float(value)))
        return limit

    def compare(self, what, name, value):
        """Adds what the table of this name gives where the library has the figure `id`.`what`; it has no limit."""
        self.others.setdefault(self.limits[f"{self.id}.{what}"].id, {})[name] = float(value)

    def draw(self, chart, summary=False):
        """Adds a picture of a chart, which the summary at the head of the page may show as well."""
        self.pictures.append(chart.svg())
        if summary:
            self.summary.append(self.pictures[-1])
