// Repeats the fuzzer's check on every file of its corpus, so that old findings stay mended.

#include "RecordingTarget.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace

TEST(RecordingCorpusTest, EveryFileIsRefusedOrStaysTheSame) {
    std::size_t count = 0;
    for (const auto& file : std::filesystem::directory_iterator(KX_RECORDING_CORPUS)) {
        SCOPED_TRACE(file.path().filename());
        const std::string content = contentOf(file.path());
        EXPECT_EQ(file.file_size(), content.size());
        EXPECT_EQ("", KX::Recording::test::problemWith(content));
        ++count;
    }
    EXPECT_LT(50U, count) << "the corpus is not where it was";
}
