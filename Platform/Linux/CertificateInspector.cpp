// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/CertificateInspector.h"

#include <algorithm>

namespace quorrel {

namespace {

constexpr Seconds inspectionLimit { 10 };

gboolean acceptToLookAt(GTlsConnection* /*connection*/, GTlsCertificate* /*certificate*/,
    GTlsCertificateFlags /*errors*/, gpointer /*unused*/) {
    return TRUE;
}

/// The hexadecimal digits alone, in lower case.
std::string digitsOf(std::string_view text) {
    std::string digits;
    for (const char character : text) {
        const char lower = character >= 'A' && character <= 'F' ? static_cast<char>(character + 32) : character;
        if ((lower >= '0' && lower <= '9') || (lower >= 'a' && lower <= 'f'))
            digits += lower;
    }
    return digits;
}

std::string checksum(GChecksumType type, const GByteArray* bytes) {
    const GlibPointer<gchar> text(g_compute_checksum_for_data(type, bytes->data, bytes->len));
    return text.get();
}

GObjectPointer<GIOStream> connectTo(BoundedLoop& loop, GSocketConnectable* address) {
    const GObjectPointer<GSocketClient> client(g_socket_client_new());
    g_socket_client_set_enable_proxy(client.get(), FALSE);
    const auto result = loop.await(
        [&](GCancellable* cancellable, GAsyncReadyCallback callback, gpointer data) {
            g_socket_client_connect_async(client.get(), address, cancellable, callback, data);
        },
        inspectionLimit);
    if (!result)
        return nullptr;
    GSocketConnection* made = g_socket_client_connect_finish(client.get(), result.get(), nullptr);
    return GObjectPointer<GIOStream>(made ? G_IO_STREAM(made) : nullptr);
}

} // namespace

std::optional<CertificateFingerprints> CertificateInspector::inspect(
    BoundedLoop& loop, const std::string& host, std::uint16_t port) {
    const GObjectPointer<GSocketConnectable> address(g_network_address_new(host.c_str(), port));
    const auto base = connectTo(loop, address.get());
    if (!base)
        return std::nullopt;
    const GObjectPointer<GIOStream> secure(g_tls_client_connection_new(base.get(), address.get(), nullptr));
    if (!secure)
        return std::nullopt;
    auto* const connection = G_TLS_CONNECTION(secure.get());
    g_signal_connect(connection, "accept-certificate", G_CALLBACK(acceptToLookAt), nullptr);
    const auto result = loop.await(
        [&](GCancellable* cancellable, GAsyncReadyCallback callback, gpointer data) {
            g_tls_connection_handshake_async(connection, G_PRIORITY_DEFAULT, cancellable, callback, data);
        },
        inspectionLimit);
    // Only who completes the handshake has shown that the certificate is his.
    if (!result || !g_tls_connection_handshake_finish(connection, result.get(), nullptr))
        return std::nullopt;
    auto* const certificate = g_tls_connection_get_peer_certificate(connection);
    if (!certificate)
        return std::nullopt;
    GByteArray* bytes = nullptr;
    g_object_get(certificate, "certificate", &bytes, nullptr);
    if (!bytes)
        return std::nullopt;
    CertificateFingerprints fingerprints { checksum(G_CHECKSUM_SHA1, bytes), checksum(G_CHECKSUM_SHA256, bytes) };
    g_byte_array_unref(bytes);
    return fingerprints;
}

bool CertificateInspector::isNamedIn(std::string_view question, const CertificateFingerprints& fingerprints) {
    // The fingerprint ends the last line that ends with one. What stands above may be the server's own words.
    constexpr std::size_t shortest = 40;
    while (!question.empty()) {
        const auto lineFeed = question.rfind('\n');
        const auto line = lineFeed == std::string_view::npos ? question : question.substr(lineFeed + 1);
        const auto before = line.find_last_not_of("0123456789abcdefABCDEF: ");
        const auto digits = digitsOf(before == std::string_view::npos ? line : line.substr(before + 1));
        if (digits.size() >= shortest)
            return digits == fingerprints.sha256 || digits == fingerprints.sha1;
        question = question.substr(0, lineFeed == std::string_view::npos ? 0 : lineFeed);
    }
    return false;
}

bool CertificateInspector::isTrusted(const std::string& sha256, const std::vector<std::string>& trusted) {
    return std::any_of(
        trusted.begin(), trusted.end(), [&](const std::string& one) { return digitsOf(one) == digitsOf(sha256); });
}

} // namespace quorrel
