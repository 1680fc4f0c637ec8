"""Engineering quantities as the library reads and shows them.

Values are in the library's internal unit of their category: inches, kips, radians,
degrees Fahrenheit, seconds, and the units built from these (square inches, kips per inch,
...). A text is read and shown in a unit style ("USA (Mixed)", "Newtons & Meters", ...):
``style`` takes a style's name, short name or number; None means the style stored in the
user's settings.

Categories go by short keys ("length" or "length_small", "length_large", "force",
"moment", "stress", ...; see CATEGORIES) or by the library's names ("Length (small)").
"""

from __future__ import annotations

from typing import Dict, Optional, Tuple, Union

from . import _zevcore

Style = Union[str, int, None]

STYLES: Tuple[str, ...] = tuple(_zevcore.style_names())
"""The unit styles' names, by number."""

CATEGORIES: Dict[str, str] = dict(_zevcore.category_names())
"""Short key -> the library's name of each category."""

RANGES = ("any", "nonzero", "nonnegative", "positive")


def parse(text: str, category: str, style: Style = None, range: str = "any") -> float:
    """The internal value of a typed entry: ``parse("5' 6 1/2\\"", "length")`` is 66.5
    (inches). A number without a unit is in the style's unit; an entry may be an
    expression ("2*3 ft"). ``range`` is "any", "nonzero", "nonnegative" or "positive".

    Raises ValueError with the library's message for the user: "No value found, please
    enter a number.", "Please use one of these units: { ... }", or the range's message.
    """
    return _zevcore.parse(str(text), category, style, range)


def format(value: float, category: str, style: Style = None, unit: bool = True) -> str:
    """The text the style shows for an internal value: ``format(66.5, "length",
    style="USA (Mixed)")``. With ``unit`` False, the number alone.

    Raises ValueError for an unknown category or style.
    """
    return _zevcore.format(float(value), category, style, unit)


def label(category: str, style: Style = None) -> str:
    """The label of the unit the style shows the category in ("in", "mm", ...)."""
    return _zevcore.unit_label(category, style)


def current_style() -> str:
    """The name of the style stored in the user's settings."""
    return _zevcore.current_style()
