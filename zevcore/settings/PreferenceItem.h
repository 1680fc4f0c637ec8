#pragma once

// Preference items: one typed user setting each, with the name it is shown and stored under,
// a bitmap by resource id, and an embedded property through which the preferences grid
// edits it. An item holds two copies of its value: its own committed field, which the
// application reads and the settings store keeps, and the property's, which the grid edits.
// They meet only through PutValueInPropGridItem (committed to edit) and
// GetValueFromPropGridItem (edit to committed).
//
// Stored forms: REG_DWORD values are 4 little-endian bytes (bools, ints, list indices,
// colours), REG_BINARY 8 (a double) or 60 (a LOGFONTA), REG_SZ the text and its NUL.

#include <cstdint>
#include <memory>
#include <string>

#include "zevcore/Export.h"
#include "zevcore/platform/framework/Archive.h"
#include "zevcore/platform/framework/Array.h"
#include "zevcore/platform/framework/Object.h"
#include "zevcore/platform/framework/String.h"
#include "zevcore/platform/services/Gdi.h"
#include "zevcore/settings/BaseProperty.h"

class ZEVCORE_API CPreferenceItem : public CObject {
    DECLARE_DYNAMIC(CPreferenceItem)
public:
    ~CPreferenceItem() override;

    /// The embedded property; null for a quantity without a unit yet.
    virtual CBaseProperty* GetProperty() = 0;
    virtual DWORD GetRegValueType() const = 0;
    /// The bytes to store; valid until the item changes.
    virtual const unsigned char* GetRegData() const = 0;
    virtual DWORD GetRegDataSize() const = 0;
    /// Takes the committed value from stored bytes. Bytes too few for a number, or a text
    /// without its end, never make it read past `size`: a short number is ignored and a
    /// text ends at `size`.
    virtual void SetupValueFromRegData(unsigned char* data, DWORD size) = 0;
    virtual void PutValueInPropGridItem() = 0;
    virtual void GetValueFromPropGridItem() = 0;

    const CString& GetName() const { return m_name; }
    unsigned int GetId() const { return m_id; }
    /// Loaded from the resource id on the first call.
    const CBitmap& GetBitmap() const;

protected:
    CPreferenceItem();
    CPreferenceItem(CString name, unsigned int id);
    /// Version 1, the name, the id.
    void SerializeBase(CArchive& ar);
    /// Reads the version; an unknown one shows `className`'s warning and throws badSchema.
    static int ReadVersion(CArchive& ar, const char* className, int newest,
                           const char* noun = "file");
    /// Keeps a copy of the bytes GetRegData hands out.
    const unsigned char* Keep(const void* bytes, std::size_t size) const;
    const unsigned char* KeepDword(std::uint32_t value) const;
    const unsigned char* KeepDouble(double value) const;
    /// A stored number of 4 or 8 bytes; a shorter one leaves `value` alone.
    template <typename T>
    static void ReadDword(const unsigned char* data, DWORD size, T& value);
    static void ReadDouble(const unsigned char* data, DWORD size, double& value);

    CString m_name;
    unsigned int m_id = 0;

private:
    mutable CBitmap m_bitmap;
    mutable bool m_bitmapLoaded = false;
    mutable std::string m_regData;
};

class ZEVCORE_API CBoolPreference : public CPreferenceItem {
    DECLARE_SERIAL(CBoolPreference)
public:
    CBoolPreference(CString name, unsigned int id, int value);
    CBaseProperty* GetProperty() override { return &m_property; }
    DWORD GetRegValueType() const override;
    const unsigned char* GetRegData() const override;
    DWORD GetRegDataSize() const override { return 4; }
    void SetupValueFromRegData(unsigned char* data, DWORD size) override;
    void PutValueInPropGridItem() override;
    void GetValueFromPropGridItem() override;
    void Serialize(CArchive& ar) override;
    int GetValue() const { return m_value; }
    void SetValue(int value) { m_value = value; }

protected:
    CBoolPreference();

private:
    CCheckBoxProperty m_property;
    int m_value = 0;
};

