#include "zevcore/settings/BaseProperty.h"

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>

#include "zevcore/frame/Math.h"
#include "zevcore/platform/Locale.h"
#include "zevcore/platform/services/Gdi.h"
#include "zevcore/platform/services/Host.h"
#include "zevcore/settings/PropertyGrid.h"

namespace {

constexpr const char* kVaries = "Varies";

// An int entry as atoi reads it (blanks, a sign, digits; the rest ignored), but saturated
// instead of overflowing.
long long leadingInteger(const char* text) {
    while (*text == ' ' || (*text >= '\t' && *text <= '\r')) ++text;
    bool negative = false;
    if (*text == '+' || *text == '-') negative = *text++ == '-';
    long long value = 0;
    for (; *text >= '0' && *text <= '9'; ++text) {
        if (value < (1LL << 40)) value = value * 10 + (*text - '0');
    }
    return negative ? -value : value;
}

// A double entry as "%lf" reads it: the leading number after blanks, in any locale.
bool leadingDouble(const char* text, double& value) {
    while (*text == ' ' || (*text >= '\t' && *text <= '\r')) ++text;
    char* end = nullptr;
    const double v = ZEVStrtod(text, &end);
    if (end == text || std::isnan(v)) return false;
    value = v;
    return true;
}

// A row whose value only a chooser changes: the [...] runs it, a typed text is ignored, and
// nothing else can come from a correct grid.
template <typename Run>
const char* chooserNotice(int msg, long param, Run run) {
    if (msg == CN_ELLIPSIS) {
        run();
        return nullptr;
    }
    if (msg == CN_EDIT_FINISH && param != 0) return nullptr;
    return kProgrammerError;
}

}  // namespace

CString ZEVShortPath(const CString& path) {
    const int first = path.Find('\\');
    const int last = path.ReverseFind('\\');
    if (first < 0 || first == last) return path;
    return path.Left(first + 1) + "..." + path.Mid(last);
}

// ---- CBaseProperty -----------------------------------------------------------------------

CBaseProperty::CBaseProperty() {
    set_data_help();
}

CBaseProperty::CBaseProperty(const CString& name, const CString& text, const CString& help,
                             bool canEdit)
    : m_name(name), m_text(text), m_help(help), m_canEditText(canEdit) {
    set_data_help();
}

CBaseProperty::CBaseProperty(const CString& name, int headerItems, bool expanded,
                             const CString& help)
    : m_name(name),
      m_help(help),
      m_canEditText(false),
      m_headerItems(headerItems),
      m_expanded(expanded) {
    set_data_help();
}

CBaseProperty::CBaseProperty(const CBaseProperty& other)
    : m_name(other.m_name),
      m_text(other.m_text),
      m_help(other.m_help),
      m_dataHelp(other.m_dataHelp),
      m_canEditText(other.m_canEditText),
      m_headerItems(other.m_headerItems),
      m_expanded(other.m_expanded),
      m_canGroupEdit(other.m_canGroupEdit),
      m_varies(other.m_varies),
      m_userId(other.m_userId) {}

CBaseProperty& CBaseProperty::operator=(const CBaseProperty& other) = default;
CBaseProperty::~CBaseProperty() = default;

bool CBaseProperty::operator==(const CBaseProperty& o) const {
    return m_name == o.m_name && m_text == o.m_text && m_help == o.m_help &&
           m_dataHelp == o.m_dataHelp && m_canEditText == o.m_canEditText &&
           m_useReadOnlyColor == o.m_useReadOnlyColor && m_highlighted == o.m_highlighted &&
           m_headerItems == o.m_headerItems && m_expanded == o.m_expanded &&
           m_canGroupEdit == o.m_canGroupEdit && m_visible == o.m_visible &&
           m_varies == o.m_varies && m_resetAfterUse == o.m_resetAfterUse && m_dirty == o.m_dirty &&
           m_userId == o.m_userId;
}

void CBaseProperty::name(const CString& name) {
    m_name = name;
    set_data_help();
}

void CBaseProperty::text(const CString& text) {
    m_text = text;
    set_dirty();
}

void CBaseProperty::help(const CString& help) {
    m_help = help;
    set_data_help();
}

void CBaseProperty::can_edit_text(bool canEdit, bool useReadOnlyColor) {
    m_canEditText = canEdit;
    m_useReadOnlyColor = useReadOnlyColor;
    set_data_help();
}

void CBaseProperty::header_items(int count) {
    if (count < 0) return;
    m_headerItems = count;
    m_canEditText = false;
    m_useReadOnlyColor = true;
    set_data_help();
}

