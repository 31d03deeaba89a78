"""worst.py: the worst figures of each quality and filter, and whether they hold against the stored ones."""

from figures import PAIRS, PASS_BAND

TOLERANCE = 1.0  # dB
RIPPLE_TOLERANCE = 0.0005  # dB: a ripple is a difference of gains, which a decibel's tolerance can't judge


def _figures_of(measured, from_rate, to_rate, settings):
    half = min(from_rate, to_rate) / 2
    width = PASS_BAND[settings[0]]
    # With aliasing the stop band begins as far above half the rate as the pass band ends below it.
    stop = half * (1 + (1 - width) * 1.2 if "aliasing" in settings else 1.0)
    found = {"noise": [], "ripple": [], "alias": []}
    for at, frequency in enumerate(measured["frequencies"]):
        one = {key: values[at] for key, values in measured["values"].items()}
        if frequency <= half * width * 0.97:
            found["noise"].append(one["residual"])
            found["ripple"].append(abs(one["gain"]))
        elif frequency >= stop and from_rate > to_rate:
            found["alias"].append(one["residual"])
    return {key: round(max(values), 5) for key, values in found.items() if values}


def worst_figures(tone_files):
    """For each of our settings the highest noise and alias (dB) and ripple (dB) over all pairs of rates."""
    worst = {}
    for (from_rate, to_rate), data in zip(PAIRS, tone_files, strict=True):
        for name, values in data["converters"].items():
            if not name.startswith("tonekit ") or "failure" in values:
                continue
            settings = name.split()[2:]
            measured = {"frequencies": data["frequencies"], "values": values}
            figures = _figures_of(measured, from_rate, to_rate, settings)
            row = worst.setdefault(name.removeprefix("tonekit "), {})
            for key, value in figures.items():
                row[key] = max(row.get(key, -400.0), value)
    return worst


def table(worst):
    lines = [f"{'quality, filter':32} {'THD+N dB':>9} {'alias dB':>9} {'ripple dB':>10}"]
    for name, row in worst.items():
        lines.append(f"{name:32} {row['noise']:9.2f} {row['alias']:9.2f} {row['ripple']:10.6f}")
    return "\n".join(lines)


def regressions(stored, worst):
    """What has become worse than the stored figures allow, a line each."""
    lines = []
    for name, row in stored.items():
        for key, value in row.items():
            now = worst.get(name, {}).get(key)
            allowed = value + (RIPPLE_TOLERANCE if key == "ripple" else TOLERANCE)
            if now is None or now > allowed:
                lines.append(f"{name}: {key} is {now}, stored as {value}")
    return lines
