// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/LoaderTables.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <unistd.h>

namespace quorrel {
namespace {

constexpr const char* library = "libgio-2.0.so"; // some fifty pages of tables, which no other test reads

/// The tables of the library: its first segment.
std::string_view tables() {
    std::string_view found;
    dl_iterate_phdr(
        [](dl_phdr_info* object, std::size_t, void* result) {
            if (std::string_view(object->dlpi_name).find(library) == std::string_view::npos)
                return 0;
            const auto* segment = std::find_if(object->dlpi_phdr, object->dlpi_phdr + object->dlpi_phnum,
                [](const ElfW(Phdr) & header) { return header.p_type == PT_LOAD; });
            *static_cast<std::string_view*>(result)
                = { reinterpret_cast<const char*>(object->dlpi_addr + segment->p_vaddr), segment->p_memsz };
            return 1;
        },
        &found);
    return found;
}

/// How many of its pages this process has, as the kernel tells without any of them coming back.
long pagesPresent(std::string_view bytes) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    std::vector<std::uint64_t> entries((bytes.size() + page - 1) / page);
    const int map = open("/proc/self/pagemap", O_RDONLY | O_CLOEXEC);
    const auto size = entries.size() * sizeof(std::uint64_t);
    const auto place = reinterpret_cast<std::uintptr_t>(bytes.data()) / page * sizeof(std::uint64_t);
    const auto got = pread(map, entries.data(), size, static_cast<off_t>(place));
    close(map);
    EXPECT_EQ(got, static_cast<ssize_t>(size));
    constexpr int presentBit = 63;
    return std::count_if(
        entries.begin(), entries.end(), [](std::uint64_t entry) { return (entry >> presentBit & 1U) != 0; });
}

} // namespace

TEST(LoaderTables, takeNoMemoryOnceTheyAreGivenBack) {
    const auto bytes = tables();
    const std::string copy(bytes); // reads every page
    const long before = pagesPresent(bytes);
    ASSERT_GT(before, 10);
    LoaderTables::giveBack();
    EXPECT_LT(pagesPresent(bytes), before / 2);
}

TEST(LoaderTables, comeBackAsTheyWereWhenSymbolsAreLookedUp) {
    const auto bytes = tables();
    const std::string before(bytes);
    void* const symbol = dlsym(RTLD_DEFAULT, "g_file_new_for_path");
    ASSERT_NE(symbol, nullptr);
    LoaderTables::giveBack();
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "g_file_new_for_path"), symbol);
    EXPECT_EQ(bytes, before);
}

} // namespace quorrel
