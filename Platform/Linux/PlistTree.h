// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Dictionary.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

namespace quorrel {

/// Frees a tree of the property-list library.
struct PlistFree final {
    void operator()(void* root) const;
};
using PlistTree = std::unique_ptr<void, PlistFree>;

/// Deeper than any property list of use, and shallow enough for functions that call themselves.
constexpr std::size_t deepestPlist = 256;

/// The tree of a value. What XML cannot hold in a text - control characters, bytes that are not UTF-8, the two code
/// points that are no characters - becomes U+FFFD, one for each. Null with the reason when the value nests too deeply
/// or has an empty key, since such a file could not be read again.
[[nodiscard]] PlistTree plistFromValue(const PropertyValue& value, std::string& reason);

/// The value of a tree. A date becomes its text, a reference number an integer. Absent when it nests too deeply.
[[nodiscard]] std::optional<PropertyValue> valueFromPlist(void* root);

} // namespace quorrel
