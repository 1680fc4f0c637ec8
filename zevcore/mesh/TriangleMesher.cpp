#include "zevcore/mesh/TriangleMesher.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "zevcore/frame/Math.h"
#include "zevcore/geometry/Line3D.h"
#include "zevcore/geometry/Point3D.h"
#include "zevcore/mesh/TriangleProcess.hpp"
#include "zevcore/platform/Locale.h"
#include "zevcore/platform/services/Desktop.h"
#include "zevcore/platform/services/Host.h"

// Triangle's header defines REAL, VOID and INT_PTR as macros and puts its internal types
// (mesh, vertex, triangle, ...) in the global namespace, so it comes after everything else.
#include <triangle.h>

static_assert(sizeof(REAL) == sizeof(double), "the mesher hands Triangle arrays of double");

namespace {

// Triangle keeps point counts and indices in int and multiplies them by small factors, so a
// region may not come near INT_MAX points.
constexpr std::int64_t kMaxPoints = INT_MAX / 8;

// Coordinates Triangle cannot work with are refused up front: NaN and infinities (its
// arithmetic loops on them), magnitudes past 1e15 (where a double no longer tells whole units
// apart, and its circumcentres overflow or lose every digit) and subnormal numbers (its exact
// arithmetic underflows on them). A refusal is cheaper and clearer than a failed run.
constexpr double kMaxCoordinate = 1e15;

bool usableCoordinates(const double* xy, int count) {
    for (std::int64_t i = 0; i < 2 * static_cast<std::int64_t>(count); ++i)
        if (!(std::abs(xy[i]) <= kMaxCoordinate) || std::fpclassify(xy[i]) == FP_SUBNORMAL)
            return false;
    return true;
}

CPoint3D pointAt(const double* xy, int index) {
    return CPoint3D(xy[2 * index], xy[2 * index + 1], 0.0);
}

/// Replaces `target` by a copy of `count` points of `source`; a null source leaves null.
/// The source may be the target itself (an application meshing again from the working
/// copies), so the old array goes only after the copy is made.
void replaceWith(double*& target, const double* source, int count) {
    double* copy = nullptr;
    if (source) {
        std::size_t n = 2 * static_cast<std::size_t>(std::max(count, 0));
        copy = new double[n];
        std::copy(source, source + n, copy);
    }
    delete[] target;
    target = copy;
}

template <typename T>
T* copyOf(const T* source, int count, int perItem) {
    if (!source || count <= 0) return nullptr;
    std::size_t n = static_cast<std::size_t>(count) * perItem;
    T* copy = new T[n];
    std::copy(source, source + n, copy);
    return copy;
}

enum class Touch { eNothing, eVertex, eSegment };

/// Where p meets the outline of `size` points starting at point `first` of `xy` (which
/// holds `total` points). Segment k runs from point k to point k + 1 of the outline; it
/// closes on the outline's first point when k equals `closeAt`. When `closeAt` is not the
/// last point, the last segment runs on to the point after the outline, which is the next
/// hole's first; after the array's last point it closes on the outline's first instead.
Touch touchOutline(const double* xy, int first, int size, int total, int closeAt, const CPoint3D& p,
                   int& segment) {
    for (int k = 0; k < size; ++k) {
        CPoint3D p1 = pointAt(xy, first + k);
        int next = (k == closeAt || first + k + 1 >= total) ? first : first + k + 1;
        CPoint3D p2 = pointAt(xy, next);
        if (zero(p.distance_to(p1), TOLERANCE) || zero(p.distance_to(p2), TOLERANCE))
            return Touch::eVertex;
        if (CLine3D(p1, p2).is_on_segment(p, TOLERANCE)) {
            segment = k;
            return Touch::eSegment;
        }
    }
    return Touch::eNothing;
}

/// The even-odd rule over a closed outline of n points.
bool insideEvenOdd(const double* xy, int n, double x, double y) {
    bool inside = false;
    for (int i = 0, j = n - 1; i < n; j = i++) {
        double xi = xy[2 * i], yi = xy[2 * i + 1];
        double xj = xy[2 * j], yj = xy[2 * j + 1];
        if ((y < yi) != (y < yj)) {
            double crossing = (xj - xi) * (y - yi) / (yj - yi) + xi;
            if (x < crossing) inside = !inside;
        }
    }
    return inside;
}

/// A point inside the hole outline, found beside the midpoint of one of its edges (all but
/// the closing one), `step` along the edge's normal. False when no edge gives one.
bool holePoint(const double* xy, int n, double step, double& hx, double& hy) {
    for (int e = 0; e + 1 < n; ++e) {
        double ax = xy[2 * e], ay = xy[2 * e + 1];
        double dx = xy[2 * e + 2] - ax, dy = xy[2 * e + 3] - ay;
        double length = std::hypot(dx, dy);
        if (!(length > 0.0)) continue;
        double mx = ax + dx / 2.0, my = ay + dy / 2.0;
        double nx = -dy / length * step, ny = dx / length * step;
        bool left = insideEvenOdd(xy, n, mx + nx, my + ny);
        bool right = insideEvenOdd(xy, n, mx - nx, my - ny);
        if (left != right) {
            hx = left ? mx + nx : mx - nx;
            hy = left ? my + ny : my - ny;
            return true;
        }
    }
    return false;
}

/// Standard output sent to a file for the life of the object, and given back to the host
/// when it goes, on every path. Without a file nothing is redirected.
class StdoutToFile {
public:
    explicit StdoutToFile(const char* path) {
        if (!path || !*path) return;
        std::fflush(stdout);
        m_saved = ::dup(STDOUT_FILENO);
        if (m_saved < 0) return;
        // The file is new and empty, so it is not truncated: on ext4 a truncating open makes
        // the close write the data out, and the removal wait for it (milliseconds a run).
        int fd = ::open(path, O_WRONLY | O_CLOEXEC);
        if (fd < 0 || ::dup2(fd, STDOUT_FILENO) < 0) {
            if (fd >= 0) ::close(fd);
            ::close(m_saved);
            m_saved = -1;
            return;
        }
        ::close(fd);
    }
    ~StdoutToFile() { restore(); }
    StdoutToFile(const StdoutToFile&) = delete;
    StdoutToFile& operator=(const StdoutToFile&) = delete;

