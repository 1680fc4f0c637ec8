// The archive reader on arbitrary bytes: values, texts, counts, lines and the tagged object
// form with classes that nest, refer back and accept several schemas. Every failure must be
// an archive exception; every object made must be accounted for.

#include <cstdint>
#include <cstdlib>
#include <set>

#include "zevcore/platform/framework/Archive.h"
#include "zevcore/platform/framework/Array.h"

namespace {

// Objects made by the archive, so that each run frees whatever a failed load left behind.
std::set<CObject*>& live() {
    static std::set<CObject*> objects;
    return objects;
}

}  // namespace

// Every class here comes from one tracked base, and objects are read as that base, so that
// the library's own archivable classes (object and string arrays) are refused with badClass
// rather than made where this harness could not account for them.
class CFuzzBase : public CObject {
    DECLARE_SERIAL(CFuzzBase)
public:
    CFuzzBase() { live().insert(this); }
    ~CFuzzBase() override { live().erase(this); }
};
IMPLEMENT_SERIAL(CFuzzBase, CObject, 1)

class CFuzzLeaf : public CFuzzBase {
    DECLARE_SERIAL(CFuzzLeaf)
public:
    void Serialize(CArchive& ar) override {
        int i = 0;
        double d = 0;
        CString s;
        ar >> i >> d >> s;
    }
};
IMPLEMENT_SERIAL(CFuzzLeaf, CFuzzBase, 1)

// Children are not owned: a child may be a back-reference to any object read before, even
// to this node or one of its parents while they are still being read.
class CFuzzNode : public CFuzzBase {
    DECLARE_SERIAL(CFuzzNode)
public:
    void Serialize(CArchive& ar) override {
        const std::uint64_t count = ar.ReadCount();
        for (std::uint64_t i = 0; i < count; ++i)
            children.Add(ar.ReadObject(RUNTIME_CLASS(CFuzzBase)));
    }
    CObArray children;
};
IMPLEMENT_SERIAL(CFuzzNode, CFuzzBase, 2)

class CFuzzVersioned : public CFuzzLeaf {
    DECLARE_SERIAL(CFuzzVersioned)
public:
    void Serialize(CArchive& ar) override {
        if (ar.GetObjectSchema() > 1) CFuzzLeaf::Serialize(ar);
    }
};
IMPLEMENT_SERIAL(CFuzzVersioned, CFuzzLeaf, VERSIONABLE_SCHEMA | 3)

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CMemFile file(data, size);
    CArchive ar(&file, CArchive::load);
    try {
        short version = 0;
        ar >> version;
        CString text;
        ar >> text;
        CArray<int, int> keys;
        keys.Serialize(ar);
        CFuzzNode top;
        top.Serialize(ar);
        CString line;
        while (ar.ReadString(line)) {
        }
    } catch (const CArchiveException&) {
    }
    while (!live().empty()) delete *live().begin();
    return 0;
}
