// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace quorrel {

class LoginItems;
class LoginItemsList;

/// Behind the check box that opens the program at login. Main thread. It keeps no state: the login items are the state.
class LoginItem final {
public:
    /// The path is where the program is installed, links followed. The login items must outlive this object.
    LoginItem(LoginItems& loginItems, std::string applicationPath);

    /// The check box's action: makes the login items what the box says.
    void addLoginItem();

    /// Whether a login item opens the program, as the box is to show it.
    [[nodiscard]] bool isLoginItem() const;

    bool oOpenAtLogin = false; ///< the check box's state; its view writes it

private:
    void enableLoginItemWithLoginItemsReference(LoginItemsList& list, const std::string& applicationPath);
    void disableLoginItemWithLoginItemsReference(LoginItemsList& list, const std::string& applicationPath);

    LoginItems& m_loginItems;
    const std::string m_applicationPath;
};

} // namespace quorrel
