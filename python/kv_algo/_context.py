"""Contexts: on how many threads, and by which member, calls run."""

from __future__ import annotations

import ctypes
import os
import threading
import weakref
from contextvars import ContextVar, Token
from types import TracebackType
from typing import Any, Generator

from . import _library
from ._checks import integer
from ._errors import error_of
from ._library import library

_call_size = ctypes.sizeof(_library.Call)


def _look_for_signals(caught: list[BaseException]) -> Generator[int, Any, None]:
    """Answers 0 until a signal's handler raises, then 1.

    A generator that is resumed inside its ``try``: Python runs handlers there, so none raises outside of it.
    """
    try:
        while True:
            yield 0
    except GeneratorExit:
        return
    except BaseException as error:  # whatever the handler raised is raised again after the call
        caught.append(error)
    while True:
        yield 1


class _Signals:
    """What the library asks, now and then during a call of the main thread, whether a signal ends it."""

    __slots__ = ("caught", "call", "_keep")

    def __init__(self) -> None:
        self.caught: list[BaseException] = []
        signals = _look_for_signals(self.caught)
        next(signals)
        self._keep = _library.Call(_call_size, 0, None, _library.Poll(signals.send))
        self.call = ctypes.byref(self._keep)


_idle: list[_Signals] = []


class Context:
    """Threads and choice of members for the calls inside a ``with`` block.

    Parameters
    ----------
    threads : int
        Threads of a call, 1 to 256, the caller's among them; 0: as many as the machine runs at once. The result is
        the same for every number.
    member : str, optional
        The one member of the family to use, such as ``"kv_algoC"``; None: the best that can do a thing.

    Raises
    ------
    NoMember
        No usable member has that name.

    Notes
    -----
    Several threads may call in one context. After a fork the child makes threads of its own.

    Examples
    --------
    >>> import numpy as np, kv_algo
    >>> grey = np.arange(12, dtype=np.uint8).reshape(3, 4)
    >>> with kv_algo.Context(threads=2, member="kv_algoC"):
    ...     print(kv_algo.box_filter(grey, 3)[1, 1])
    5
    """

    def __init__(self, *, threads: int = 1, member: str | None = None) -> None:
        self._handle: int | None = None
        self._closed = True
        self._threads = integer("threads", threads, 0, 256)
        if member is not None and not isinstance(member, str):
            raise TypeError(f"member is a {type(member).__name__}; it must be a str or None")
        self._member = member
        self._lock = threading.RLock()
        self._calls = 0
        self._tokens: list[Token[Context | None]] = []
        self._closed = False
        self._open()
        _contexts.add(self)

    def _open(self) -> int:
        options = _library.ContextOptions()
        library.kv_context_options_init(ctypes.byref(options))
        options.threads = self._threads
        options.member = None if self._member is None else self._member.encode()
        handle = ctypes.c_void_p()
        status = library.kv_context_new(ctypes.byref(options), ctypes.byref(handle))
        if status != 0:
            raise error_of(status, _library.last_error())
        assert handle.value is not None
        self._handle = handle.value
        return handle.value

    def __enter__(self) -> Context:
        if self._closed:
            raise ValueError("the context is closed; make another")
        self._tokens.append(_current.set(self))
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None,
                 trace: TracebackType | None) -> None:
        _current.reset(self._tokens.pop())
        if not self._tokens:
            self.close()

    def close(self) -> None:
        """Frees the threads when the calls that run have ended; later calls in the context are refused."""
        with self._lock:
            self._closed = True
            self._free_if_idle()

    def __del__(self) -> None:
        if self._handle is not None:
            library.kv_context_free(self._handle)
            self._handle = None

    def stop(self) -> None:
        """Ends the calls that run in the context with `Stopped`, from any thread."""
        with self._lock:
            if self._handle is not None:
                library.kv_stop(self._handle)

    def _free_if_idle(self) -> None:
        if self._closed and self._calls == 0 and self._handle is not None:
            library.kv_context_free(self._handle)
            self._handle = None

    def _after_fork(self) -> None:
        # The parent's threads are not in the child; what belonged to them is left as it is.
        self._handle = None
        self._lock = threading.RLock()
        self._calls = 0

    def _run(self, function: Any, arguments: tuple[Any, ...]) -> None:
        with self._lock:
            if self._closed:
                raise ValueError("the context is closed; make another")
            handle = self._handle
            if handle is None:
                handle = self._open()
            self._calls += 1
        signals = None
        try:
            if threading.current_thread() is threading.main_thread():
                # A handler of a signal that ends up here may call, too: then it takes another.
                signals = _idle.pop() if _idle else _Signals()
            status = function(handle, *arguments, None if signals is None else signals.call)
            text = _library.last_error() if status != 0 else ""
        finally:
            with self._lock:
                self._calls -= 1
                if self._closed:
                    self._free_if_idle()
        if signals is not None:
            if signals.caught:
                raise signals.caught[0]
            _idle.append(signals)
        if status != 0:
            raise error_of(status, text)


_contexts: weakref.WeakSet[Context] = weakref.WeakSet()
_current: ContextVar[Context | None] = ContextVar("kv_algo_context", default=None)
_default: Context | None = None
_default_lock = threading.RLock()


def set_threads(threads: int) -> None:
    """Threads of the calls outside every `Context`: at first 1, the caller's own.

    Parameters
    ----------
    threads : int
        1 to 256, or 0: as many as the machine runs at once.

    Examples
    --------
    >>> import kv_algo
    >>> kv_algo.set_threads(2)
    >>> kv_algo.set_threads(1)
    """
    global _default
    made = Context(threads=threads)
    with _default_lock:
        _default = made  # the one before is freed with its last call


def run(function: Any, *arguments: Any) -> None:
    """Calls a function of the library in the current context."""
    context = _current.get()
    while context is None:
        context = _default_context()
    context._run(function, arguments)


def _default_context() -> Context:
    global _default
    with _default_lock:
        if _default is None:
            _default = Context()
        return _default


def _after_fork() -> None:
    global _default_lock
    _default_lock = threading.RLock()
    for context in list(_contexts):
        context._after_fork()


os.register_at_fork(after_in_child=_after_fork)
