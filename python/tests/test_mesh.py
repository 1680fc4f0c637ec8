import os
import signal
import threading

import meshio
import numpy as np
import pytest

import zevcore

SQUARE = [(0, 0), (10, 0), (10, 10), (0, 10)]
HOLE = [(4, 4), (6, 4), (6, 6), (4, 6)]


def signed_areas(nodes, elements):
    corners = nodes[elements]
    x, y = corners[..., 0], corners[..., 1]
    return 0.5 * np.sum(x * np.roll(y, -1, axis=1) - np.roll(x, -1, axis=1) * y, axis=1)


@pytest.mark.parametrize(
    "method, kind, corners",
    [("stated", "quads", 4), ("paver", "quads", 4), ("triangle", "triangles", 3)],
)
def test_a_plate_with_a_hole_is_covered_by_counter_clockwise_elements(method, kind, corners):
    mesh = zevcore.mesh(SQUARE, holes=[HOLE], size=1.0, method=method)
    assert mesh.failure is None
    assert mesh.nodes.dtype == np.float64 and mesh.nodes.shape[1] == 2
    elements = getattr(mesh, kind)
    assert elements.dtype == np.int32 and elements.shape[1] == corners and len(elements) > 50
    other = mesh.triangles if kind == "quads" else mesh.quads
    assert len(other) == 0
    assert np.all(signed_areas(mesh.nodes, elements) > 0)
    assert mesh.quality["covered"] and mesh.quality["joined"]
    assert mesh.quality["region_area"] == pytest.approx(96.0)
    assert np.sum(signed_areas(mesh.nodes, elements)) == pytest.approx(96.0)
    assert f"covered:           yes (elements 96 of region 96" in mesh.summary


def test_loops_are_taken_in_either_direction_closed_or_not():
    closed_clockwise = SQUARE[::-1] + [SQUARE[-1]]
    a = zevcore.mesh(SQUARE, size=2.0, method="triangle")
    b = zevcore.mesh(np.array(closed_clockwise, dtype=float), size=2.0, method="triangle")
    assert a.quality["region_area"] == b.quality["region_area"] == pytest.approx(100.0)


def test_an_interior_point_becomes_a_node():
    mesh = zevcore.mesh(SQUARE, points=[(3.3, 7.7)], size=2.0, method="triangle")
    assert np.any(np.all(np.isclose(mesh.nodes, (3.3, 7.7)), axis=1))
    assert mesh.quality["missed_interior_points"] == 0
    assert mesh.quality["interior_points"] == 1


def test_the_default_size_is_a_sixteenth_of_the_larger_side():
    assert zevcore.mesh(SQUARE, method="triangle").size == pytest.approx(10 / 16)


@pytest.mark.parametrize(
    "outer, holes, size, message",
    [
        ([(0, 0), (1, 0)], [], None,
         "the outer boundary: a loop needs at least three different points"),
        ([(0, 0), (2, 2), (2, 0), (0, 2)], [], None,
         "the outer boundary: the loop crosses itself"),
        (SQUARE, [[(20, 20), (21, 20), (21, 21)]], None,
         "hole 1: a hole must lie inside the outer boundary"),
        (SQUARE, [HOLE, [(5, 5), (7, 5), (7, 7), (5, 7)]], None,
         "hole 2: the loop crosses an earlier loop"),
        (SQUARE, [HOLE, [(4.5, 4.5), (5.5, 4.5), (5, 5.5)]], None,
         "hole 2: a hole lies inside another hole"),
        ([(0, 0), (float("nan"), 0), (1, 1)], [], None,
         "the outer boundary: a coordinate is not a finite number"),
        ([(0, 0), (1e300, 0), (1, 1)], [], None,
         "the region has a coordinate of 1e+300 (at most 1e+15: move it nearer 0)"),
        (SQUARE, [], 1e-4,
         "the size 0.0001 would need 4e+05 boundary segments (at most 100000; give a larger size)"),
        (SQUARE, [], -1.0, "the size -1.0 is not a positive number"),
        ([[0, 0, 0], [1, 0, 0], [1, 1, 0]], [], None, "outer must be a sequence of (x, y) pairs"),
    ],
)
def test_a_region_that_is_not_one_is_refused_with_its_reason(outer, holes, size, message):
    with pytest.raises(ValueError) as error:
        zevcore.mesh(outer, holes=holes, size=size)
    assert str(error.value) == message


def test_an_unknown_method_is_refused():
    with pytest.raises(ValueError, match=r"^unknown method 'quad' \(available: paver, stated, "
                                         r"extended, triangle\)$"):
        zevcore.mesh(SQUARE, method="quad")


