#include "zevcore/graphics/GraphicGrid.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "zevcore/frame/Math.h"
#include "zevcore/geometry/Quaternion.h"

namespace {

// Fixed rows of 64 characters, as the table is stored.
const char kTypeNames[15][64] = {
    "<Add New Grid...>", "Polar",         "XY Plane Grid",       "YZ Plane Grid", "XZ Plane Grid",
    "Line X Grid",       "Line Y Grid",   "Line Z Grid",         "XY Grid Lines", "YZ Grid Lines",
    "XZ Grid Lines",     "3D Grid Lines", "3D Rectangular Grid", "Spherical",     "Unknown Type",
};

// A degenerate range runs its loop once: its step is this, or this over the divisions.
constexpr double kDegenerateStep = 1e10;

constexpr std::size_t kMaxLatticePoints = CGraphicGrid::kMaxLatticePoints;

constexpr double kTwoPi = 2.0 * zev::PI;

int gPolarCount = 1;
int gHelicalCount = 1;
int gSphericalCount = 1;

CString numbered(const CString& name, int& counter) {
    CString text;
    text.Format("%s %i", name.GetString(), counter++);
    return text;
}

int truncated(double value) {
    // Truncation of values outside int's range is saturated, and NaN gives 0.
    if (!(value == value)) return 0;
    if (value >= 2147483647.0) return 2147483647;
    if (value <= -2147483648.0) return -2147483647 - 1;
    return static_cast<int>(value);
}

void zeroMatrix(CMatrix44& matrix) {
    for (auto& row : matrix.m)
        for (double& value : row) value = 0.0;
}

}  // namespace

const char* getGridTypeName(ETGraphicGridType type, int style) {
    if (style == 1) {
        switch (type) {
            case gtXYPlane:
                return "Front View (XY)";
            case gtYZPlane:
                return "Side View (YZ)";
            case gtXZPlane:
                return "Top View (ZX)";
            case gtXYLines:
                return "Architectural Grid - Front View";
            case gtYZLines:
                return "Architectural Grid - Side View";
            case gtXZLines:
                return "Architectural Grid - Top View";
            default:
                break;
        }
    }
    if (type < gtAddNew || type > gtUnknown) return kTypeNames[gtUnknown];
    return kTypeNames[type];
}

// --- CGraphicGrid -----------------------------------------------------------------------------

CGraphicGrid::CGraphicGrid()
    : m_name("Abstract Grid"),
      gridPoints(1000, 1000),
      xLines(1000, 1000),
      yLines(1000, 1000),
      zLines(1000, 1000) {
    setRotationUsingAngles(0.0, 0.0, 0.0);
}

CGraphicGrid::CGraphicGrid(const CGraphicGrid& other)
    : gridPoints(0, 50), xLines(0, 50), yLines(0, 50), zLines(0, 50) {
    copyParameters(other);
    dataValid = other.dataValid;
}

CGraphicGrid::~CGraphicGrid() = default;

CGraphicGrid& CGraphicGrid::operator=(const CGraphicGrid& other) {
    if (this == &other) return *this;
    copyParameters(other);
    gridPoints.clear();
    xLines.clear();
    yLines.clear();
    zLines.clear();
    dataValid = false;
    return *this;
}

void CGraphicGrid::copyParameters(const CGraphicGrid& other) {
    type = other.type;
    m_name = other.m_name;
    visible = other.visible;
    bigDots = other.bigDots;
    std::copy(std::begin(other.divisionCount), std::end(other.divisionCount), divisionCount);
    std::copy(std::begin(other.paramMin), std::end(other.paramMin), paramMin);
    std::copy(std::begin(other.paramMax), std::end(other.paramMax), paramMax);
    originPoint = other.originPoint;
    rotated = other.rotated;
    rotationMatrix = other.rotationMatrix;
    expandable = other.expandable;
    std::copy(std::begin(other.axisFlags), std::end(other.axisFlags), axisFlags);
    // The copy takes `lineVertexCount` floats, a third of the buffer, and keeps the count;
    // the buffer is made whole (the rest zero), so that a draw of the copy reads no further
    // than its own memory.
    lineVertexCount = other.lineVertexCount;
    lineVertices.reset();
    if (other.lineVertices && lineVertexCount > 0) {
        const auto count = static_cast<std::size_t>(lineVertexCount);
        lineVertices.reset(new float[3 * count]());
        std::copy(other.lineVertices.get(), other.lineVertices.get() + count, lineVertices.get());
    }
}

CGraphicGrid* CGraphicGrid::clone() const {
    return new CGraphicGrid(*this);
}

void CGraphicGrid::setParameterLimits(double min1, double max1, int div1, double min2, double max2,
                                      int div2, double min3, double max3, int div3) {
    dataValid = false;
    paramMin[0] = min1, paramMax[0] = max1, divisionCount[0] = div1;
    paramMin[1] = min2, paramMax[1] = max2, divisionCount[1] = div2;
    paramMin[2] = min3, paramMax[2] = max3, divisionCount[2] = div3;
}

CPoint3D CGraphicGrid::gridPoint(double, double, double) const {
    return CPoint3D(0.0, 0.0, 0.0);
}

CPoint3D CGraphicGrid::worldPoint(double a, double b, double c) const {
    CPoint3D p = gridPoint(a, b, c);
    if (rotated) rotationMatrix.RightMultiply(p, p);
    p += originPoint;
    return p;
}

