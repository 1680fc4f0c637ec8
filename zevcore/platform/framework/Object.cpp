#include "zevcore/platform/framework/Object.h"

#include <cstring>
#include <iostream>
#include <map>
#include <new>
#include <string>

#include "zevcore/platform/framework/Archive.h"

namespace {

// The registry of class names. It is never destroyed, so that classes registered by modules
// unloaded late at exit can still take themselves out.
std::map<std::string, CRuntimeClass*>& registry() {
    static auto* classes = new std::map<std::string, CRuntimeClass*>;
    return *classes;
}

}  // namespace

CObject* CRuntimeClass::CreateObject() const {
    if (!m_pfnCreateObject) return nullptr;
    try {
        return m_pfnCreateObject();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

bool CRuntimeClass::IsDerivedFrom(const CRuntimeClass* base) const {
    for (const CRuntimeClass* c = this; c;
         c = c->m_pfnGetBaseClass ? c->m_pfnGetBaseClass() : nullptr) {
        if (c == base) return true;
    }
    return false;
}

CRuntimeClass* CRuntimeClass::FromName(const char* className) {
    if (!className) return nullptr;
    const auto found = registry().find(className);
    return found == registry().end() ? nullptr : found->second;
}

CObject* CRuntimeClass::CreateObject(const char* className) {
    const CRuntimeClass* c = FromName(className);
    return c ? c->CreateObject() : nullptr;
}

void CRuntimeClass::Store(CArchive& ar) const {
    const std::size_t length = std::strlen(m_lpszClassName);
    ar << static_cast<WORD>(m_wSchema) << static_cast<WORD>(length);
    ar.Write(m_lpszClassName, static_cast<UINT>(length));
}

CRuntimeClass* CRuntimeClass::Load(CArchive& ar, UINT* schema) {
    WORD storedSchema = 0, length = 0;
    ar >> storedSchema >> length;
    if (schema) *schema = storedSchema;
    char name[kMaxArchivedClassName + 1];
    if (length > kMaxArchivedClassName || ar.Read(name, length) != length) return nullptr;
    name[length] = '\0';
    return FromName(name);
}

CRuntimeClassRegistration::CRuntimeClassRegistration(CRuntimeClass* runtimeClass)
    : m_class(runtimeClass) {
    if (m_class && m_class->m_lpszClassName) registry().emplace(m_class->m_lpszClassName, m_class);
}

CRuntimeClassRegistration::~CRuntimeClassRegistration() {
    if (!m_class || !m_class->m_lpszClassName) return;
    const auto found = registry().find(m_class->m_lpszClassName);
    if (found != registry().end() && found->second == m_class) registry().erase(found);
}

CDumpContext::CDumpContext(std::ostream* out) : m_out(out ? out : &std::cerr) {}

CDumpContext& CDumpContext::operator<<(const char* text) {
    *m_out << (text ? text : "(null)");
    return *this;
}

CDumpContext& CDumpContext::operator<<(const void* pointer) {
    *m_out << pointer;
    return *this;
}

CDumpContext& CDumpContext::operator<<(int value) {
    *m_out << value;
    return *this;
}

CRuntimeClass* CObject::GetThisClass() {
    static CRuntimeClass record{"CObject", static_cast<int>(sizeof(CObject)), 0xFFFFu, nullptr,
                                nullptr};
    return &record;
}

CRuntimeClass* CObject::GetRuntimeClass() const {
    return GetThisClass();
}

CObject::~CObject() = default;

void CObject::Serialize(CArchive&) {}

void CObject::AssertValid() const {}

void CObject::Dump(CDumpContext& dc) const {
    dc << "a " << GetRuntimeClass()->m_lpszClassName << " at " << static_cast<const void*>(this)
       << "\n";
}

bool CObject::IsKindOf(const CRuntimeClass* runtimeClass) const {
    return GetRuntimeClass()->IsDerivedFrom(runtimeClass);
}

bool CObject::IsSerializable() const {
    return GetRuntimeClass()->m_wSchema != 0xFFFFu;
}