    void restore() {
        if (m_saved < 0) return;
        std::fflush(stdout);
        ::dup2(m_saved, STDOUT_FILENO);
        ::close(m_saved);
        m_saved = -1;
    }

private:
    int m_saved = -1;
};

/// Triangle's four records and the input arrays behind them. Triangle allocates the output
/// arrays; the hole and region lists of its outputs are the input's, copied by pointer, so
/// they are never freed through an output.
struct TriangleRecords {
    triangulateio in{}, mid{}, vor{}, out{};
    std::vector<REAL> pointList, holeList, areaList;
    std::vector<int> pointMarkers, segmentList, segmentMarkers;

    TriangleRecords() = default;
    TriangleRecords(const TriangleRecords&) = delete;
    TriangleRecords& operator=(const TriangleRecords&) = delete;
    ~TriangleRecords() {
        freeOutput(mid);
        freeOutput(vor);
        freeOutput(out);
    }

    /// Triangle crashes on a segment that ends at an exact duplicate of an earlier point, and
    /// in refinement on a segment given twice. So duplicate points are merged here into their
    /// first occurrence (which keeps its marker), and segments that shrink to a point or
    /// repeat an earlier one are dropped.
    void mergeDuplicatePoints() {
        const std::size_t n = pointMarkers.size();
        auto at = [this](std::size_t i) {
            return std::pair<REAL, REAL>(pointList[2 * i], pointList[2 * i + 1]);
        };
        std::vector<std::size_t> order(n);
        for (std::size_t i = 0; i < n; ++i) order[i] = i;
        std::stable_sort(order.begin(), order.end(),
                         [&](std::size_t a, std::size_t b) { return at(a) < at(b); });
        std::vector<std::size_t> first(n);
        for (std::size_t k = 0; k < n; ++k)
            first[order[k]] =
                (k > 0 && at(order[k]) == at(order[k - 1])) ? first[order[k - 1]] : order[k];
        std::vector<int> index(n);
        std::size_t kept = 0;
        for (std::size_t i = 0; i < n; ++i) {
            if (first[i] != i) continue;
            pointList[2 * kept] = pointList[2 * i];
            pointList[2 * kept + 1] = pointList[2 * i + 1];
            pointMarkers[kept] = pointMarkers[i];
            index[i] = static_cast<int>(kept++);
        }
        pointList.resize(2 * kept);
        pointMarkers.resize(kept);
        std::size_t segments = 0;
        std::set<std::pair<int, int>> seen;
        for (std::size_t s = 0; s < segmentMarkers.size(); ++s) {
            int a = index[first[segmentList[2 * s]]], b = index[first[segmentList[2 * s + 1]]];
            if (a == b || !seen.insert(std::minmax(a, b)).second) continue;
            segmentList[2 * segments] = a;
            segmentList[2 * segments + 1] = b;
            segmentMarkers[segments++] = segmentMarkers[s];
        }
        segmentList.resize(2 * segments);
        segmentMarkers.resize(segments);
    }

