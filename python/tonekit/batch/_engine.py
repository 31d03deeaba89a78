"""What the schedule asks of an engine, which runs groups of files on workers."""

from __future__ import annotations

from collections.abc import Sequence
from typing import NamedTuple, Protocol

from ._work import Item, Outcome


class Done(NamedTuple):
    """Files of a group are done; the whole group unless the rest is still in work."""

    items: Sequence[Item]
    outcomes: Sequence[Outcome]


class Lost(NamedTuple):
    """Files whose worker ended with them."""

    items: Sequence[Item]
    culprit: int | None  # the item that was in work; None: any of them, or the machine was lost
    reason: str


class Engine(Protocol):
    """Workers, wherever they are."""

    group_seconds: float  # of work in a group, so that passing it on costs little

    @property
    def workers(self) -> int:
        """How many files are in work at a time."""

    @property
    def busy(self) -> bool:
        """Whether any group is in work."""

    def room(self) -> bool:
        """Whether another group is welcome."""

    def submit(self, items: Sequence[Item]) -> None:
        """Takes a group."""

    def wait(self, seconds: float) -> Sequence[Done | Lost]:
        """Returns what has happened, after this time at most."""

    def dismiss(self) -> None:
        """Lets workers end, since all groups are done and no more will come."""

    def close(self) -> None:
        """Ends all workers; what is in work is dropped."""
