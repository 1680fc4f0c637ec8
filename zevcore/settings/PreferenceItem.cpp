#include "zevcore/settings/PreferenceItem.h"

#include <bit>
#include <cstring>

#include "zevcore/platform/Registry.h"
#include "zevcore/platform/framework/Exception.h"
#include "zevcore/platform/services/Host.h"

namespace {

constexpr const char* kNameNotSet = "Name not set";

void putLittle32(unsigned char* out, std::uint32_t v) {
    for (int i = 0; i < 4; ++i) out[i] = static_cast<unsigned char>(v >> (8 * i));
}

std::uint32_t getLittle32(const unsigned char* in) {
    std::uint32_t v = 0;
    for (int i = 3; i >= 0; --i) v = (v << 8) | in[i];
    return v;
}

void putDouble(unsigned char* out, double value) {
    const auto bits = std::bit_cast<std::uint64_t>(value);
    for (int i = 0; i < 8; ++i) out[i] = static_cast<unsigned char>(bits >> (8 * i));
}

double getDouble(const unsigned char* in) {
    std::uint64_t bits = 0;
    for (int i = 7; i >= 0; --i) bits = (bits << 8) | in[i];
    return std::bit_cast<double>(bits);
}

// Fonts are stored as the structure's bytes, numbers little-endian.
void packFont(unsigned char* out, const LOGFONTA& f) {
    putLittle32(out + 0, static_cast<std::uint32_t>(f.lfHeight));
    putLittle32(out + 4, static_cast<std::uint32_t>(f.lfWidth));
    putLittle32(out + 8, static_cast<std::uint32_t>(f.lfEscapement));
    putLittle32(out + 12, static_cast<std::uint32_t>(f.lfOrientation));
    putLittle32(out + 16, static_cast<std::uint32_t>(f.lfWeight));
    const BYTE bytes[8] = {f.lfItalic,       f.lfUnderline,     f.lfStrikeOut, f.lfCharSet,
                           f.lfOutPrecision, f.lfClipPrecision, f.lfQuality,   f.lfPitchAndFamily};
    std::memcpy(out + 20, bytes, 8);
    std::memcpy(out + 28, f.lfFaceName, LF_FACESIZE);
}

LOGFONTA unpackFont(const unsigned char* in) {
    LOGFONTA f{};
    f.lfHeight = static_cast<LONG>(getLittle32(in + 0));
    f.lfWidth = static_cast<LONG>(getLittle32(in + 4));
    f.lfEscapement = static_cast<LONG>(getLittle32(in + 8));
    f.lfOrientation = static_cast<LONG>(getLittle32(in + 12));
    f.lfWeight = static_cast<LONG>(getLittle32(in + 16));
    f.lfItalic = in[20];
    f.lfUnderline = in[21];
    f.lfStrikeOut = in[22];
    f.lfCharSet = in[23];
    f.lfOutPrecision = in[24];
    f.lfClipPrecision = in[25];
    f.lfQuality = in[26];
    f.lfPitchAndFamily = in[27];
    std::memcpy(f.lfFaceName, in + 28, LF_FACESIZE);
    return f;
}

}  // namespace

// ---- CPreferenceItem ---------------------------------------------------------------------

IMPLEMENT_DYNAMIC(CPreferenceItem, CObject)

CPreferenceItem::CPreferenceItem() : m_name(kNameNotSet) {}
CPreferenceItem::CPreferenceItem(CString name, unsigned int id)
    : m_name(std::move(name)), m_id(id) {}
CPreferenceItem::~CPreferenceItem() = default;

const CBitmap& CPreferenceItem::GetBitmap() const {
    if (!m_bitmapLoaded) {
        m_bitmap.LoadBitmap(m_id);
        m_bitmapLoaded = true;
    }
    return m_bitmap;
}

const unsigned char* CPreferenceItem::Keep(const void* bytes, std::size_t size) const {
    m_regData.assign(static_cast<const char*>(bytes), size);
    return reinterpret_cast<const unsigned char*>(m_regData.data());
}

const unsigned char* CPreferenceItem::KeepDword(std::uint32_t value) const {
    unsigned char bytes[4];
    putLittle32(bytes, value);
    return Keep(bytes, 4);
}

const unsigned char* CPreferenceItem::KeepDouble(double value) const {
    unsigned char bytes[8];
    putDouble(bytes, value);
    return Keep(bytes, 8);
}