void CBaseProperty::varies(bool varies) {
    m_varies = m_headerItems == 0 && varies;
    set_data_help();
}

void CBaseProperty::set_dirty() {
    m_dirty = true;
    m_varies = false;
    set_data_help();
}

const char* CBaseProperty::answer(const CString& message) {
    static CString buffer;
    buffer = message;
    return buffer;
}

CString CBaseProperty::base_data_help() const {
    CString help;
    if (varies()) {
        if (m_canEditText)
            help.Format("%s is not the same for all objects.  Click to edit.", m_name.GetString());
        else
            help.Format("%s is not the same for all objects, and is read-only.",
                        m_name.GetString());
    } else if (m_canEditText) {
        help.Format("Click to edit '%s'.", m_name.GetString());
    } else if (!m_help.IsEmpty()) {
        help.Format("%s  %s is read-only.", m_help.GetString(), m_name.GetString());
    } else {
        help.Format("%s is read-only.", m_name.GetString());
    }
    return help;
}

void CBaseProperty::set_data_help() {
    m_dataHelp = base_data_help();
}

const char* CBaseProperty::change_notice(CPropertyGrid&, int, int, int msg, long) {
    if (msg == CN_CHECK && m_headerItems > 0) toggle_expanded();
    return nullptr;
}

void CBaseProperty::setup_read_only(CPropertyGrid& grid, CUGCell& cell) const {
    if (m_canEditText) return;
    cell.SetReadOnly(true);
    if (m_useReadOnlyColor) {
        cell.SetBackColor(grid.GetColor(PGC_READ_ONLY_BACK));
        cell.SetTextColor(grid.GetColor(PGC_READ_ONLY_TEXT));
    }
}

void CBaseProperty::setup(CPropertyGrid& grid, int row) const {
    for (int col = 0; col < grid.GetNumberCols(); ++col) grid.DeleteCell(col, row);
    const int nameCol = grid.GetNameColumn();
    CUGCell name;
    name.SetText(m_name);
    name.SetReadOnly(true);
    if (m_headerItems > 0) {
        const COLORREF back = grid.GetColor(PGC_SECTION_BACK);
        const COLORREF text = grid.GetColor(PGC_SECTION_TEXT);
        if (nameCol > 0) {
            CUGCell box;
            box.SetCellType(grid.GetCellTypeIndex(UGCT_EXPAND_BOX));
            box.SetNumber(m_expanded ? 0 : 1);
            box.SetBackColor(back);
            box.SetTextColor(text);
            box.SetReadOnly(true);
            grid.SetCell(0, row, &box);
        }
        name.SetFont(grid.BoldFont());
        name.SetBackColor(back);
        name.SetTextColor(text);
        name.SetHBackColor(back);
        name.SetHTextColor(text);
        grid.SetCell(nameCol, row, &name);
        CUGCell value;
        value.SetReadOnly(true);
        value.SetBackColor(back);
        value.SetTextColor(text);
        grid.SetCell(grid.GetPropertyColumn(), row, &value);
        return;
    }
    const bool current = grid.GetCurrentRow() == row || m_highlighted;
    name.SetBackColor(grid.GetColor(current ? PGC_SELECTED_BACK : PGC_CELL_BACK));
    name.SetTextColor(grid.GetColor(current ? PGC_SELECTED_TEXT : PGC_CELL_TEXT));
    name.SetHBackColor(grid.GetColor(PGC_SELECTED_BACK));
    name.SetHTextColor(grid.GetColor(PGC_SELECTED_TEXT));
    grid.SetCell(nameCol, row, &name);
    setup_value(grid, row, m_text, UGCT_NORMAL);
}

void CBaseProperty::setup_value(CPropertyGrid& grid, int row, const CString& text,
                                int cellType) const {
    CUGCell value;
    value.SetText(varies() ? CString(kVaries) : text);
    value.SetBackColor(grid.GetColor(PGC_CELL_BACK));
    value.SetTextColor(grid.GetColor(PGC_CELL_TEXT));
    value.SetCellType(cellType);
    setup_read_only(grid, value);
    grid.SetCell(grid.GetPropertyColumn(), row, &value);
}

void CBaseProperty::setup_chooser_value(CPropertyGrid& grid, int row) const {
    setup_value(grid, row, m_text, grid.GetCellTypeIndex(UGCT_ELLIPSIS));
    CUGCell cell;
    grid.GetCell(grid.GetPropertyColumn(), row, &cell);
    cell.SetReadOnly(true);
    grid.SetCell(grid.GetPropertyColumn(), row, &cell);
}

// ---- CTextProperty -----------------------------------------------------------------------