namespace {

// The values a loop from `min` while not past `max` by `step` visits; none when there would be
// more than the bound, or when the step stops moving the value.
void loopValues(double min, double max, double step, std::vector<double>& values) {
    for (double u = min; u <= max; u += step) {
        if (values.size() == kMaxLatticePoints || (!values.empty() && u == values.back())) {
            values.clear();
            return;
        }
        values.push_back(u);
    }
}

}  // namespace

CGraphicGrid::Lattice CGraphicGrid::lattice() const {
    Lattice l;
    double* s = l.step;
    for (int i = 0; i < 3; ++i) {
        s[i] = paramMax[i] - paramMin[i];
        if (zero(s[i], TOLERANCE) && divisionCount[i] >= 0) s[i] = kDegenerateStep;
        if (divisionCount[i] > 0) s[i] /= divisionCount[i];
    }
    l.collapsed1 = divisionCount[1] < 0 || zero(s[1], TOLERANCE);
    l.collapsed2 = l.collapsed1 || divisionCount[2] < 0 || zero(s[2], TOLERANCE);
    if (!(divisionCount[0] < 0 || zero(s[0], TOLERANCE)))
        loopValues(paramMin[0], paramMax[0], s[0], l.values[0]);
    if (l.collapsed1)
        l.values[1] = {paramMin[1]};
    else
        loopValues(paramMin[1], paramMax[1], s[1], l.values[1]);
    if (l.collapsed2)
        l.values[2] = {paramMin[2]};
    else
        loopValues(paramMin[2], paramMax[2], s[2], l.values[2]);
    std::size_t total = l.values[0].size();
    for (int i = 1; i < 3; ++i)
        total = !l.values[i].empty() && total <= kMaxLatticePoints / l.values[i].size()
                    ? total * l.values[i].size()
                    : kMaxLatticePoints + 1;
    if (total > kMaxLatticePoints) l.values[0].clear();
    return l;
}

std::size_t CGraphicGrid::latticePointCount() const {
    const Lattice l = lattice();
    return l.values[0].size() * l.values[1].size() * l.values[2].size();
}

bool CGraphicGrid::IsValid() const {
    if (lineVertexCount < 0 || (lineVertexCount > 0 && !lineVertices)) return false;
    const auto points = static_cast<std::size_t>(gridPoints.getCount());
    if (points > kMaxLatticePoints) return false;
    for (const auto* family : {&xLines, &yLines, &zLines})
        for (std::int32_t i = 1; i <= family->getCount(); ++i)
            if (!(*family)[i]) return false;
    for (std::int32_t i = 1; i <= gridPoints.getCount(); ++i)
        if (!gridPoints[i]) return false;
    if (!dataValid || points == 0) return true;  // a copy keeps `dataValid` with no points
    const auto& v = generated.values;
    const std::int64_t lines =
        std::int64_t{xLines.getCount()} + yLines.getCount() + zLines.getCount();
    return v[0].size() * v[1].size() * v[2].size() == points && lineVertexCount == 2 * lines;
}

void CGraphicGrid::UpdateGridData(bool x, bool y, bool z) {
    gridPoints.clear();
    xLines.clear();
    yLines.clear();
    zLines.clear();
    const bool wantLines = x || z;
    generated = lattice();
    const Lattice& l = generated;
    const double* s = l.step;
    const bool collapsed1 = l.collapsed1, collapsed2 = l.collapsed2;
    const auto& values = l.values;

    auto addLine = [](TPointerArray<CLine3D>& family, const CPoint3D& a, const CPoint3D& b,
                      bool keep) {
        if (keep) family.add(new CLine3D(a, b));
    };
    for (double u : values[0]) {
        for (double v : values[1]) {
            for (double w : values[2]) {
                const CPoint3D p = worldPoint(u, v, w);
                gridPoints.add(new CPoint3D(p));
                if (!wantLines) continue;
                if (!collapsed2) addLine(zLines, p, worldPoint(u, v, w + s[2]), w < paramMax[2]);
                if (!collapsed1) addLine(yLines, p, worldPoint(u, v + s[1], w), v < paramMax[1]);
                addLine(xLines, p, worldPoint(u + s[0], v, w), u < paramMax[0]);
            }
        }
    }
    dataValid = true;

    const std::int32_t lines = xLines.getCount() + yLines.getCount() + zLines.getCount();
    lineVertices.reset(new float[6 * static_cast<std::size_t>(lines)]());
    lineVertexCount = 2 * lines;
    float* at = lineVertices.get();
    auto copy = [&at](const TPointerArray<CLine3D>& family) {
        for (std::int32_t i = 1; i <= family.getCount(); ++i) {
            const CLine3D& line = *family[i];
            for (const CPoint3D* end : {&line.p1, &line.p2}) {
                *at++ = static_cast<float>(end->x);
                *at++ = static_cast<float>(end->y);
                *at++ = static_cast<float>(end->z);
            }
        }
    };
    if (x) copy(xLines);
    if (y) copy(yLines);
    if (z) copy(zLines);
}

CPoint3D CGraphicGrid::extents() const {
    return {paramMax[0] - paramMin[0], paramMax[1] - paramMin[1], paramMax[2] - paramMin[2]};
}

