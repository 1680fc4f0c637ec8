#pragma once

// Properties: the editable rows of a property grid. A property holds a name, the text its
// value cell shows, a help text and a typed value with the rules for changing it, so that
// the grid (PropertyGrid.h) stays generic: the grid hands each user action to the row's
// `change_notice`, which answers null when it accepted the action or the message to show.
//
// Values change only through the typed setters, which mark the property dirty; a property
// edited for several objects at once may be told that they disagree (`varies`) and then
// shows "Varies" until the user's first accepted change.
//
// Interface thread only: the message buffer, the pending list pick and the custom colours
// are shared by all properties without locks.

#include <utility>
#include <vector>

#include "zevcore/Export.h"
#include "zevcore/platform/Types.h"
#include "zevcore/platform/framework/String.h"
#include "zevcore/quantities/Units.h"

class CPropertyGrid;
class CUGCell;
class CEdit;

enum ETCheckState : int { CHECK_OFF = 0, CHECK_ON = 1, CHECK_INDETERMINATE = 2 };

/// What a check box row shows beside the box: " On"/" Off", " Yes"/" No", or nothing.
enum ETCBStyle : int { CB_ON_OFF = 0, CB_YES_NO = 1, CB_NONE = 2 };

// The notices of the grid's cell types, with `param` as told.
inline constexpr int CN_SPIN_UP = 16;
inline constexpr int CN_SPIN_DOWN = 17;
inline constexpr int CN_CHECK = 53;         ///< param: the new state
inline constexpr int CN_ELLIPSIS = 100;     ///< the [...] button
inline constexpr int CN_LIST_DONE = 101;    ///< the drop list closed on a choice
inline constexpr int CN_LIST_PICK = 108;    ///< param: the row picked
inline constexpr int CN_EDIT_FINISH = 237;  ///< param: the text (const char*), or 0

/// The answer to a notice that a correct grid never sends.
inline constexpr const char* kProgrammerError = "Programmer Error";

class ZEVCORE_API CBaseProperty {
public:
    CBaseProperty();
    CBaseProperty(const CString& name, const CString& text, const CString& help, bool canEdit);
    /// A section header owning the `headerItems` properties that follow it.
    CBaseProperty(const CString& name, int headerItems, bool expanded, const CString& help);
    /// The header form for a literal help text, which the text form would also accept.
    CBaseProperty(const CString& name, int headerItems, bool expanded, const char* help)
        : CBaseProperty(name, headerItems, expanded, CString(help)) {}
    /// A copy starts clean, unhighlighted, visible and without reset after use.
    CBaseProperty(const CBaseProperty& other);
    /// Assignment copies every field, dirty and varies included.
    CBaseProperty& operator=(const CBaseProperty& other);
    virtual ~CBaseProperty();

    /// Compares the strings (case-sensitively) and the flags, not a subclass's value.
    virtual bool operator==(const CBaseProperty& other) const;
    virtual void reset() {}
    /// Writes the row's cells of the grid.
    virtual void setup(CPropertyGrid& grid, int row) const;
    /// Null when the action is accepted, else the text to show; valid until the next notice.
    virtual const char* change_notice(CPropertyGrid& grid, int col, int row, int msg, long param);
    /// May hand the grid another edit field for this row.
    virtual void setup_edit(CPropertyGrid&, CEdit**) const {}

