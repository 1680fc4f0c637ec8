#!/usr/bin/python3
"""ZEVCore's quadrilateral mesh against Gmsh's all-quadrilateral mesh, region by region.

    bench/mesh/side_by_side.py [--zevcore PATH] [--mode extended|stated] [--divisions 16,32]
                               [SHAPE.txt ...]

Every boundary file (default: bench/mesh/shapes/*.txt) is meshed by both at the same sizes
(the larger side of its bounding box over each of the divisions), Gmsh with Frontal-Delaunay
and Blossom recombination into quadrilaterals only (`Mesh.Algorithm 6`, `Mesh.RecombineAll 1`,
`Mesh.RecombinationAlgorithm 3`), each point of the outline at the size. Per region and size:
element counts and their ratio, the smallest and largest corner, the share of elements with a
scaled Jacobian below 0.5, the share of interior nodes with four elements, the median side
over the size, the processor time of each, and whether ZEVCore called its mesh covered. Gmsh
is skipped cleanly when it is not installed.
"""
import argparse
import glob
import os
import resource
import shutil
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import mesh_quality  # noqa: E402

HERE = os.path.dirname(os.path.abspath(__file__))


def read_loops(path):
    """The loops of a boundary file (constraint blocks left out)."""
    loops, block = [], []
    skip = False
    with open(path) as f:
        lines = f.read().split("\n") + [""]
    for raw in lines:
        line = raw.split("#")[0].strip()
        if not line:
            if block and not skip:
                loops.append(block[:-1] if block[0] == block[-1] else block)
            block, skip = [], False
            continue
        word = line.lower()
        if word in ("interior", "boundary"):
            skip = True
            continue
        if word == "solid":
            continue
        x, y = line.split()[:2]
        block.append((float(x), float(y)))
    return loops


def write_geo(loops, path):
    with open(path, "w") as f:
        f.write('DefineConstant[ lc = {1, Name "lc"} ];\n')
        point, line, loop_ids = 1, 1, []
        for k, loop in enumerate(loops):
            first = point
            for x, y in loop:
                f.write("Point(%d) = {%.17g, %.17g, 0, lc};\n" % (point, x, y))
                point += 1
            lines = []
            for i in range(len(loop)):
                a = first + i
                b = first + (i + 1) % len(loop)
                f.write("Line(%d) = {%d, %d};\n" % (line, a, b))
                lines.append(str(line))
                line += 1
            f.write("Curve Loop(%d) = {%s};\n" % (k + 1, ", ".join(lines)))
            loop_ids.append(str(k + 1))
        f.write("Plane Surface(1) = {%s};\n" % ", ".join(loop_ids))


def timed(command):
    """Runs a command; answers (exit status, processor seconds, output)."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    cpu = (after.ru_utime - before.ru_utime) + (after.ru_stime - before.ru_stime)
    return done.returncode, cpu, done.stdout


def figures(path, size):
    if not os.path.exists(path):
        return None
    nodes, elements = mesh_quality.read(path)
    return mesh_quality.measure(nodes, elements, size)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--zevcore", default="build/release/tools/zevcore/zevcore")
    parser.add_argument("--mode", default="extended", choices=["extended", "stated"])
    parser.add_argument("--divisions", default="16,32")
    parser.add_argument("shapes", nargs="*")
    args = parser.parse_args()
    shapes = args.shapes or sorted(glob.glob(os.path.join(HERE, "shapes", "*.txt")))
    if not os.access(args.zevcore, os.X_OK):
        print("side_by_side: %s not found (build the release preset first)" % args.zevcore,
              file=sys.stderr)
        return 2
    gmsh = shutil.which("gmsh")
    if not gmsh:
        print("side_by_side: gmsh is not installed; ZEVCore alone")
    work = tempfile.mkdtemp()
    header = ("%-14s %9s %7s %7s %6s %11s %11s %11s %11s %6s %6s %7s %7s %s" %
              ("region", "size", "quads", "gmsh", "ratio", "corners", "gmsh", "sj<0.5",
               "gmsh", "val4", "gmsh", "cpu s", "gmsh s", "median, covered"))
    print(header)
    try:
        for shape in shapes:
            name = os.path.splitext(os.path.basename(shape))[0]
            loops = read_loops(shape)
            xs = [p[0] for loop in loops for p in loop]
            ys = [p[1] for loop in loops for p in loop]
            extent = max(max(xs) - min(xs), max(ys) - min(ys))
            geo = os.path.join(work, name + ".geo")
            write_geo(loops, geo)
            for division in [int(d) for d in args.divisions.split(",")]:
                size = extent / division
                zmsh, gmsh_out = os.path.join(work, "z.msh"), os.path.join(work, "g.msh")
                for f in (zmsh, gmsh_out):
                    if os.path.exists(f):
                        os.remove(f)
                command = [args.zevcore, "mesh", shape, "--size", "%.17g" % size, "-q", "--msh",
                           zmsh]
                command.append("--stated" if args.mode == "stated" else "--extended")
                status, zcpu, output = timed(command)
                covered = "covered" if status == 0 else "exit %d" % status
                z = figures(zmsh, size)
                g, gcpu = None, 0.0
                if gmsh:
                    _, gcpu, _ = timed([gmsh, geo, "-2", "-nt", "1", "-setnumber", "lc",
                                        "%.17g" % size, "-setnumber", "Mesh.Algorithm", "6",
                                        "-setnumber", "Mesh.RecombineAll", "1", "-setnumber",
                                        "Mesh.RecombinationAlgorithm", "3", "-format", "msh2",
                                        "-o", gmsh_out])
                    g = figures(gmsh_out, size)
                zq = z["quads"] if z else 0
                gq = g["quads"] if g else 0
                ratio = "%.2f" % (zq / gq) if gq else "-"

                def corners(f):
                    return "%.1f-%.1f" % (f["min_angle"], f["max_angle"]) if f else "-"

                def share(f, key):
                    return "%.3f" % f[key] if f else "-"

                print("%-14s %9.4g %7d %7d %6s %11s %11s %11s %11s %6s %6s %7.2f %7.2f %s, %s" %
                      (name, size, zq, gq, ratio, corners(z), corners(g),
                       share(z, "sj_below_half"), share(g, "sj_below_half"),
                       share(z, "valence4"), share(g, "valence4"), zcpu, gcpu,
                       "%.2f" % z["median"] if z else "-", covered))
                sys.stdout.flush()
    finally:
        shutil.rmtree(work, ignore_errors=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