CTextProperty::CTextProperty(const CString& name, const CString& help, bool canEdit, int minLength,
                             int maxLength)
    : CBaseProperty(name, CString(), help, canEdit),
      m_minLength(minLength),
      m_maxLength(maxLength) {
    set_data_help();
}

void CTextProperty::set_min_length(int length) {
    m_minLength = length;
    set_data_help();
}

void CTextProperty::set_max_length(int length) {
    m_maxLength = length;
    set_data_help();
}

void CTextProperty::set_simple_dialog(SimpleDialog dialog) {
    m_simpleDialog = dialog;
    set_data_help();
}

void CTextProperty::set_parameter_dialog(ParameterDialog dialog, void* parameter) {
    m_parameterDialog = dialog;
    m_dialogParameter = parameter;
    set_data_help();
}

int CTextProperty::run_dialog() {
    if (!has_dialog() || m_inDialog) return 2;
    m_inDialog = true;
    const int result = m_parameterDialog ? m_parameterDialog(m_dialogParameter) : m_simpleDialog();
    m_inDialog = false;
    if (result == 1 || result == 6) set_dirty();
    return result;
}

void CTextProperty::set_data_help() {
    if (has_dialog()) {
        m_dataHelp.Format("%s, Click [...] to modify.", m_text.GetString());
        return;
    }
    CBaseProperty::set_data_help();
    if (!m_canEditText) return;
    if (m_minLength < 0 && m_maxLength >= 0)
        m_dataHelp.AppendFormat(" You may use up to %d characters.", m_maxLength);
    else if (m_minLength >= 0 && m_maxLength <= m_minLength)
        m_dataHelp.AppendFormat(" You must type at least %d characters.", m_minLength);
    else if (m_minLength >= 0 && m_maxLength > m_minLength)
        m_dataHelp.AppendFormat(" You must enter at least %d, but no more than %d characters.",
                                m_minLength, m_maxLength);
}

const char* CTextProperty::change_notice(CPropertyGrid&, int, int, int msg, long param) {
    if (msg == CN_ELLIPSIS) {
        run_dialog();
        return nullptr;
    }
    if (msg != CN_EDIT_FINISH || param == 0) return kProgrammerError;
    const char* entry = reinterpret_cast<const char*>(param);
    const long long length = static_cast<long long>(std::strlen(entry));
    CString message;
    if (m_maxLength != -1 && length > m_maxLength) {
        message.Format("Maximum length for '%s' is %d characters, please shorten the text.",
                       m_name.GetString(), m_maxLength);
        return answer(message);
    }
    if (length < m_minLength) {
        message.Format("Minimum length for '%s' is %d characters, please add more text.",
                       m_name.GetString(), m_minLength);
        return answer(message);
    }
    text(entry);
    return nullptr;
}

void CTextProperty::setup(CPropertyGrid& grid, int row) const {
    CBaseProperty::setup(grid, row);
    setup_value(grid, row, m_text,
                has_dialog() ? grid.GetCellTypeIndex(UGCT_ELLIPSIS) : UGCT_NORMAL);
}

// ---- CIntegerProperty --------------------------------------------------------------------

CIntegerProperty::CIntegerProperty(const CString& name, const CString& help, int spinDelta,
                                   int lower, int upper)
    : CBaseProperty(name, CString(), help, true),
      m_spinDelta(spinDelta),
      m_lower(lower),
      m_upper(upper) {
    set_data_help();
}

void CIntegerProperty::value(int value) {
    if (value < m_lower || value > m_upper || value == m_value) return;
    m_value = value;
    set_dirty();
}

void CIntegerProperty::wide_value(long long value) {
    if (value < INT_MIN || value > INT_MAX) return;  // outside every limit
    this->value(static_cast<int>(value));
}

void CIntegerProperty::spin_delta(int delta) {
    if (delta == m_spinDelta) return;
    m_spinDelta = delta;
    set_data_help();
}

void CIntegerProperty::set_lower_limit(int limit) {
    if (limit == m_lower) return;
    m_lower = limit;
    if (m_value < limit) m_value = limit;
    set_data_help();
}

void CIntegerProperty::set_upper_limit(int limit) {
    if (limit == m_upper) return;
    m_upper = limit;
    if (m_value > limit) m_value = limit;
    set_data_help();
}

