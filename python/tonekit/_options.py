"""Options: Python's values as the option table of the program takes them."""

from __future__ import annotations

import os
from collections.abc import Mapping, Sequence
from decimal import Decimal
from typing import Any

from . import _core

OptionList = list[tuple[str, str]]

# Options of other commands than the conversion of a file, those that only a command line needs, and that of a type which the
# package can't read.
_OF_THE_PROGRAM = frozenset({"in-place", "extract-cover", "dsd-gain", "split", "cue", "join", "normalize-by", "copy-others", "jobs", "memory", "bodies", "info", "json", "progress", "quiet", "version", "help"})
# Option (as an argument), what its value is called (None for a switch), help.
TABLE = {
    # What a value in brackets asks for concerns many files at a time.
    name.replace("-", "_"): (name, None if value and value.startswith("[") else value, text)
    for name, value, text in _core.option_table()
    if name not in _OF_THE_PROGRAM
}


def option_list(options: Mapping[str, object], function: str, allowed: Mapping[str, object] = TABLE) -> OptionList:
    """The options that aren't None, as names and texts of the table."""
    pairs: OptionList = []
    for argument, value in options.items():
        if argument not in allowed:
            raise TypeError(f"{function}() has no option {argument!r}; it has {', '.join(allowed)}")
        value = _plain(value)
        if value is None:
            continue
        name, kind, _ = TABLE[argument]
        if kind is None:
            if not isinstance(value, bool):
                raise TypeError(f"{argument} must be True or False, not {value!r}")
            if value:
                pairs.append((name, ""))
        elif argument == "set":
            pairs.extend((name, text) for text in _tags(value))
        else:
            pairs.append((name, _text(argument, value)))
    return pairs


def _plain(value: object) -> Any:
    """The number or text that a scalar of NumPy is; all else as it is."""
    return value.item() if getattr(value, "ndim", None) == 0 and hasattr(value, "item") else value


def _tags(value: object) -> list[str]:
    if not isinstance(value, Mapping):
        raise TypeError(f"set must be a mapping of tag names to texts, not {value!r}")
    for key, text in value.items():
        if not isinstance(key, str) or not key or "=" in key:
            raise ValueError(f"set must have names that aren't empty and hold no '=', not {key!r}")
    return [_checked("set", f"{key}={_values(key, text)}") for key, text in value.items()]


def _values(key: str, value: object) -> str:
    """The values of a tag, as the program separates them."""
    if value is None:
        return ""
    values = value if isinstance(value, Sequence) and not isinstance(value, (str, bytes)) else [value]
    if not all(isinstance(text, str) or hasattr(text, "__index__") for text in values):
        raise TypeError(f"set must have texts for values, not {value!r} for {key}")
    return "\x1f".join(map(str, values))


def _text(argument: str, value: object) -> str:
    if isinstance(value, bool):
        return "on" if value else "off"
    if isinstance(value, os.PathLike):
        value = os.fspath(value)
    if isinstance(value, str):
        return _checked(argument, value)
    if hasattr(value, "__index__"):
        return str(value)
    if not isinstance(value, float):
        raise TypeError(f"{argument} must be a text or a number, not {value!r}")
    # Without the exponent that str uses, which no option has.
    return f"{value:.0f}" if value == value // 1 else f"{Decimal(str(value)):f}"


def _checked(argument: str, text: str) -> str:
    """A text that the program can take."""
    try:
        text.encode()
    except UnicodeEncodeError:
        raise ValueError(f"{argument} must be text that UTF-8 can hold, not {text!r}") from None
    if "\0" in text:
        raise ValueError(f"{argument} must be text without null characters, not {text!r}")
    return text
