// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/JsonWriter.h"

#include "Foundation/Text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace quorrel {

namespace {

using Json = nlohmann::ordered_json;

Json textOrNull(const std::string& text) {
    return text.empty() ? Json(nullptr) : Json(text);
}

/// JSON takes DEL and the controls above it as they stand, and what turns the direction of writing. A terminal would
/// obey them, and to a parser an escape is the same.
std::string withoutControls(std::string_view json) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string result;
    for (std::size_t start = 0; start < json.size();) {
        const auto end = std::min(json.find('\n', start), json.size()); // none in a text
        std::string line;
        for (auto index = start; index < end; ++index) {
            const auto byte = [&] { return static_cast<unsigned char>(json[index]); };
            const bool isOfTwo
                = byte() == 0xC2 && index + 1 < end && static_cast<unsigned char>(json[index + 1]) < 0xA0;
            index += isOfTwo ? 1 : 0;
            if (isOfTwo || byte() == 0x7F)
                line.append("\\u00").append({ digits[byte() >> 4U], digits[byte() & 15U] });
            else
                line += json[index];
        }
        result += Text::onOneLine(line) + '\n';
        start = end + 1;
    }
    return result;
}

} // namespace

std::string JsonWriter::text(const std::vector<ShareRow>& rows) {
    auto array = Json::array();
    for (const auto& row : rows) {
        Json object;
        object["host"] = row.host;
        object["share"] = row.share;
        object["service"] = row.service;
        object["status"] = row.status;
        object["mounted"] = row.mounted;
        object["path"] = textOrNull(row.path);
        object["error"] = textOrNull(row.error);
        array.push_back(std::move(object));
    }
    return withoutControls(array.dump(2, ' ', false, Json::error_handler_t::replace));
}

std::string JsonWriter::line(const RemoteShare& share) {
    Json object;
    object["id"] = share.id;
    object["host"] = share.host;
    object["share"] = share.share;
    object["service"] = share.service;
    object["state"] = share.state;
    object["status"] = share.status;
    object["mounted"] = share.mounted;
    object["path"] = textOrNull(share.path);
    object["error"] = textOrNull(share.error);
    return withoutControls(object.dump(-1, ' ', false, Json::error_handler_t::replace));
}

} // namespace quorrel