CPoint3D CGraphicGrid::divisions() const {
    return {divisionCount[0], divisionCount[1], divisionCount[2]};
}

CPoint3D CGraphicGrid::spacing() const {
    const CPoint3D e = extents();
    auto per = [](double extent, double n) { return n == 0.0 ? 0.0 : extent / n; };
    return {per(e.x, divisionCount[0]), per(e.y, divisionCount[1]), per(e.z, divisionCount[2])};
}

CPoint3D CGraphicGrid::rotation() const {
    return rotationMatrix.EulerAngles();
}

const TPointerArray<CPoint3D>& CGraphicGrid::getGridPoints() {
    if (!dataValid) UpdateGridData(true, true, true);
    return gridPoints;
}
const TPointerArray<CLine3D>& CGraphicGrid::getXGridLines() {
    if (!dataValid) UpdateGridData(true, true, true);
    return xLines;
}
const TPointerArray<CLine3D>& CGraphicGrid::getYGridLines() {
    if (!dataValid) UpdateGridData(true, true, true);
    return yLines;
}
const TPointerArray<CLine3D>& CGraphicGrid::getZGridLines() {
    if (!dataValid) UpdateGridData(true, true, true);
    return zLines;
}
const TPointerArray<CLine3D>& CGraphicGrid::getGridLines() {
    return getXGridLines();
}

void CGraphicGrid::setOrigin(const CPoint3D& origin) {
    originPoint = origin;
    dataValid = false;
}

void CGraphicGrid::setExtents(const CPoint3D& e) {
    const double half[3] = {e.x / 2, e.y / 2, e.z / 2};
    const double o[3] = {originPoint.x, originPoint.y, originPoint.z};
    for (int i = 0; i < 3; ++i) paramMin[i] = o[i] - half[i], paramMax[i] = o[i] + half[i];
    UpdateGridData(true, true, true);
}

void CGraphicGrid::setSpacing(const CPoint3D& s) {
    const double step[3] = {s.x, s.y, s.z};
    for (int i = 0; i < 3; ++i) {
        const double h = divisionCount[i] * step[i] / 2;
        paramMin[i] = -h, paramMax[i] = h;
    }
    UpdateGridData(true, true, true);
}

void CGraphicGrid::setDivisions(const CPoint3D& n) {
    const double e[3] = {paramMax[0] - paramMin[0], paramMax[1] - paramMin[1],
                         paramMax[2] - paramMin[2]};
    const double wanted[3] = {n.x, n.y, n.z};
    const double o[3] = {originPoint.x, originPoint.y, originPoint.z};
    for (int i = 0; i < 3; ++i) {
        const double t = divisionCount[i] != 0.0 ? e[i] / divisionCount[i] : 0.0;
        divisionCount[i] = truncated(wanted[i]);
        paramMin[i] = o[i] - t * divisionCount[i] / 2;
        paramMax[i] = o[i] + t * divisionCount[i] / 2;
    }
    UpdateGridData(true, true, true);
}

namespace {

// Rounds each extent up to whole steps and sets the divisions to k times the steps; an axis
// of zero extent or spacing keeps its divisions and its extent.
void wholeSteps(double (&e)[3], const double (&s)[3], const double (&k)[3], double (&div)[3]) {
    for (int i = 0; i < 3; ++i) {
        if (zero(s[i], TOLERANCE) || zero(e[i], TOLERANCE)) continue;
        const double ratio = e[i] / s[i];
        if (!zero(ratio - std::trunc(ratio), TOLERANCE)) e[i] = (std::trunc(ratio) + 1) * s[i];
        div[i] = truncated(k[i] * e[i] / s[i]);
    }
}

}  // namespace

void CGraphicGrid::setExtentsAndSpacing(const CPoint3D& extents, const CPoint3D& spacing) {
    double e[3] = {extents.x, extents.y, extents.z};
    const double s[3] = {spacing.x, spacing.y, spacing.z};
    wholeSteps(e, s, {2, 2, 2}, divisionCount);
    const double o[3] = {originPoint.x, originPoint.y, originPoint.z};
    for (int i = 0; i < 3; ++i) paramMin[i] = o[i] - e[i], paramMax[i] = o[i] + e[i];
    UpdateGridData(true, true, true);
}

void CGraphicGrid::setRotationUsingAngles(double a, double b, double c) {
    zeroMatrix(rotationMatrix);
    CQuaternion(a, b, c).QuatToMat(rotationMatrix);
    rotated = true;
}

void CGraphicGrid::setRotationUsingAngles(const CPoint3D& angles) {
    CMatrix44 matrix;
    matrix.SetEulerAngles(angles.x, angles.y, angles.z);
    rotationMatrix = matrix;
    UpdateGridData(true, true, true);
}

void CGraphicGrid::setRotationUsingAxis(double angle, CVector3D axis) {
    axis.normalize(TOLERANCE);
    zeroMatrix(rotationMatrix);
    CQuaternion(angle, axis).QuatToMat(rotationMatrix);
    rotated = true;
    UpdateGridData(true, true, true);
}

