"""Counts, times and errors in words, for people."""

from __future__ import annotations

_SHOWN = 20  # kinds of errors


def clock(seconds: float) -> str:
    """Hours, minutes and seconds."""
    whole = int(seconds + 0.5)
    hours, rest = divmod(whole, 3600)
    return f"{hours}:{rest // 60:02}:{rest % 60:02}" if hours else f"{rest // 60}:{rest % 60:02}"


def length(seconds: float) -> str:
    """How long audio is: in hours, or in minutes and seconds below one."""
    return f"{seconds / 3600:,.1f} h" if seconds >= 3600 else clock(seconds)


def files(count: int) -> str:
    """A number of files."""
    return f"{count:,} file{'' if count == 1 else 's'}"


def size(count: float) -> str:
    """A number of bytes."""
    for unit in ("B", "kB", "MB", "GB", "TB"):
        if count < 999.5:
            return f"{count:.3g} {unit}"
        count /= 1000
    return f"{count:,.1f} PB"


def printable(text: str) -> str:
    """A text without characters that would change a terminal."""
    return "".join(c if c.isprintable() else "?" for c in text)


def dither_note(count: int) -> str:
    """What dither does to the digests of so many files."""
    text = f"{files(count)} are dithered, so their digests differ" if count != 1 else "1 file is dithered, so its digest differs"
    return f"{text} from run to run (--dither off makes them equal)"


def place(kind: str, error: str) -> str:
    """What an error of a kind says besides that: the file's name, or all where the kind isn't its end."""
    return error.removesuffix(f": {kind}")


def errors_text(errors: dict[str, int], examples: dict[str, str]) -> list[str]:
    """Lines about errors by kind."""
    lines = []
    for kind, count in list(errors.items())[:_SHOWN]:
        example = f", as {printable(place(kind, examples[kind]))}" if kind in examples else ""
        lines.append(f"  {count:,} x {printable(kind)}{example}")
    if len(errors) > _SHOWN:
        lines.append(f"  and {len(errors) - _SHOWN:,} kinds of errors more")
    return lines
