// The tab-separated table reader and the token reader on arbitrary bytes.

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "FuzzFile.h"
#include "zevcore/files/TextFile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (!writeFuzzFile(data, size)) return 0;
    CTabbedTextFile table;
    if (!table.Read(fuzzFilePath().c_str())) {
        // Every cell of a loaded table is there.
        for (int r = 0; r < table.Rows(); ++r)
            for (int c = 0; c < table.Columns(); ++c)
                if (!table.StringData(r, c)) std::abort();
        if (table.Columns() > 0 && !table.Header(0)) std::abort();
    }
    CSimpleTextFile text;
    if (!text.Read(fuzzFilePath().c_str())) {
        text.Parse();
        for (int l = 0; l < text.ParsedLines(); ++l)
            for (int t = 0; t < text.Tokens(l); ++t) (void)text.Token(l, t).GetLength();
    }
    return 0;
}