void CIntegerProperty::set_data_help() {
    if (!m_canEditText) {
        m_dataHelp = "This value is read-only.";
        return;
    }
    CBaseProperty::set_data_help();
    if (m_spinDelta != 0) m_dataHelp.AppendFormat("  Click arrows for +/- %d.", m_spinDelta);
    const bool lowerSet = m_lower != INT_MIN && m_lower != INT_MAX;
    const bool upperSet = m_upper != INT_MIN && m_upper != INT_MAX;
    if (lowerSet && upperSet)
        m_dataHelp.AppendFormat("  Valid range (%d to %d).", m_lower, m_upper);
    else if (lowerSet)
        m_dataHelp.AppendFormat("  Enter a value greater than %lld.", m_lower - 1LL);
    else if (upperSet)
        m_dataHelp.AppendFormat("  Enter a value less than %lld.", m_upper + 1LL);
}

const char* CIntegerProperty::change_notice(CPropertyGrid&, int, int, int msg, long param) {
    switch (msg) {
        case CN_SPIN_UP: {
            long long next = static_cast<long long>(m_value) + m_spinDelta;
            if (next < m_lower) next = m_lower;
            wide_value(next);
            return nullptr;
        }
        case CN_SPIN_DOWN:
            wide_value(static_cast<long long>(m_value) - m_spinDelta);
            return nullptr;
        case CN_EDIT_FINISH:
            break;
        default:
            return kProgrammerError;
    }
    if (param == 0) return kProgrammerError;
    const long long entry = leadingInteger(reinterpret_cast<const char*>(param));
    CString message;
    if (entry < m_lower) {
        message.Format("Please enter '%s' greater than %lld", m_name.GetString(), m_lower - 1LL);
        return answer(message);
    }
    if (entry > m_upper) {
        message.Format("Please enter '%s' less than %lld", m_name.GetString(), m_upper + 1LL);
        return answer(message);
    }
    value(static_cast<int>(entry));
    return nullptr;
}

void CIntegerProperty::setup(CPropertyGrid& grid, int row) const {
    CBaseProperty::setup(grid, row);
    CString shown;
    shown.Format("%d", m_value);
    setup_value(grid, row, shown,
                m_spinDelta != 0 ? grid.GetCellTypeIndex(UGCT_SPIN_BUTTON) : UGCT_NORMAL);
}

// ---- CDoubleProperty ---------------------------------------------------------------------

CDoubleProperty::CDoubleProperty(const CString& name, const CString& help, double spinDelta,
                                 double lower, double upper)
    : CBaseProperty(name, CString(), help, true),
      m_spinDelta(spinDelta),
      m_lower(lower),
      m_upper(upper) {
    set_data_help();
}

void CDoubleProperty::value(double value) {
    if (std::isnan(value) || value < m_lower || value > m_upper || equal(value, m_value, 1e-10))
        return;
    m_value = value;
    set_dirty();
}

void CDoubleProperty::spin_delta(double delta) {
    if (equal(delta, m_spinDelta)) return;
    m_spinDelta = delta;
    set_data_help();
}

void CDoubleProperty::set_lower_limit(double limit) {
    if (equal(limit, m_spinDelta)) return;  // compared with the delta on purpose
    m_lower = limit;
    if (m_value < limit) m_value = limit;
    set_data_help();
}

void CDoubleProperty::set_upper_limit(double limit) {
    if (equal(limit, m_spinDelta)) return;  // compared with the delta on purpose
    m_upper = limit;
    if (m_value > limit) m_value = limit;
    set_data_help();
}

void CDoubleProperty::set_data_help() {
    CBaseProperty::set_data_help();
    if (!m_canEditText) return;
    if (!zero(m_spinDelta, TOLERANCE))
        m_dataHelp.AppendFormat("  Click arrows for +/- %lg.", m_spinDelta);
    // A lower limit at or below the smallest normal double, zero and negatives included,
    // counts as none here.
    const bool lowerSet = m_lower > 2.2250738585072014e-308;
    const bool upperSet = m_upper < 1.7976931348623157e+308;
    if (lowerSet && upperSet)
        m_dataHelp.AppendFormat("  Valid range (%lg to %lg).", m_lower, m_upper);
    else if (lowerSet)
        m_dataHelp.AppendFormat("  Enter a value >= %lg.", m_lower);
    else if (upperSet)
        m_dataHelp.AppendFormat("  Enter a value <= %lg.", m_upper);
}

const char* CDoubleProperty::spin(int msg) {
    if (msg == CN_SPIN_UP) {
        double next = m_value + m_spinDelta;
        if (next < m_lower) next = m_lower;
        value(next);
    } else {
        value(m_value - m_spinDelta);
    }
    return nullptr;
}

