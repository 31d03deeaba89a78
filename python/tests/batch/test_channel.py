"""Messages between the driver and its workers."""

from __future__ import annotations

import os
import socket
import struct
import threading
from collections.abc import Iterator

import pytest

from tonekit.batch._channel import Channel, ready
from tonekit.batch._work import Item


@pytest.fixture
def pair() -> Iterator[tuple[Channel, Channel]]:
    ours, theirs = socket.socketpair()
    ends = Channel(ours.detach()), Channel(theirs.detach())
    yield ends
    for end in ends:
        end.close()


def test_messages_arrive_as_they_were_sent(pair: tuple[Channel, Channel]) -> None:
    here, there = pair
    messages = ["ready", (3, [Item("/a/ä.wav", "a.flac", 5, "1", 0)]), b"", None, list(range(100_000))]
    sender = threading.Thread(target=lambda: [here.send(message) for message in messages])  # the last fills the socket
    sender.start()
    assert [there.receive() for _ in messages] == messages
    sender.join()
    there.send("back")
    assert here.receive() == "back"


def test_the_end_of_the_other_process_is_noticed(pair: tuple[Channel, Channel]) -> None:
    here, there = pair
    here.send(1)
    here.close()
    assert ready([there], 10) == [there]
    assert there.receive() == 1
    assert ready([there], 10) == [there]
    with pytest.raises(EOFError):
        there.receive()
    with pytest.raises(OSError):
        there.send(2)


@pytest.mark.parametrize("data", [b"\x05", struct.pack("=Q", 5), struct.pack("=Q", 5) + b"half"])
def test_an_end_within_a_message_is_an_end(pair: tuple[Channel, Channel], data: bytes) -> None:
    here, there = pair
    os.write(here.fileno(), data)
    here.close()
    with pytest.raises(EOFError):
        there.receive()


def test_only_channels_with_messages_are_ready(pair: tuple[Channel, Channel]) -> None:
    here, there = pair
    assert ready(pair, 0.01) == []
    here.send("x")
    assert ready(pair, 10) == [there]
    there.send("y")
    assert sorted(map(id, ready(pair, 10))) == sorted(map(id, pair))


def test_a_channel_closes_its_descriptor() -> None:
    ours, theirs = socket.socketpair()
    with theirs:
        end = Channel(ours.detach())
        handle = end.fileno()
        end.close()
        end.close()
        with pytest.raises(OSError):
            os.fstat(handle)
        ours, second = socket.socketpair()
        dropped = Channel(ours.detach())
        handle = dropped.fileno()
        del dropped
        with second, pytest.raises(OSError):
            os.fstat(handle)
