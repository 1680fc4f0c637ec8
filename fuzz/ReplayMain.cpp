// Feeds files to a fuzz target without libFuzzer, so that the test build (gcc, ASan and UBSan)
// runs every target over its corpus and the inputs that once failed: each argument is a file
// or a folder of files, fed one at a time in name order. A fault ends the run through the
// sanitizers; a clean run prints how many inputs it fed.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);

int main(int argc, char** argv) {
    if (LLVMFuzzerInitialize) LLVMFuzzerInitialize(&argc, &argv);
    std::vector<std::filesystem::path> inputs;
    for (int i = 1; i < argc; ++i) {
        const std::filesystem::path at = argv[i];
        if (std::filesystem::is_directory(at)) {
            for (const auto& entry : std::filesystem::directory_iterator(at))
                if (entry.is_regular_file()) inputs.push_back(entry.path());
        } else {
            inputs.push_back(at);
        }
    }
    std::sort(inputs.begin(), inputs.end());
    for (const auto& path : inputs) {
        std::ifstream in(path, std::ios::binary);
        if (!in) {
            std::fprintf(stderr, "replay: cannot read %s\n", path.c_str());
            return 1;
        }
        const std::string bytes((std::istreambuf_iterator<char>(in)),
                                std::istreambuf_iterator<char>());
        // A fresh copy of just the input's size, so that reading past it is caught.
        std::vector<std::uint8_t> data(bytes.begin(), bytes.end());
        LLVMFuzzerTestOneInput(data.data(), data.size());
    }
    std::printf("replayed %zu inputs\n", inputs.size());
    return inputs.empty() ? 1 : 0;
}