const char* CDoubleProperty::change_notice(CPropertyGrid&, int, int, int msg, long param) {
    if (msg == CN_SPIN_UP || msg == CN_SPIN_DOWN) return spin(msg);
    if (msg != CN_EDIT_FINISH || param == 0) return kProgrammerError;
    double entry = 0.0;
    if (!leadingDouble(reinterpret_cast<const char*>(param), entry))
        return "This does not appear to be a number, please correct your entry.";
    CString message;
    if (entry < m_lower) {
        message.Format("Lower limit for '%s' is %lf, please enter a larger value.",
                       m_name.GetString(), m_lower);
        return answer(message);
    }
    if (entry > m_upper) {
        message.Format("Upper limit for '%s' is %lf, please enter a smaller value.",
                       m_name.GetString(), m_upper);
        return answer(message);
    }
    value(entry);
    return nullptr;
}

void CDoubleProperty::setup(CPropertyGrid& grid, int row) const {
    CBaseProperty::setup(grid, row);
    CString shown;
    shown.Format("%lg", m_value);
    const bool spins = m_canEditText && m_spinDelta != 0.0;
    setup_value(grid, row, shown, spins ? grid.GetCellTypeIndex(UGCT_SPIN_BUTTON) : UGCT_NORMAL);
}

// ---- CPhysicalProperty -------------------------------------------------------------------

CPhysicalProperty::CPhysicalProperty(const CString& name, ETUnit quantity, const CString& help,
                                     double spinDelta, double lower, double upper)
    : CDoubleProperty(name, help, spinDelta, lower, upper), m_quantity(quantity) {
    set_data_help();
}

void CPhysicalProperty::quantity(ETUnit quantity) {
    if (quantity == m_quantity) return;
    m_quantity = quantity;
    set_dirty();
}

CString CPhysicalProperty::shown_value() const {
    // Thermal coefficients are tiny numbers that the compact form would show as 0.
    if (m_quantity == UNIT_THERMAL_COEFFICIENT)
        return Units::showFormat(m_quantity, m_value, UNIT_FORMAT_SCIENTIFIC, -1, UNIT_SHOW);
    return Units::show(m_quantity, m_value, UNIT_SHOW);
}

void CPhysicalProperty::set_data_help() {
    CDoubleProperty::set_data_help();
    if (!m_canEditText) return;
    m_dataHelp += "  Valid units are: ";
    const int count = Units::units(m_quantity);
    for (int i = 0; i < count; ++i) {
        if (i > 0) m_dataHelp += ", ";
        m_dataHelp += Units::unitLabel(m_quantity, i);
    }
    m_dataHelp += ".";
}

const char* CPhysicalProperty::change_notice(CPropertyGrid& grid, int, int, int msg, long) {
    if (msg == CN_SPIN_UP || msg == CN_SPIN_DOWN) return spin(msg);
    if (msg != CN_EDIT_FINISH) return kProgrammerError;
    CUnitsEditCtrl& field = grid.GetUnitsEditCtrl();
    if (field.EscapePressed()) return nullptr;
    if (!field.HasValidData(nullptr, true)) return answer(Units::lastParseMessage());
    value(field.GetValue());
    return nullptr;
}

void CPhysicalProperty::setup_edit(CPropertyGrid& grid, CEdit** edit) const {
    CUnitsEditCtrl& field = grid.GetUnitsEditCtrl();
    field.ChangeUnit(m_quantity);
    field.ChangeRange(m_lower, m_upper);
    field.SetValue(m_value);
    if (edit) *edit = &field;
}

void CPhysicalProperty::setup(CPropertyGrid& grid, int row) const {
    CBaseProperty::setup(grid, row);
    const bool spins = m_canEditText && m_spinDelta != 0.0;
    setup_value(grid, row, shown_value(),
                spins ? grid.GetCellTypeIndex(UGCT_SPIN_BUTTON) : UGCT_NORMAL);
}

// ---- CCheckBoxProperty -------------------------------------------------------------------

CCheckBoxProperty::CCheckBoxProperty(const CString& name, ETCBStyle style, const CString& help)
    : CBaseProperty(name, CString(), help, true), m_style(style) {
    set_data_help();
}

ETCheckState CCheckBoxProperty::state() const {
    if (varies()) return CHECK_INDETERMINATE;
    if (m_state == CHECK_INDETERMINATE && !m_threeState) return CHECK_OFF;
    return m_state;
}

void CCheckBoxProperty::state(ETCheckState state) {
    if (state == CHECK_INDETERMINATE && !m_threeState) {
        m_threeState = true;
        set_data_help();
    }
    if (state == m_state) return;
    m_state = state;
    set_dirty();
}

void CCheckBoxProperty::three_state(bool on) {
    if (on == m_threeState) return;
    m_threeState = on;
    if (!on && m_state == CHECK_INDETERMINATE) m_state = CHECK_OFF;
    set_data_help();
}