    const CString& name() const { return m_name; }
    void name(const CString& name);
    const CString& text() const { return m_text; }
    /// Sets the shown text and marks the property dirty.
    void text(const CString& text);
    const CString& help() const { return m_help; }
    void help(const CString& help);
    const CString& data_help() const { return m_dataHelp; }
    bool can_edit_text() const { return m_canEditText; }
    void can_edit_text(bool canEdit, bool useReadOnlyColor = true);
    bool use_read_only_color() const { return m_useReadOnlyColor; }
    void use_read_only_color(bool use) { m_useReadOnlyColor = use; }
    bool visible() const { return m_visible; }
    void visible(bool visible) { m_visible = visible; }
    int header_items() const { return m_headerItems; }
    /// A negative count is ignored; any other turns text editing off.
    void header_items(int count);
    bool expanded() const { return m_expanded; }
    void expanded(bool expanded) { m_expanded = expanded; }
    void toggle_expanded() { m_expanded = !m_expanded; }
    bool can_group_edit() const { return m_canGroupEdit; }
    void can_group_edit(bool can) { m_canGroupEdit = can; }
    bool is_reset_after_use() const { return m_resetAfterUse; }
    void reset_after_use(bool reset) { m_resetAfterUse = reset; }
    bool highlighted() const { return m_highlighted; }
    void highlight(bool on) { m_highlighted = on; }
    /// Always false for a header.
    bool varies() const { return m_headerItems == 0 && m_varies; }
    /// A header refuses to vary.
    void varies(bool varies);
    int user_id() const { return m_userId; }
    void user_id(int id) { m_userId = id; }
    bool dirty() const { return m_dirty; }
    void clear_dirty_flag() { m_dirty = false; }
    /// Marks a value cell read-only, in the grid's read-only colours when this row uses them.
    void setup_read_only(CPropertyGrid& grid, CUGCell& cell) const;

protected:
    virtual void set_data_help();
    /// After every accepted change: dirty, no longer varying, help recomputed.
    void set_dirty();
    /// The shown text without marking dirty (for values that set their own text).
    void show_text(const CString& text) { m_text = text; }
    /// The base's help, which the subclasses extend or replace.
    CString base_data_help() const;
    /// Keeps a formatted answer until the next notice.
    static const char* answer(const CString& message);
    /// Fills the value cell with `text` (or "Varies"), read-only unless editable.
    void setup_value(CPropertyGrid& grid, int row, const CString& text, int cellType) const;
    /// The value cell of a row that only a chooser changes: read-only, with the [...].
    void setup_chooser_value(CPropertyGrid& grid, int row) const;

    CString m_name;
    CString m_text;
    CString m_help;
    CString m_dataHelp;
    bool m_canEditText = true;
    bool m_useReadOnlyColor = true;
    bool m_highlighted = false;
    int m_headerItems = 0;
    bool m_expanded = true;
    bool m_canGroupEdit = true;
    bool m_visible = true;
    bool m_varies = false;
    bool m_resetAfterUse = false;
    bool m_dirty = false;
    int m_userId = -1;
};

class ZEVCORE_API CTextProperty : public CBaseProperty {
public:
    using SimpleDialog = int (*)();
    using ParameterDialog = int (*)(void*);

    /// A length of -1 is no limit.
    CTextProperty(const CString& name, const CString& help, bool canEdit, int minLength,
                  int maxLength);

    void setup(CPropertyGrid& grid, int row) const override;
    const char* change_notice(CPropertyGrid& grid, int col, int row, int msg, long param) override;

    int min_length() const { return m_minLength; }
    int max_length() const { return m_maxLength; }
    void set_min_length(int length);
    void set_max_length(int length);
    void set_simple_dialog(SimpleDialog dialog);
    void set_parameter_dialog(ParameterDialog dialog, void* parameter);
    bool has_dialog() const { return m_simpleDialog || m_parameterDialog; }
    /// Runs the dialog (the parameter one first): 2 with none or while one runs; a result of
    /// 1 or 6 marks the property dirty.
    int run_dialog();

protected:
    void set_data_help() override;

private:
    SimpleDialog m_simpleDialog = nullptr;
    ParameterDialog m_parameterDialog = nullptr;
    void* m_dialogParameter = nullptr;
    int m_minLength;
    int m_maxLength;
    bool m_inDialog = false;
};

class ZEVCORE_API CIntegerProperty : public CBaseProperty {
public:
    CIntegerProperty(const CString& name, const CString& help, int spinDelta, int lower, int upper);

    void setup(CPropertyGrid& grid, int row) const override;
    const char* change_notice(CPropertyGrid& grid, int col, int row, int msg, long param) override;