void CGraphicGrid::setRotationUsingPoints(const CPoint3D& a, const CPoint3D& b, const CPoint3D& c) {
    CVector3D e1(a, b), e2(a, c);
    const double length1 = e1.length(), length2 = e2.length();
    e1.normalize(TOLERANCE);
    e2.normalize(TOLERANCE);
    if (e1.angle(e2, TOLERANCE) != 0.0 && length1 > 0.0 && length2 > 0.0) {
        const CVector3D e3 = e1.cross(e2);
        const CVector3D e2Across = e3.cross(e1);
        zeroMatrix(rotationMatrix);
        const CVector3D* columns[3] = {&e1, &e2Across, &e3};
        for (int c2 = 0; c2 < 3; ++c2) {
            rotationMatrix.m[0][c2] = columns[c2]->x;
            rotationMatrix.m[1][c2] = columns[c2]->y;
            rotationMatrix.m[2][c2] = columns[c2]->z;
        }
        rotated = true;
    }
    UpdateGridData(true, true, true);
}

bool CGraphicGrid::closestByArithmetic(const CPoint3D&, CPoint3D&, double&) {
    return false;
}

CPoint3D CGraphicGrid::closestGridPoint(const CPoint3D& p, double& distance) {
    CPoint3D best(0.0, 0.0, 0.0);
    distance = BIG;
    if (!dataValid) UpdateGridData(true, true, true);
    if (closestByArithmetic(p, best, distance)) return best;
    for (std::int32_t i = 1; i <= gridPoints.getCount(); ++i) {
        const double d = p.distance_to(*gridPoints[i]);
        if (d < distance) distance = d, best = *gridPoints[i];
    }
    return best;
}

CPoint3D CGraphicGrid::closestGridPoint(const CLine3D& line, double& distance) {
    CPoint3D best(0.0, 0.0, 0.0);
    distance = BIG;
    if (!dataValid) UpdateGridData(true, true, true);
    for (std::int32_t i = 1; i <= gridPoints.getCount(); ++i) {
        const double d = line.distance_to(*gridPoints[i], TOLERANCE);
        if (d < distance) distance = d, best = *gridPoints[i];
    }
    return best;
}

void CGraphicGrid::gridVolume(CPoint3D& low, CPoint3D& high) const {
    low = CPoint3D(1e20, 1e20, 1e20);
    high = CPoint3D(-1e20, -1e20, -1e20);
    for (std::int32_t i = 1; i <= gridPoints.getCount(); ++i) {
        const CPoint3D& p = *gridPoints[i];
        low = CPoint3D(std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z));
        high = CPoint3D(std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z));
    }
}

namespace {

double& axisOf(CPoint3D& p, int i) {
    return i == 0 ? p.x : i == 1 ? p.y : p.z;
}
double axisOf(const CPoint3D& p, int i) {
    return i == 0 ? p.x : i == 1 ? p.y : p.z;
}

}  // namespace

bool CGraphicGrid::doesGridVolumeImprove(const CPoint3D& targetLow, const CPoint3D& targetHigh,
                                         bool& lowBetter, bool& highBetter) {
    CPoint3D oldLow, oldHigh, newLow, newHigh;
    gridVolume(oldLow, oldHigh);
    UpdateGridData(false, false, false);
    gridVolume(newLow, newHigh);
    lowBetter = highBetter = false;
    for (int i = 0; i < 3; ++i) {
        const double lowGap = std::max(axisOf(oldLow, i) - axisOf(targetLow, i), 0.0);
        const double highGap = std::max(axisOf(targetHigh, i) - axisOf(oldHigh, i), 0.0);
        const double lowGapAfter = std::max(axisOf(newLow, i) - axisOf(targetLow, i), 0.0);
        const double highGapAfter = std::max(axisOf(targetHigh, i) - axisOf(newHigh, i), 0.0);
        if (lowGap > lowGapAfter) lowBetter = true;
        if (highGap > highGapAfter) highBetter = true;
    }
    return lowBetter || highBetter;
}

void CGraphicGrid::expandExtents(const CPoint3D& boxLow, const CPoint3D& boxHigh, double factor,
                                 int maxPasses) {
    CPoint3D targetLow, targetHigh;
    double step[3];
    for (int i = 0; i < 3; ++i) {
        const double centre = (axisOf(boxLow, i) + axisOf(boxHigh, i)) / 2;
        const double half = (axisOf(boxHigh, i) - axisOf(boxLow, i)) / 2 * factor;
        axisOf(targetLow, i) = centre - half;
        axisOf(targetHigh, i) = centre + half;
        step[i] = divisionCount[i] > 0 ? (paramMax[i] - paramMin[i]) / divisionCount[i] : 0.0;
    }
    if (!dataValid) UpdateGridData(true, true, true);
    CPoint3D low, high;
    gridVolume(low, high);
    bool covered = true;
    for (int i = 0; i < 3; ++i)
        if (axisOf(targetLow, i) < axisOf(low, i) || axisOf(targetHigh, i) > axisOf(high, i))
            covered = false;
    if (covered) return;

    const int passes = std::min(maxPasses, 10);
    for (int pass = 0; pass < passes; ++pass) {
        bool kept = false;
        for (int i = 0; i < 3; ++i) {
            if (!(step[i] > 0.0)) continue;
            bool lowBetter = false, highBetter = false;
            const double oldMin = paramMin[i], oldMax = paramMax[i], oldDiv = divisionCount[i];
            paramMin[i] -= step[i];
            divisionCount[i] += 1;
            if (doesGridVolumeImprove(targetLow, targetHigh, lowBetter, highBetter) && lowBetter) {
                kept = true;
                continue;
            }
            paramMin[i] = oldMin, divisionCount[i] = oldDiv;
            UpdateGridData(false, false, false);
            paramMax[i] += step[i];
            divisionCount[i] += 1;
            if (doesGridVolumeImprove(targetLow, targetHigh, lowBetter, highBetter) && highBetter) {
                kept = true;
                continue;
            }
            paramMax[i] = oldMax, divisionCount[i] = oldDiv;
            UpdateGridData(false, false, false);
        }
        if (!kept) break;
    }
    UpdateGridData(true, true, true);
}

