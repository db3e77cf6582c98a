// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/ImageFiles.h"

#include "Platform/Linux/OwnerOnlyFile.h"

#include <cstddef>

namespace quorrel {

namespace {

constexpr std::size_t largestImage = std::size_t { 16 } << 20U;
constexpr std::size_t keptAnswers = 256;

} // namespace

bool ImageFiles::contain(const std::string& path) const {
    {
        const MutexLock lock(m_mutex);
        if (const auto known = m_known.find(path); known != m_known.end())
            return known->second;
    }
    const bool isPNG = OwnerOnlyFile::read(path, largestImage).bytes.starts_with("\x89PNG\r\n\x1a\n");
    const MutexLock lock(m_mutex);
    if (m_known.size() >= keptAnswers)
        m_known.clear();
    m_known.emplace(path, isPNG);
    return isPNG;
}

} // namespace quorrel
