"""Options: Python's values as the option table of the program takes them."""

from __future__ import annotations

import os
from collections.abc import Mapping

from . import _core

OptionList = list[tuple[str, str]]

# Options of other commands than the conversion of a file, those that only a command line needs, and that of a type which the
# package can't read.
_OF_THE_PROGRAM = frozenset({"in-place", "extract-cover", "spectrogram", "dsd-gain", "split", "cue", "join", "normalize-by", "copy-others", "jobs", "memory", "bodies", "info", "json", "progress", "quiet", "version", "help"})
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


def _tags(value: object) -> list[str]:
    if not isinstance(value, Mapping):
        raise TypeError(f"set must be a mapping of tag names to texts, not {value!r}")
    for key, text in value.items():
        if not isinstance(key, str) or not key or "=" in key:
            raise ValueError(f"set must have names that aren't empty and hold no '=', not {key!r}")
        if text is not None and not isinstance(text, (str, int)):
            raise TypeError(f"set must have texts for values, not {text!r} for {key}")
    return [f"{key}={'' if text is None else text}" for key, text in value.items()]


def _text(argument: str, value: object) -> str:
    if isinstance(value, bool):
        return "on" if value else "off"
    if isinstance(value, os.PathLike):
        return os.fspath(value)  # type: ignore[no-any-return]
    if isinstance(value, float) and value.is_integer():
        value = int(value)
    if not isinstance(value, (str, int)) and not hasattr(value, "__index__"):
        raise TypeError(f"{argument} must be a text or a whole number, not {value!r}")
    return str(value)