ETFileError CGraphicGrid::write(obfstream& out, int) {
    out << static_cast<short>(2);
    out << m_name.GetString();
    out << static_cast<short>(type);
    out << dataValid << visible << bigDots;
    for (double v : divisionCount) out << v;
    for (double v : paramMin) out << v;
    for (double v : paramMax) out << v;
    out << originPoint.x << originPoint.y << originPoint.z;
    out << rotated;
    for (const auto& row : rotationMatrix.m)
        for (double v : row) out << v;
    out << expandable;
    for (bool flag : axisFlags) out << flag;
    // The value of a read failure on the write path is the stated answer.
    return !out ? feReadError : feSuccess;
}

ETFileError CGraphicGrid::read(ibfstream& in) {
    if (readRecord(in) == feBadFormat) return feBadFormat;
    UpdateGridData(true, true, true);
    return !in ? feReadError : feSuccess;
}

ETFileError CGraphicGrid::readRecord(ibfstream& in) {
    short version = 0;
    in >> version;
    if (version != 1 && version != 2) return feBadFormat;
    short storedType = 0;
    in >> m_name >> storedType;
    type = storedType;
    in >> dataValid >> visible;
    bigDots = false;
    if (version == 2) in >> bigDots;
    for (double& v : divisionCount) in >> v;
    for (double& v : paramMin) in >> v;
    for (double& v : paramMax) in >> v;
    in >> originPoint.x >> originPoint.y >> originPoint.z;
    in >> rotated;
    for (auto& row : rotationMatrix.m)
        for (double& v : row) in >> v;
    in >> expandable;
    for (bool& flag : axisFlags) in >> flag;
    return !in ? feReadError : feSuccess;
}

// --- CRectangularGrid -------------------------------------------------------------------------

int CRectangularGrid::ngrid = 1;

CRectangularGrid::CRectangularGrid() {
    type = gtXYPlane;
    m_name = numbered("Rectangular Grid", ngrid);
    setParameterLimits(-600, 600, 50, -600, 600, 50, 0, 0, 0);
    dataValid = false;
    axisFlags[0] = axisFlags[1] = axisFlags[2] = true;
}

CPoint3D CRectangularGrid::gridPoint(double a, double b, double c) const {
    return CPoint3D(a, b, c);
}

void CRectangularGrid::setupRegularGrid(const CString& name, ETGridPlane plane, double extentA,
                                        double extentB, double spacingA, double spacingB,
                                        const CPoint3D& origin) {
    if (!(extentA > 0 && extentB > 0 && spacingA > 0 && spacingB > 0)) return;
    const int nA = std::max(truncated(extentA / spacingA), 1);
    const int nB = std::max(truncated(extentB / spacingB), 1);
    const double a = nA * spacingA / 2, b = nB * spacingB / 2;
    switch (plane) {
        case gpXY:
            setParameterLimits(-a, a, nA, -b, b, nB, 0, 0, 1);
            type = gtXYPlane;
            break;
        case gpYZ:
            setParameterLimits(0, 0, 1, -a, a, nA, -b, b, nB);
            type = gtYZPlane;
            break;
        case gpZX:
            setParameterLimits(-b, b, nB, 0, 0, 1, -a, a, nA);
            type = gtXZPlane;
            break;
    }
    m_name = numbered(name, ngrid);
    setOrigin(origin);
}

void CRectangularGrid::setupLineGrid(const CString& name, int axis, double length, double spacing,
                                     const CPoint3D& origin) {
    if (!(length > 0 && spacing > 0) || static_cast<unsigned>(axis) >= 3) return;
    const int n = std::max(truncated(length / spacing), 1);
    const double h = n * spacing / 2;
    if (axis == 0) setParameterLimits(-h, h, n, 0, 0, 1, 0, 0, 1);
    if (axis == 1) setParameterLimits(0, 0, 1, -h, h, n, 0, 0, 1);
    if (axis == 2) setParameterLimits(0, 0, 1, 0, 0, 1, -h, h, n);
    type = gtLineX + axis;
    m_name = numbered(name, ngrid);
    setOrigin(origin);
}

namespace {

// The cube factories test the spacing of z for nothing, as they always did; a zero there
// makes a count of int's extreme, not a crash.
template <typename Grid>
bool cubeLimits(Grid& grid, double ex, double ey, double ez, double sx, double sy, double sz) {
    if (!(ex > 0 && ey > 0 && ez > 0 && sx > 0 && sy > 0)) return false;
    const int nx = std::max(truncated(ex / sx), 1), ny = std::max(truncated(ey / sy), 1);
    const int nz = std::max(truncated(ez / sz), 1);
    grid.setParameterLimits(-nx * sx / 2, nx * sx / 2, nx, -ny * sy / 2, ny * sy / 2, ny,
                            -nz * sz / 2, nz * sz / 2, nz);
    return true;
}

}  // namespace

