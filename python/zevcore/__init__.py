"""ZEVCore for Python: quadrilateral and triangular meshing of planar regions, engineering
quantities with units, arithmetic expressions and DXF drawings.

Lengths and coordinates are plain numbers in whatever unit the caller works in; the mesher
does not convert them. Quantities (``zevcore.units``) are held in the library's internal
units: inches, kips, radians, degrees Fahrenheit, seconds and the units built from these.

The library behind this package keeps process-wide state (the current unit style, the
paver's progress); calls from several threads are taken one at a time.
"""

from __future__ import annotations

from typing import Callable, Iterable, Optional, Sequence

import numpy as np

from . import _zevcore, dxf, units
from ._zevcore import MeshStopped

__all__ = [
    "Mesh",
    "MeshStopped",
    "Expression",
    "dxf",
    "expression",
    "mesh",
    "mesh_dxf",
    "units",
]

METHODS = ("paver", "stated", "extended", "triangle")


class Mesh:
    """A mesh of a planar region.

    ``nodes`` is an (n, 2) float64 array of coordinates, in the region's unit. ``quads`` is
    an (m, 4) int32 array of node indices for the paver's quadrilaterals, counter-clockwise;
    ``triangles`` an (m, 3) array for the triangle mesher. The other is empty.

    ``quality`` holds the report ``zevcore mesh`` prints: ``min_angle`` and ``max_angle``
    (degrees), ``concave``, ``degenerate``, ``max_aspect``, ``mean_aspect``, ``joined``,
    ``covered``, ``folded``, ``misjoined``, ``open_length``, ``outline_length``,
    ``element_area``, ``region_area``, ``missed_interior_points``, ``interior_points`` and
    ``complete``. ``failure`` is None for a usable mesh, else why it is not (an open front,
    folded elements, elements that do not join or cover the region); ``summary`` is the
    report as text and ``messages`` the paver's progress lines. ``mesher_seconds`` is the
    time the library spent meshing, which tells the package's own share of a call apart.
    """

    def __init__(self, result: dict):
        self.nodes: np.ndarray = result["nodes"]
        empty4 = np.zeros((0, 4), dtype=np.int32)
        empty3 = np.zeros((0, 3), dtype=np.int32)
        self.quads: np.ndarray = result.get("quads", empty4)
        self.triangles: np.ndarray = result.get("triangles", empty3)
        self.quality: dict = result["quality"]
        self.method: str = result["method"]
        self.size: float = result["size"]
        self.failure: Optional[str] = result["failure"]
        self.summary: str = result["summary"]
        self.messages: str = result["messages"]
        self.mesher_seconds: float = result["mesher_seconds"]

    @property
    def elements(self) -> np.ndarray:
        """The elements, whichever kind the mesh has."""
        return self.triangles if self.method == "triangle" else self.quads

    def to_meshio(self, dim: int = 2):
        """The mesh as a ``meshio.Mesh``, with points of ``dim`` (2 or 3, z = 0) coordinates
        and one cell block, "quad" or "triangle"; write it with ``.write(path)`` in any
        format meshio knows (Abaqus .inp, Gmsh .msh, VTK .vtu, ...)."""
        import meshio

        if dim not in (2, 3):
            raise ValueError("dim must be 2 or 3")
        points = self.nodes
        if dim == 3:
            points = np.column_stack([points, np.zeros(len(points))])
        kind = "triangle" if self.method == "triangle" else "quad"
        return meshio.Mesh(points, [(kind, self.elements)])

    def __repr__(self) -> str:
        kind = "triangles" if self.method == "triangle" else "quads"
        return (
            f"<zevcore.Mesh {self.method}: {len(self.nodes)} nodes, "
            f"{len(self.elements)} {kind}{'' if self.failure is None else ', failed'}>"
        )


def _options(method: str, size: Optional[float], limit: int, max_area: Optional[float]):
    if method not in METHODS:
        raise ValueError(f"unknown method '{method}' (available: {', '.join(METHODS)})")
    if size is None:
        size = 0.0
    elif not size > 0:
        raise ValueError(f"the size {size} is not a positive number")
    if max_area is None:
        max_area = 0.0
    elif not max_area > 0:
        raise ValueError(f"the largest area {max_area} is not a positive number")
    return float(size), int(limit), float(max_area)


