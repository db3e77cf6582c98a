// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <malloc.h>

namespace quorrel {

/// Bytes that the process has allocated now.
[[nodiscard]] inline double heapUse() {
    const auto info = ::mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
}

/// What the heap grows by, in bytes.
template <typename Work>
double heapGrowth(const Work& work) {
    const double before = heapUse();
    work();
    return heapUse() - before;
}

} // namespace quorrel
