"""The command tonekit-batch."""

from __future__ import annotations

import argparse
import io
import json
import os
import signal
import sys
from collections.abc import Sequence
from typing import Any, NoReturn

import tonekit

from .. import _core
from ._conversion import OPTIONS
from ._words import clock, dither_note, errors_text, files, length, printable

_INTERRUPTED = 130

_DESCRIPTION = """\
Converts all audio files of SOURCE into TARGET, each exactly once, and keeps books of them. The same command again goes on
where it was. SOURCE is a folder or a list of addresses (.txt, .lst, .parquet); both may be paths or addresses such as
s3://bucket/folder. "tonekit-batch status MANIFEST" shows what the books say, at any moment."""
_USAGE = "tonekit-batch [options] SOURCE TARGET\n       tonekit-batch status MANIFEST"
_EPILOG = "Exit status: 0 all done, 1 some failed, 2 wrong usage."


def _parser() -> argparse.ArgumentParser:
    parser = _Parser("tonekit-batch", usage=_USAGE, description=_DESCRIPTION, epilog=_EPILOG, allow_abbrev=False)
    parser.add_argument("--version", action=_Version)
    parser.add_argument("source", metavar="SOURCE", help="folder or list of inputs")
    parser.add_argument("target", metavar="TARGET", help="folder of results")
    run = parser.add_argument_group("How it runs")
    run.add_argument("--engine", choices=("local", "ray"), default="local", help="this machine, the default, or a Ray cluster")
    run.add_argument("--address", metavar="ADDRESS", help="of the Ray cluster: auto, or ray://host:port")
    run.add_argument("--workers", "-j", metavar="N", type=int, help="files at a time (as many as there are processors)")
    run.add_argument("--manifest", metavar="ADDRESS", help="folder of the books (TARGET/tonekit-manifest)")
    run.add_argument("--column", metavar="NAME", default="path", help="column of a .parquet SOURCE with the addresses (path)")
    run.add_argument("--base", metavar="ADDRESS", help="folder from which the results of a list are named")
    run.add_argument("--retry-failed", action="store_true", help="do failed files again, too")
    run.add_argument("--verify", action="store_true", help="read the results that are there, and redo the wrong ones")
    run.add_argument("--storage", metavar="JSON", type=_json, help='of fsspec, by protocol: {"s3": {"endpoint_url": "..."}}')
    run.add_argument("--json", action="store_true", help="print the summary as JSON")
    run.add_argument("--quiet", "-q", action="store_true", help="no progress and no summary")
    options = parser.add_argument_group("What becomes of each file, as with tonekit-convert")
    for argument, (name, value, text) in OPTIONS.items():
        dest = f"option_{argument}"
        help_text = text.replace("%", "%%")
        if value is None:
            options.add_argument(f"--{name}", dest=dest, action="store_const", const=True, help=help_text)
        elif argument == "set":
            options.add_argument(f"--{name}", dest=dest, metavar=value, action="append", type=_tag, help=help_text)
        else:
            options.add_argument(f"--{name}", dest=dest, metavar=value, help=help_text)
    return parser


class _Parser(argparse.ArgumentParser):
    """Says what is wrong in one line."""

    def error(self, message: str) -> NoReturn:
        self.exit(2, f"{self.prog}: {printable(message)} (--help shows the options)\n")


class _Version(argparse.Action):
    """Prints the version of the package, which takes a look at its files."""

    def __init__(self, option_strings: Sequence[str], dest: str) -> None:
        super().__init__(option_strings, dest, nargs=0, help="print the version")

    def __call__(self, parser: argparse.ArgumentParser, *_: object) -> NoReturn:
        print("tonekit-batch", tonekit.__version__)
        parser.exit()


def _json(text: str) -> dict[str, Any]:
    try:
        value = json.loads(text)
    except ValueError:
        value = None
    if not isinstance(value, dict) or not all(isinstance(part, dict) for part in value.values()):
        raise argparse.ArgumentTypeError("must be a JSON object of objects")
    return value


def _tag(text: str) -> tuple[str, str]:
    key, separator, value = text.partition("=")
    if not key or not separator:
        raise argparse.ArgumentTypeError("must have the form KEY=VALUE")
    return key, value


