// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quorrel {

/// One kind of device: its icon file, or else the kind whose icon it shares.
struct ModelType final {
    std::string_view identifier;
    std::string_view iconFile; ///< empty: that of the parent
    std::string_view conformsTo; ///< empty: none
};

/// The kind of device that a model code names. A code that no row of the table begins gives an identifier of its own,
/// of which nothing is declared.
[[nodiscard]] std::string typeIdentifierForModel(std::string_view modelCode);

/// Null when nothing is declared of that identifier.
[[nodiscard]] const ModelType* modelType(std::string_view identifier);

} // namespace quorrel
