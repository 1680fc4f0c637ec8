#pragma once

// A list of properties with collapsible sections: what a property grid shows. A header
// property owns the `header_items()` properties after it; while it is collapsed (or itself
// invisible) they are skipped by count, whatever they are, so sections do not nest. The
// list does not own its properties unless told to destroy them.

#include <vector>

#include "zevcore/Export.h"

class CBaseProperty;
class CPropertyGrid;
class CEdit;

class ZEVCORE_API CPropertyGroup {
public:
    /// `name` is the grid's title; the text is not copied.
    explicit CPropertyGroup(const char* name);
    virtual ~CPropertyGroup();
    CPropertyGroup(const CPropertyGroup&) = delete;
    CPropertyGroup& operator=(const CPropertyGroup&) = delete;

    /// Recomputes what is shown and clears every dirty flag.
    virtual void reset();
    /// Called after each change that left the group dirty; a text is shown as an error.
    /// Recomputes what is shown and answers null.
    virtual const char* applyChange(int row);

    /// Null is ignored. The shown count grows by one even for an invisible property, until
    /// the next recount.
    void add_property(CBaseProperty* property);
    void remove_all_properties(bool destroy);
    int properties(bool shownOnly) const;
    /// The property at a row (`byRow`) or a list position; null outside the list.
    CBaseProperty* property(int index, bool byRow) const;
    /// Opens or closes the section of the header at `row`, then recounts.
    void toggle_header(int row);
    /// True when any property, shown or not, is dirty.
    bool isDirty() const;
    int objects() const { return m_objects; }
    void objects(int count) { m_objects = count; }
    const char* name() const { return m_name; }
    /// Which properties have rows now.
    void determine_visibility();

    bool OnEditStart(CPropertyGrid& grid, int row, CEdit** edit);
    const char* OnChangeNotification(CPropertyGrid& grid, int col, int row, int msg, long param);

protected:
    /// The property at a row, whatever `byRow` says.
    CBaseProperty* edit_property(int index, bool byRow) const;
    /// The list position of a row; -1 for a negative row or one beyond the list.
    int get_real_index(int row) const;

    const char* m_name;
    std::vector<CBaseProperty*> m_properties;
    std::vector<bool> m_shown;
    int m_objects = 0;
    int m_shownCount = 0;
};
