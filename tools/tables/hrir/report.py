"""The quality figures as the Markdown table that docs/data.md shows."""

HEAD = (
    "| | level, mean | below 2 kHz | above 2 kHz | 99th percentile | level difference |"
    " time difference, mean / 95 % | diffuse field, largest | coherence, mean / largest |\n"
    "|---|---|---|---|---|---|---|---|---|"
)


def row(name, quality):
    """One method's figures: dB, microseconds for the time difference, none for coherence."""
    q = quality
    return (
        f"| {name} | {q.level:.2f} | {q.level_below_split:.2f} | {q.level_above_split:.2f}"
        f" | {q.level_99th_percentile:.1f} | {q.level_difference:.2f}"
        f" | {q.time_difference_us:.1f} / {q.time_difference_95th_percentile_us:.1f}"
        f" | {q.diffuse_field:.2f} | {q.coherence:.2f} / {q.coherence_largest:.2f} |"
    )


def rows(qualities):
    """Rows of several methods, given as a mapping from name to Quality."""
    return [row(name, quality) for name, quality in qualities.items()]


def peaks_line(peaks):
    """The tap of every channel's main peak, grouped by degree."""
    groups = [peaks[n * n : (n + 1) ** 2] for n in range(5)]
    return "Main peaks, by degree: " + " | ".join(" ".join(map(str, group)) for group in groups)
