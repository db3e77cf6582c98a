// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPointer>

#include <string>

namespace quorrel {

class AlertBox;
class StringTable;

/// Tells that the catalogue could not be saved, in a window of its own that waits for nobody. Main thread.
class SaveAlert final {
public:
    /// The strings must outlive the alert.
    explicit SaveAlert(const StringTable& strings);
    ~SaveAlert();
    SaveAlert(const SaveAlert&) = delete;
    SaveAlert& operator=(const SaveAlert&) = delete;

    void show(const std::string& path, const std::string& reason);
    /// It is saved after all; whoever has not read the alert need not.
    void withdraw();

private:
    const StringTable& m_strings;
    QPointer<AlertBox> m_box; // null when it is closed
};

} // namespace quorrel