template <typename T>
void CPreferenceItem::ReadDword(const unsigned char* data, DWORD size, T& value) {
    if (data && size >= 4) value = static_cast<T>(getLittle32(data));
}

void CPreferenceItem::ReadDouble(const unsigned char* data, DWORD size, double& value) {
    if (data && size >= 8) value = getDouble(data);
}

int CPreferenceItem::ReadVersion(CArchive& ar, const char* className, int newest,
                                 const char* noun) {
    int version = 0;
    ar >> version;
    if (version < 1 || version > newest) {
        CString warning;
        warning.Format("Warning:  Unknown version of %s encountered in %s", className, noun);
        ZEVDialogs().MessageBox(nullptr, warning, "Warning", MB_OK);
        throw CArchiveException(CArchiveException::badSchema, nullptr, warning);
    }
    return version;
}

void CPreferenceItem::SerializeBase(CArchive& ar) {
    if (ar.IsStoring()) {
        ar << 1 << m_name << static_cast<int>(m_id);
        return;
    }
    ReadVersion(ar, "CPreferenceItem", 1);
    int id = 0;
    ar >> m_name >> id;
    m_id = static_cast<unsigned int>(id);
    m_bitmapLoaded = false;
}

// ---- CBoolPreference ---------------------------------------------------------------------

IMPLEMENT_SERIAL(CBoolPreference, CPreferenceItem, 1)

CBoolPreference::CBoolPreference() : m_property(kNameNotSet, CB_ON_OFF, "") {}

CBoolPreference::CBoolPreference(CString name, unsigned int id, int value)
    : CPreferenceItem(name, id), m_property(name, CB_ON_OFF, ""), m_value(value) {}

DWORD CBoolPreference::GetRegValueType() const {
    return REG_DWORD;
}

const unsigned char* CBoolPreference::GetRegData() const {
    return KeepDword(static_cast<std::uint32_t>(m_value));
}

void CBoolPreference::SetupValueFromRegData(unsigned char* data, DWORD size) {
    ReadDword(data, size, m_value);
}

void CBoolPreference::PutValueInPropGridItem() {
    m_property.state(m_value != 0 ? CHECK_ON : CHECK_OFF);
}

void CBoolPreference::GetValueFromPropGridItem() {
    m_value = m_property.state() == CHECK_ON ? 1 : 0;
}

void CBoolPreference::Serialize(CArchive& ar) {
    if (ar.IsStoring()) {
        ar << 1 << m_value;
        SerializeBase(ar);
        return;
    }
    ReadVersion(ar, "CBoolPreference", 1);
    ar >> m_value;
    SerializeBase(ar);
    m_property.name(m_name);
}

// ---- CColorPreference --------------------------------------------------------------------

IMPLEMENT_SERIAL(CColorPreference, CPreferenceItem, 1)

CColorPreference::CColorPreference() : m_property(kNameNotSet, "") {}

CColorPreference::CColorPreference(CString name, unsigned int id, COLORREF color)
    : CPreferenceItem(name, id), m_property(name, ""), m_color(color) {}

DWORD CColorPreference::GetRegValueType() const {
    return REG_DWORD;
}

const unsigned char* CColorPreference::GetRegData() const {
    return KeepDword(m_color);
}

void CColorPreference::SetupValueFromRegData(unsigned char* data, DWORD size) {
    ReadDword(data, size, m_color);
}

void CColorPreference::PutValueInPropGridItem() {
    m_property.color(m_color);
}

void CColorPreference::GetValueFromPropGridItem() {
    m_color = m_property.color();
}

void CColorPreference::Serialize(CArchive& ar) {
    if (ar.IsStoring()) {
        ar << 1 << static_cast<int>(m_color);
        return;
    }
    ReadVersion(ar, "CColorPreference", 1);
    int color = 0;
    ar >> color;
    m_color = static_cast<COLORREF>(color);
}

// ---- CDoublePreference -------------------------------------------------------------------

IMPLEMENT_SERIAL(CDoublePreference, CPreferenceItem, 1)

CDoublePreference::CDoublePreference() : m_property(kNameNotSet, "", 0.0, 0.0, 0.5) {}

CDoublePreference::CDoublePreference(CString name, unsigned int id, double value, double spinDelta,
                                     double lower, double upper)
    : CPreferenceItem(name, id), m_property(name, "", spinDelta, lower, upper), m_value(value) {}

DWORD CDoublePreference::GetRegValueType() const {
    return REG_BINARY;
}

const unsigned char* CDoublePreference::GetRegData() const {
    return KeepDouble(m_value);
}

