// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/JsonWriter.h"

#include <nlohmann/json.hpp>

namespace quorrel {

namespace {

using Json = nlohmann::ordered_json;

Json textOrNull(const std::string& text) {
    return text.empty() ? Json(nullptr) : Json(text);
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
    return array.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

} // namespace quorrel
