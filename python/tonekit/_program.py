"""The command tonekit-convert of the package."""

import os
import sys
from typing import NoReturn


def main() -> NoReturn:
    """Becomes the program that the package contains, with the arguments of this process."""
    program = os.path.join(os.path.dirname(os.path.abspath(__file__)), "_bin", "tonekit-convert")
    try:
        os.execv(program, [program, *sys.argv[1:]])
    except OSError as error:
        sys.exit(f"tonekit-convert: {program}: {error.strerror}")
