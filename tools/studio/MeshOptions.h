#pragma once

// The mesh options as rows of a property grid: element size (a length in the current unit
// style), divisions, the method and the triangle mesher's largest area. Each row checks its
// own entries; an accepted change marks the options modified and tells the application.

#include <functional>
#include <memory>
#include <vector>

#include "tools/studio/Project.h"
#include "zevcore/settings/BaseProperty.h"
#include "zevcore/settings/PropertyGroup.h"

namespace studio {

class MeshOptions : public CPropertyGroup {
public:
    MeshOptions();
    ~MeshOptions() override;

    /// Shows `settings` in the rows; the options are not modified after it.
    void Load(const MeshSettings& settings);
    MeshSettings Settings() const;
    bool Modified() const { return m_modified; }
    void ClearModified() { m_modified = false; }

    /// Called after each accepted change.
    std::function<void()> onChange;

    const char* applyChange(int row) override;

    CPhysicalProperty& Size() { return *m_size; }
    CIntegerProperty& Divisions() { return *m_divisions; }
    CListProperty& Method() { return *m_method; }
    CPhysicalProperty& MaxArea() { return *m_maxArea; }
    CCheckBoxProperty& Extended() { return *m_extended; }

private:
    std::vector<std::unique_ptr<CBaseProperty>> m_rows;
    CPhysicalProperty* m_size;
    CIntegerProperty* m_divisions;
    CListProperty* m_method;
    CPhysicalProperty* m_maxArea;
    CCheckBoxProperty* m_extended;
    bool m_modified = false;
};

}  // namespace studio
