// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace quorrel {

/// Avahi's names have no dot at their end, whatever was asked; everybody else's do.
[[nodiscard]] std::string withoutFinalDot(std::string text);
[[nodiscard]] std::string withFinalDot(std::string text);

/// Whether it may be handed to D-Bus, whose library ends the process over a text that is not UTF-8 and cuts one at a
/// null byte.
[[nodiscard]] bool isFitForBus(const std::string& text);

/// The name of an instance's records, escaped; empty when there can be no such name.
[[nodiscard]] std::string recordName(const std::string& name, const std::string& type, const std::string& domain);

} // namespace quorrel
