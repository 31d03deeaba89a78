"""The files in which runs say how far they are."""

from __future__ import annotations

import json
from collections.abc import Iterator
from typing import Any

from ._storage import Store

PREFIX = "_run-"


def states(store: Store) -> Iterator[tuple[str, dict[str, Any]]]:
    """The names of these files in a manifest's folder and what they say; others of such names are passed over."""
    for name in store.names():
        if not name.startswith(PREFIX):
            continue
        try:
            state = json.loads(store.read(name))
        except (FileNotFoundError, ValueError):
            continue  # it ended just now
        if isinstance(state, dict) and {"run", "ended", "updated"} <= state.keys():
            yield name, state
