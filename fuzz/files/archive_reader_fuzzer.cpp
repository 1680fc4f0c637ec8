// The archive reader on arbitrary bytes: values, texts, counts, lines and the tagged object
// form with classes that nest, refer back and accept several schemas. Every failure must be
// an archive exception; every object made must be accounted for.

#include <cstdint>
#include <cstdlib>
#include <set>

#include "zevcore/platform/Archive.h"
#include "zevcore/platform/Array.h"

namespace {

// Objects made by the archive, so that each run frees whatever a failed load left behind.
std::set<CObject*>& live() {
    static std::set<CObject*> objects;
    return objects;
}

}  // namespace

class CFuzzLeaf : public CObject {
    DECLARE_SERIAL(CFuzzLeaf)
public:
    CFuzzLeaf() { live().insert(this); }
    ~CFuzzLeaf() override { live().erase(this); }
    void Serialize(CArchive& ar) override {
        int i = 0;
        double d = 0;
        CString s;
        ar >> i >> d >> s;
    }
};
IMPLEMENT_SERIAL(CFuzzLeaf, CObject, 1)

// Children are not owned: a child may be a back-reference to any object read before.
class CFuzzNode : public CObject {
    DECLARE_SERIAL(CFuzzNode)
public:
    CFuzzNode() { live().insert(this); }
    ~CFuzzNode() override { live().erase(this); }
    void Serialize(CArchive& ar) override { children.Serialize(ar); }
    CObArray children;
};
IMPLEMENT_SERIAL(CFuzzNode, CObject, 2)

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
        CTypedPtrArray<CObArray, CObject*> objects;
        objects.Serialize(ar);
        CString line;
        while (ar.ReadString(line)) {
        }
    } catch (const CArchiveException&) {
    }
    while (!live().empty()) delete *live().begin();
    return 0;
}