void CCheckBoxProperty::set_data_help() {
    const char* format;
    if (varies())
        format = m_canEditText ? "'%s' is not the same for all objects.  Click to toggle."
                               : "'%s' is not the same for all objects, and is read-only.";
    else
        format = m_canEditText ? "Click to toggle '%s'." : "'%s' is read-only.";
    m_dataHelp.Format(format, m_name.GetString());
}

const char* CCheckBoxProperty::change_notice(CPropertyGrid&, int, int, int msg, long param) {
    if (msg != CN_CHECK || param < 0 || param > 2) return kProgrammerError;
    state(static_cast<ETCheckState>(param));
    return nullptr;
}

void CCheckBoxProperty::setup(CPropertyGrid& grid, int row) const {
    CBaseProperty::setup(grid, row);
    static constexpr const char* kLabels[3][2] = {{" On", " Off"}, {" Yes", " No"}, {"", ""}};
    const int style = m_style >= CB_ON_OFF && m_style <= CB_NONE ? m_style : CB_NONE;
    const ETCheckState shown = state();
    setup_value(grid, row, kLabels[style][shown == CHECK_ON ? 0 : 1],
                grid.GetCellTypeIndex(UGCT_CHECK_BOX));
    CUGCell cell;
    grid.GetCell(grid.GetPropertyColumn(), row, &cell);
    cell.SetNumber(shown);
    if (m_threeState || shown == CHECK_INDETERMINATE) cell.SetCellTypeEx(UGCT_CHECKBOX3STATE);
    grid.SetCell(grid.GetPropertyColumn(), row, &cell);
}

// ---- CListProperty -----------------------------------------------------------------------

namespace {
int gPendingPick = -1;
}

CListProperty::CListProperty(const CString& name, const CString& help)
    : CBaseProperty(name, CString(), help, true) {
    set_data_help();
}

void CListProperty::add_list_item(const CString& text, unsigned long data) {
    m_items.emplace_back(text, data);
}

void CListProperty::remove_all_list_items() {
    m_items.clear();
}

CString CListProperty::get_item_text(int index) const {
    if (index < 0 || index >= static_cast<int>(m_items.size())) return CString();
    return m_items[static_cast<std::size_t>(index)].first;
}

unsigned long CListProperty::get_item_data(int index) const {
    if (index < 0 || index >= static_cast<int>(m_items.size())) return 0;
    return m_items[static_cast<std::size_t>(index)].second;
}

int CListProperty::list_size() const {
    return static_cast<int>(m_items.size()) + (varies() ? 1 : 0);
}

int CListProperty::selected_index() const {
    return varies() ? static_cast<int>(m_items.size()) : m_selected;
}

void CListProperty::select_item(int index) {
    const bool changed = index != m_selected;
    m_selected = index;
    if (changed && !m_disabled) set_dirty();
}

void CListProperty::disabled(bool disabled) {
    if (disabled == m_disabled) return;
    m_disabled = disabled;
    set_dirty();
}

void CListProperty::set_data_help() {
    const char* format;
    if (varies())
        format = m_canEditText ? "'%s' is not the same for all objects.  Click the value to type "
                                 "an entry, or click the arrow to select an option."
                               : "'%s' is not the same for all objects.  Click the arrow to "
                                 "select an option.";
    else
        format = m_canEditText ? "Click the value to type an entry for '%s'.  Click the arrow to "
                                 "show the options list."
                               : "Click the arrow to show the options list for '%s'.";
    m_dataHelp.Format(format, m_name.GetString());
}

const char* CListProperty::change_notice(CPropertyGrid&, int, int, int msg, long param) {
    switch (msg) {
        case CN_LIST_PICK:
            gPendingPick = param < INT_MIN || param > INT_MAX ? -1 : static_cast<int>(param);
            return nullptr;
        case CN_LIST_DONE:
            if (gPendingPick >= 0 && gPendingPick < static_cast<int>(m_items.size()))
                select_item(gPendingPick);
            gPendingPick = -1;
            return nullptr;
        case CN_EDIT_FINISH:
            break;
        default:
            return nullptr;
    }
    CString message;
    if (param == 0) {
        message.Format("Please type an item from the list for '%s' or hit 'Esc' to cancel.",
                       m_name.GetString());
        return answer(message);
    }
    const char* entry = reinterpret_cast<const char*>(param);
    for (std::size_t i = 0; i < m_items.size(); ++i) {
        if (m_items[i].first == entry) {
            select_item(static_cast<int>(i));
            return nullptr;
        }
    }
    message.Format("'%s' is not in the list for '%s', please try again or hit 'Esc' to cancel.",
                   entry, m_name.GetString());
    return answer(message);
}

