// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Property.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorrel {

/// What a service's TXT record says: keys, most with a value. Of equal keys the first counts, whatever the case of
/// their letters. A value type; any bytes will do, and those that no record can have are not looked at.
class TXTRecord final {
public:
    using Bytes = std::vector<std::uint8_t>;
    /// By keys in lower case. A key without a value has none, which is not the same as an empty one.
    using Values = std::map<std::string, std::optional<Bytes>, std::less<>>;

    /// Strings, each behind a byte with its length; one that is cut off is left out.
    explicit TXTRecord(const Bytes& data);

    [[nodiscard]] const Values& values() const { return m_values; }

    /// Absent: there is no such key, it has no value, or one that is not UTF-8.
    [[nodiscard]] OptionalText textFor(std::string_view key) const;

private:
    Values m_values;
};

} // namespace quorrel
