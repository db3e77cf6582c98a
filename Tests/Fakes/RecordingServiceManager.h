// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/ServiceManager.h"

#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace quorrel {

/// Keeps what a service manager is told. Any thread.
class RecordingServiceManager final : public ServiceManager {
public:
    void ready() override {
        add("ready");
        if (onReady)
            onReady();
    }
    void reloading() override { add("reloading"); }
    void stopping() override { add("stopping"); }

    [[nodiscard]] std::vector<std::string> told() const {
        const std::lock_guard lock(m_mutex);
        return m_told;
    }

    std::function<void()> onReady; ///< set it before the program runs; on its thread

private:
    void add(const char* what) {
        const std::lock_guard lock(m_mutex);
        m_told.emplace_back(what);
    }

    mutable std::mutex m_mutex;
    std::vector<std::string> m_told;
};

} // namespace quorrel
