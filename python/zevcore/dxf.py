"""DXF drawings through the library's reader and writer.

Coordinates are in the drawing's unit, angles in degrees counter-clockwise from the x axis.
"""

from __future__ import annotations

from typing import Any, Dict, List

from . import _zevcore

Drawing = _zevcore.Drawing

def read(path: str) -> List[Dict[str, Any]]:
    """The entities of the drawing's ENTITIES section, in file order, each a dict with
    ``type`` ("LINE", "POINT", "CIRCLE", "ARC", "ELLIPSE", "TEXT", "SOLID", "3DFACE",
    "INSERT", "POLYLINE", "DIMENSION"; LWPOLYLINEs come as "POLYLINE"), ``layer`` and
    ``points`` ((x, y) tuples), and as the type has them ``radius``, ``start_angle``,
    ``end_angle``, ``text``, ``height``, ``rotation``, ``closed``, ``bulges``, ``block``.

    Raises ValueError for a file that cannot be read ("cannot read 'x.dxf'") or holds no
    DXF sections ("'x.dxf' holds no DXF sections").
    """
    return _zevcore.read_entities(path)
