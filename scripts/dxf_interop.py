"""Holds zevcore's DXF files against independent readers and writers.

Run by scripts/dxf-interop with the path of the zevcore tool. Needs ezdxf (Debian:
python3-ezdxf); uses LibreCAD's dxf2pdf (Debian: librecad) when it is installed.

1. A sample drawing with an entity of every kind (zevcore dxf sample) and two mesh drawings
   (zevcore mesh --dxf, with polylines and with faces) must read in ezdxf with no audit
   error or fix, with the entity counts zevcore itself reports.
2. LibreCAD must print each of them to a PDF that draws something.
3. Drawings that ezdxf writes (R12, and R2000 for LWPOLYLINE and ELLIPSE) must read back in
   zevcore with the same entities and numbers, and regions drawn by ezdxf (with lines, arcs, circles and bulges) must mesh.
"""

import math
import os
import re
import shutil
import subprocess
import sys
import tempfile
import zlib
from collections import Counter

import ezdxf

ZEVCORE = sys.argv[1]
failures = []


def check(condition, what):
    print(("ok    " if condition else "FAIL  ") + what)
    if not condition:
        failures.append(what)


def zev(*args):
    result = subprocess.run([ZEVCORE, *args], capture_output=True, text=True)
    if result.returncode != 0:
        raise RuntimeError(f"zevcore {' '.join(args)}: {result.stderr.strip()}")
    return result.stdout


def zev_counts(path):
    """Entity counts of model space as `zevcore dxf info` prints them."""
    text = zev("dxf", "info", path)
    counts = Counter()
    for line in text.split("entities (", 1)[1].splitlines()[1:]:
        name, count = line.split()
        counts[name] = int(count)
    return counts


def ezdxf_counts(doc):
    counts = Counter()
    for e in doc.modelspace():
        counts["POLYLINE" if e.dxftype() == "LWPOLYLINE" else e.dxftype()] += 1
    return counts


def audit(path, label):
    doc = ezdxf.readfile(path)
    auditor = doc.audit()
    messages = [e.message for e in auditor.errors] + [f.message for f in auditor.fixes]
    check(not messages, f"ezdxf reads {label} ({doc.dxfversion}); audit: "
          + ("clean" if not messages else "; ".join(messages)))
    return doc


def pdf_paths(pdf):
    """Path operators in a PDF's content streams: how much was drawn."""
    data = open(pdf, "rb").read()
    count = 0
    for m in re.finditer(rb"stream\r?\n(.*?)endstream", data, re.S):
        try:
            count += len(re.findall(rb"\b(?:l|m|c|re)\b", zlib.decompress(m.group(1))))
        except zlib.error:
            pass
    return count


def librecad_pdf(path):
    # dxf2pdf (LibreCAD 2.2) writes NAME.pdf beside NAME.dxf whatever -o says.
    pdf = os.path.splitext(path)[0] + ".pdf"
    env = dict(os.environ, QT_QPA_PLATFORM="offscreen")
    subprocess.run(["librecad", "dxf2pdf", "-a", path], env=env, capture_output=True,
                   timeout=300)
    return pdf_paths(pdf) if os.path.exists(pdf) else -1


def close(a, b):
    return math.isclose(a, b, rel_tol=1e-9, abs_tol=1e-9)


def numbers_match(ours, expected, label):
    ok = len(ours) == len(expected) and all(close(a, b) for a, b in zip(ours, expected))
    check(ok, f"zevcore reads {label}: {ours}" + ("" if ok else f", ezdxf wrote {expected}"))