    int value() const { return m_value; }
    /// Ignored outside the limits; a new value marks dirty.
    void value(int value);
    int spin_delta() const { return m_spinDelta; }
    void spin_delta(int delta);
    int lower_limit() const { return m_lower; }
    int upper_limit() const { return m_upper; }
    /// Moves the value inside the new limit without marking dirty.
    void set_lower_limit(int limit);
    void set_upper_limit(int limit);

protected:
    void set_data_help() override;

private:
    void wide_value(long long value);

    int m_value = 0;
    int m_spinDelta;
    int m_lower;
    int m_upper;
};

class ZEVCORE_API CDoubleProperty : public CBaseProperty {
public:
    CDoubleProperty(const CString& name, const CString& help, double spinDelta, double lower,
                    double upper);

    void reset() override { m_value = 0.0; }
    void setup(CPropertyGrid& grid, int row) const override;
    const char* change_notice(CPropertyGrid& grid, int col, int row, int msg, long param) override;

    double value() const { return m_value; }
    /// Ignored outside the limits, when not a number, or within 1e-10 of the current value.
    void value(double value);
    double spin_delta() const { return m_spinDelta; }
    void spin_delta(double delta);
    double lower_limit() const { return m_lower; }
    double upper_limit() const { return m_upper; }
    /// Ignored when the new limit equals the spin delta (by design); moves the value inside
    /// the limit without marking dirty.
    void set_lower_limit(double limit);
    void set_upper_limit(double limit);

protected:
    void set_data_help() override;
    const char* spin(int msg);

    double m_value = 0.0;
    double m_spinDelta;
    double m_lower;
    double m_upper;
};

/// A double in the internal unit of a category, typed and shown in the current unit style.
class ZEVCORE_API CPhysicalProperty : public CDoubleProperty {
public:
    CPhysicalProperty(const CString& name, ETUnit quantity, const CString& help, double spinDelta,
                      double lower, double upper);

    void setup(CPropertyGrid& grid, int row) const override;
    /// The entry is read from the grid's units field, not from the text.
    const char* change_notice(CPropertyGrid& grid, int col, int row, int msg, long param) override;
    void setup_edit(CPropertyGrid& grid, CEdit** edit) const override;

    ETUnit quantity() const { return m_quantity; }
    void quantity(ETUnit quantity);
    /// The value as the value cell shows it.
    CString shown_value() const;

protected:
    void set_data_help() override;

private:
    ETUnit m_quantity;
};

class ZEVCORE_API CCheckBoxProperty : public CBaseProperty {
public:
    CCheckBoxProperty(const CString& name, ETCBStyle style, const CString& help);

    void setup(CPropertyGrid& grid, int row) const override;
    const char* change_notice(CPropertyGrid& grid, int col, int row, int msg, long param) override;

    /// 2 while varying; a stored 2 without three states reads 0.
    ETCheckState state() const;
    /// Setting 2 turns three states on.
    void state(ETCheckState state);
    bool three_state() const { return m_threeState; }
    void three_state(bool on);
    ETCBStyle style() const { return m_style; }

protected:
    void set_data_help() override;

private:
    ETCheckState m_state = CHECK_OFF;
    bool m_threeState = false;
    ETCBStyle m_style;
};

class ZEVCORE_API CListProperty : public CBaseProperty {
public:
    CListProperty(const CString& name, const CString& help);

    void setup(CPropertyGrid& grid, int row) const override;
    const char* change_notice(CPropertyGrid& grid, int col, int row, int msg, long param) override;

    void add_list_item(const CString& text, unsigned long data);
    void remove_all_list_items();
    /// "" for an index outside the items (the varying pseudo-row included).
    CString get_item_text(int index) const;
    unsigned long get_item_data(int index) const;
    /// One more than the items while varying.
    int list_size() const;
    /// The item count while varying.
    int selected_index() const;
    /// Stored without a range check; marks dirty when it changes and the list is enabled.
    void select_item(int index);
    bool disabled() const { return m_disabled; }
    void disabled(bool disabled);

protected:
    void set_data_help() override;

private:
    std::vector<std::pair<CString, unsigned long>> m_items;
    int m_selected = 0;
    bool m_disabled = false;
    CString m_listText;
};

