// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/CatalogueLock.h"
#include "Platform/Linux/FileDescriptor.h"

#include <string>

namespace quorrel {

/// A lock on a file that holds the process id of who has it. Nobody inherits it, and a process that dies has lost it;
/// the file stays, since removing it would let two programs hold a lock each.
class FlockCatalogueLock final : public CatalogueLock {
public:
    explicit FlockCatalogueLock(std::string path);

    [[nodiscard]] Outcome take() override;

private:
    const std::string m_path;
    FileDescriptor m_file;
};

} // namespace quorrel
