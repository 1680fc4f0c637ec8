#!/usr/bin/python3
"""Writes the drawings of the DXF tests the way a CAD program writes them, through ezdxf
(Debian's python3-ezdxf). The files are kept in the tree, so the tests need no ezdxf; run
this again (from any folder) only to change them."""

import math
import os

import ezdxf

HERE = os.path.dirname(os.path.abspath(__file__))


def rounded_rectangle(width, height, radius):
    """Corners rounded by bulges: a quarter turn is a bulge of tan(22.5 degrees)."""
    b = math.tan(math.radians(90) / 4)
    r = radius
    return [
        (r, 0, 0, 0, 0), (width - r, 0, 0, 0, b),
        (width, r, 0, 0, 0), (width, height - r, 0, 0, b),
        (width - r, height, 0, 0, 0), (r, height, 0, 0, b),
        (0, height - r, 0, 0, 0), (0, r, 0, 0, b),
    ]


def plate_mm():
    """A plate in millimetres: outline and holes on PLATE, centre lines on CENTER, a
    dimension on DIMS, a title in MTEXT and a TEXT on a layer with a non-ASCII name."""
    doc = ezdxf.new("R2000", units=4)
    for name, color in (("PLATE", 7), ("CENTER", 1), ("DIMS", 3), ("Beschriftung_ä", 5)):
        doc.layers.add(name, color=color)
    msp = doc.modelspace()
    msp.add_lwpolyline(rounded_rectangle(300, 200, 20), format="xyseb", close=True,
                       dxfattribs={"layer": "PLATE"})
    for x in (80, 220):
        msp.add_circle((x, 100), 20, dxfattribs={"layer": "PLATE"})
        msp.add_line((x - 30, 100), (x + 30, 100), dxfattribs={"layer": "CENTER"})
        msp.add_line((x, 70), (x, 130), dxfattribs={"layer": "CENTER"})
    # A slot: two straight sides and two half circles as bulges.
    msp.add_lwpolyline([(130, 40, 0, 0, 0), (170, 40, 0, 0, 1), (170, 60, 0, 0, 0),
                        (130, 60, 0, 0, 1)], format="xyseb", close=True,
                       dxfattribs={"layer": "PLATE"})
    dim = msp.add_linear_dim(base=(150, -20), p1=(0, 0), p2=(300, 0),
                             dxfattribs={"layer": "DIMS"})
    dim.render()
    msp.add_mtext("{\\fArial|b1;Plate} P1\\PThickness 10 mm, holes %%c40",
                  dxfattribs={"layer": "Beschriftung_ä", "char_height": 8,
                              "insert": (0, 240)})
    msp.add_text("Löcher Ø40", dxfattribs={"layer": "Beschriftung_ä", "height": 5,
                                           "insert": (0, 220)})
    doc.saveas(os.path.join(HERE, "plate_mm.dxf"))


def block_region(version, name):
    """A region built from blocks: four sides of one block, inserted turned; holes from a
    scaled, nested block and a MINSERT of two rows and two columns. No units."""
    doc = ezdxf.new(version)
    for var in ("$INSUNITS", "$MEASUREMENT"):
        if var in doc.header:
            del doc.header[var]
    doc.layers.add("OUTLINE", color=7)
    side = doc.blocks.new("SIDE")
    side.add_line((0, 0), (100, 0))
    hole = doc.blocks.new("HOLE", base_point=(1, 1))
    hole.add_circle((1, 1), 1)
    pair = doc.blocks.new("PAIR")
    pair.add_blockref("HOLE", (0, 0), dxfattribs={"xscale": 8, "yscale": 8})
    pair.add_blockref("HOLE", (0, 25), dxfattribs={"xscale": 8, "yscale": 8})
    bolt = doc.blocks.new("BOLT")
    bolt.add_circle((0, 0), 3)
    msp = doc.modelspace()
    for x, y, angle in ((0, 0, 0), (100, 0, 90), (100, 100, 180), (0, 100, 270)):
        msp.add_blockref("SIDE", (x, y), dxfattribs={"rotation": angle, "layer": "OUTLINE"})
    msp.add_blockref("PAIR", (30, 35), dxfattribs={"layer": "OUTLINE"})
    bolts = msp.add_blockref("BOLT", (60, 30), dxfattribs={"layer": "OUTLINE"})
    bolts.grid(size=(2, 2), spacing=(20, 20))  # a MINSERT: rows, columns
    msp.add_point((50, 90), dxfattribs={"layer": "OUTLINE"})
    doc.saveas(os.path.join(HERE, name))


