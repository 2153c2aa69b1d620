// The body of one fuzz program over its corpus: what it once failed on, and inputs to start from.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// It ends the program where a promise is broken; the sections tell at which file.
TEST(Replay, EveryFileOfTheCorpus) {
    const std::filesystem::path folder = KELVANE_CORPUS;
    ASSERT_TRUE(std::filesystem::is_directory(folder)) << folder;
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    ASSERT_FALSE(files.empty());
    for (const auto& file : files) {
        std::printf("%s\n", file.filename().c_str());
        std::fflush(stdout);
        std::ifstream in(file, std::ios::binary);
        const std::vector<char> bytes(std::istreambuf_iterator<char>(in), {});
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    }
}
