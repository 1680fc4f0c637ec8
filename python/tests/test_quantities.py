import pytest

import zevcore
from zevcore import units


@pytest.mark.parametrize(
    "text, category, style, internal",
    [
        ("5' 6 1/2\"", "length", None, 66.5),
        ("1 ft", "length", None, 12.0),
        ("25.4 mm", "Length (small)", None, 1.0),
        ("2*3 in", "length", None, 6.0),
        ("10", "length", "Newtons & Meters", 10 / 0.0254),
        ("10", "length", "N-M", 10 / 0.0254),
        ("10", "length", 8, 10 / 0.0254),
        ("1 kN", "force", None, 0.2248089428601806),
        ("90 deg", "angle", None, 1.5707963267948966),
        ("1 ksi", "stress", None, 1.0),
    ],
)
def test_entries_are_read_into_internal_units(text, category, style, internal):
    assert units.parse(text, category, style=style) == pytest.approx(internal)


@pytest.mark.parametrize(
    "text, category, range, message",
    [
        ("", "length", "any", "No value found, please enter a number."),
        ("-", "length", "any", "No value found, please enter a number."),
        ("5 kg", "length", "any", "Please use one of these units: { in, ft, yd, mm, cm, m }"),
        ("32 F", "temperature", "any", "Please use one of these units: { deg-F, deg-C }"),
        ("-1", "length", "positive", "Please enter a positive value."),
        ("0", "length", "nonzero", "Please enter a non-zero value."),
        ("1", "lenght", "any", "unknown category 'lenght'"),
        ("1", "length", "small", "unknown range 'small' (available: any, nonzero, nonnegative, positive)"),
    ],
)
def test_refused_entries_raise_the_message_for_the_user(text, category, range, message):
    with pytest.raises(ValueError) as error:
        units.parse(text, category, range=range)
    assert str(error.value) == message


@pytest.mark.parametrize(
    "value, category, style, shown, label",
    [
        (66.5, "length", "USA (Mixed)", "66.50 in", "in"),
        (66.5, "length", "Newtons & Meters", "1.689 m", "m"),
        (1.0, "force", "kNewtons & Meters", "4.448 kN", "kN"),
        (3.14159265, "angle", None, "180.0 deg", "deg"),
    ],
)
def test_values_are_shown_in_the_style(value, category, style, shown, label):
    assert units.format(value, category, style=style) == shown
    assert units.format(value, category, style=style, unit=False) == shown.split()[0]
    assert units.label(category, style) == label


def test_a_style_asked_for_does_not_stay():
    units.format(1.0, "length", style="Newtons & Meters")
    assert units.current_style() == "USA (Mixed)"
    assert units.parse("10", "length") == 10.0


def test_the_styles_and_categories_are_named():
    assert units.STYLES[0] == "USA (Mixed)" and units.STYLES[8] == "Newtons & Meters"
    assert len(units.STYLES) == 11
    assert units.CATEGORIES["length_small"] == "Length (small)" and len(units.CATEGORIES) == 28
    with pytest.raises(ValueError, match=r"^unknown unit style 'SI'$"):
        units.format(1.0, "length", style="SI")


@pytest.mark.parametrize(
    "text, variables, value",
    [
        ("2*(x+1)", {"x": 3}, 8.0),
        ("x^2+y", {"x": 3, "y": 0.5}, 9.5),
        ("SQRT(a)", {"a": 16}, 4.0),
        ("3>2", {}, 1.0),
        ("1e3", {}, 1000.0),
        ("-2+3", {}, -5.0),  # a unary minus takes the whole rest
    ],
)
def test_an_expression_is_parsed_once_and_evaluated_with_its_variables(text, variables, value):
    expression = zevcore.expression(text)
    assert expression(**variables) == pytest.approx(value)
    assert expression.variables == sorted(variables)
    assert expression.text == text


def test_an_expression_is_evaluated_again_with_new_values():
    expression = zevcore.expression("2*(x+1)")
    assert [expression(x=x) for x in range(4)] == [2.0, 4.0, 6.0, 8.0]


@pytest.mark.parametrize(
    "text, variables, error, message",
    [
        ("2*(+", {}, ValueError, "parse error at position 3 of '2*(+'"),
        ("x+1", {}, ValueError, "variable not found: x in 'x+1'"),
        ("1/y", {"y": 0}, ZeroDivisionError, "division by zero"),
        ("SQRT(y)", {"y": -1}, ValueError, "argument outside the function's domain in 'SQRT(y)'"),
    ],
)
def test_expression_errors_carry_their_message(text, variables, error, message):
    with pytest.raises(error) as raised:
        zevcore.expression(text)(**variables)
    assert str(raised.value) == message