void CDoublePreference::SetupValueFromRegData(unsigned char* data, DWORD size) {
    ReadDouble(data, size, m_value);
}

void CDoublePreference::PutValueInPropGridItem() {
    m_property.value(m_value);
}

void CDoublePreference::GetValueFromPropGridItem() {
    m_value = m_property.value();
}

void CDoublePreference::Serialize(CArchive& ar) {
    if (ar.IsStoring()) {
        ar << 1 << m_value << m_property.spin_delta() << m_property.lower_limit()
           << m_property.upper_limit();
        SerializeBase(ar);
        return;
    }
    ReadVersion(ar, "CDoublePreference", 1);
    double delta = 0.0;
    double lower = 0.0;
    double upper = 0.0;
    ar >> m_value >> delta >> lower >> upper;
    m_property.spin_delta(delta);
    m_property.set_lower_limit(lower);
    m_property.set_upper_limit(upper);
    SerializeBase(ar);
}

// ---- Text kinds --------------------------------------------------------------------------

IMPLEMENT_DYNAMIC(CTextPreferenceBase, CPreferenceItem)

CTextPreferenceBase::CTextPreferenceBase(CString name, unsigned int id, CString text)
    : CPreferenceItem(std::move(name), id), m_textValue(std::move(text)) {}

DWORD CTextPreferenceBase::GetRegValueType() const {
    return REG_SZ;
}

const unsigned char* CTextPreferenceBase::GetRegData() const {
    return Keep(m_textValue.GetString(), static_cast<std::size_t>(m_textValue.GetLength()) + 1);
}

DWORD CTextPreferenceBase::GetRegDataSize() const {
    return static_cast<DWORD>(m_textValue.GetLength()) + 1;
}

CString CTextPreferenceBase::TextOf(const unsigned char* data, DWORD size) {
    if (!data) return CString();
    const auto* text = reinterpret_cast<const char*>(data);
    return CString(text, static_cast<int>(strnlen(text, size)));
}

IMPLEMENT_SERIAL(CFilePreference, CPreferenceItem, 1)

CFilePreference::CFilePreference() : m_property(kNameNotSet, "File not set", "Not set") {}

CFilePreference::CFilePreference(CString name, unsigned int id, CString file)
    : CTextPreferenceBase(name, id, file), m_property(name, file, "") {}

void CFilePreference::SetupValueFromRegData(unsigned char* data, DWORD size) {
    m_textValue = TextOf(data, size);
    m_property.file_name(m_textValue);
}

void CFilePreference::PutValueInPropGridItem() {
    m_property.text(m_textValue);
    m_property.file_name(m_textValue);
}

void CFilePreference::GetValueFromPropGridItem() {
    m_textValue = m_property.text();
}

void CFilePreference::Serialize(CArchive& ar) {
    if (ar.IsStoring()) {
        ar << 1 << m_textValue;
        return;
    }
    ReadVersion(ar, "CFilePreference", 1);
    ar >> m_textValue;
}

IMPLEMENT_SERIAL(CFolderPreference, CPreferenceItem, 1)

CFolderPreference::CFolderPreference() : m_property(kNameNotSet, "Folder not set", "Not set") {}

CFolderPreference::CFolderPreference(CString name, unsigned int id, CString folder)
    : CTextPreferenceBase(name, id, folder), m_property(name, folder, "") {}

void CFolderPreference::SetupValueFromRegData(unsigned char* data, DWORD size) {
    m_textValue = TextOf(data, size);
    m_property.folder_name(m_textValue);
}

void CFolderPreference::PutValueInPropGridItem() {
    m_property.text(m_textValue);
    m_property.folder_name(m_textValue);
}

void CFolderPreference::GetValueFromPropGridItem() {
    m_textValue = m_property.text();
}

void CFolderPreference::Serialize(CArchive& ar) {
    if (ar.IsStoring()) {
        ar << 1 << m_textValue;
        return;
    }
    ReadVersion(ar, "CFolderPreference", 1, "folder");
    ar >> m_textValue;
}

IMPLEMENT_SERIAL(CStringPreference, CPreferenceItem, 1)

CStringPreference::CStringPreference() : m_property(kNameNotSet, "", true, -1, -1) {}

CStringPreference::CStringPreference(CString name, unsigned int id, CString text)
    : CTextPreferenceBase(name, id, text), m_property(name, "", true, -1, -1) {}