class ZEVCORE_API CColorPreference : public CPreferenceItem {
    DECLARE_SERIAL(CColorPreference)
public:
    CColorPreference(CString name, unsigned int id, COLORREF color);
    CBaseProperty* GetProperty() override { return &m_property; }
    DWORD GetRegValueType() const override;
    const unsigned char* GetRegData() const override;
    DWORD GetRegDataSize() const override { return 4; }
    void SetupValueFromRegData(unsigned char* data, DWORD size) override;
    void PutValueInPropGridItem() override;
    void GetValueFromPropGridItem() override;
    void Serialize(CArchive& ar) override;
    COLORREF GetColor() const { return m_color; }

protected:
    CColorPreference();

private:
    CColorProperty m_property;
    COLORREF m_color = 0x808080;
};

class ZEVCORE_API CDoublePreference : public CPreferenceItem {
    DECLARE_SERIAL(CDoublePreference)
public:
    CDoublePreference(CString name, unsigned int id, double value, double spinDelta, double lower,
                      double upper);
    CBaseProperty* GetProperty() override { return &m_property; }
    DWORD GetRegValueType() const override;
    const unsigned char* GetRegData() const override;
    DWORD GetRegDataSize() const override { return 8; }
    void SetupValueFromRegData(unsigned char* data, DWORD size) override;
    void PutValueInPropGridItem() override;
    void GetValueFromPropGridItem() override;
    void Serialize(CArchive& ar) override;
    double GetValue() const { return m_value; }
    void SetValue(double value) { m_value = value; }

protected:
    CDoublePreference();

private:
    CDoubleProperty m_property;
    double m_value = 0.0;
};

/// The file and folder items share their text form.
class ZEVCORE_API CTextPreferenceBase : public CPreferenceItem {
    DECLARE_DYNAMIC(CTextPreferenceBase)
public:
    DWORD GetRegValueType() const override;
    const unsigned char* GetRegData() const override;
    DWORD GetRegDataSize() const override;

protected:
    CTextPreferenceBase() = default;
    CTextPreferenceBase(CString name, unsigned int id, CString text);
    /// The stored text, up to its NUL or `size` bytes.
    static CString TextOf(const unsigned char* data, DWORD size);

    CString m_textValue;
};

class ZEVCORE_API CFilePreference : public CTextPreferenceBase {
    DECLARE_SERIAL(CFilePreference)
public:
    CFilePreference(CString name, unsigned int id, CString file);
    CBaseProperty* GetProperty() override { return &m_property; }
    void SetupValueFromRegData(unsigned char* data, DWORD size) override;
    void PutValueInPropGridItem() override;
    void GetValueFromPropGridItem() override;
    void Serialize(CArchive& ar) override;
    const CString& GetFile() const { return m_textValue; }
    void SetFile(const CString& file) { m_textValue = file; }

protected:
    CFilePreference();

private:
    CFileProperty m_property;
};

class ZEVCORE_API CFolderPreference : public CTextPreferenceBase {
    DECLARE_SERIAL(CFolderPreference)
public:
    CFolderPreference(CString name, unsigned int id, CString folder);
    CBaseProperty* GetProperty() override { return &m_property; }
    void SetupValueFromRegData(unsigned char* data, DWORD size) override;
    void PutValueInPropGridItem() override;
    void GetValueFromPropGridItem() override;
    void Serialize(CArchive& ar) override;
    const CString& GetFolder() const { return m_textValue; }
    void SetFolder(const CString& folder) { m_textValue = folder; }

protected:
    CFolderPreference();

private:
    CFolderProperty m_property;
};

class ZEVCORE_API CStringPreference : public CTextPreferenceBase {
    DECLARE_SERIAL(CStringPreference)
public:
    CStringPreference(CString name, unsigned int id, CString text);
    CBaseProperty* GetProperty() override { return &m_property; }
    void SetupValueFromRegData(unsigned char* data, DWORD size) override;
    void PutValueInPropGridItem() override;
    void GetValueFromPropGridItem() override;
    void Serialize(CArchive& ar) override;
    const CString& GetString() const { return m_textValue; }
    void SetString(const CString& text) { m_textValue = text; }

protected:
    CStringPreference();

private:
    CTextProperty m_property;
};

