"""ends_picture.py: a picture of how near each converter comes to the uncut signal at both ends of a voice."""

WIDTH, ROW, TOP, LEFT, RIGHT = 860, 26, 64, 220, 90
DEEPEST = 120.0  # dB


def draw(ends):
    """An SVG of the data of figures.ends: a bar for each converter, the worse of its two ends. Longer is better."""
    converters = ends["cases"]["voice"]["converters"]
    rows = sorted((max(one["startError"], one["endError"]), name) for name, one in converters.items())
    height = TOP + ROW * len(rows) + 16
    scale = (WIDTH - LEFT - RIGHT) / DEEPEST
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{height}" viewBox="0 0 {WIDTH} {height}" '
        'font-family="system-ui, sans-serif" font-size="14" fill="#1c1d1f">',
        f'<rect width="{WIDTH}" height="{height}" rx="8" fill="#fbfbfa"/>',
        '<text x="20" y="28" font-size="16" font-weight="600">Error in the first and last 20 ms of a cut voice</text>',
        '<text x="20" y="48" fill="#55585e">48 to 44.1 kHz, the worse end, in dB of the voice: longer bars are better</text>',
    ]
    for at, (error, name) in enumerate(rows):
        top = TOP + ROW * at
        colour = "#0b5cad" if name.startswith("tonekit") else "#8a8d94"
        parts.append(f'<text x="{LEFT - 12}" y="{top + 16}" text-anchor="end">{name}</text>')
        parts.append(f'<rect x="{LEFT}" y="{top + 4}" width="{-error * scale:.1f}" height="16" rx="2" fill="{colour}"/>')
        parts.append(f'<text x="{LEFT - error * scale + 8:.1f}" y="{top + 16}">{error:.1f} dB</text>')
    return "\n".join([*parts, "</svg>", ""])
