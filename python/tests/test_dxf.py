import os

import pytest

from zevcore import dxf


def test_every_kind_written_is_read_back(tmp_path):
    drawing = dxf.Drawing()
    drawing.line(0, 0, 10, 5, layer="Lines")
    drawing.polyline([(0, 0), (4, 0), (4, 3)], closed=True, layer="Outline")
    drawing.circle(2, 2, 1.5)
    drawing.arc(5, 5, 2, 30, 150)
    drawing.text("Plate 1", 1, 8, 0.5, layer="Notes")
    path = tmp_path / "kinds.dxf"
    drawing.save(path)
    entities = dxf.read(path)
    assert [(e["type"], e["layer"]) for e in entities] == [
        ("LINE", "Lines"), ("POLYLINE", "Outline"), ("CIRCLE", "0"), ("ARC", "0"),
        ("TEXT", "Notes")]
    line, polyline, circle, arc, text = entities
    assert line["points"] == [(0, 0), (10, 5)]
    assert polyline["points"] == [(0, 0), (4, 0), (4, 3)] and polyline["closed"]
    assert circle["points"] == [(2, 2)] and circle["radius"] == 1.5
    assert (arc["radius"], arc["start_angle"], arc["end_angle"]) == (2, 30, 150)
    assert text["text"] == "Plate 1" and text["height"] == 0.5 and text["points"] == [(1, 8)]


def test_a_drawing_from_another_program_is_read(plate_dxf):
    types = {e["type"] for e in dxf.read(plate_dxf)}
    assert {"POLYLINE", "LINE", "POINT", "TEXT"} == types


@pytest.mark.parametrize(
    "call, message",
    [
        (lambda d: d.circle(0, 0, 0), "a circle's radius must be above 0"),
        (lambda d: d.arc(0, 0, -1, 0, 90), "an arc's radius must be above 0"),
        (lambda d: d.text("x", 0, 0, 0), "a text's height must be above 0"),
        (lambda d: d.polyline([(0, 0)]), "a polyline needs at least two points"),
        (lambda d: d.line(0, 0, 1, 1, layer=""), "a layer's name must have 1 to 511 characters"),
    ],
)
def test_bad_entities_are_refused(call, message):
    with pytest.raises(ValueError) as error:
        call(dxf.Drawing())
    assert str(error.value) == message


def test_a_failed_save_writes_nothing(tmp_path):
    target = tmp_path / "missing" / "x.dxf"
    with pytest.raises(ValueError) as error:
        dxf.Drawing().save(target)
    assert str(error.value) == f"cannot write '{target}'"
    assert not (tmp_path / "missing").exists()


@pytest.mark.parametrize(
    "name, message",
    [
        ("nosuch.dxf", "cannot read 'nosuch.dxf'"),
        (__file__, f"'{__file__}' holds no DXF sections"),
        (os.path.dirname(__file__), f"cannot read '{os.path.dirname(__file__)}': it is a folder"),
    ],
)
def test_files_that_are_no_drawing_are_refused(name, message):
    with pytest.raises(ValueError) as error:
        dxf.read(name)
    assert str(error.value) == message
