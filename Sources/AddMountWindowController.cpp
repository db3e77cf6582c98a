// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/AddMountWindowController.h"

#include "Foundation/StringTable.h"

namespace quorrel {

AddMountWindowController::AddMountWindowController(AddMountWindow& window, ObservableList<HostPointer>& hosts,
    CatalogueContextPointer context, NotificationCenter& notificationCenter)
    : transportTypes { "Apple Filing Protocol (afp)", "Server Message Block (smb)",
        "Common Internet File System (cifs)", "WebDAV (http)", "Secure WebDAV (https)", "File Transfer Protocol (ftp)" }
    , m_window(window)
    , m_hosts(hosts)
    , m_context(std::move(context))
    , m_notificationCenter(notificationCenter) { }

AddMountWindowController::~AddMountWindowController() = default;

} // namespace quorrel