class ZEVCORE_API CFontPreference : public CPreferenceItem {
    DECLARE_SERIAL(CFontPreference)
public:
    CFontPreference(CString name, unsigned int id, const LOGFONTA* font);
    CBaseProperty* GetProperty() override { return &m_property; }
    DWORD GetRegValueType() const override;
    const unsigned char* GetRegData() const override;
    DWORD GetRegDataSize() const override { return 60; }
    void SetupValueFromRegData(unsigned char* data, DWORD size) override;
    void PutValueInPropGridItem() override;
    void GetValueFromPropGridItem() override;
    void Serialize(CArchive& ar) override;
    const LOGFONTA& GetFont() const { return m_font; }

protected:
    CFontPreference();

private:
    /// The font as the desktop realises it.
    static LOGFONTA Realised(const LOGFONTA& font);

    CFontProperty m_property;
    LOGFONTA m_font{};
};

class ZEVCORE_API CIntPreference : public CPreferenceItem {
    DECLARE_SERIAL(CIntPreference)
public:
    /// The upper limit comes before the lower one.
    CIntPreference(CString name, unsigned int id, int value, int upper, int lower);
    CBaseProperty* GetProperty() override { return &m_property; }
    DWORD GetRegValueType() const override;
    const unsigned char* GetRegData() const override;
    DWORD GetRegDataSize() const override { return 4; }
    void SetupValueFromRegData(unsigned char* data, DWORD size) override;
    void PutValueInPropGridItem() override;
    void GetValueFromPropGridItem() override;
    void Serialize(CArchive& ar) override;
    virtual void Disable(int disable);
    int GetValue() const { return m_value; }
    void SetValue(int value) { m_value = value; }

protected:
    CIntPreference();

private:
    CIntegerProperty m_property;
    int m_value = 0;
};

class ZEVCORE_API CListPreference : public CPreferenceItem {
    DECLARE_SERIAL(CListPreference)
public:
    /// Only picks from the list: text editing is off.
    CListPreference(CString name, unsigned int id, const CStringArray& items, int selection);
    CBaseProperty* GetProperty() override { return &m_property; }
    DWORD GetRegValueType() const override;
    const unsigned char* GetRegData() const override;
    DWORD GetRegDataSize() const override { return 4; }
    void SetupValueFromRegData(unsigned char* data, DWORD size) override;
    void PutValueInPropGridItem() override;
    void GetValueFromPropGridItem() override;
    void Serialize(CArchive& ar) override;
    /// Non-zero disables the list and shows its first item; the committed selection stays.
    void Disable(int disable);
    int GetSelection() const { return m_selection; }
    /// Ignored outside the list.
    void SetSelection(int selection);

protected:
    CListPreference();

private:
    CListProperty m_property;
    int m_selection = 0;
};

class ZEVCORE_API CQuantityPreference : public CPreferenceItem {
    DECLARE_SERIAL(CQuantityPreference)
public:
    /// Unitless, and without a property until SetQuantity.
    CQuantityPreference(CString name, unsigned int id, double value, double spinDelta, double lower,
                        double upper);
    CQuantityPreference(CString name, unsigned int id, ETUnit unit, double value, double spinDelta,
                        double lower, double upper);
    ~CQuantityPreference() override;
    CBaseProperty* GetProperty() override { return m_property.get(); }
    DWORD GetRegValueType() const override;
    const unsigned char* GetRegData() const override;
    DWORD GetRegDataSize() const override { return 8; }
    void SetupValueFromRegData(unsigned char* data, DWORD size) override;
    void PutValueInPropGridItem() override;
    void GetValueFromPropGridItem() override;
    /// Storing needs the property (its delta and limits are written); without one the
    /// archive gets the numbers the item was made with.
    void Serialize(CArchive& ar) override;
    /// Makes the property on first use, else changes its category.
    void SetQuantity(ETUnit unit);
    ETUnit GetQuantity() const { return m_unit; }
    double GetValue() const { return m_value; }
    void SetValue(double value) { m_value = value; }

protected:
    CQuantityPreference();

private:
    std::unique_ptr<CPhysicalProperty> m_property;
    double m_value = 0.0;
    double m_spinDelta = 0.0;
    double m_lower = 0.0;
    double m_upper = 0.0;
    ETUnit m_unit = UNIT_UNITLESS;
};
