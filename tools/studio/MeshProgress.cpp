#include "tools/studio/MeshProgress.h"

#include <algorithm>
#include <cmath>

#include "zevcore/quantities/Units.h"

namespace studio {

namespace {

struct Stage {
    const char* opening;
    double base;
    double width;
};

// Bands by the time each stage took on the samples: the rows take the most.
constexpr Stage kStages[] = {
    {"Preparing shape", 0.0, 0.05},     {"Meshing boundaries", 0.05, 0.75},
    {"Finishing the mesh", 0.80, 0.10}, {"Smoothing the mesh", 0.80, 0.10},
    {"Refining the mesh", 0.90, 0.05},  {"Cleaning up the mesh", 0.95, 0.04},
};

}  // namespace

double ProgressEstimate::Line(const QString& line) {
    bool opening = false;
    for (const Stage& stage : kStages)
        if (line.startsWith(QLatin1String(stage.opening))) {
            m_base = stage.base, m_width = stage.width, m_lines = 0;
            opening = true;
        }
    if (!opening) ++m_lines;
    const double fraction = m_base + m_width * m_lines / (m_lines + m_expected);
    m_shown = std::min(0.99, std::max(m_shown, fraction));
    return m_shown;
}

double expectedStageLines(const zevtool::meshio::Region& region, double size) {
    // The largest loop is the outline and the others holes, whatever their turning.
    double outline = 0.0, all = 0.0;
    for (const auto& loop : region.loops) {
        const double area = std::fabs(zevtool::meshio::signedArea(loop));
        outline = std::max(outline, area);
        all += area;
    }
    const double breadth = std::sqrt(std::max(0.0, 2.0 * outline - all));
    const double rows = size > 0.0 ? breadth / size : 0.0;
    return std::isfinite(rows) ? std::clamp(rows, 5.0, 1e6) : 1e6;
}

QString withLengthUnits(const QString& line) {
    static const QString sizeLine = "Mesh element size is ~";
    if (!line.startsWith(sizeLine)) return line;
    bool ok = false;
    const double size = line.mid(sizeLine.size()).toDouble(&ok);
    if (!ok) return line;
    return sizeLine + QString::fromUtf8(Units::show(UNIT_LENGTH_SMALL, size, UNIT_SHOW));
}

}  // namespace studio