void CRectangularGrid::setupCubeGrid(const CString& name, double extentX, double extentY,
                                     double extentZ, double spacingX, double spacingY,
                                     double spacingZ, const CPoint3D& origin) {
    if (cubeLimits(*this, extentX, extentY, extentZ, spacingX, spacingY, spacingZ))
        setOrigin(origin);
    type = gt3DRectangular;
    m_name = numbered(name, ngrid);
}

void CRectangularGrid::setupGridThroughCorners(const CPoint3D& a, const CPoint3D& b,
                                               const CPoint3D& c, double spacingA,
                                               double spacingB) {
    const double d1 = a.distance_to(b), d2 = a.distance_to(c);
    if (!(d1 > 0 && d2 > 0 && spacingA > 0 && spacingB > 0)) return;
    const int nA = std::max(truncated(d1 / spacingA), 1);
    const int nB = std::max(truncated(d2 / spacingB), 1);
    setParameterLimits(0, nA * spacingA, nA, 0, nB * spacingB, nB, 0, 0, 1);
    setOrigin(a);
    setRotationUsingPoints(a, b, c);
}

namespace {

// Where `x` would go in the ascending `values` a loop accumulated from values[0] by `step`:
// the first index whose value is not below `x` (the size when none is), as a binary search
// answers. The index the step gives is off by rounding alone, so a few moves correct it.
std::size_t firstNotBelow(const std::vector<double>& values, double step, double x) {
    const std::size_t n = values.size();
    const double t = (x - values[0]) / step;
    std::size_t at = 0;
    if (t >= static_cast<double>(n))
        at = n;
    else if (t > 0)
        at = static_cast<std::size_t>(t);
    while (at < n && values[at] < x) ++at;
    while (at > 0 && !(values[at - 1] < x)) --at;
    return at;
}

}  // namespace

bool CRectangularGrid::closestByArithmetic(const CPoint3D& p, CPoint3D& best, double& distance) {
    // Under a rigid motion the nearest lattice point is the nearest value on each axis, give
    // or take one step for rounding; so the candidates are the neighbours of those values,
    // measured exactly as the scan measures, in the scan's order.
    const CMatrix44& r = rotationMatrix;
    if (rotated) {
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j) {
                double dot = 0.0;
                for (int k = 0; k < 3; ++k) dot += r.m[k][i] * r.m[k][j];
                if (std::abs(dot - (i == j ? 1.0 : 0.0)) > 1e-9) return false;
            }
    }
    const Lattice& l = generatedLattice();
    const auto& values = l.values;
    if (values[0].size() * values[1].size() * values[2].size() !=
            static_cast<std::size_t>(gridPoints.getCount()) ||
        gridPoints.getCount() == 0)
        return false;  // the lattice held is not the one of the parameters: scan it

    CPoint3D local(p.x - originPoint.x, p.y - originPoint.y, p.z - originPoint.z);
    if (rotated) {
        const CPoint3D d = local;
        local = CPoint3D(r.m[0][0] * d.x + r.m[1][0] * d.y + r.m[2][0] * d.z,
                         r.m[0][1] * d.x + r.m[1][1] * d.y + r.m[2][1] * d.z,
                         r.m[0][2] * d.x + r.m[1][2] * d.y + r.m[2][2] * d.z);
    }
    std::size_t from[3], to[3];
    for (int i = 0; i < 3; ++i) {
        const std::size_t at = firstNotBelow(values[i], l.step[i], axisOf(local, i));
        from[i] = at > 1 ? at - 2 : 0;
        to[i] = std::min(at + 1, values[i].size() - 1);
    }
    for (std::size_t a = from[0]; a <= to[0]; ++a)
        for (std::size_t b = from[1]; b <= to[1]; ++b)
            for (std::size_t c = from[2]; c <= to[2]; ++c) {
                const CPoint3D q = worldPoint(values[0][a], values[1][b], values[2][c]);
                const double d = p.distance_to(q);
                if (d < distance) distance = d, best = q;
            }
    return true;
}

// --- CPolarGrid -------------------------------------------------------------------------------

CPolarGrid::CPolarGrid() {
    type = gtPolar;
    m_name = numbered("Polar Grid", gPolarCount);
    setParameterLimits(0, 120, 2, 0, kTwoPi, 24, 0, 0, 0);
    axisFlags[0] = true;
}

CPoint3D CPolarGrid::gridPoint(double a, double b, double c) const {
    return CPoint3D(a * std::cos(b), a * std::sin(b), c);
}

void CPolarGrid::setExtents(const CPoint3D& extents) {
    CGraphicGrid::setExtents(extents);
}

void CPolarGrid::setSpacing(const CPoint3D& s) {
    paramMin[0] = 0, paramMax[0] = divisionCount[0] * s.x;
    paramMin[1] = 0, paramMax[1] = divisionCount[1] * s.y;
    paramMin[2] = -divisionCount[2] * s.z / 2, paramMax[2] = divisionCount[2] * s.z / 2;
    UpdateGridData(true, true, true);
}