void CStringPreference::SetupValueFromRegData(unsigned char* data, DWORD size) {
    m_textValue = TextOf(data, size);
}

void CStringPreference::PutValueInPropGridItem() {
    m_property.text(m_textValue);
}

void CStringPreference::GetValueFromPropGridItem() {
    m_textValue = m_property.text();
}

void CStringPreference::Serialize(CArchive& ar) {
    if (ar.IsStoring()) {
        ar << 1 << m_textValue;
        return;
    }
    ReadVersion(ar, "CStringPreference", 1);
    ar >> m_textValue;
}

// ---- CFontPreference ---------------------------------------------------------------------

IMPLEMENT_SERIAL(CFontPreference, CPreferenceItem, 1)

CFontPreference::CFontPreference() : m_property(kNameNotSet, "", true) {
    m_property.show_font(false);
}

CFontPreference::CFontPreference(CString name, unsigned int id, const LOGFONTA* font)
    : CPreferenceItem(name, id), m_property(name, "", true) {
    if (font) m_font = *font;
}

LOGFONTA CFontPreference::Realised(const LOGFONTA& font) {
    CFont object;
    object.CreateFontIndirect(&font);
    LOGFONTA back{};
    object.GetLogFont(&back);
    return back;
}

DWORD CFontPreference::GetRegValueType() const {
    return REG_BINARY;
}

const unsigned char* CFontPreference::GetRegData() const {
    unsigned char bytes[60];
    packFont(bytes, m_font);
    return Keep(bytes, 60);
}

void CFontPreference::SetupValueFromRegData(unsigned char* data, DWORD size) {
    if (data && size >= 60) m_font = Realised(unpackFont(data));
}

void CFontPreference::PutValueInPropGridItem() {
    m_property.font(m_font);
}

void CFontPreference::GetValueFromPropGridItem() {
    m_font = Realised(m_property.font());
}

void CFontPreference::Serialize(CArchive& ar) {
    if (ar.IsStoring()) {
        unsigned char bytes[60];
        packFont(bytes, m_font);
        ar << 1 << 60;
        ar.Write(bytes, 60);
        return;
    }
    ReadVersion(ar, "CFontPreference", 1);
    int count = 0;
    ar >> count;
    // The count is the archive's word: read what it says, but keep at most a font's bytes.
    unsigned char bytes[60];
    packFont(bytes, m_font);
    if (count < 0)
        throw CArchiveException(CArchiveException::badIndex, nullptr, "font size below zero");
    const int kept = count < 60 ? count : 60;
    ar.EnsureRead(bytes, static_cast<UINT>(kept));
    for (int rest = count - kept; rest > 0; --rest) {
        unsigned char skipped = 0;
        ar.EnsureRead(&skipped, 1);
    }
    m_font = unpackFont(bytes);
}

// ---- CIntPreference ----------------------------------------------------------------------

IMPLEMENT_SERIAL(CIntPreference, CPreferenceItem, 1)

CIntPreference::CIntPreference() : m_property(kNameNotSet, "", 0, INT32_MIN, INT32_MAX) {}

CIntPreference::CIntPreference(CString name, unsigned int id, int value, int upper, int lower)
    : CPreferenceItem(name, id), m_property(name, "", 1, INT32_MIN, INT32_MAX), m_value(value) {
    m_property.spin_delta(1);
    m_property.set_upper_limit(upper);
    m_property.set_lower_limit(lower);
}

DWORD CIntPreference::GetRegValueType() const {
    return REG_DWORD;
}

const unsigned char* CIntPreference::GetRegData() const {
    return KeepDword(static_cast<std::uint32_t>(m_value));
}

void CIntPreference::SetupValueFromRegData(unsigned char* data, DWORD size) {
    ReadDword(data, size, m_value);
}

void CIntPreference::PutValueInPropGridItem() {
    m_property.value(m_value);
}

void CIntPreference::GetValueFromPropGridItem() {
    m_value = m_property.value();
}

void CIntPreference::Disable(int disable) {
    m_property.can_edit_text(disable == 0, true);
}

void CIntPreference::Serialize(CArchive& ar) {
    if (ar.IsStoring()) {
        ar << 1 << m_value;
        return;
    }
    ReadVersion(ar, "CIntPreference", 1);
    ar >> m_value;
}

// ---- CListPreference ---------------------------------------------------------------------

IMPLEMENT_SERIAL(CListPreference, CPreferenceItem, 1)

CListPreference::CListPreference() : m_property(kNameNotSet, "") {}

