// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

namespace quorrel {

/// Puts another text into the test bed's resolv.conf for as long as it lives.
class OtherResolvConf final {
public:
    explicit OtherResolvConf(const std::string& text)
        : m_path(std::string(std::getenv("QTB_DIR")) + "/resolv.conf") {
        std::ostringstream old;
        old << std::ifstream(m_path).rdbuf();
        m_old = old.str();
        std::ofstream(m_path) << text; // written in place: it is mounted over the system's
    }
    OtherResolvConf(const OtherResolvConf&) = delete;
    OtherResolvConf& operator=(const OtherResolvConf&) = delete;
    ~OtherResolvConf() { std::ofstream(m_path) << m_old; }

private:
    const std::string m_path;
    std::string m_old;
};

} // namespace quorrel
