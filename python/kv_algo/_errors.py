"""What the library answers, as exceptions."""

from __future__ import annotations


class Error(Exception):
    """A call that the library refused or could not finish.

    Attributes
    ----------
    code : int
        The status of the C interface, ``KV_BAD_ARGUMENT`` and so on.
    """

    code = 7

    def __init__(self, text: str, code: int | None = None) -> None:
        super().__init__(text)
        if code is not None:
            self.code = code


class BadArgument(Error, ValueError):
    """Out of range or overlapping (code 1)."""

    code = 1


class Unsupported(Error, ValueError):
    """A format, or a pair of formats, that the function does not take (code 2)."""

    code = 2


class SizeMismatch(Error, ValueError):
    """Arrays or regions whose sizes do not fit each other (code 3)."""

    code = 3


class OutOfMemory(Error, MemoryError):
    """The library could not allocate memory (code 4)."""

    code = 4


class Stopped(Error):
    """Ended by `Context.stop`; ``out`` holds part of the result (code 5)."""

    code = 5


class NoMember(Error):
    """No installed member of the family offers it (code 6)."""

    code = 6


_classes: tuple[type[Error], ...] = (BadArgument, Unsupported, SizeMismatch, OutOfMemory, Stopped, NoMember)


def error_of(code: int, text: str) -> Error:
    """The exception for a status that is not 0."""
    for one in _classes:
        if one.code == code:
            return one(text)
    return Error(text, code)
