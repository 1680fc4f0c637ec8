#!/usr/bin/python3
"""Quality figures of a quadrilateral mesh in an MSH 2.2 ASCII file.

    mesh_quality.py FILE.msh [SIZE]

Prints the quadrilaterals and triangles, the smallest and largest corner in degrees, the share
of quadrilaterals whose scaled Jacobian (the sine of the worst corner) is below 0.5, the share
of interior nodes with four elements, and with SIZE the median side over SIZE.
"""
import math
import sys


def read(path):
    nodes, elements = {}, []
    with open(path) as f:
        lines = iter(f.read().split("\n"))
    for line in lines:
        if line == "$Nodes":
            for _ in range(int(next(lines))):
                n, x, y = next(lines).split()[:3]
                nodes[int(n)] = (float(x), float(y))
        elif line == "$Elements":
            for _ in range(int(next(lines))):
                f = next(lines).split()
                kind, tags = int(f[1]), int(f[2])
                if kind in (2, 3):
                    elements.append([int(v) for v in f[3 + tags:]])
    return nodes, elements


def measure(nodes, elements, size=0.0):
    quads = sum(1 for e in elements if len(e) == 4)
    lo, hi, poor = 180.0, 0.0, 0
    sides, count = {}, {}
    for e in elements:
        k = len(e)
        worst = 1.0
        for i in range(k):
            a, b, c = nodes[e[i - 1]], nodes[e[i]], nodes[e[(i + 1) % k]]
            ux, uy, vx, vy = c[0] - b[0], c[1] - b[1], a[0] - b[0], a[1] - b[1]
            # Counter-clockwise from the next side to the previous one: above 180 when the
            # corner is reflex or the element is turned over.
            angle = math.degrees(math.atan2(ux * vy - uy * vx, ux * vx + uy * vy)) % 360.0
            lo, hi = min(lo, angle), max(hi, angle)
            worst = min(worst, math.sin(math.radians(angle)) if angle < 180 else -1.0)
            key = (min(e[i], e[(i + 1) % k]), max(e[i], e[(i + 1) % k]))
            sides[key] = sides.get(key, 0) + 1
            count[e[i]] = count.get(e[i], 0) + 1
        if k == 4 and worst < 0.5:
            poor += 1
    outline = set()
    for (a, b), n in sides.items():
        if n == 1:
            outline.update((a, b))
    inner = [v for v in count if v not in outline]
    four = sum(1 for v in inner if count[v] == 4)
    lengths = sorted(math.hypot(nodes[a][0] - nodes[b][0], nodes[a][1] - nodes[b][1])
                     for a, b in sides)
    median = lengths[len(lengths) // 2] if lengths else 0.0
    return {
        "quads": quads,
        "triangles": len(elements) - quads,
        "min_angle": lo,
        "max_angle": hi,
        "sj_below_half": poor / max(quads, 1),
        "valence4": four / max(len(inner), 1),
        "median": median / size if size > 0 else median,
    }


def main():
    nodes, elements = read(sys.argv[1])
    size = float(sys.argv[2]) if len(sys.argv) > 2 else 0.0
    f = measure(nodes, elements, size)
    print("quads=%(quads)d triangles=%(triangles)d min_angle=%(min_angle).1f "
          "max_angle=%(max_angle).1f sj_below_half=%(sj_below_half).4f "
          "valence4=%(valence4).4f median=%(median).3f" % f)


if __name__ == "__main__":
    main()
