"""What a run does to every file: the program's options, checked before the first file."""

from __future__ import annotations

import hashlib
import json
import os.path
from collections.abc import Mapping

from .. import _core
from .._options import TABLE, OptionList, option_list

# The books decide what is done anew, and names that come from tags are known too late to keep them apart.
OPTIONS = {name: row for name, row in TABLE.items() if name not in ("spectrogram", "name", "update", "no_clobber", "dry_run")}


class Conversion:
    """The options of a run.

    :raises ValueError, TypeError: where an option doesn't make sense; FileError: if a cover or chapters can't be read
    """

    def __init__(self, options: Mapping[str, object], function: str = "run") -> None:
        self.pairs: OptionList = option_list(options, function, OPTIONS)
        if "hash" not in dict(self.pairs):
            self.pairs.append(("hash", "sha256"))
        _core.check_options(self.pairs)
        # Rows of other options are of other results.
        self.id = hashlib.sha256(json.dumps(sorted(self.pairs)).encode()).hexdigest()[:16]
        self._extension = os.path.splitext(_core.output_name("a", self.pairs))[1]

    def output_name(self, name: str) -> str:
        """The name of a file's result, as the program calls it in a folder of results."""
        return os.path.splitext(name)[0] + self._extension if self._extension else name
