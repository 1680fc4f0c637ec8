#!/bin/sh
# Instructions per quadrilateral of the paver against Gmsh's all-quadrilateral mesher
# (Frontal-Delaunay with Blossom recombination), on the same regions at the same element
# size, both counted by valgrind in one run, each less its own start-up (a run that only
# prints its version or help). Skips cleanly where gmsh or valgrind is missing.
#
#   bench/mesh/compare_gmsh.sh [ZEVCORE] [SIZES]
#
# ZEVCORE defaults to build/release/tools/zevcore/zevcore; SIZES to "0.4 0.2". Last, for each
# shape, the growth of both counts with the elements from the first size to the last.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
zevcore=${1:-build/release/tools/zevcore/zevcore}
sizes=${2:-"0.4 0.2"}
for tool in gmsh valgrind; do
    if ! command -v "$tool" >/dev/null 2>&1; then
        echo "compare_gmsh: $tool is not installed; skipped"
        exit 0
    fi
done
if [ ! -x "$zevcore" ]; then
    echo "compare_gmsh: $zevcore not found (build the release preset first)" >&2
    exit 2
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Instructions of one command, from valgrind's summary.
count() {
    valgrind --tool=callgrind --callgrind-out-file=/dev/null "$@" 2>&1 >/dev/null |
        sed -n 's/.*I *refs: *//p' | tr -d ,
}

# Quadrilaterals in an MSH 2 file (element type 3).
quads() {
    awk '/^\$Elements/{on=1; getline; next} /^\$EndElements/{on=0} on && $2==3 {n++} END{print n+0}' "$1"
}

zstart=$(count "$zevcore" --help)
gstart=$(count gmsh -version)
printf '%-6s %5s %9s %9s %12s %12s %7s\n' shape size zev_quads gmsh_quads zev_instr/q \
    gmsh_instr/q ratio
growth=""
for shape in S1 S2 S3 S4; do
    first=""
    for h in $sizes; do
        zi=$(count "$zevcore" mesh "$here/shapes/$shape.txt" --size "$h" -q --keep-partial \
            --msh "$work/z.msh" ||
            true)
        zq=$(quads "$work/z.msh" 2>/dev/null || echo 0)
        gi=$(count gmsh "$here/shapes/$shape.geo" -2 -nt 1 -setnumber lc "$h" \
            -setnumber Mesh.Algorithm 6 -setnumber Mesh.RecombineAll 1 \
            -setnumber Mesh.RecombinationAlgorithm 3 -format msh2 -o "$work/g.msh")
        gq=$(quads "$work/g.msh")
        awk -v s="$shape" -v h="$h" -v zi="$((zi - zstart))" -v zq="$zq" -v gi="$((gi - gstart))" \
            -v gq="$gq" 'BEGIN {
            zp = zq > 0 ? zi / zq : 0; gp = gq > 0 ? gi / gq : 0
            printf "%-6s %5s %9d %9d %12.0f %12.0f %7.2f\n", s, h, zq, gq, zp, gp,
                (gp > 0 ? zp / gp : 0) }'
        rm -f "$work/z.msh" "$work/g.msh"
        last="$((zi - zstart)) $zq $((gi - gstart)) $gq $h"
        [ -n "$first" ] || first=$last
    done
    growth="$growth$shape $first $last
"
done
# How each count grows with the elements from the first size to the last: the slope of log
# instructions against log elements (1 is linear).
printf '%s' "$growth" | awk 'NF == 11 && $6 != $11 {
    z = ($3 > 0 && $8 > 0 && $3 != $8) ? log($7 / $2) / log($8 / $3) : 0
    g = ($5 > 0 && $10 > 0 && $5 != $10) ? log($9 / $4) / log($10 / $5) : 0
    printf "%-6s growth from size %s to %s: paver n^%.2f, gmsh n^%.2f\n", $1, $6, $11, z, g }'