CListPreference::CListPreference(CString name, unsigned int id, const CStringArray& items,
                                 int selection)
    : CPreferenceItem(name, id), m_property(name, ""), m_selection(selection) {
    m_property.can_edit_text(false, true);
    for (const CString& item : items) m_property.add_list_item(item, 0);
    m_property.select_item(selection);
}

DWORD CListPreference::GetRegValueType() const {
    return REG_DWORD;
}

const unsigned char* CListPreference::GetRegData() const {
    return KeepDword(static_cast<std::uint32_t>(m_selection));
}

void CListPreference::SetupValueFromRegData(unsigned char* data, DWORD size) {
    ReadDword(data, size, m_selection);
}

void CListPreference::PutValueInPropGridItem() {
    m_property.select_item(m_selection);
}

void CListPreference::GetValueFromPropGridItem() {
    m_selection = m_property.selected_index();
}

void CListPreference::SetSelection(int selection) {
    if (selection >= 0 && selection < m_property.list_size()) m_selection = selection;
}

void CListPreference::Disable(int disable) {
    if (disable) {
        m_property.can_edit_text(false, true);
        m_property.disabled(true);
        m_property.select_item(0);
    } else {
        m_property.can_edit_text(true, true);
        m_property.disabled(false);
    }
}

void CListPreference::Serialize(CArchive& ar) {
    if (ar.IsStoring()) {
        ar << 2 << m_selection << m_property.list_size();
        for (int i = 0; i < m_property.list_size(); ++i)
            ar << m_property.get_item_text(i) << static_cast<int>(m_property.get_item_data(i));
        SerializeBase(ar);
        return;
    }
    const int version = ReadVersion(ar, "CListPreference", 2);
    ar >> m_selection;
    if (version == 1) return;
    int count = 0;
    ar >> count;
    for (int i = 0; i < count; ++i) {
        CString text;
        int data = 0;
        ar >> text >> data;
        m_property.add_list_item(text, static_cast<unsigned int>(data));
    }
    SerializeBase(ar);
}

// ---- CQuantityPreference -----------------------------------------------------------------

IMPLEMENT_SERIAL(CQuantityPreference, CPreferenceItem, 1)

CQuantityPreference::CQuantityPreference() = default;

CQuantityPreference::CQuantityPreference(CString name, unsigned int id, double value,
                                         double spinDelta, double lower, double upper)
    : CPreferenceItem(std::move(name), id),
      m_value(value),
      m_spinDelta(spinDelta),
      m_lower(lower),
      m_upper(upper) {}

CQuantityPreference::CQuantityPreference(CString name, unsigned int id, ETUnit unit, double value,
                                         double spinDelta, double lower, double upper)
    : CQuantityPreference(std::move(name), id, value, spinDelta, lower, upper) {
    SetQuantity(unit);
}

CQuantityPreference::~CQuantityPreference() = default;

void CQuantityPreference::SetQuantity(ETUnit unit) {
    m_unit = unit;
    if (!m_property)
        m_property =
            std::make_unique<CPhysicalProperty>(m_name, unit, "", m_spinDelta, m_lower, m_upper);
    else
        m_property->quantity(unit);
}

DWORD CQuantityPreference::GetRegValueType() const {
    return REG_BINARY;
}

const unsigned char* CQuantityPreference::GetRegData() const {
    return KeepDouble(m_value);
}

void CQuantityPreference::SetupValueFromRegData(unsigned char* data, DWORD size) {
    ReadDouble(data, size, m_value);
}

void CQuantityPreference::PutValueInPropGridItem() {
    if (m_property) m_property->value(m_value);
}

void CQuantityPreference::GetValueFromPropGridItem() {
    if (m_property) m_value = m_property->value();
}

void CQuantityPreference::Serialize(CArchive& ar) {
    if (ar.IsStoring()) {
        ar << 2 << m_value;
        if (m_property)
            ar << m_property->spin_delta() << m_property->lower_limit()
               << m_property->upper_limit();
        else
            ar << m_spinDelta << m_lower << m_upper;
        ar << static_cast<short>(m_unit);
        SerializeBase(ar);
        return;
    }
    const int version = ReadVersion(ar, "CQuantityPreference", 2);
    ar >> m_value >> m_spinDelta >> m_lower >> m_upper;
    m_unit = UNIT_UNITLESS;
    if (version == 2) {
        short unit = 0;
        ar >> unit;
        m_unit = static_cast<ETUnit>(unit);
    }
    SerializeBase(ar);
}
