// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fuzz/Targets.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace quorrel::fuzz {
namespace {

class CorpusTest : public testing::TestWithParam<Target> { };

TEST_P(CorpusTest, everyInputThatWasFoundIsReadToItsEnd) {
    int count = 0;
    for (const auto& entry :
        std::filesystem::directory_iterator(std::string(QUORREL_CORPORA) + "/" + GetParam().name)) {
        SCOPED_TRACE(entry.path().filename());
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string bytes { std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>() };
        ASSERT_TRUE(file.good());
        // A target that fails ends the process; the last name tells on which input.
        RecordProperty("input", entry.path().filename());
        std::fprintf(stderr, "%s\n", entry.path().filename().c_str());
        GetParam().run(bytes);
        ++count;
    }
    EXPECT_GT(count, 0);
    GetParam().run({});
}

INSTANTIATE_TEST_SUITE_P(
    Corpora, CorpusTest, testing::ValuesIn(targets), [](const auto& target) { return std::string(target.param.name); });

} // namespace
} // namespace quorrel::fuzz
