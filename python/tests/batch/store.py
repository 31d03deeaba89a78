"""A store that speaks S3, on this machine, which can be made to fail and to be slow."""

from __future__ import annotations

import io
import os
import threading
import time
from collections.abc import Iterable
from types import TracebackType
from typing import Any

import pytest

_moto = pytest.importorskip("moto.server", reason="moto[server] isn't installed")
pytest.importorskip("s3fs", reason="tonekit[batch] isn't installed")


class S3Server:
    """moto's S3 with a layer before it that spoils answers."""

    def __init__(self) -> None:
        from werkzeug.serving import make_server

        self._app = _moto.DomainDispatcherApplication(_moto.create_backend_app)
        self._server = make_server("127.0.0.1", 0, self._answer, threaded=True)
        self._thread = threading.Thread(target=self._server.serve_forever, daemon=True)
        self._lock = threading.Lock()
        self.fail_every = 0  # one of so many answers is an error
        self.slow_every = 0  # one of so many takes a second longer
        self.requests = 0
        self.failures = 0
        self.puts: dict[str, int] = {}  # uploads by name, those that break off too
        self.stored: set[str] = set()  # names whose upload the store has answered
        self.in_work = 0  # requests without an answer
        self.hold = ""  # the next upload to a name with this in it stops after its first bytes,
        self.held = threading.Event()  # which then is set,
        self.go_on = threading.Event()  # until this is
        self.cut_off = threading.Event()  # set when an upload ended before its end
        self.url = f"http://127.0.0.1:{self._server.server_port}"
        self.storage = {"s3": {"endpoint_url": self.url, "key": "testing", "secret": "testing"}}

    def environment(self) -> dict[str, str]:
        return {
            **os.environ,
            "AWS_ENDPOINT_URL": self.url,
            "AWS_ACCESS_KEY_ID": "testing",
            "AWS_SECRET_ACCESS_KEY": "testing",
            "AWS_DEFAULT_REGION": "us-east-1",
        }

    def _answer(self, environ: dict[str, Any], start_response: Any) -> Iterable[bytes]:
        with self._lock:
            self.requests += 1
            self.in_work += 1
            number = self.requests
        try:
            return self._spoiled_answer(number, environ, start_response)
        finally:
            with self._lock:
                self.in_work -= 1

    def _spoiled_answer(self, number: int, environ: dict[str, Any], start_response: Any) -> Iterable[bytes]:
        with self._lock:
            if environ["REQUEST_METHOD"] == "PUT":
                self.puts[environ["PATH_INFO"]] = self.puts.get(environ["PATH_INFO"], 0) + 1
        if self.slow_every and number % self.slow_every == 0:
            time.sleep(1.0)
        if self.fail_every and number % self.fail_every == 0:
            self.failures += 1
            environ["wsgi.input"].read(int(environ.get("CONTENT_LENGTH") or 0))
            start_response("500 Internal Server Error", [("Content-Type", "application/xml")])
            return [b"<Error><Code>InternalError</Code><Message>We encountered an internal error.</Message></Error>"]
        if environ["REQUEST_METHOD"] == "PUT" and self.hold and self.hold in environ["PATH_INFO"]:
            self.hold = ""
            if not self._whole(environ):
                start_response("400 Bad Request", [("Content-Type", "application/xml")])
                return [b"<Error><Code>IncompleteBody</Code><Message>Bytes are missing.</Message></Error>"]
        answer: Iterable[bytes] = self._app(environ, start_response)
        if environ["REQUEST_METHOD"] == "PUT":
            self.stored.add(environ["PATH_INFO"])
        return answer

    def _whole(self, environ: dict[str, Any]) -> bool:
        """Reads an upload slowly. Of one that breaks off a store keeps nothing."""
        length = int(environ["CONTENT_LENGTH"])
        stream = environ["wsgi.input"]
        data = stream.read(1000)
        self.held.set()
        self.go_on.wait(60)
        try:
            data += stream.read(length - len(data))
        except Exception:  # the server's word for a client that is gone
            pass
        environ["wsgi.input"] = io.BytesIO(data)
        if len(data) < length:
            self.cut_off.set()
        return len(data) == length

    def __enter__(self) -> S3Server:
        self._thread.start()
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None) -> None:
        self._server.shutdown()
        self._thread.join()