def frame_blocks():
    """A frame of members, each a block of a rectangle, placed by a bay block that is
    inserted again rotated and mirrored."""
    doc = ezdxf.new("R12")
    member = doc.blocks.new("MEMBER")
    member.add_polyline2d([(0, 0), (100, 0), (100, 6), (0, 6)], close=True)
    member.add_arc((50, 3), 2, 0, 180)
    bay = doc.blocks.new("BAY")
    bay.add_blockref("MEMBER", (0, 0))
    bay.add_blockref("MEMBER", (6, 0), dxfattribs={"rotation": 90})
    bay.add_blockref("MEMBER", (106, 0), dxfattribs={"rotation": 90})
    bay.add_blockref("MEMBER", (0, 100))
    msp = doc.modelspace()
    msp.add_blockref("BAY", (0, 0))
    msp.add_blockref("BAY", (300, 0), dxfattribs={"xscale": -1})
    msp.add_blockref("BAY", (0, 120), dxfattribs={"xscale": 0.5, "yscale": 0.5,
                                                   "rotation": 30})
    doc.saveas(os.path.join(HERE, "frame_blocks.dxf"))


def metres_2018():
    """R2018 in metres, UTF-8 throughout: an outline with an elliptical hole on a layer with
    a non-ASCII name, a hatch and a title."""
    doc = ezdxf.new("R2018", units=6)
    doc.layers.add("Öffnung", color=2)
    msp = doc.modelspace()
    outline = [(0, 0), (4, 0), (4, 3), (0, 3)]
    msp.add_lwpolyline(outline, close=True, dxfattribs={"layer": "Öffnung"})
    msp.add_ellipse((2, 1.5), major_axis=(1, 0.5), ratio=0.4,
                    dxfattribs={"layer": "Öffnung"})
    hatch = msp.add_hatch(color=8, dxfattribs={"layer": "HATCH"})
    hatch.paths.add_polyline_path(outline, is_closed=True)
    msp.add_mtext("Öffnung \\S1^2; m\\P2. Zeile", dxfattribs={"layer": "TEXT",
                                                              "insert": (0, 3.5)})
    doc.saveas(os.path.join(HERE, "metres_2018.dxf"))


def cyrillic_r2000():
    """Names and texts in code page 1251."""
    doc = ezdxf.new("R2000", units=4)
    doc.header["$DWGCODEPAGE"] = "ANSI_1251"
    doc.encoding = "cp1251"
    doc.layers.add("Контур", color=1)
    msp = doc.modelspace()
    msp.add_lwpolyline([(0, 0), (50, 0), (50, 30), (0, 30)], close=True,
                       dxfattribs={"layer": "Контур"})
    msp.add_text("Пластина", dxfattribs={"layer": "Контур", "height": 3, "insert": (0, 35)})
    doc.saveas(os.path.join(HERE, "cyrillic_r2000.dxf"))


def hole_first_r12():
    """A hole of four lines drawn before the outer polyline, and a constraint point."""
    doc = ezdxf.new("R12")
    msp = doc.modelspace()
    for a, b in (((6, 6), (3, 6)), ((3, 3), (6, 3)), ((3, 6), (3, 3)), ((6, 3), (6, 6))):
        msp.add_line(a, b)
    msp.add_polyline2d([(0, 0), (10, 0), (10, 10), (0, 10)], close=True)
    msp.add_point((8, 8))
    doc.saveas(os.path.join(HERE, "hole_first_r12.dxf"))


if __name__ == "__main__":
    plate_mm()
    block_region("R12", "blocks_r12.dxf")
    block_region("R2000", "blocks_r2000.dxf")
    frame_blocks()
    metres_2018()
    cyrillic_r2000()
    hole_first_r12()
