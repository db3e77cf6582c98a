// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/VolumeWatch.h"

#include <string>
#include <vector>

namespace quorrel {

/// Writes down what a volume watch reports: "+ NAME KIND PATH SERVER" and the same with "-".
class VolumeRecorder final {
public:
    explicit VolumeRecorder(VolumeWatch& watch)
        : m_disappeared(watch.registerDiskDisappearedCallback([this](const auto& volume) { write("- ", volume); }))
        , m_appeared(watch.registerDiskAppearedCallback([this](const auto& volume) { write("+ ", volume); })) { }

    [[nodiscard]] static std::string inShort(const VolumeDescription& volume) {
        return volume.volumeName.value_or("?") + " " + volume.volumeKind.value_or("?") + " "
            + volume.volumePath.value_or("?") + " " + volume.serverName + (volume.isNetwork ? "" : " local");
    }

    std::vector<std::string> heard;

private:
    void write(const std::string& sign, const VolumeDescription& volume) { heard.push_back(sign + inShort(volume)); }

    Subscription m_disappeared;
    Subscription m_appeared;
};

} // namespace quorrel
