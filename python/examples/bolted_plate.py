#!/usr/bin/python3
"""A steel plate with bolt holes, from a DXF drawing to an Abaqus input file and a picture.

    bolted_plate.py [DRAWING.dxf] [--out FOLDER] [--size 10]

Without a drawing, one is drawn first (FOLDER/bolted_plate.dxf): a 300 x 200 plate, four
bolt holes of 22 diameter and a 60 diameter opening, on layer PLATE, with a title on layer
NOTES that the mesher leaves alone. The plate is meshed in quadrilaterals, written as
FOLDER/bolted_plate.inp (Abaqus, plane-stress CPS4 elements by meshio) and drawn with its
elements coloured by their smallest corner angle as FOLDER/bolted_plate.png.
"""

import argparse
import pathlib

import matplotlib

matplotlib.use("Agg")  # no display needed
import matplotlib.pyplot as plt  # noqa: E402
import meshio  # noqa: E402
import numpy as np  # noqa: E402
from matplotlib.collections import PolyCollection  # noqa: E402

import zevcore  # noqa: E402


def draw_plate(path: pathlib.Path) -> None:
    drawing = zevcore.dxf.Drawing()
    drawing.polyline([(0, 0), (300, 0), (300, 200), (0, 200)], closed=True, layer="PLATE")
    for x, y in [(40, 40), (260, 40), (260, 160), (40, 160)]:
        drawing.circle(x, y, 11, layer="PLATE")
    drawing.circle(150, 100, 30, layer="PLATE")
    drawing.text("Plate P1, 12 thick", 0, 210, 8, layer="NOTES")
    drawing.save(path)


def smallest_angles(nodes: np.ndarray, quads: np.ndarray) -> np.ndarray:
    corners = nodes[quads]
    to_next = np.roll(corners, -1, axis=1) - corners
    to_prev = np.roll(corners, 1, axis=1) - corners
    cos = np.sum(to_next * to_prev, axis=2) / (
        np.linalg.norm(to_next, axis=2) * np.linalg.norm(to_prev, axis=2))
    return np.degrees(np.arccos(np.clip(cos, -1, 1))).min(axis=1)


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("drawing", nargs="?", type=pathlib.Path)
    parser.add_argument("--out", type=pathlib.Path, default=pathlib.Path("."))
    parser.add_argument("--size", type=float, default=10.0)
    args = parser.parse_args()
    args.out.mkdir(parents=True, exist_ok=True)

    drawing = args.drawing
    if drawing is None:
        drawing = args.out / "bolted_plate.dxf"
        draw_plate(drawing)

    mesh = zevcore.mesh_dxf(drawing, layers=["PLATE"], size=args.size, method="extended")
    print(mesh.summary, end="")
    if mesh.failure:
        raise SystemExit(f"{drawing}: {mesh.failure}")

    # meshio would call a quadrilateral CAX4P (axisymmetric); a plate in plane stress is CPS4.
    model = mesh.to_meshio()
    model.cells[0].type = "CPS4"
    inp = args.out / "bolted_plate.inp"
    meshio.write(inp, model, file_format="abaqus", translate_cell_names=False)

    angles = smallest_angles(mesh.nodes, mesh.quads)
    fig, ax = plt.subplots(figsize=(9, 6.4), dpi=100)
    cells = PolyCollection(mesh.nodes[mesh.quads], array=angles, cmap="RdYlGn",
                           edgecolors="black", linewidths=0.3)
    cells.set_clim(45, 90)
    ax.add_collection(cells)
    ax.set_aspect("equal")
    ax.autoscale_view()
    ax.set_title(f"{len(mesh.quads)} quadrilaterals, size {args.size:g}: "
                 f"angles {mesh.quality['min_angle']:.0f} to {mesh.quality['max_angle']:.0f} degrees")
    fig.colorbar(cells, ax=ax, shrink=0.8, label="smallest corner angle (degrees)")
    fig.tight_layout()
    png = args.out / "bolted_plate.png"
    fig.savefig(png)
    print(f"wrote {inp} and {png}")


if __name__ == "__main__":
    main()