def main():
    work = tempfile.mkdtemp(prefix="zev-dxf-interop-")
    try:
        # 1. Ours, read by ezdxf.
        sample = os.path.join(work, "sample.dxf")
        zev("dxf", "sample", sample)
        mesh = os.path.join(work, "mesh.dxf")
        faces = os.path.join(work, "faces.dxf")
        zev("mesh", "-q", "--shape", "2", "--dxf", mesh)
        zev("mesh", "-q", "--shape", "2", "--dxf", faces, "--dxf-faces")
        kinds = {"LINE", "POINT", "CIRCLE", "ARC", "ELLIPSE", "TEXT", "SOLID", "3DFACE",
                 "POLYLINE", "INSERT"}
        for path, label in ((sample, "the sample drawing"), (mesh, "a mesh of polylines"),
                            (faces, "a mesh of faces")):
            doc = audit(path, label)
            theirs, ours = ezdxf_counts(doc), zev_counts(path)
            check(theirs == ours, f"ezdxf finds the entities zevcore wrote in {label}: "
                  + ", ".join(f"{k} {v}" for k, v in sorted(theirs.items())))
            if path == sample:
                check(kinds <= set(theirs), "the sample holds every kind: "
                      + ", ".join(sorted(kinds - set(theirs)) or ["all there"]))
                block = doc.blocks.get("Marker")
                check(block is not None and len(block) == 3, "ezdxf finds the block's 3 entities")
                check({"Geometry", "Notes", "Dimensions"} <= {l.dxf.name for l in doc.layers},
                      "ezdxf finds the layers")

        # 2. Ours, printed by LibreCAD.
        if shutil.which("librecad"):
            empty = os.path.join(work, "empty.dxf")
            with open(empty, "w") as f:
                f.write("0\nEOF\n")
            floor = librecad_pdf(empty)
            for path, label in ((sample, "the sample drawing"), (mesh, "the mesh"),
                                (faces, "the mesh of faces")):
                drawn = librecad_pdf(path)
                check(drawn > floor + 50,
                      f"LibreCAD prints {label} to PDF ({drawn} path operators, empty {floor})")
        else:
            print("skip  LibreCAD (librecad) is not installed")

        # 3. ezdxf's, read by us.
        doc = ezdxf.new("R12")
        msp = doc.modelspace()
        block = doc.blocks.new("TICK")
        block.add_line((0, 0), (1, 1))
        msp.add_line((0.5, 1.25, 0), (10.125, -3, 2))
        msp.add_point((2, 3, 4))
        msp.add_circle((5, 5), 2.5)
        msp.add_arc((5, 5), 3, 15, 95)
        msp.add_text("Hello", dxfattribs={"height": 0.5, "rotation": 30, "insert": (1, 2)})
        msp.add_solid([(0, 0), (1, 0), (0, 1), (1, 1)])
        msp.add_3dface([(0, 0, 1), (2, 0, 1), (2, 2, 1), (0, 2, 1)])
        msp.add_polyline2d([(0, 0), (4, 0), (4, 3)], close=True)
        msp.add_blockref("TICK", (3, 3), dxfattribs={"xscale": 2, "yscale": 3, "rotation": 45})
        r12 = os.path.join(work, "ezdxf_r12.dxf")
        doc.saveas(r12)
        doc2 = ezdxf.new("R2000")
        m2 = doc2.modelspace()
        m2.add_lwpolyline([(0, 0, 0, 0, 0.5), (10, 0), (10, 10), (0, 10)], close=True)
        m2.add_ellipse((5, 5), major_axis=(3, 1), ratio=0.5, start_param=0.25, end_param=2)
        r2000 = os.path.join(work, "ezdxf_r2000.dxf")
        doc2.saveas(r2000)

        for path, source, label in ((r12, doc, "R12"), (r2000, doc2, "R2000")):
            check(ezdxf_counts(source) == zev_counts(path),
                  f"zevcore finds the entities ezdxf wrote ({label}): "
                  + ", ".join(f"{k} {v}" for k, v in sorted(zev_counts(path).items())))
            rows = [line.split("\t") for line in zev("dxf", "entities", path).splitlines()]
            for entity, row in zip(source.modelspace(), rows):
                kind, values = entity.dxftype(), [float(v) for v in row[3].split()]
                d = entity.dxf
                if kind == "LINE":
                    expected = [*d.start, *d.end]
                elif kind == "POINT":
                    expected = [*d.location]
                elif kind == "CIRCLE":
                    expected = [*d.center, d.radius]
                elif kind == "ARC":
                    expected = [*d.center, d.radius, d.start_angle, d.end_angle]
                elif kind == "TEXT":
                    expected = [d.insert[0], d.insert[1], d.height, d.rotation]
                    check(row[4] == entity.dxf.text, f"zevcore reads the text '{row[4]}'")
                elif kind in ("SOLID", "3DFACE"):
                    expected = [c for v in (d.vtx0, d.vtx1, d.vtx2, d.vtx3) for c in v]
                elif kind == "INSERT":
                    expected = [d.insert[0], d.insert[1], d.xscale, d.yscale, d.rotation]
                elif kind == "POLYLINE":
                    expected = [1] + [c for v in entity.vertices
                                      for c in (*v.dxf.location, v.dxf.bulge)]
                elif kind == "LWPOLYLINE":
                    expected = [1] + [c for x, y, _, _, b in entity.get_points()
                                      for c in (x, y, d.elevation, b)]
                elif kind == "ELLIPSE":
                    expected = [*d.center, *d.major_axis, d.ratio, d.start_param, d.end_param]
                else:
                    continue
                numbers_match(values, expected, f"{label} {kind}")

        # A region drawn by ezdxf: a closed polyline, a hole of lines, a constraint point.
        doc3 = ezdxf.new("R12")
        m3 = doc3.modelspace()
        for a, b in (((6, 6), (3, 6)), ((3, 3), (6, 3)), ((3, 6), (3, 3)), ((6, 3), (6, 6))):
            m3.add_line(a, b)
        m3.add_polyline2d([(0, 0), (10, 0), (10, 10), (0, 10)], close=True)
        m3.add_point((8, 8))
        region = os.path.join(work, "region.dxf")
        doc3.saveas(region)
        out = zev("mesh", "-q", region)
        check("covered:           yes (elements 91 of region 91" in out,
              "zevcore meshes a region ezdxf drew (outer polyline, hole of lines)")
        # And one of lines and arcs round a circle and a slot of two bulges (R2000).
        doc4 = ezdxf.new("R2000")
        m4 = doc4.modelspace()
        r = 2
        m4.add_line((r, 0), (20 - r, 0))
        m4.add_arc((20 - r, r), r, 270, 360)
        m4.add_line((20, r), (20, 10 - r))
        m4.add_arc((20 - r, 10 - r), r, 0, 90)
        m4.add_line((20 - r, 10), (r, 10))
        m4.add_arc((r, 10 - r), r, 90, 180)
        m4.add_line((0, 10 - r), (0, r))
        m4.add_arc((r, r), r, 180, 270)
        m4.add_circle((5, 5), 1.5)
        m4.add_lwpolyline([(12, 3, 0, 0, 1), (16, 3, 0, 0, 1)], close=True)
        rounded = os.path.join(work, "rounded.dxf")
        doc4.saveas(rounded)
        out = zev("mesh", "-q", "--method", "triangle", rounded)
        area = 200 - (4 - math.pi) * r * r - math.pi * 1.5 ** 2 - math.pi * 2 ** 2
        found = re.search(r"covered: +yes \(elements ([0-9.]+) of region ([0-9.]+)", out)
        check(found is not None and abs(float(found.group(2)) - area) < 0.05 * area / 100 + 0.1,
              f"zevcore meshes ezdxf's lines, arcs, circle and bulges (region "
              f"{found.group(2) if found else '?'}, drawn {area:.3f})")
    finally:
        shutil.rmtree(work, ignore_errors=True)
    print(f"dxf-interop: {len(failures)} failure(s)")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
