// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/PasswordWindow.h"

namespace quorrel {

/// The password window of a program without windows: there is nothing to focus or hide, and an end is only noted. Main
/// thread only.
class UnseenPasswordWindow : public PasswordWindow {
public:
    void focusPasswordField() final { }
    void stopModal() final { m_response = Response::Stopped; }
    void abortModal() final { m_response = Response::Aborted; }
    void hide() final { }

protected:
    Response m_response = Response::Aborted;
};

} // namespace quorrel
