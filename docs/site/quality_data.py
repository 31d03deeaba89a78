"""quality_data.py: the measured data of docs/quality as the pages need it."""

import glob
import json
import os
import shutil


def load(path):
    with open(path, encoding="utf-8") as file:
        return json.load(file)


def processors(folder):
    """The folders of the processors that have been measured, the first one being shown."""
    return sorted(os.path.dirname(path) for path in glob.glob(os.path.join(folder, "*", "machine.json")))


def write_scripts(folder, target):
    """Each data file as a script, since pages from the file system can't fetch."""
    os.makedirs(target, exist_ok=True)
    names = sorted(os.path.basename(path) for path in glob.glob(os.path.join(folder, "*.json")))
    for name in names:
        with open(os.path.join(folder, name), encoding="utf-8") as file:
            content = file.read().strip()
        key = name.removesuffix(".json")
        if key in ("machine", "lengths", "bodies", "round_trips", "sounds", "speed"):
            continue
        write_script(os.path.join(target, key + ".js"), key, content)


def write_script(path, key, content):
    with open(path, "w", encoding="utf-8") as file:
        file.write(f'(window.tonekitQuality ??= {{}})["{key}"] = {content};\n')


def copy_media(folder, target):
    for kind in ("spectrograms", "sounds"):
        shutil.copytree(os.path.join(folder, kind), os.path.join(target, kind), dirs_exist_ok=True)


def _worst_noise(tones, name):
    half = min(tones["from"], tones["to"]) / 2
    values = tones["converters"].get(name, {}).get("residual")
    if not values:
        return None
    inside = [value for value, f in zip(values, tones["frequencies"], strict=True) if f <= 0.86 * half]
    return max(inside)


def speed_points(folder):
    """For each pair of rates the speed and the worst noise in the pass band of each converter."""
    pairs = {}
    for pair, rows in load(os.path.join(folder, "speed.json"))["pairs"].items():
        tones = load(os.path.join(folder, f"tones-{pair}.json"))
        pairs[pair] = [
            {"name": name, "speed": speed, "noise": _worst_noise(tones, name)}
            for name, speed in sorted(rows.items(), key=lambda row: -row[1])
            if _worst_noise(tones, name) is not None
        ]
    return pairs


def write_points(folder, target):
    """The points of the chart of speed against quality."""
    write_script(os.path.join(target, "speed-points.js"), "speed-points", json.dumps(speed_points(folder)))


def ripple(tones, name, part=0.86):
    """The greatest deviation of the gain in the pass band, in dB."""
    half = min(tones["from"], tones["to"]) / 2
    values = tones["converters"].get(name, {}).get("gain")
    if not values:
        return None
    return max(abs(value) for value, f in zip(values, tones["frequencies"], strict=True) if f <= part * half)


def better_peers(folder):
    """Where a peer measures better than our high quality with the normal filter, as sentences with both figures."""
    ours = "tonekit high normal"
    tones = load(os.path.join(folder, "tones-44100-48000.json"))
    speed = load(os.path.join(folder, "speed.json"))["pairs"]["44100-48000"]
    lines = []
    for name in tones["converters"]:
        if name.startswith(("tonekit", "soxr")) or "failure" in tones["converters"][name]:
            continue
        facts = []
        mine, theirs = ripple(tones, ours), ripple(tones, name)
        if theirs < mine:
            facts.append(f"its pass band is flatter ({theirs:.6f} against {mine:.6f} dB up to 0.86 of half the rate)")
        mine, theirs = _worst_noise(tones, ours), _worst_noise(tones, name)
        if theirs < mine:
            facts.append(f"its distortion and noise are lower ({theirs:.1f} against {mine:.1f} dB at worst)")
        if speed.get(name, 0) > speed[ours]:
            facts.append(f"it is faster ({speed[name]:.0f} against {speed[ours]:.0f} times real time)")
        if facts:
            lines.append({"name": name, "facts": facts})
    return lines