void CListProperty::setup(CPropertyGrid& grid, int row) const {
    CBaseProperty::setup(grid, row);
    const bool drops = m_items.size() >= 2 && !m_disabled;
    setup_value(grid, row, get_item_text(selected_index()),
                drops ? grid.GetCellTypeIndex(UGCT_DROP_LIST) : UGCT_NORMAL);
    CUGCell cell;
    grid.GetCell(grid.GetPropertyColumn(), row, &cell);
    CString labels;
    for (const auto& item : m_items) labels += item.first + "\n";
    cell.SetLabelText(labels);
    if (!drops && !m_canEditText) cell.SetBackColor(grid.GetColor(PGC_READ_ONLY_BACK));
    grid.SetCell(grid.GetPropertyColumn(), row, &cell);
}

// ---- CFontProperty -----------------------------------------------------------------------

CFontProperty::CFontProperty(const CString& name, const CString& help, bool canEdit)
    : CBaseProperty(name, CString(), help, canEdit) {
    const LOGFONTA message = ZEVGdi().MessageFont();
    m_font.lfHeight = message.lfHeight;
    m_font.lfWeight = message.lfWeight;
    m_font.lfItalic = message.lfItalic;
    std::memcpy(m_font.lfFaceName, message.lfFaceName, sizeof m_font.lfFaceName);
    m_font.lfFaceName[LF_FACESIZE - 1] = '\0';
    show_font_text();
    set_data_help();
}

CString CFontProperty::face_name() const {
    // A font read from stored bytes may fill all 32 bytes without an end.
    return CString(m_font.lfFaceName, static_cast<int>(strnlen(m_font.lfFaceName, LF_FACESIZE)));
}

int CFontProperty::point_size() const {
    const ZEVFontMetrics m = ZEVGdi().Metrics(m_font);
    return m.height - m.internalLeading;
}

void CFontProperty::show_font_text() {
    CString shown;
    shown.Format("%s, %d pt", face_name().GetString(), point_size());
    show_text(shown);
}

void CFontProperty::font(const LOGFONTA& font) {
    m_font = font;
    show_font_text();
}

void CFontProperty::font_color(COLORREF color) {
    if (color == m_fontColor) return;
    m_fontColor = color;
    set_dirty();
}

bool CFontProperty::choose_font() {
    LOGFONTA chosen = m_font;
    COLORREF color = m_fontColor;
    if (!ZEVDialogs().ChooseFont(chosen, color)) return false;
    const bool changed = std::memcmp(&chosen, &m_font, sizeof chosen) != 0;
    font(chosen);
    font_color(color);
    if (changed) set_dirty();
    return true;
}

void CFontProperty::set_data_help() {
    CBaseProperty::set_data_help();
    m_dataHelp += "  Click the [...] button to select a font.";
}

const char* CFontProperty::change_notice(CPropertyGrid& grid, int, int, int msg, long param) {
    return chooserNotice(msg, param, [&] {
        if (choose_font()) m_gridFont = grid.AddFont(m_font);
    });
}

void CFontProperty::setup(CPropertyGrid& grid, int row) const {
    CBaseProperty::setup(grid, row);
    CUGCell cell;
    cell.SetText(varies() ? CString(kVaries) : m_text);
    cell.SetCellType(grid.GetCellTypeIndex(UGCT_ELLIPSIS));
    cell.SetReadOnly(true);
    cell.SetTextColor(m_fontColor);
    if (m_showFont) {
        const LOGFONTA* built = grid.GetFont(m_gridFont);
        if (!built || std::memcmp(built, &m_font, sizeof m_font) != 0)
            m_gridFont = grid.AddFont(m_font);
        cell.SetFont(m_gridFont);
    }
    grid.SetCell(grid.GetPropertyColumn(), row, &cell);
}

// ---- CColorProperty ----------------------------------------------------------------------

namespace {
COLORREF gCustomColors[16];
bool gCustomColorsSeeded = false;
}  // namespace

CColorProperty::CColorProperty(const CString& name, const CString& help)
    : CBaseProperty(name, CString(), help, false) {
    show_text("R:0 G:0 B:0");
    set_data_help();
}

void CColorProperty::color(COLORREF color) {
    if (color == m_color) return;
    m_color = color;
    CString shown;
    shown.Format("R:%u G:%u B:%u", GetRValue(color), GetGValue(color), GetBValue(color));
    show_text(shown);
    set_dirty();
}

COLORREF CColorProperty::custom_color(int index) {
    if (index < 0 || index >= 16) return 0;
    return gCustomColors[index];
}