def mesh(
    outer: Sequence[Sequence[float]],
    holes: Iterable[Sequence[Sequence[float]]] = (),
    points: Sequence[Sequence[float]] = (),
    size: Optional[float] = None,
    method: str = "paver",
    *,
    limit: int = 1,
    max_area: Optional[float] = None,
    conforming: bool = False,
    progress: Optional[Callable[[str], Optional[bool]]] = None,
) -> Mesh:
    """Meshes the region inside ``outer`` and outside every hole.

    ``outer`` and each hole are sequences (or (k, 2) arrays) of (x, y) points, in either
    direction, closed or not; ``points`` are interior points the mesh must have nodes on.
    ``size`` is the element size in the coordinates' unit (None: a sixteenth of the larger
    side of the bounding box). ``method``: "paver" (quadrilaterals, the paver's default
    mode), "stated" or "extended" (the paver's two modes by name), or "triangle". ``limit``
    is the paver's iteration limit (1 to 9999); ``max_area`` (default: an equilateral
    triangle of side ``size``) and ``conforming`` (a conforming Delaunay mesh, no angle
    bound) go to the triangle mesher.

    ``progress`` is called with each progress line of the paver; returning False stops it.
    Meshing runs without the interpreter lock; Ctrl+C stops the paver too.

    Raises ValueError for a region that is not one (the message says which loop and why:
    "hole 1: a hole must lie inside the outer boundary"), for a size that would need too
    much work ("the size 0.001 would need ... boundary segments ...") and for coordinates
    beyond 1e15; RuntimeError when the triangle mesher made nothing; MeshStopped when
    ``progress`` returned False; KeyboardInterrupt on Ctrl+C, and whatever ``progress``
    raised. A mesh that fails its checks is returned with ``failure`` saying why.
    """
    size, limit, max_area = _options(method, size, limit, max_area)
    return Mesh(
        _zevcore.mesh_points(
            outer, list(holes), points, size, method, limit, max_area, conforming, progress
        )
    )


def mesh_dxf(
    path: str,
    layers: Optional[Iterable[str]] = None,
    size: Optional[float] = None,
    method: str = "paver",
    *,
    limit: int = 1,
    max_area: Optional[float] = None,
    conforming: bool = False,
    progress: Optional[Callable[[str], Optional[bool]]] = None,
) -> Mesh:
    """Meshes the region drawn in a DXF file, in the drawing's unit.

    Closed polylines, circles and closed chains of lines, arcs and open polylines are the
    loops: the one that lies in no other is the outer boundary, the loops in it holes.
    POINTs are interior points. With ``layers``, only entities on those layers count
    (names blind to case). The other arguments are those of ``mesh``.

    Raises ValueError, with the path, for a file that is not one region ("...: the chain of
    lines is open at (0, 0)", "...: the drawing holds 2 loops that lie in no other (give
    one region)", "...: cannot read the file"), and as ``mesh`` does.
    """
    size, limit, max_area = _options(method, size, limit, max_area)
    names = None if layers is None else [str(layer) for layer in layers]
    return Mesh(
        _zevcore.mesh_dxf(
            path, names, size, method, limit, max_area, conforming, progress
        )
    )


Expression = _zevcore.Expression


def expression(text: str) -> Expression:
    """An arithmetic expression, parsed once: ``+ - * / ^``, ``< >`` giving 1 or 0, ``!``
    for not, ``|x|``, SIN COS TAN COTAN ASIN ACOS ATAN EXP LOG SQRT (angles in radians) and
    variables. Call it with the variables as keywords: ``expression("2*(x+1)")(x=3)``
    gives 8.0. A unary minus takes the whole rest of the expression.

    Raises ValueError for a text that does not parse ("parse error at position 3 of
    '2*(+'"); a call raises ZeroDivisionError on a division by zero and ValueError for a
    variable not given ("variable not found in 'x+1'") or an argument outside a function's
    domain.
    """
    return _zevcore.Expression(text)
