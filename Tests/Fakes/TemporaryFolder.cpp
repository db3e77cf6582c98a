// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/TemporaryFolder.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

#include <sys/stat.h>

namespace quorrel {

TemporaryFolder::TemporaryFolder()
    : m_path(std::filesystem::temp_directory_path().string() + "/quorrel-test-XXXXXX") {
    if (!::mkdtemp(m_path.data()))
        throw std::system_error(errno, std::generic_category(), m_path);
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored; // a test that cannot be cleaned up after has failed already
    std::filesystem::remove_all(m_path, ignored);
}

std::string TemporaryFolder::put(const std::string& name, std::string_view bytes, unsigned mode) const {
    const auto file = path(name);
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    stream.close();
    if (!stream || ::chmod(file.c_str(), mode) != 0)
        throw std::runtime_error("cannot write " + file);
    return file;
}

std::string TemporaryFolder::contentOf(const std::string& name) const {
    std::ifstream stream(path(name), std::ios::binary);
    return { std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>() };
}

unsigned TemporaryFolder::modeOf(const std::string& name) const {
    struct stat status { };
    return ::stat(path(name).c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

std::vector<std::string> TemporaryFolder::names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_path))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace quorrel
