// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/ThreadTime.h"
#include "Tests/Fuzz/Targets.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <limits>
#include <string>

namespace quorrel::fuzz {
namespace {

// The sanitizers' runs are here for the memory; they are too slow to tell of time.
#ifdef QUORREL_SANITIZED
constexpr std::size_t large = std::size_t { 1 } << 20U;
#else
constexpr std::size_t large = std::size_t { 10 } << 20U;
#endif

using Filler = std::function<std::string(std::size_t size)>;

/// The line again and again, each time with another number in the place of "@", up to that size.
std::string lines(const std::string& line, std::size_t size) {
    const auto place = std::min(line.find('@'), line.size());
    std::string result;
    result.reserve(size + line.size() + 8);
    for (std::size_t number = 1'000'000; result.size() < size; ++number) {
        result.append(line, 0, place);
        if (place < line.size())
            result.append(std::to_string(number)).append(line, place + 1);
    }
    return result;
}

Filler between(std::string start, std::string line, std::string end) {
    return [=](std::size_t size) { return start + lines(line, size) + end; };
}

struct LargeInput final {
    const char* name;
    const char* target;
    Filler filler;
    std::size_t share = 1; ///< of the size that is read in every run, where a reader goes over each byte many times
};

std::size_t sizeFor(const LargeInput& input) {
    return std::getenv("QUORREL_LARGE_INPUTS") ? large : large / input.share; // NOLINT: one thread
}

void PrintTo(const LargeInput& input, std::ostream* stream) {
    *stream << input.name;
}

class LargeInputTest : public testing::TestWithParam<LargeInput> {
protected:
    static void read(const std::string& bytes) {
        const std::string_view name = GetParam().target;
        const auto* const target
            = std::find_if(targets.begin(), targets.end(), [&](const Target& each) { return each.name == name; });
        ASSERT_NE(target, targets.end());
        target->run(bytes);
    }

    [[nodiscard]] static double secondsFor(std::size_t size) {
        const auto bytes = GetParam().filler(size);
        const auto start = threadTime();
        read(bytes);
        return (threadTime() - start).count();
    }
};

TEST_P(LargeInputTest, takesTimeInProportionToItsSize) {
    // Twice the size takes twice the time, or four times where it grows with the square. One round may be disturbed.
    constexpr double between = 3;
    const auto size = sizeFor(GetParam());
    double half = std::numeric_limits<double>::max();
    double whole = half;
    for (int round = 0; round < 3; ++round) {
        half = std::min(half, secondsFor(size / 2));
        whole = std::min(whole, secondsFor(size));
        if (whole < between * half)
            break;
    }
    RecordProperty("milliseconds", static_cast<int>(whole * 1000));
    EXPECT_LT(whole, between * half) << "half the size takes " << half << " s";
}

const std::string lookupStart = "host1000001\x1F";

INSTANTIATE_TEST_SUITE_P(Readers, LargeInputTest,
    testing::Values(LargeInput { "catalogue", "catalogue",
                        between("<plist><array>",
                            "<dict><key>displayName</key><string>host@" + std::string(2000, 'x') + "</string></dict>\n",
                            "</array></plist>") },
        LargeInput { "catalogueOfEscapes", "catalogue",
            between("<plist><array><string>", "&amp;", "</string></array></plist>") },
        LargeInput { "catalogueWithoutEnd", "catalogue", between("<plist><array>", "<string>host@</string>", "") },
        LargeInput { "nslookup", "nslookup", between(lookupStart, "Name:\thost@\nAddress: 10.0.0.1\n", "") },
        LargeInput { "smblookup", "smblookup", between(lookupStart, "10.0.0.1 host@<00>\n", "") },
        LargeInput { "smbscan", "smbscan", between("", "host@", ", 10.0.0.1"), 4 },
        LargeInput { "smbscanOfManyNames", "smbscan", between("", "host@, 10.0.0.1\n", ""), 8 },
        LargeInput { "smbscanOfManyDashes", "smbscan", between("", "my-host-@, 10.0.0.1\n", ""), 8 },
        LargeInput { "serverurlOfALongPath", "serverurl",
            between("\x10\x02server\x1F", "folder @/", "\x1Fuser\x1Fpassword\x1Fserver"), 16 },
        LargeInput { "serverurlOfALongName", "serverurl",
            between("\x30\x02", "host@.", "\x1Fshare\x1Fuser\x1Fpassword\x1Fnumber"), 16 },
        LargeInput { "serverurlOfALongLogin", "serverurl",
            between("\x50\x02server\x1Fshare\x1F", "user@:", "\x1Fpassword\x1Fserver"), 16 },
        LargeInput { "hostfile", "hostfile", between("", "10.0.0.1\thost@" + std::string(50, 'x') + "\n", "") },
        LargeInput { "volumepath", "volumepath", between("/net/", "-", "1") },
        LargeInput { "kernelmounts", "kernelmounts", between("", "36 35 0:51 / /mnt/@ rw - cifs //srv/data rw\n", "") },
        LargeInput { "txtrecord", "txtrecord", between("", "\x0Bkey@=xyz", "") }),
    [](const auto& input) { return std::string(input.param.name); });

} // namespace
} // namespace quorrel::fuzz