void CPolarGrid::setDivisions(const CPoint3D& n) {
    const CPoint3D e = extents();
    divisionCount[0] = truncated(n.x);
    divisionCount[1] = truncated(n.y);
    divisionCount[2] = truncated(n.z);
    paramMin[0] = 0, paramMax[0] = e.x;
    paramMin[1] = 0, paramMax[1] = divisionCount[1] == 0 ? 0.0 : kTwoPi;
    paramMin[2] = -e.z / 2, paramMax[2] = e.z / 2;
    UpdateGridData(true, true, true);
}

void CPolarGrid::setExtentsAndSpacing(const CPoint3D& extents, const CPoint3D& spacing) {
    double e[3] = {extents.x, extents.y, extents.z};
    const double s[3] = {spacing.x, spacing.y, spacing.z};
    wholeSteps(e, s, {1, 1, 2}, divisionCount);
    paramMin[0] = 0, paramMax[0] = e[0];
    paramMin[1] = 0, paramMax[1] = e[1];
    paramMin[2] = -e[2], paramMax[2] = e[2];
    UpdateGridData(true, true, true);
}

// --- CHelicalGrid -----------------------------------------------------------------------------

CHelicalGrid::CHelicalGrid() {
    m_name = numbered("Helical Grid", gHelicalCount);
    setParameterLimits(120, 120, 2, 0, kTwoPi, 24, 0, 120, 10);
}

CPoint3D CHelicalGrid::gridPoint(double a, double b, double c) const {
    return CPoint3D(a * std::cos(b), a * std::sin(b), b * c);
}

void CHelicalGrid::setExtents(const CPoint3D& e) {
    paramMin[0] = originPoint.x - e.x, paramMax[0] = originPoint.x + e.x;
    paramMin[1] = originPoint.y - e.y / 2, paramMax[1] = originPoint.y + e.y / 2;
    paramMin[2] = originPoint.z - e.z / 2, paramMax[2] = originPoint.z + e.z / 2;
    UpdateGridData(true, true, true);
}

void CHelicalGrid::setExtentsAndSpacing(const CPoint3D& extents, const CPoint3D& spacing) {
    double e[3] = {extents.x, extents.y, extents.z};
    const double s[3] = {spacing.x, spacing.y, spacing.z};
    wholeSteps(e, s, {1, 1, 1}, divisionCount);
    paramMin[0] = originPoint.x, paramMax[0] = originPoint.x + e[0];
    paramMin[1] = originPoint.y, paramMax[1] = originPoint.y + e[1];
    paramMin[2] = originPoint.z - e[2], paramMax[2] = originPoint.z + e[2];
    UpdateGridData(true, true, true);
}

// --- CSphericalGrid ---------------------------------------------------------------------------

CSphericalGrid::CSphericalGrid() {
    type = gtSpherical;
    m_name = numbered("Spherical Grid", gSphericalCount);
    setParameterLimits(0, 120, 1, 0, kTwoPi, 12, 0, zev::PI, 13);
}

CPoint3D CSphericalGrid::gridPoint(double a, double b, double c) const {
    return CPoint3D(a * std::sin(c) * std::cos(b), a * std::sin(c) * std::sin(b), a * std::cos(c));
}

void CSphericalGrid::UpdateGridData(bool, bool y, bool z) {
    CGraphicGrid::UpdateGridData(false, y, z);
}

void CSphericalGrid::setExtents(const CPoint3D& extents) {
    const CPoint3D kept = spacing();
    CGraphicGrid::setExtents(extents);
    setSpacing(kept);
}

void CSphericalGrid::setSpacing(const CPoint3D& s) {
    const double step[3] = {s.x, s.y, s.z};
    const double o[3] = {originPoint.x, originPoint.y, originPoint.z};
    for (int i = 0; i < 3; ++i) paramMin[i] = o[i], paramMax[i] = o[i] + divisionCount[i] * step[i];
    UpdateGridData(true, true, true);
}

void CSphericalGrid::setDivisions(const CPoint3D& n) {
    const double wanted[3] = {n.x, n.y, n.z};
    const double o[3] = {originPoint.x, originPoint.y, originPoint.z};
    for (int i = 0; i < 3; ++i) {
        const double e = paramMax[i] - paramMin[i];
        const double t = divisionCount[i] != 0.0 ? e / divisionCount[i] : 0.0;
        divisionCount[i] = truncated(wanted[i]);
        paramMin[i] = o[i], paramMax[i] = o[i] + t * divisionCount[i];
    }
    UpdateGridData(true, true, true);
}

void CSphericalGrid::setExtentsAndSpacing(const CPoint3D& extents, const CPoint3D& spacing) {
    double e[3] = {extents.x, extents.y, extents.z};
    const double s[3] = {spacing.x, spacing.y, spacing.z};
    wholeSteps(e, s, {1, 1, 2}, divisionCount);
    const double o[3] = {originPoint.x, originPoint.y, originPoint.z};
    for (int i = 0; i < 3; ++i) paramMin[i] = o[i], paramMax[i] = o[i] + e[i];
    UpdateGridData(true, true, true);
}

// --- CIrregularGrid ---------------------------------------------------------------------------

int CIrregularGrid::ngrid = 1;

CIrregularGrid::CIrregularGrid() {
    type = gtXYLines;
    m_name = numbered("3D Irregular Grid", ngrid);
    CTArray<double> steps;
    for (int i = 0; i < 3; ++i) steps.add(120.0);
    setPointSpacings(steps, steps, steps, CPoint3D(0, 0, 0));
    dataValid = false;
}

