// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPointer>

#include <string>

namespace quorrel {

class AlertBox;
class StringTable;

/// Tells that the catalogue could not be saved, or that it was in the way of another one, each in a window of its own
/// that waits for nobody. Main thread.
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
    /// Somebody edited the file meanwhile, which is kept beside what is saved. That stands until it is read.
    void showKept(const std::string& path);

private:
    void open(QPointer<AlertBox>& box, const std::string& title, const std::string& message);

    const StringTable& m_strings;
    QPointer<AlertBox> m_failure; // null when it is closed
    QPointer<AlertBox> m_kept; // likewise
};

} // namespace quorrel
