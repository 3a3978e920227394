"""Arguments that are not arrays."""

from __future__ import annotations

import math
import operator
from typing import Any, Mapping


def integer(name: str, value: Any, low: int, high: int) -> int:
    """An int in a range; anything that is an integer to Python counts, bool does not."""
    if isinstance(value, bool):
        raise TypeError(f"{name} is a bool; it must be an int, {low} to {high}")
    try:
        number = operator.index(value)
    except TypeError:
        raise TypeError(f"{name} is a {type(value).__name__}; it must be an int, {low} to {high}") from None
    if not low <= number <= high:
        raise ValueError(f"{name} is {number}; it must be {low} to {high}")
    return number


def number(name: str, value: Any, low: float, high: float) -> float:
    """A finite float in a range."""
    if isinstance(value, (str, bytes, bool)):
        raise TypeError(f"{name} is a {type(value).__name__}; it must be a number, {low:g} to {high:g}")
    try:
        result = float(value)
    except (TypeError, ValueError):
        raise TypeError(f"{name} is a {type(value).__name__}; it must be a number, {low:g} to {high:g}") from None
    except OverflowError:
        raise ValueError(f"{name} is out of range; it must be {low:g} to {high:g}") from None
    if not (math.isfinite(result) and low <= result <= high):
        raise ValueError(f"{name} is {result:g}; it must be {low:g} to {high:g}")
    return result


def choice(name: str, value: Any, choices: Mapping[str, int]) -> int:
    """The code of a word."""
    if not isinstance(value, str):
        raise TypeError(f"{name} is a {type(value).__name__}; it must be a str, one of {', '.join(choices)}")
    code = choices.get(value)
    if code is None:
        raise ValueError(f'{name} is "{value:.60}"; it must be one of {", ".join(choices)}')
    return code


def flag(name: str, value: Any) -> int:
    """0 or 1 for a bool."""
    if not isinstance(value, bool):
        raise TypeError(f"{name} is a {type(value).__name__}; it must be True or False")
    return int(value)


def pair(name: str, value: Any) -> tuple[Any, Any]:
    """Two things; one thing that is no sequence counts twice."""
    if isinstance(value, (tuple, list)):
        if len(value) != 2:
            raise ValueError(f"{name} has {len(value)} values; it must have 2")
        return value[0], value[1]
    return value, value