CIrregularGrid::CIrregularGrid(const CIrregularGrid& other)
    : CGraphicGrid(other),
      xCoords(other.xCoords),
      yCoords(other.yCoords),
      zCoords(other.zCoords),
      xSpacings(other.xSpacings),
      ySpacings(other.ySpacings),
      zSpacings(other.zSpacings) {}

CIrregularGrid& CIrregularGrid::operator=(const CIrregularGrid& other) {
    if (this == &other) return *this;
    CGraphicGrid::operator=(other);
    xCoords = other.xCoords, yCoords = other.yCoords, zCoords = other.zCoords;
    xSpacings = other.xSpacings, ySpacings = other.ySpacings, zSpacings = other.zSpacings;
    return *this;
}

CGraphicGrid* CIrregularGrid::clone() const {
    return new CIrregularGrid(*this);
}

void CIrregularGrid::setParameterLimits(double, double, int, double, double, int, double, double,
                                        int) {
    const int nx = xCoords.getCount(), ny = yCoords.getCount(), nz = zCoords.getCount();
    CGraphicGrid::setParameterLimits(1, nx, nx - 1, 1, ny, ny - 1, 1, nz, nz - 1);
}

CPoint3D CIrregularGrid::gridPoint(double a, double b, double c) const {
    auto coordinate = [](const CTArray<double>& coords, double parameter) {
        const int i = truncated(parameter);
        return i > 0 && i <= coords.getCount() ? coords[i] : 0.0;
    };
    return CPoint3D(coordinate(xCoords, a), coordinate(yCoords, b), coordinate(zCoords, c));
}

void CIrregularGrid::setPointSpacings(CTArray<double> dx, CTArray<double> dy, CTArray<double> dz,
                                      const CPoint3D&) {
    CTArray<double>* coords[3] = {&xCoords, &yCoords, &zCoords};
    CTArray<double>* spacings[3] = {&xSpacings, &ySpacings, &zSpacings};
    const CTArray<double>* given[3] = {&dx, &dy, &dz};
    for (int axis = 0; axis < 3; ++axis) {
        coords[axis]->clear();
        spacings[axis]->clear();
        double sum = 0.0;
        coords[axis]->add(sum);
        for (std::int32_t i = given[axis]->getLower(); i <= given[axis]->getLast(); ++i) {
            const double step = (*given[axis])[i];
            spacings[axis]->add(step);
            sum += step;
            coords[axis]->add(sum);
        }
    }
    setParameterLimits(0, 0, 0, 0, 0, 0, 0, 0, 0);
}

void CIrregularGrid::setupPlanarGrid(const CString& name, ETGridPlane plane, double extentA,
                                     double extentB, double spacingA, double spacingB,
                                     const CPoint3D& origin) {
    if (!(extentA > 0 && extentB > 0 && spacingA > 0 && spacingB > 0)) return;
    const int nA = std::max(truncated(extentA / spacingA), 1);
    const int nB = std::max(truncated(extentB / spacingB), 1);
    CTArray<double> a, b, none;
    for (int i = 0; i < nA; ++i) a.add(spacingA);
    for (int i = 0; i < nB; ++i) b.add(spacingB);
    switch (plane) {
        case gpXY:
            setPointSpacings(a, b, none, origin);
            type = gtXYLines;
            break;
        case gpYZ:
            setPointSpacings(none, a, b, origin);
            type = gtYZLines;
            break;
        case gpZX:
            setPointSpacings(b, none, a, origin);
            type = gtXZLines;
            break;
    }
    m_name = numbered(name, ngrid);
}

void CIrregularGrid::setupCubeGrid(const CString& name, double extentX, double extentY,
                                   double extentZ, double spacingX, double spacingY,
                                   double spacingZ, const CPoint3D& origin) {
    if (cubeLimits(*this, extentX, extentY, extentZ, spacingX, spacingY, spacingZ))
        setOrigin(origin);
    type = gt3DLines;
    m_name = numbered(name, ngrid);
}

CPoint3D CIrregularGrid::getNumberOfLines() const {
    return CPoint3D(xCoords.getCount(), yCoords.getCount(), zCoords.getCount());
}

ETFileError CIrregularGrid::write(obfstream& out, int unused) {
    const ETFileError base = CGraphicGrid::write(out, unused);
    const ETFileError x = writeArray(xSpacings, out);
    const ETFileError y = writeArray(ySpacings, out);
    const ETFileError z = writeArray(zSpacings, out);
    return base != feSuccess || x != feSuccess || y != feSuccess || z != feSuccess ? feWriteError
                                                                                   : feSuccess;
}

ETFileError CIrregularGrid::read(ibfstream& in) {
    const ETFileError result = readRecord(in);
    if (result != feSuccess) return result;
    UpdateGridData(true, true, true);
    return feSuccess;
}

ETFileError CIrregularGrid::readRecord(ibfstream& in) {
    const ETFileError base = CGraphicGrid::readRecord(in);
    if (base == feBadFormat) return base;
    CTArray<double> dx, dy, dz;
    const ETFileError x = readArray(dx, in);
    const ETFileError y = readArray(dy, in);
    const ETFileError z = readArray(dz, in);
    if (base != feSuccess || x != feSuccess || y != feSuccess || z != feSuccess) return feReadError;
    setPointSpacings(dx, dy, dz, originPoint);
    return feSuccess;
}
