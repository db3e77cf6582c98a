// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fuzz/Targets.h"

#include <cstddef>
#include <cstdint>

// The fuzzer's library brings the rest of the program. One target per program: it is named when this is compiled.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    quorrel::fuzz::QUORREL_FUZZ_TARGET({ reinterpret_cast<const char*>(data), size });
    return 0;
}
