#pragma once

// What the studio shows of a paver run as it goes: a progress bar that only moves forward,
// though the run's length is known only at its end, and the mesher's lines with their units.

#include <QString>

#include "tools/zevcore/MeshIo.h"

namespace studio {

/// The bar of one paver run. The mesher names its stages ("Meshing boundaries...",
/// "Smoothing the mesh..." and so on): each stage has its band of the bar, and the lines
/// within a stage move the bar through its band ever more slowly, half way at the count
/// expected. The bar never goes back and is never full before the run ends.
class ProgressEstimate {
public:
    /// `expected`: about how many lines the longest stage sends (see expectedStageLines).
    explicit ProgressEstimate(double expected) : m_expected(expected > 1.0 ? expected : 1.0) {}
    /// Takes the next line; answers the fraction to show.
    double Line(const QString& line);

private:
    double m_expected;
    double m_base = 0.0;
    double m_width = 0.05;
    int m_lines = 0;
    double m_shown = 0.0;
};

/// About how many lines the paver's row stage sends over `region` at element `size`: it
/// grows with the rows, so with the region's breadth over the size.
double expectedStageLines(const zevtool::meshio::Region& region, double size);

/// A mesher line as the user reads it: a bare length ("Mesh element size is ~15") gets the
/// current unit style's unit.
QString withLengthUnits(const QString& line);

}  // namespace studio