def _options(arguments: argparse.Namespace) -> dict[str, Any]:
    options: dict[str, Any] = {}
    for argument in OPTIONS:
        value = getattr(arguments, f"option_{argument}")
        if value is not None:
            options[argument] = dict(value) if argument == "set" else value
    return options


def _run(arguments: argparse.Namespace) -> int:
    from . import run

    summary = run(
        arguments.source,
        arguments.target,
        engine=arguments.engine,
        workers=arguments.workers,
        address=arguments.address,
        manifest=arguments.manifest,
        column=arguments.column,
        base=arguments.base,
        retry_failed=arguments.retry_failed,
        verify=arguments.verify,
        progress=not arguments.quiet,
        storage=arguments.storage,
        **_options(arguments),
    )
    if arguments.json:
        _say(json.dumps(summary, indent=1, ensure_ascii=False))
    elif not arguments.quiet:
        _say(_summary_text(summary))
    for line in errors_text(summary["errors"], summary["examples"]):
        print(line, file=sys.stderr)
    return 0 if summary["ok"] else 1


def _say(text: str) -> None:
    try:
        print(text, flush=True)
    except OSError as error:
        # What could not be written must not be tried again when the interpreter ends.
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        raise OSError(error.errno, error.strerror, "standard output") from None


def _summary_text(summary: dict[str, Any]) -> str:
    line = f"{files(summary['files'])}: {summary['done']:,} done"
    for key, words in (("kept", "done before"), ("failed", "failed"), ("repeated", "named twice")):
        if summary[key]:
            line += f", {summary[key]:,} {words}"
    if summary["verified"]:
        line += f", {summary['verified']:,} of them verified" if summary["kept"] else ""
    lines = [line]
    audio = length(summary["audio_seconds"])
    lines.append(f"{audio} of audio in {clock(summary['seconds'])}, {summary['speed']:,.0f} times real time")
    if summary["dithered"]:
        lines.append(dither_note(summary["dithered"]))
    if summary["failed_before"]:
        lines.append(f"failed before, and not tried again: {files(summary['failed_before'])} (add --retry-failed)")
    lines.append(f"manifest: {summary['manifest']}")
    lines.append(f"report: {summary['report']}")
    return "\n".join(lines)


def _status(words: list[str]) -> int:
    from ._status import status, text

    parser = _Parser("tonekit-batch status", description="Shows what a manifest says at this moment.")
    parser.add_argument("manifest", metavar="MANIFEST", help="address of a manifest, or of the TARGET that holds it")
    parser.add_argument("--storage", metavar="JSON", type=_json, help="as for a run")
    parser.add_argument("--json", action="store_true", help="print it as JSON")
    arguments = parser.parse_args(words)
    state = status(arguments.manifest, storage=arguments.storage)
    _say(json.dumps(state, indent=1, ensure_ascii=False) if arguments.json else text(state))
    return 0 if not state["failed"] else 1


def _end(*_: object) -> NoReturn:
    raise KeyboardInterrupt


def main(words: list[str] | None = None) -> NoReturn:
    """Does what the command line says and exits."""
    words = sys.argv[1:] if words is None else words
    signal.signal(signal.SIGTERM, _end)
    if isinstance(sys.stdout, io.TextIOWrapper):
        # Names that it lacks the characters for are no reason to fail.
        sys.stdout.reconfigure(errors="backslashreplace")
    try:
        code = _status(words[1:]) if words[:1] == ["status"] else _run(_parser().parse_args(words))
    except KeyboardInterrupt:
        print("tonekit-batch: interrupted; the same command goes on where it was", file=sys.stderr)
        code = _INTERRUPTED
    except (ValueError, TypeError, FileNotFoundError, _core.FileError) as error:
        print(f"tonekit-batch: {_line(error)}", file=sys.stderr)
        code = 2
    except Exception as error:
        # Those of stores, databases and clusters are of many kinds, and people understand none of their traces.
        print(f"tonekit-batch: {_line(error)}", file=sys.stderr)
        code = 1
    sys.exit(code)


def _line(error: Exception) -> str:
    if isinstance(error, MemoryError):
        return "not enough memory"
    if isinstance(error, OSError) and error.strerror and error.filename:
        return printable(f"{error.filename}: {error.strerror}")
    return printable(" ".join(str(error).split()) or type(error).__name__)
