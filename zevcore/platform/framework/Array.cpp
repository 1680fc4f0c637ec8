#include "zevcore/platform/framework/Array.h"

IMPLEMENT_SERIAL(CObArray, CObject, 0)
IMPLEMENT_SERIAL(CStringArray, CObject, 0)

CObArray::CObArray() = default;
CObArray::~CObArray() = default;

void CObArray::Serialize(CArchive& ar) {
    if (ar.IsStoring()) {
        ar.WriteCount(m_items.size());
        for (const CObject* item : m_items) ar << item;
    } else {
        const std::uint64_t count = ar.ReadCount();
        m_items.clear();
        for (std::uint64_t i = 0; i < count; ++i) {
            CObject* item = nullptr;
            ar >> item;
            m_items.push_back(item);
        }
    }
}

CStringArray::CStringArray() = default;
CStringArray::~CStringArray() = default;
CStringArray::CStringArray(const CStringArray&) = default;
CStringArray& CStringArray::operator=(const CStringArray&) = default;

void CStringArray::Serialize(CArchive& ar) {
    if (ar.IsStoring()) {
        ar.WriteCount(m_items.size());
        for (const CString& item : m_items) ar << item;
    } else {
        const std::uint64_t count = ar.ReadCount();
        m_items.clear();
        for (std::uint64_t i = 0; i < count; ++i) {
            CString item;
            ar >> item;
            m_items.push_back(item);
        }
    }
}