    static void freeOutput(triangulateio& r) {
        trifree(r.pointlist);
        trifree(r.pointattributelist);
        trifree(r.pointmarkerlist);
        trifree(r.trianglelist);
        trifree(r.triangleattributelist);
        trifree(r.neighborlist);
        trifree(r.segmentlist);
        trifree(r.segmentmarkerlist);
        trifree(r.edgelist);
        trifree(r.edgemarkerlist);
        trifree(r.normlist);
    }
};

// Markers Triangle carries onto the result's points and segments.
constexpr int kBoundaryMarker = 1;
constexpr int kInteriorMarker = 2;
constexpr int kFirstHoleMarker = 3;

// What Triangle said on its way out, on one line: runs of white space made one blank.
std::string collapsedText(const char* path) {
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    std::string text = zevtriangle::collapsedWords(fd);
    if (fd >= 0) ::close(fd);
    return text;
}

void showMeshingException(const char* errorText, const char* what) {
    char text[4096];
    if (errorText[0] != '\0') {
        std::snprintf(text, sizeof text,
                      "An error has occurred during the meshing.  You might consider changing "
                      "mesh size or meshing method.  The diagnostic message is:  %s",
                      errorText);
    } else {
        char message[2048];
        std::snprintf(message, sizeof message, "%s", what);
        std::snprintf(text, sizeof text,
                      "An exception has occurred during the meshing.  You might consider "
                      "changing mesh size or meshing method. The exception is:  %s",
                      message);
    }
    ZEVDialogs().MessageBox(nullptr, text, "Error", MB_OK);
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Life cycle

ZEVTriangleMesher::ZEVTriangleMesher()
    : numberOfPoints(0),
      points(nullptr),
      numberOfTriangles(0),
      triangles(nullptr),
      boundary(nullptr),
      holes(nullptr),
      interior(nullptr),
      outlinePoints(nullptr),
      numberOfOutlinePoints(0),
      numberOfHolePoints(0),
      numberOfBoundaryPoints(0),
      numberOfInteriorPoints(0),
      errorText{} {}

ZEVTriangleMesher::ZEVTriangleMesher(const ZEVTriangleMesher& other) : ZEVTriangleMesher() {
    copyFrom(other);
}

ZEVTriangleMesher& ZEVTriangleMesher::operator=(const ZEVTriangleMesher& other) {
    if (this != &other) {
        ZEVTriangleMesher copy(other);  // allocate first, so a failure leaves this intact
        swapWith(copy);
    }
    return *this;
}

ZEVTriangleMesher::~ZEVTriangleMesher() {
    freeAll();
}

void ZEVTriangleMesher::freeAll() {
    CleanUp();
    delete[] boundary;
    delete[] holes;
    delete[] interior;
    boundary = holes = interior = nullptr;
}

void ZEVTriangleMesher::swapWith(ZEVTriangleMesher& other) noexcept {
    std::swap(numberOfPoints, other.numberOfPoints);
    std::swap(points, other.points);
    std::swap(numberOfTriangles, other.numberOfTriangles);
    std::swap(triangles, other.triangles);
    std::swap(boundary, other.boundary);
    std::swap(holes, other.holes);
    std::swap(interior, other.interior);
    std::swap(outlinePoints, other.outlinePoints);
    std::swap(numberOfOutlinePoints, other.numberOfOutlinePoints);
    std::swap(numberOfHolePoints, other.numberOfHolePoints);
    std::swap(numberOfBoundaryPoints, other.numberOfBoundaryPoints);
    std::swap(numberOfInteriorPoints, other.numberOfInteriorPoints);
    std::swap(errorText, other.errorText);
}

void ZEVTriangleMesher::copyFrom(const ZEVTriangleMesher& other) {
    numberOfPoints = other.numberOfPoints;
    points = copyOf(other.points, other.numberOfPoints, 2);
    numberOfTriangles = other.numberOfTriangles;
    triangles = copyOf(other.triangles, other.numberOfTriangles, 3);
    boundary = copyOf(other.boundary, other.numberOfBoundaryPoints, 2);
    holes = copyOf(other.holes, other.numberOfHolePoints, 2);
    interior = copyOf(other.interior, other.numberOfInteriorPoints, 2);
    outlinePoints = copyOf(other.outlinePoints, other.numberOfOutlinePoints, 2);
    numberOfOutlinePoints = other.numberOfOutlinePoints;
    numberOfHolePoints = other.numberOfHolePoints;
    numberOfBoundaryPoints = other.numberOfBoundaryPoints;
    numberOfInteriorPoints = other.numberOfInteriorPoints;
    std::memcpy(errorText, other.errorText, sizeof errorText);
    errorText[sizeof errorText - 1] = '\0';
}

void ZEVTriangleMesher::CleanUp() {
    delete[] points;
    delete[] triangles;
    delete[] outlinePoints;
    points = nullptr;
    triangles = nullptr;
    outlinePoints = nullptr;
    numberOfPoints = 0;
    numberOfTriangles = 0;
    numberOfOutlinePoints = 0;
}

// ---------------------------------------------------------------------------------------------
// Working arrays

namespace {

struct WorkingArray {
    double** xy;
    int* count;
};

WorkingArray workingArray(ZEVTriangleMesher& m, ETWhichArray which) {
    switch (which) {
        case eBoundaryArray:
            return {&m.boundary, &m.numberOfBoundaryPoints};
        case eHoleArray:
            return {&m.holes, &m.numberOfHolePoints};
        case eInteriorArray:
            return {&m.interior, &m.numberOfInteriorPoints};
    }
    return {nullptr, nullptr};
}

bool nearAnyPoint(const double* xy, int count, const CPoint3D& p) {
    for (int i = 0; i < count; ++i)
        if (zero(p.distance_to(pointAt(xy, i)), TOLERANCE)) return true;
    return false;
}

}  // namespace

void ZEVTriangleMesher::insertPointAt(ETWhichArray which, double x, double y, int index) {
    WorkingArray a = workingArray(*this, which);
    if (!a.xy) return;
    int n = std::max(*a.count, 0);
    index = std::clamp(index, 0, n);
    double* grown = new double[2 * static_cast<std::size_t>(n + 1)];
    double* old = *a.xy;
    std::copy(old, old + 2 * index, grown);
    grown[2 * index] = x;
    grown[2 * index + 1] = y;
    std::copy(old + 2 * index, old + 2 * n, grown + 2 * index + 2);
    delete[] old;
    *a.xy = grown;
    *a.count = n + 1;
}

void ZEVTriangleMesher::removePointAt(ETWhichArray which, int index) {
    WorkingArray a = workingArray(*this, which);
    if (!a.xy || index < 0 || index >= *a.count) return;
    double* xy = *a.xy;
    std::copy(xy + 2 * (index + 1), xy + 2 * *a.count, xy + 2 * index);
    --*a.count;
}

bool ZEVTriangleMesher::foldIntoOutline(double x, double y, int holeCount, int* holeSizes,
                                        bool holesCloseOnOwnSize) {
    const CPoint3D p(x, y, 0.0);
    const int nb = numberOfBoundaryPoints;
    int segment = 0;
    switch (touchOutline(boundary, 0, nb, nb, nb - 1, p, segment)) {
        case Touch::eVertex:
            return true;
        case Touch::eSegment:
            insertPointAt(eBoundaryArray, x, y, segment + 1);
            return true;
        case Touch::eNothing:
            break;
    }
    for (int h = 0, start = 0; h < holeCount; start += holeSizes[h], ++h) {
        int closeAt = holesCloseOnOwnSize ? holeSizes[h] - 1 : nb - 1;
        switch (touchOutline(holes, start, holeSizes[h], numberOfHolePoints, closeAt, p, segment)) {
            case Touch::eVertex:
                return true;
            case Touch::eSegment:
                insertPointAt(eHoleArray, x, y, start + segment + 1);
                ++holeSizes[h];
                return true;
            case Touch::eNothing:
                break;
        }
    }
    return false;
}

// ---------------------------------------------------------------------------------------------
// Meshing

void ZEVTriangleMesher::SetRunLimits(int cpuSeconds, std::int64_t memoryBytes) {
    zevtriangle::setLimits(cpuSeconds, memoryBytes);
}

int ZEVTriangleMesher::mesh_it(double* boundaryIn, int boundaryCount, double* interiorIn,
                               int interiorCount, double* extra, int extraCount, int holeCount,
                               int* holeSizes, double* holePoints, double maxArea, bool conforming,
                               bool* holeIsVoid) {
    try {
        if (boundaryCount < 3) return 0;

        // How much of holePoints may be read. Sizes that validation will refuse read none of
        // it, but still leave a (empty) copy, so that the texts come in their usual order.
        bool holesReadable = holeCount > 0 && holeSizes && holePoints;
        std::int64_t holeTotal = 0;
        for (int h = 0; holesReadable && h < holeCount && holeTotal <= kMaxPoints; ++h) {
            if (holeSizes[h] < 1)
                holesReadable = false;
            else
                holeTotal += holeSizes[h];
        }
        if (!holesReadable) holeTotal = 0;
        std::int64_t total = std::int64_t{boundaryCount} + std::max(interiorCount, 0) +
                             std::max(extraCount, 0) + holeTotal;
        if (total > kMaxPoints)
            throw std::length_error("The region has more points than a mesh can hold.");

        // Taken first: the extra points may be one of the working arrays replaced and grown
        // below (an application meshing again from them).
        const std::vector<double> extras =
            extra ? std::vector<double>(extra, extra + 2 * std::max(extraCount, 0))
                  : std::vector<double>();
        replaceWith(boundary, boundaryIn, boundaryCount);
        if (interiorCount > 0) replaceWith(interior, interiorIn, interiorCount);
        numberOfHolePoints = 0;
        numberOfBoundaryPoints = boundaryCount;
        numberOfInteriorPoints = interiorCount;
        if (holeCount > 0) {
            numberOfHolePoints = static_cast<int>(holeTotal);
            replaceWith(holes, holePoints, numberOfHolePoints);
        }

        // Input that validation will refuse is not sorted: the sort would read what is not
        // there.
        bool sortable = boundaryIn && interiorCount >= 0 && (interiorCount == 0 || interiorIn) &&
                        (holeCount <= 0 || holesReadable);
        if (sortable) {
            for (std::size_t i = 0; i < extras.size(); i += 2) {
                double x = extras[i], y = extras[i + 1];
                if (!foldIntoOutline(x, y, holeCount, holeSizes, false))
                    insertPointAt(eInteriorArray, x, y, interiorCount);
            }
            for (int i = numberOfInteriorPoints - 1; i >= 0; --i) {
                if (foldIntoOutline(interior[2 * i], interior[2 * i + 1], holeCount, holeSizes,
                                    true))
                    removePointAt(eInteriorArray, i);
            }
            for (int i = numberOfInteriorPoints - 1; i >= 0; --i) {
                CPoint3D p = pointAt(interior, i);
                if (nearAnyPoint(boundary, numberOfBoundaryPoints, p) ||
                    nearAnyPoint(holes, numberOfHolePoints, p))
                    removePointAt(eInteriorArray, i);
            }
        }

        CleanUp();
        CreateTriangleMesh(boundary, numberOfBoundaryPoints, interior, numberOfInteriorPoints,
                           holeCount, holeSizes, holes, maxArea, conforming, holeIsVoid);
        return numberOfTriangles;
    } catch (const std::exception& e) {
        CleanUp();
        showMeshingException(errorText, e.what());
    } catch (...) {
        CleanUp();
        showMeshingException(errorText, "unknown exception");
    }
    return 0;
}

// ---------------------------------------------------------------------------------------------
// The stages of one run of Triangle: the input checked, the region described in Triangle's
// records, Triangle run twice, the result taken.

namespace {

struct TriangleInput {
    const double* boundary;
    int boundaryCount;
    const double* interior;
    int interiorCount;
    int holeCount;
    const int* holeSizes;
    const double* holePoints;
    const bool* holeIsVoid;  // null: every hole is a void
};

// The message for input Triangle must not see, null for input it may.
const char* refusedInput(const TriangleInput& in, double maxArea, const char* areaText) {
    if (!in.boundary) return "Bad boundary data was entered.";
    if (in.boundaryCount < 3) return "Bad boundary count was entered.";
    if (in.interiorCount < 0) return "Bad interior point count was entered.";
    if (in.interiorCount >= 1 && !in.interior) return "Bad interior point data was entered.";
    if (in.holeCount < 0) return "Bad hole count was entered.";
    if (in.holeCount >= 1 && (!in.holeSizes || !in.holePoints)) return "Bad hole data was entered.";
    if (!(maxArea > 0.0) || !(std::strtod(areaText, nullptr) > 0.0))
        return "Bad maximum triangle area was entered.";
    for (int h = 0; h < in.holeCount; ++h)
        if (in.holeSizes[h] < 1) return "Bad hole data was entered.";
    if (!usableCoordinates(in.boundary, in.boundaryCount)) return "Bad boundary data was entered.";
    if (!usableCoordinates(in.interior, in.interiorCount))
        return "Bad interior point data was entered.";
    int holeTotal = 0;
    for (int h = 0; h < in.holeCount; ++h) holeTotal += in.holeSizes[h];
    if (!usableCoordinates(in.holePoints, holeTotal)) return "Bad hole data was entered.";
    return nullptr;
}

// Points: boundary, interior, then the outlines of the holes that have more than two points,
// each void hole with a point inside it. Every segment runs from a point's successor back to
// the point. The message for a hole that cannot be meshed round, null when all can.
const char* describeRegion(const TriangleInput& in, TriangleRecords& rec) {
    const bool everyHoleVoid = in.holeIsVoid == nullptr;
    int numberOfHoles = in.holeCount;
    if (!everyHoleVoid)
        numberOfHoles =
            static_cast<int>(std::count(in.holeIsVoid, in.holeIsVoid + in.holeCount, true));
    auto addPoints = [&rec](const double* xy, int count, int marker) {
        rec.pointList.insert(rec.pointList.end(), xy, xy + 2 * count);
        rec.pointMarkers.insert(rec.pointMarkers.end(), count, marker);
    };
    auto addOutline = [&rec](int first, int count, int marker) {
        for (int i = 0; i < count; ++i) {
            rec.segmentList.push_back(first + (i + 1 < count ? i + 1 : 0));
            rec.segmentList.push_back(first + i);
            rec.segmentMarkers.push_back(marker);
        }
    };
    addPoints(in.boundary, in.boundaryCount, kBoundaryMarker);
    addOutline(0, in.boundaryCount, kBoundaryMarker);
    if (in.interiorCount > 0) addPoints(in.interior, in.interiorCount, kInteriorMarker);

    for (int h = 0, start = 0; h < in.holeCount; start += in.holeSizes[h], ++h) {
        const double* outline = in.holePoints + 2 * static_cast<std::size_t>(start);
        const int size = in.holeSizes[h];
        const bool isVoid = everyHoleVoid || in.holeIsVoid[h];
        if (size <= 2) {
            if (isVoid) --numberOfHoles;
            continue;
        }
        addOutline(static_cast<int>(rec.pointMarkers.size()), size, kFirstHoleMarker + h);
        addPoints(outline, size, kFirstHoleMarker + h);

        double minX = outline[0], maxX = outline[0], minY = outline[1], maxY = outline[1];
        for (int i = 1; i < size; ++i) {
            minX = std::min(minX, outline[2 * i]);
            maxX = std::max(maxX, outline[2 * i]);
            minY = std::min(minY, outline[2 * i + 1]);
            maxY = std::max(maxY, outline[2 * i + 1]);
        }
        const double extent = std::min(maxX - minX, maxY - minY);
        if (!(extent > 0.0)) return "Hole size is zero!";
        if (!isVoid) continue;
        double hx = 0.0, hy = 0.0;
        if (!holePoint(outline, size, extent / 5.0, hx, hy))
            return "Hole lies on shape boundary, making meshing impossible.";
        rec.holeList.push_back(hx);
        rec.holeList.push_back(hy);
    }
    rec.in.numberofholes = numberOfHoles;
    return nullptr;
}

// Planar graph, zero-based, with edges, Voronoi diagram and neighbours. Refinement under the
// area bound: q adds Triangle's default minimum angle, D makes the mesh conforming Delaunay
// instead; P leaves the segments out of the output. Triangle reads per-triangle areas only
// when the bound is not a number (an infinite area prints as "inf"); zeros there mean no
// bound. Runs in a child process; false with `failure` when it did not come back.
bool runTriangle(TriangleRecords& rec, bool conforming, const char* areaText,
                 zevtriangle::Output& result, std::string& failure) {
    rec.in.pointlist = rec.pointList.data();
    rec.in.pointmarkerlist = rec.pointMarkers.data();
    rec.in.numberofpoints = static_cast<int>(rec.pointMarkers.size());
    rec.in.segmentlist = rec.segmentList.data();
    rec.in.segmentmarkerlist = rec.segmentMarkers.data();
    rec.in.numberofsegments = static_cast<int>(rec.segmentMarkers.size());
    rec.in.holelist = rec.holeList.data();

    auto work = [&rec, conforming, areaText](zevtriangle::Output& output) {
        char firstSwitches[] = "pzevn";
        triangulate(firstSwitches, &rec.in, &rec.mid, &rec.vor);
        rec.areaList.assign(static_cast<std::size_t>(std::max(rec.mid.numberoftriangles, 0)), 0.0);
        rec.mid.trianglearealist = rec.areaList.data();
        std::string secondSwitches = std::string(conforming ? "prDzPa" : "prqzPa") + areaText;
        triangulate(secondSwitches.data(), &rec.mid, &rec.out, nullptr);

        const triangulateio& out = rec.out;
        const auto points = static_cast<std::size_t>(std::max(out.numberofpoints, 0));
        if (out.pointlist) output.points.assign(out.pointlist, out.pointlist + 2 * points);
        if (out.pointmarkerlist)
            output.pointMarkers.assign(out.pointmarkerlist, out.pointmarkerlist + points);
        output.corners = out.numberofcorners;
        const auto corners = static_cast<std::size_t>(std::max(out.numberofcorners, 0));
        const auto count = static_cast<std::size_t>(std::max(out.numberoftriangles, 0));
        if (out.trianglelist)
            output.triangles.assign(out.trianglelist, out.trianglelist + count * corners);
    };
    return zevtriangle::runIsolated(work, result, failure);
}

// The result into the mesher's arrays: the m.points, those on the outer boundary, the
// m.triangles.
void takeResult(ZEVTriangleMesher& m, const zevtriangle::Output& result) {
    m.numberOfPoints = static_cast<int>(result.points.size() / 2);
    m.numberOfOutlinePoints = 0;
    if (m.numberOfPoints > 0) {
        const std::size_t n = 2 * static_cast<std::size_t>(m.numberOfPoints);
        m.points = new double[n];
        m.outlinePoints = new double[n];
        std::copy(result.points.begin(), result.points.end(), m.points);
        const bool marked =
            result.pointMarkers.size() == static_cast<std::size_t>(m.numberOfPoints);
        for (int i = 0; marked && i < m.numberOfPoints; ++i) {
            if (result.pointMarkers[i] != kBoundaryMarker) continue;
            m.outlinePoints[2 * m.numberOfOutlinePoints] = m.points[2 * i];
            m.outlinePoints[2 * m.numberOfOutlinePoints + 1] = m.points[2 * i + 1];
            ++m.numberOfOutlinePoints;
        }
    }
    const std::size_t corners = static_cast<std::size_t>(result.corners);
    m.numberOfTriangles = static_cast<int>(result.triangles.size() / corners);
    if (m.numberOfTriangles > 0) {
        m.triangles = new int[3 * static_cast<std::size_t>(m.numberOfTriangles)];
        for (int t = 0; t < m.numberOfTriangles; ++t)
            for (int c = 0; c < 3; ++c)
                m.triangles[3 * t + c] =
                    result.triangles[static_cast<std::size_t>(t) * corners + c];
    }
}

}  // namespace

bool ZEVTriangleMesher::CreateTriangleMesh(double* boundaryIn, int boundaryCount,
                                           double* interiorIn, int interiorCount, int holeCount,
                                           int* holeSizes, double* holePoints, double maxArea,
                                           bool conforming, bool* holeIsVoid) {
    // Triangle reads its switches with the C library, so the area is printed and read back
    // in the C locale whatever the host has set.
    CZEVClassicLocaleScope classic;
    // Triangle talks on standard output; the file takes it, and the host gets its output
    // back however this ends. The file is removed after a run of Triangle, whatever its
    // outcome; a refusal before the run leaves it, as the stated behaviour has it.
    const CString messageFile = ZEVMakeTempFile("Msh", "");
    StdoutToFile redirect(messageFile);

    errorText[0] = '\0';
    auto fail = [this](const char* text) {
        std::snprintf(errorText, sizeof errorText, "%s", text);
        return false;
    };

    // Triangle reads the area back from its switches, so an area that prints as 0 there is
    // as bad as 0 itself (and would make Triangle end the process).
    char areaText[400];
    std::snprintf(areaText, sizeof areaText, "%f", maxArea);

    const TriangleInput input{boundaryIn, boundaryCount, interiorIn, interiorCount,
                              holeCount,  holeSizes,     holePoints, holeIsVoid};
    if (const char* refusal = refusedInput(input, maxArea, areaText)) return fail(refusal);
    TriangleRecords rec;
    if (const char* refusal = describeRegion(input, rec)) return fail(refusal);

    // Fewer than three distinct points make no triangle (and one alone crashes Triangle).
    rec.mergeDuplicatePoints();
    zevtriangle::Output result;
    if (rec.pointMarkers.size() >= 3) {
        std::string failure;
        if (!runTriangle(rec, conforming, areaText, result, failure)) {
            redirect.restore();
            const std::string said = collapsedText(messageFile);
            std::remove(messageFile);
            return fail((said.empty() ? failure : said).c_str());
        }
    }
    takeResult(*this, result);

    redirect.restore();
    std::remove(messageFile);
    return true;
}
