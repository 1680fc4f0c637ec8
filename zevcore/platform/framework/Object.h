#pragma once

// Run-time typed objects: every class of the family has a run-time class record, and a class
// declared creatable can be made from its name, which is how archives bring objects back.
//
// A class takes part with one macro in its body and one in its source file:
//
//     class CThing : public CObject {
//         DECLARE_SERIAL(CThing)          // or DECLARE_DYNAMIC, DECLARE_DYNCREATE
//     protected:
//         CThing();                       // creatable classes need a default constructor
//     public:
//         void Serialize(CArchive& ar) override;
//     };
//     IMPLEMENT_SERIAL(CThing, CObject, 1)   // the schema number that archives record
//
// DECLARE_SERIAL also declares `ar >> pThing`, so its header needs
// zevcore/platform/framework/Archive.h.

#include <ostream>

#include "zevcore/Export.h"
#include "zevcore/platform/Types.h"

class CArchive;
class CObject;

/// The run-time record of a class: its name, size, schema number, how to make one and its
/// base class.
struct ZEVCORE_API CRuntimeClass {
    const char* m_lpszClassName;
    int m_nObjectSize;
    /// The schema number archives record; 0xFFFF for a class that cannot be archived. With
    /// VERSIONABLE_SCHEMA or'ed in, an archive of another schema is accepted and the reader
    /// asks GetObjectSchema which it is.
    UINT m_wSchema;
    CObject* (*m_pfnCreateObject)();
    CRuntimeClass* (*m_pfnGetBaseClass)();

    /// A new object of the class, or null when the class is not creatable or memory runs out.
    CObject* CreateObject() const;
    /// True for this class and every class derived from it.
    bool IsDerivedFrom(const CRuntimeClass* base) const;

    /// The registered class of that name, or null. Names compare exactly.
    static CRuntimeClass* FromName(const char* className);
    /// A new object of the registered class of that name, or null.
    static CObject* CreateObject(const char* className);

    /// Writes the schema (2 bytes), the name's length (2 bytes) and the name.
    void Store(CArchive& ar) const;
    /// Reads what Store wrote; answers the registered class and its stored schema, or null
    /// when the name is too long, cut short or not registered.
    static CRuntimeClass* Load(CArchive& ar, UINT* schema);
};

/// The longest class name an archive accepts, in bytes.
inline constexpr int kMaxArchivedClassName = 63;
/// Or'ed into a schema number: load every schema and let Serialize branch on it.
inline constexpr UINT VERSIONABLE_SCHEMA = 0x80000000u;

/// Adds a class to the registry of names for the life of the object. The first class
/// registered under a name keeps it.
class ZEVCORE_API CRuntimeClassRegistration {
public:
    explicit CRuntimeClassRegistration(CRuntimeClass* runtimeClass);
    ~CRuntimeClassRegistration();
    CRuntimeClassRegistration(const CRuntimeClassRegistration&) = delete;
    CRuntimeClassRegistration& operator=(const CRuntimeClassRegistration&) = delete;

private:
    CRuntimeClass* m_class;
};

/// Where diagnostic dumps go.
class ZEVCORE_API CDumpContext {
public:
    explicit CDumpContext(std::ostream* out = nullptr);
    CDumpContext& operator<<(const char* text);
    CDumpContext& operator<<(const void* pointer);
    CDumpContext& operator<<(int value);

private:
    std::ostream* m_out;
};

/// The root of the run-time typed classes.
class ZEVCORE_API CObject {
public:
    virtual CRuntimeClass* GetRuntimeClass() const;
    virtual ~CObject();
    /// Writes or reads the object's fields; the root has none.
    virtual void Serialize(CArchive& ar);
    virtual void AssertValid() const;
    virtual void Dump(CDumpContext& dc) const;

    bool IsKindOf(const CRuntimeClass* runtimeClass) const;
    /// True when the class can be archived (its schema is not 0xFFFF).
    bool IsSerializable() const;

    static CRuntimeClass* GetThisClass();

protected:
    CObject() = default;
    CObject(const CObject&) = default;
    CObject& operator=(const CObject&) = default;
};

#define RUNTIME_CLASS(class_name) (class_name::GetThisClass())

#define DECLARE_DYNAMIC(class_name)       \
public:                                   \
    static CRuntimeClass* GetThisClass(); \
    CRuntimeClass* GetRuntimeClass() const override;

#define DECLARE_DYNCREATE(class_name) \
    DECLARE_DYNAMIC(class_name)       \
    static CObject* CreateObject();

#define DECLARE_SERIAL(class_name)                                                    \
    DECLARE_DYNCREATE(class_name)                                                     \
    friend CArchive& operator>>(CArchive& ar, class_name*& object) {                  \
        object = static_cast<class_name*>(ar.ReadObject(class_name::GetThisClass())); \
        return ar;                                                                    \
    }

#define ZEV_IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, schema, create)        \
    CRuntimeClass* class_name::GetThisClass() {                                        \
        static CRuntimeClass record{#class_name, static_cast<int>(sizeof(class_name)), \
                                    static_cast<UINT>(schema), create,                 \
                                    &base_class_name::GetThisClass};                   \
        return &record;                                                                \
    }                                                                                  \
    CRuntimeClass* class_name::GetRuntimeClass() const {                               \
        return class_name::GetThisClass();                                             \
    }                                                                                  \
    static const CRuntimeClassRegistration zevRegistration_##class_name(class_name::GetThisClass());

#define IMPLEMENT_DYNAMIC(class_name, base_class_name) \
    ZEV_IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, 0xFFFFu, nullptr)

#define IMPLEMENT_DYNCREATE(class_name, base_class_name) \
    CObject* class_name::CreateObject() {                \
        return new class_name;                           \
    }                                                    \
    ZEV_IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, 0xFFFFu, &class_name::CreateObject)

#define IMPLEMENT_SERIAL(class_name, base_class_name, schema) \
    CObject* class_name::CreateObject() {                     \
        return new class_name;                                \
    }                                                         \
    ZEV_IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, schema, &class_name::CreateObject)