class ZEVCORE_API CFontProperty : public CBaseProperty {
public:
    /// Starts from the desktop's message font.
    CFontProperty(const CString& name, const CString& help, bool canEdit);

    void setup(CPropertyGrid& grid, int row) const override;
    const char* change_notice(CPropertyGrid& grid, int col, int row, int msg, long param) override;

    const LOGFONTA& font() const { return m_font; }
    void font(const LOGFONTA& font);
    COLORREF font_color() const { return m_fontColor; }
    void font_color(COLORREF color);
    CString face_name() const;
    /// The character height in points (the screen is taken at 72 to the inch).
    int point_size() const;
    bool is_bold() const { return m_font.lfWeight == 700; }
    bool is_italic() const { return m_font.lfItalic != 0; }
    bool show_font() const { return m_showFont; }
    void show_font(bool show) { m_showFont = show; }
    /// The font chooser; true when the user accepted a font.
    bool choose_font();
    unsigned long dialog_flags() const { return m_chooseFlags; }

protected:
    void set_data_help() override;

private:
    void show_font_text();

    LOGFONTA m_font{};
    COLORREF m_fontColor = 0;
    mutable int m_gridFont = 0;
    bool m_showFont = true;
    unsigned long m_chooseFlags = 0x141;
};

class ZEVCORE_API CColorProperty : public CBaseProperty {
public:
    CColorProperty(const CString& name, const CString& help);

    void setup(CPropertyGrid& grid, int row) const override;
    const char* change_notice(CPropertyGrid& grid, int col, int row, int msg, long param) override;

    COLORREF color() const { return m_color; }
    void color(COLORREF color);
    /// The colour chooser; true when the user accepted a colour.
    bool choose_color();
    /// The 16 custom colours all colour properties share; 0 for an index out of range.
    static COLORREF custom_color(int index);
    static void custom_color(int index, COLORREF color);
    unsigned long dialog_flags() const { return m_chooseFlags; }

protected:
    void set_data_help() override;

private:
    COLORREF m_color = 0;
    unsigned long m_chooseFlags = 0x101;
};

class ZEVCORE_API CFileProperty : public CBaseProperty {
public:
    CFileProperty(const CString& name, const CString& fileName, const CString& help);

    void setup(CPropertyGrid& grid, int row) const override;
    const char* change_notice(CPropertyGrid& grid, int col, int row, int msg, long param) override;

    const CString& file_name() const { return m_fileName; }
    /// Sets the path and the short form shown, without marking dirty.
    void file_name(const CString& path);
    /// The file chooser; true when the user accepted a file.
    bool run_file_dialog();
    const CString& file_title() const { return m_fileTitle; }
    unsigned long dialog_flags() const { return m_openFlags; }

protected:
    void set_data_help() override;

private:
    CString m_fileName;
    CString m_fileTitle = "All Files";
    unsigned long m_openFlags = 0x1800;
    bool m_nameOnly = false;
};

class ZEVCORE_API CFolderProperty : public CBaseProperty {
public:
    CFolderProperty(const CString& name, const CString& folderName, const CString& help);

    void setup(CPropertyGrid& grid, int row) const override;
    const char* change_notice(CPropertyGrid& grid, int col, int row, int msg, long param) override;

    const CString& folder_name() const { return m_folderName; }
    void folder_name(const CString& path);
    /// The folder chooser: 1 when the user accepted a folder, else 2.
    int run_folder_dialog();

protected:
    void set_data_help() override;

private:
    CString m_folderName;
    bool m_nameOnly = false;
};

/// The short form of a path shown in a cell: with two backslashes or more, everything up to
/// the first, "...", and the part from the last on; otherwise the whole path.
ZEVCORE_API CString ZEVShortPath(const CString& path);
