"""What of the family is installed."""

from __future__ import annotations

import ctypes
from typing import List, NamedTuple

from . import _library
from ._errors import error_of
from ._library import library


class Member(NamedTuple):
    """A member of the family and what was found of it."""

    name: str
    is_usable: bool
    #: The usable member with the highest is asked first.
    priority: int
    #: What it runs on here, such as "avx2"; empty where it has one level only.
    level: str
    #: Why it is not usable; otherwise empty.
    reason: str


def members() -> List[Member]:
    """The members of the family beside the library.

    Examples
    --------
    >>> import kv_algo
    >>> "kv_algoC" in [member.name for member in kv_algo.members()]
    True
    """
    count = ctypes.c_size_t()
    status = library.kv_members(None, 0, ctypes.byref(count))
    if status == 0:
        found = (_library.Member * max(count.value, 1))()
        for one in found:
            one.struct_size = ctypes.sizeof(_library.Member)
        status = library.kv_members(ctypes.byref(found), count.value, ctypes.byref(count))
    if status != 0:
        raise error_of(status, _library.last_error())
    return [Member(one.name.decode(), bool(one.is_usable), one.priority, one.level.decode(),
                   one.reason.decode("utf-8", "replace")) for one in found[:count.value]]
