"""The installed members beside each other, on random pictures."""

from __future__ import annotations

from contextlib import ExitStack
from typing import Any, Callable, Dict, List, NamedTuple

import numpy as np

from ._checks import integer
from ._colour import _exact, convert, copy, copy_region
from ._context import Context
from ._errors import NoMember, Unsupported
from ._fields import change_parity, pan
from ._frames import FORMATS, PACKED, empty
from ._masks import alpha_from_color, alpha_from_difference, average, blend, box_filter, difference
from ._members import members
from ._search import find, find_subpixel

PLAIN = "kv_algoC"


class Check(NamedTuple):
    """What came of one function of one member."""

    member: str
    function: str
    #: Calls that the member did; 0: it does not offer the function.
    calls: int
    #: Empty: every result was that of kv_algoC. Otherwise the first difference.
    difference: str

    @property
    def is_equal(self) -> bool:
        """Whether no call differed."""
        return not self.difference


class _Random:
    """Repeatable arguments."""

    def __init__(self, seed: int) -> None:
        self._numbers = np.random.default_rng(seed)

    def below(self, count: int) -> int:
        return int(self._numbers.integers(count))

    def of(self, values: Any) -> Any:
        return values[self.below(len(values))]

    def frame(self, form: str, width: int, height: int) -> Any:
        made = empty(FORMATS[form], width, height)
        for plane in made if isinstance(made, tuple) else (made,):
            highest = 0x7FFF if form == "rgb555" else np.iinfo(plane.dtype).max
            plane[...] = self._numbers.integers(0, highest, plane.shape, plane.dtype, endpoint=True)
        return made


_Draw = Callable[[_Random, int, int], Callable[[], Any]]


def _convert(random: _Random, width: int, height: int) -> Callable[[], Any]:
    src, dst = random.of(list(FORMATS)), random.of(list(FORMATS))
    a, resample = random.frame(src, width, height), random.of(("linear", "nearest"))
    matrix, range = random.of(("bt601", "bt709", "bt2020")), random.of(("limited", "full"))
    return lambda: convert(a, src, dst, matrix=matrix, range=range, resample=resample, width=width)


def _copy(random: _Random, width: int, height: int) -> Callable[[], Any]:
    src, dst = random.of(_exact), random.of(_exact)
    a = random.frame(src, width, height)
    return lambda: copy(a, src, dst, width=width)


def _copy_region(random: _Random, width: int, height: int) -> Callable[[], Any]:
    form = random.of(PACKED)
    a, out = random.frame(form, width, height), random.frame("uyvy", width, height)
    region = (0, 0, 1 + random.below(width), 1 + random.below(height))
    return lambda: copy_region(a, out.copy(), region, region, src=form, width=width, out_width=width)


def _of_two_packed(function: Callable[..., Any], **most: int) -> _Draw:
    def draw(random: _Random, width: int, height: int) -> Callable[[], Any]:
        form = random.of(PACKED)
        a, b = random.frame(form, width, height), random.frame(form, width, height)
        named = {name: 1 + random.below(value) for name, value in most.items()}
        return lambda: function(a, b, format=form, width=width, **named)

    return draw


def _of_two_grey(function: Callable[..., Any], **most: int) -> _Draw:
    def draw(random: _Random, width: int, height: int) -> Callable[[], Any]:
        a, b = random.frame("gray8", width, height), random.frame("gray8", width, height)
        named = {name: 1 + random.below(value) for name, value in most.items()}
        return lambda: function(a, b, **named)

    return draw


def _box_filter(random: _Random, width: int, height: int) -> Callable[[], Any]:
    a, k = random.frame("gray8", width, height), 1 + random.below(40)
    return lambda: box_filter(a, k)


def _blend(random: _Random, width: int, height: int) -> Callable[[], Any]:
    width += -width % 4
    a, b, mask = (random.frame(form, width, height) for form in ("yuy2", "yuy2", "gray8"))
    return lambda: blend(a, b, mask, format="yuy2")


