#include "tools/studio/MeshOptions.h"

#include <initializer_list>

namespace studio {

MeshOptions::MeshOptions() : CPropertyGroup("Mesh options") {
    auto size = std::make_unique<CPhysicalProperty>("Element size", UNIT_LENGTH_SMALL,
                                                    "The side the mesher aims each element at.",
                                                    0.0, 1e-3, 1e6);
    auto divisions = std::make_unique<CIntegerProperty>(
        "Divisions",
        "Divisions per boundary line, kept with the project (the paver sizes its elements by the "
        "element size alone).",
        1, 0, 1000);
    auto method = std::make_unique<CListProperty>(
        "Method", "paver: quadrilaterals laid in rows; triangle: a quality Delaunay mesh.");
    method->add_list_item("paver", 0);
    method->add_list_item("triangle", 1);
    auto maxArea = std::make_unique<CPhysicalProperty>(
        "Maximum area", UNIT_AREA_SMALL,
        "The triangle mesher's largest triangle (0: an equilateral triangle of the element "
        "size).",
        0.0, 0.0, 1e12);
    auto extended = std::make_unique<CCheckBoxProperty>(
        "Close every front", CB_YES_NO,
        "The paver's extended mode: what the rows leave open is closed and every element split, "
        "so that the mesh covers the region.");
    m_size = size.get();
    m_divisions = divisions.get();
    m_method = method.get();
    m_maxArea = maxArea.get();
    m_extended = extended.get();
    for (auto* row : std::initializer_list<CBaseProperty*>{m_size, m_divisions, m_method, m_maxArea,
                                                           m_extended})
        add_property(row);
    m_rows.push_back(std::move(size));
    m_rows.push_back(std::move(divisions));
    m_rows.push_back(std::move(method));
    m_rows.push_back(std::move(maxArea));
    m_rows.push_back(std::move(extended));
    reset();
}

MeshOptions::~MeshOptions() {
    remove_all_properties(false);
}

void MeshOptions::Load(const MeshSettings& settings) {
    m_size->value(settings.size);
    m_divisions->value(settings.divisions);
    m_method->select_item(settings.method == "triangle" ? 1 : 0);
    m_maxArea->value(settings.maxArea);
    m_extended->state(settings.extended ? CHECK_ON : CHECK_OFF);
    reset();
    m_modified = false;
}

MeshSettings MeshOptions::Settings() const {
    MeshSettings s;
    s.size = m_size->value();
    s.divisions = m_divisions->value();
    s.method = m_method->selected_index() == 1 ? "triangle" : "paver";
    s.maxArea = m_maxArea->value();
    s.extended = m_extended->state() == CHECK_ON;
    return s;
}

const char* MeshOptions::applyChange(int row) {
    m_modified = true;
    const char* message = CPropertyGroup::applyChange(row);
    if (onChange) onChange();
    return message;
}

}  // namespace studio
