// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/BoundedLoop.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorrel {

/// Fingerprints of a certificate in lower-case hexadecimal.
struct CertificateFingerprints final {
    std::string sha1;
    std::string sha256;
};

/// Which certificates that the system does not trust are trusted all the same. gvfs asks with an SHA-1 fingerprint at
/// best, which is too weak to decide by; so the server is asked for its certificate once more.
namespace CertificateInspector {

/// Looks at the server's certificate, whoever signed it. Absent when there was none to be had in time.
[[nodiscard]] std::optional<CertificateFingerprints> inspect(
    BoundedLoop& loop, const std::string& host, std::uint16_t port);

/// Whether a question names that very certificate: between two looks a server may have become another.
[[nodiscard]] bool isNamedIn(std::string_view question, const CertificateFingerprints& fingerprints);

/// Whether the fingerprint is in the list, where capitals, colons and blanks do not count.
[[nodiscard]] bool isTrusted(const std::string& sha256, const std::vector<std::string>& trusted);

} // namespace CertificateInspector

} // namespace quorrel
