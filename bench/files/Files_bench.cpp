// Speed of the binary streams, the archive's object form and the XML pair.

#include <benchmark/benchmark.h>

#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "zevcore/files/BinaryStream.h"
#include "zevcore/files/Xml.h"
#include "zevcore/platform/framework/Archive.h"
#include "zevcore/platform/framework/Array.h"

namespace {

std::string scratch(const char* name) {
    return "/tmp/zev-bench-" + std::to_string(static_cast<long>(getpid())) + "-" + name;
}

// One record of mixed fields, 10,000 times, written then read back.
void BM_StreamRecords(benchmark::State& state) {
    const std::string path = scratch("records.bin");
    for (auto _ : state) {
        {
            obfstream out(path.c_str(), 0);
            for (int i = 0; i < 10000; ++i)
                out << static_cast<short>(1) << i << 2.5 << true << "a short text";
        }
        ibfstream in(path.c_str(), 0);
        short version = 0;
        int n = 0;
        double d = 0;
        bool b = false;
        CString text;
        for (int i = 0; i < 10000; ++i) in >> version >> n >> d >> b >> text;
        benchmark::DoNotOptimize(n);
    }
    state.SetItemsProcessed(state.iterations() * 10000);
    std::remove(path.c_str());
}
BENCHMARK(BM_StreamRecords)->Unit(benchmark::kMillisecond);

class CBenchItem : public CObject {
    DECLARE_SERIAL(CBenchItem)
public:
    void Serialize(CArchive& ar) override {
        if (ar.IsStoring()) {
            ar << value << name;
        } else {
            ar >> value >> name;
        }
    }
    double value = 1.5;
    CString name = "item";
};
IMPLEMENT_SERIAL(CBenchItem, CObject, 1)

// An object array of 10,000 items stored to memory and loaded back.
void BM_ArchiveObjectArray(benchmark::State& state) {
    std::vector<CBenchItem> items(10000);
    CObArray array;
    for (CBenchItem& item : items) array.Add(&item);
    for (auto _ : state) {
        CMemFile file;
        {
            CArchive ar(&file, CArchive::store);
            array.Serialize(ar);
        }
        file.Seek(0, CFile::begin);
        CArchive ar(&file, CArchive::load);
        CObArray back;
        back.Serialize(ar);
        for (CObject* o : back) delete o;
    }
    state.SetItemsProcessed(state.iterations() * 10000);
}
BENCHMARK(BM_ArchiveObjectArray)->Unit(benchmark::kMillisecond);

// 1,000 groups of three values written and read back.
void BM_XmlWriteRead(benchmark::State& state) {
    const std::string path = scratch("doc.xml");
    for (auto _ : state) {
        {
            xmlwriter w(path);
            w.Createtag("root");
            for (int i = 0; i < 1000; ++i) {
                w.Createtag("group");
                w.CreateChild("index", i);
                w.CreateChild("value", i * 0.5);
                w.CreateChild("name", "a name");
                w.CloseLasttag();
            }
            w.CloseAlltags();
        }
        xmlreader reader(path);
        benchmark::DoNotOptimize(reader.GetRootNode());
    }
    state.SetItemsProcessed(state.iterations() * 1000);
    std::remove(path.c_str());
}
BENCHMARK(BM_XmlWriteRead)->Unit(benchmark::kMillisecond);

}  // namespace