void CColorProperty::custom_color(int index, COLORREF color) {
    if (index < 0 || index >= 16) return;
    gCustomColors[index] = color;
    gCustomColorsSeeded = true;
}

bool CColorProperty::choose_color() {
    if (!gCustomColorsSeeded) {
        std::srand(static_cast<unsigned>(std::time(nullptr)));
        for (COLORREF& c : gCustomColors) {
            const int r = std::rand() & 255;
            const int g = std::rand() & 255;
            const int b = std::rand() & 255;
            c = RGB(static_cast<BYTE>(r), static_cast<BYTE>(g), static_cast<BYTE>(b));
        }
        gCustomColorsSeeded = true;
    }
    COLORREF chosen = m_color;
    if (!ZEVDialogs().ChooseColor(chosen)) return false;
    color(chosen);
    return true;
}

void CColorProperty::set_data_help() {
    CBaseProperty::set_data_help();
    m_dataHelp += "  Click the [...] button to select a color.";
}

const char* CColorProperty::change_notice(CPropertyGrid&, int, int, int msg, long param) {
    return chooserNotice(msg, param, [&] { choose_color(); });
}

void CColorProperty::setup(CPropertyGrid& grid, int row) const {
    CBaseProperty::setup(grid, row);
    CUGCell cell;
    cell.SetText(varies() ? CString(kVaries) : m_text);
    cell.SetCellType(grid.GetCellTypeIndex(UGCT_ELLIPSIS));
    cell.SetReadOnly(true);
    cell.SetBackColor(m_color);
    cell.SetHBackColor(m_color);
    const double weight =
        0.3 * GetRValue(m_color) + 0.59 * GetGValue(m_color) + 0.11 * GetBValue(m_color);
    cell.SetTextColor(weight <= 128.0 ? RGB(255, 255, 255) : RGB(0, 0, 0));
    cell.SetHTextColor(0x808080);
    cell.SetBorder(UG_BDR_SUNKEN);
    grid.SetCell(grid.GetPropertyColumn(), row, &cell);
}

// ---- CFileProperty and CFolderProperty ---------------------------------------------------

CFileProperty::CFileProperty(const CString& name, const CString& fileName, const CString& help)
    : CBaseProperty(name, CString(), help, true) {
    file_name(fileName);
}

void CFileProperty::file_name(const CString& path) {
    m_fileName = path;
    show_text(m_nameOnly ? path : ZEVShortPath(path));
    set_data_help();
}

bool CFileProperty::run_file_dialog() {
    ZEVFileDialogRequest request;
    request.title = m_fileTitle;
    // The chooser's name buffer holds 260 bytes, its end included.
    request.initialPath = m_fileName.Left(259);
    CString chosen;
    if (!ZEVDialogs().ChooseFile(request, chosen) || chosen.IsEmpty()) return false;
    file_name(chosen);
    text(m_text);
    return true;
}

void CFileProperty::set_data_help() {
    CBaseProperty::set_data_help();
    if (!m_nameOnly) m_dataHelp += "  " + m_fileName;
    m_dataHelp += "  Click the [...] button to select the file to use.";
}

const char* CFileProperty::change_notice(CPropertyGrid&, int, int, int msg, long param) {
    return chooserNotice(msg, param, [&] { run_file_dialog(); });
}

void CFileProperty::setup(CPropertyGrid& grid, int row) const {
    CBaseProperty::setup(grid, row);
    setup_chooser_value(grid, row);
}

CFolderProperty::CFolderProperty(const CString& name, const CString& folderName,
                                 const CString& help)
    : CBaseProperty(name, CString(), help, true) {
    folder_name(folderName);
}

void CFolderProperty::folder_name(const CString& path) {
    m_folderName = path;
    show_text(m_nameOnly ? path : ZEVShortPath(path));
    set_data_help();
}

int CFolderProperty::run_folder_dialog() {
    CString title;
    title.Format("Select folder for '%s'", m_name.GetString());
    CString chosen = m_folderName;
    if (!ZEVDialogs().ChooseFolder(title, chosen) || chosen.IsEmpty()) return 2;
    folder_name(chosen);
    text(m_text);
    return 1;
}

void CFolderProperty::set_data_help() {
    CBaseProperty::set_data_help();
    if (!m_nameOnly) m_dataHelp += "  " + m_folderName;
    m_dataHelp += "  Click the [...] button to select a folder.";
}

const char* CFolderProperty::change_notice(CPropertyGrid&, int, int, int msg, long param) {
    return chooserNotice(msg, param, [&] { run_folder_dialog(); });
}

void CFolderProperty::setup(CPropertyGrid& grid, int row) const {
    CBaseProperty::setup(grid, row);
    setup_chooser_value(grid, row);
}
