// The XML reader on arbitrary bytes: it must end with an answer, never a crash, a leak or a
// hang, and leave no node alive once it is gone.

#include <cstdint>
#include <cstdlib>

#include "FuzzFile.h"
#include "zevcore/files/Xml.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (!writeFuzzFile(data, size)) return 0;
    {
        xmlreader reader(fuzzFilePath());
        if (xmlreaderNode* root = reader.GetRootNode()) {
            reader.ResetReading();
            // Walk the tree as a caller would.
            long seen = 0;
            for (xmlreaderNode* c = root->GetChildNodeCnt() ? root->GetFirstChild() : nullptr; c;
                 c = root->GetNextChild()) {
                seen += c->GetChildNodeCnt();
                (void)c->GetElementValue("x");
            }
            if (seen < 0) std::abort();
        }
    }
    if (xmlreaderNode::GetObjectCnt() != 0) std::abort();
    return 0;
}
