// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QVariantMap>

#include <string>

namespace quorrel {

/// What the desktop hands over with a wish of its user, so that the window which answers it may come to the front. It
/// counts for what is activated as long as this lives. Main thread.
class ActivationToken final {
public:
    /// As the desktop names them: "activation-token" and "desktop-startup-id".
    explicit ActivationToken(const QVariantMap& platformData);
    ActivationToken(const ActivationToken&) = delete;
    ActivationToken& operator=(const ActivationToken&) = delete;
    ~ActivationToken();

    /// Empty texts are left out.
    [[nodiscard]] static QVariantMap platformData(const std::string& token, const std::string& startupId);

private:
    void activateOnX11() const;

    QByteArray m_startupId;
};

} // namespace quorrel
