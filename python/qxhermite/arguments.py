"""What the options of the calls may be: a wrong one is told under its name, before any work."""

from __future__ import annotations

import operator
import os
import reprlib
from functools import partial
from typing import Any, Mapping

import numpy as np

from qxhermite._core import HermiteOptions

_LARGEST = 2**32 - 1  # that the library counts to


def _wrong(name, what, value):
    return TypeError(f"{name}: must be {what}, got {reprlib.repr(value)}")


def whole(name: str, value: Any, least: int = 0, most: int = _LARGEST) -> int:
    """The value as an int of this range."""
    try:
        if isinstance(value, (bool, np.bool_)):
            raise TypeError
        result = operator.index(value)
    except TypeError:
        raise _wrong(name, "a whole number", value) from None
    if result < least:
        raise ValueError(f"{name}: must be at least {least}, got {result}")
    if result > most:
        raise ValueError(f"{name}: must be at most {most}, got {result}")
    return result


def number(name: str, value: Any) -> float:
    """The value as a float."""
    try:
        # float() would take texts too.
        if isinstance(value, (str, bytes, bytearray, bool, np.bool_)):
            raise TypeError
        return float(value)
    except TypeError:
        raise _wrong(name, "a number", value) from None
    except OverflowError:
        raise ValueError(f"{name}: is too large") from None


def flag(name: str, value: Any) -> bool:
    """The value as a bool: any text would be true."""
    if isinstance(value, (bool, np.bool_)) or (isinstance(value, int) and value in (0, 1)):
        return bool(value)
    raise _wrong(name, "True or False", value)


def text(name: str, value: Any) -> str:
    """The value, which is a str."""
    if not isinstance(value, str):
        raise _wrong(name, "a text", value)
    return value


def path(name: str, value: Any) -> str:
    """The name of a file as a str."""
    if not isinstance(value, (str, os.PathLike)):
        raise _wrong(name, "the name of a file", value)
    return os.fspath(value)


def array(name: str, value: Any) -> np.ndarray:
    """The value as an array of float, of any shape."""
    try:
        return np.asarray(value, dtype=float)
    except (TypeError, ValueError) as error:
        raise type(error)(f"{name}: {error}") from None


def _options(name, value):
    if not isinstance(value, HermiteOptions):
        raise _wrong(name, "a HermiteOptions", value)


_count = partial(whole, least=1)
_degree = partial(whole, most=100)

# An option is the same kind of thing wherever there is one of its name.
_KINDS = dict(
    blur=number,
    center=flag,
    charge_offset=number,
    charge_sigma=number,
    charge_weight=number,
    coarse=_degree,
    conformer=partial(whole, least=-_LARGEST),
    cut=number,
    degree=_degree,
    format=text,
    functions=_count,
    group=flag,
    hydrogens=flag,
    in_place=flag,
    iterations=_count,
    keep=_count,
    max_atoms=whole,
    memory=whole,
    method=text,
    min_distance=number,
    neutral=flag,
    options=_options,
    poses=_count,
    polish=whole,
    progress=flag,
    radius=number,
    record=_count,
    single_width=flag,
    spacing=number,
    start_distance=number,
    starts=whole,
    target_error=number,
    threads=_count,
    threshold=number,
    title=text,
    tolerance=number,
    use_field=flag,
    use_potential=flag,
    value_fraction=number,
    width=number,
)


def check(given: Mapping[str, Any], *may_be_none: str) -> None:
    """Refuses what cannot be the value of an option, out of the arguments of a call by name."""
    for name, value in given.items():
        if name in _KINDS and not (value is None and name in may_be_none):
            _KINDS[name](name, value)