@pytest.mark.parametrize("suffix, kind", [(".inp", "quad"), (".msh", "quad"), (".vtu", "quad")])
def test_a_mesh_goes_through_meshio_and_back_unchanged(tmp_path, suffix, kind):
    mesh = zevcore.mesh(SQUARE, holes=[HOLE], size=1.0, method="extended")
    path = tmp_path / f"plate{suffix}"
    mesh.to_meshio(dim=3).write(path)
    back = meshio.read(path)
    assert np.allclose(back.points[:, :2], mesh.nodes)
    assert np.array_equal(back.cells_dict[kind], mesh.quads)


def test_triangles_go_to_meshio_as_triangles():
    mesh = zevcore.mesh(SQUARE, size=2.0, method="triangle")
    converted = mesh.to_meshio()
    assert converted.points.shape == (len(mesh.nodes), 2)
    assert np.array_equal(converted.cells_dict["triangle"], mesh.triangles)


def test_progress_lines_reach_the_callback():
    lines = []
    mesh = zevcore.mesh(SQUARE, size=1.0, method="stated", progress=lines.append)
    assert "Preparing shape for mesher..." in lines
    assert mesh.messages.startswith("Preparing shape for mesher...\n")


def test_a_callback_answering_false_stops_the_paver():
    calls = []

    def stop_at_once(line):
        calls.append(line)
        return False

    with pytest.raises(zevcore.MeshStopped, match="^meshing was stopped$"):
        zevcore.mesh(SQUARE, size=0.5, method="stated", progress=stop_at_once)
    assert len(calls) == 1


def test_what_the_callback_raises_stops_the_paver_and_comes_out():
    def fail(line):
        raise LookupError("enough: " + line)

    with pytest.raises(LookupError, match="^enough: Preparing shape for mesher...$"):
        zevcore.mesh(SQUARE, size=0.5, method="stated", progress=fail)
    # The library is usable afterwards.
    assert zevcore.mesh(SQUARE, size=2.0).failure is None


def test_ctrl_c_stops_a_long_mesh():
    started = threading.Event()

    def interrupt():
        started.wait(30)
        os.kill(os.getpid(), signal.SIGINT)

    def first_line(line):
        started.set()

    threading.Thread(target=interrupt, daemon=True).start()
    lines = []
    with pytest.raises(KeyboardInterrupt):
        zevcore.mesh([(0, 0), (400, 0), (400, 400), (0, 400)], size=0.5, method="stated",
                     progress=lambda line: (lines.append(line), first_line(line))[-1])
    assert "Smoothing the mesh..." not in lines


def test_a_drawing_is_meshed_with_its_hole_and_point(plate_dxf):
    mesh = zevcore.mesh_dxf(plate_dxf)
    assert mesh.failure is None
    assert mesh.quality["region_area"] == pytest.approx(91.0)
    assert mesh.quality["interior_points"] == 1
    assert mesh.quality["missed_interior_points"] == 0


# The extended mode divides a polyline drawn for a curve afresh, so its elements cover the
# region as it meshed it; checked against the drawn chords, a plate with round holes was called
# open.
def test_extended_mesh_of_round_holes_is_checked_against_the_region_as_meshed(tmp_path):
    drawing = zevcore.dxf.Drawing()
    drawing.polyline([(0, 0), (300, 0), (300, 200), (0, 200)], closed=True)
    drawing.circle(60, 60, 11)
    drawing.circle(150, 100, 30)
    path = tmp_path / "holes.dxf"
    drawing.save(path)
    mesh = zevcore.mesh_dxf(path, size=10, method="extended")
    assert mesh.failure is None
    assert mesh.quality["joined"] and mesh.quality["covered"]


def test_only_the_layers_asked_for_are_read(tmp_path):
    drawing = zevcore.dxf.Drawing()
    drawing.polyline(SQUARE, closed=True, layer="Plate")
    drawing.circle(5, 5, 1, layer="Plate")
    drawing.polyline([(20, 0), (30, 0), (30, 10)], closed=True, layer="Notes")
    path = tmp_path / "two.dxf"
    drawing.save(path)
    with pytest.raises(ValueError) as error:
        zevcore.mesh_dxf(path)
    assert str(error.value) == (f"{path}: the drawing holds 2 loops that lie in no other "
                                "(give one region)")
    mesh = zevcore.mesh_dxf(path, layers=["PLATE"], size=1.0, method="triangle")
    assert mesh.quality["region_area"] == pytest.approx(100 - np.pi, rel=0.01)


@pytest.mark.parametrize(
    "name, message",
    [
        ("nosuch.dxf", "nosuch.dxf: cannot read the file"),
        (os.path.dirname(__file__), f"{os.path.dirname(__file__)}: cannot read the file: it is a folder"),
    ],
)
def test_a_drawing_that_cannot_be_read_is_refused(name, message):
    with pytest.raises(ValueError) as error:
        zevcore.mesh_dxf(name)
    assert str(error.value) == message