def _change_parity(random: _Random, width: int, height: int) -> Callable[[], Any]:
    a, order = random.frame("uyvy", width, height), random.of(("top", "bottom"))
    return lambda: change_parity(a, field_order=order, method="blend", width=width)


def _pan(random: _Random, width: int, height: int) -> Callable[[], Any]:
    a, direction = random.frame("yuy2", width + width % 2, height), random.of(("right", "left", "down", "up"))
    size, step = (2 + random.below(width) // 2 * 2, 1 + random.below(height)), random.below(9)
    return lambda: pan(a, size, direction=direction, steps=9, step=step, format="yuy2")


def _search(function: Callable[..., Any]) -> _Draw:
    def draw(random: _Random, width: int, height: int) -> Callable[[], Any]:
        form = random.of(("uyvy", "bgr24", "bgra32"))
        a, b = (random.frame(form, width + 24 + width % 2, height + 24) for _ in "ab")
        at = (12 + random.below(width), 12 + random.below(height))

        def call() -> Any:
            match = function(a, b, at, half=5, range=4, map=True, format=form)
            return match.map.scores, np.array(match[:3])

        return call

    return draw


_functions: Dict[str, _Draw] = {
    "alpha_from_color": _of_two_packed(alpha_from_color, k=20),
    "alpha_from_difference": _of_two_grey(alpha_from_difference, k=20, gain=9),
    "average": _of_two_grey(average),
    "blend": _blend,
    "box_filter": _box_filter,
    "change_parity": _change_parity,
    "convert": _convert,
    "copy": _copy,
    "copy_region": _copy_region,
    "difference": _of_two_packed(difference),
    "find": _search(find),
    "find_subpixel": _search(find_subpixel),
    "pan": _pan,
}


def selftest(rounds: int = 20, *, seed: int = 1) -> List[Check]:
    """Every usable member of the family beside ``kv_algoC``, on random pictures.

    Members run on three threads, ``kv_algoC`` that they are compared with on one. ``kv selftest`` compares with the plain rules, which are in that program.

    Parameters
    ----------
    rounds : int
        Calls of every function, 1 to 1000000.
    seed : int
        The same number draws the same pictures; 0 to 2**63 - 1.

    Returns
    -------
    list of Check
        One for each member and function.

    Raises
    ------
    NoMember
        ``kv_algoC`` is not installed.

    Examples
    --------
    >>> import kv_algo
    >>> all(check.is_equal for check in kv_algo.selftest(2))
    True
    """
    count, start = integer("rounds", rounds, 1, 1000000), integer("seed", seed, 0, 2**63 - 1)
    with ExitStack() as contexts:
        plain = contexts.enter_context(Context(member=PLAIN))
        tested = {one.name: contexts.enter_context(Context(threads=3, member=one.name))
                  for one in members() if one.is_usable}
        calls = {(name, function): 0 for name in tested for function in _functions}
        differences: dict[tuple[str, str], str] = {}
        random = _Random(start)
        for i in range(count):
            for function, draw in _functions.items():
                call = draw(random, 1 + random.below(150), 1 + random.below(60))
                right = _result(plain, call)
                for name, context in tested.items():
                    answer = _result(context, call)
                    if answer is None:
                        continue
                    calls[name, function] += 1
                    if (name, function) not in differences and (found := _difference(answer, right)):
                        differences[name, function] = f"call {i}: {found}"
    return [Check(*key, number, differences.get(key, "")) for key, number in calls.items()]


def _result(context: Context, call: Callable[[], Any]) -> Any:
    """What a call answers, a tuple of arrays; None where the context's member does not offer it."""
    try:
        with context:
            result = call()
    except (NoMember, Unsupported):
        return None
    return result if isinstance(result, tuple) else (result,)


def _difference(answer: Any, right: Any) -> str:
    if right is None:
        return f"{PLAIN} does not offer it"
    for plane, (one, other) in enumerate(zip(answer, right)):
        wrong = np.argwhere(one != other)
        if len(wrong) != 0:
            at = tuple(wrong[0].tolist())
            return f"plane {plane} at {at} is {one[at]}, of {PLAIN} {other[at]}; {len(wrong)} differ"
    return ""
