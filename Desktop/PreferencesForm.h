// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/MainThreadBatch.h"
#include "Foundation/PreferencesStore.h"
#include "Foundation/Subscription.h"

#include <QDialog>

#include <string>
#include <string_view>
#include <vector>

class QBoxLayout;
class QCheckBox;
class QLabel;
class QLineEdit;
class QTabWidget;

namespace quorrel {

class LoginItem;
struct DesktopEnvironment;

/// The controls of the preferences. Main thread. Each writes its preference as soon as it changes, and follows the
/// preference when something else sets it; the box for the login item says what is stored each time the window opens.
class PreferencesForm final : public QDialog {
public:
    /// The references must outlive the form.
    PreferencesForm(const DesktopEnvironment& environment, LoginItem& loginItem, const std::string& logFile);

    /// An identifier that no tab has leaves the selection as it is.
    void selectTab(std::string_view identifier);

protected:
    void showEvent(QShowEvent* event) override;

private:
    struct Flag final {
        std::string key;
        QCheckBox* box;
    };

    [[nodiscard]] QWidget* generalTab(const std::string& logFile);
    [[nodiscard]] QWidget* discoveryTab();
    [[nodiscard]] QWidget* networkTab();
    void addProblem(QBoxLayout& layout);
    QCheckBox* addFlag(QBoxLayout& layout, const QString& title, const std::string& key);
    void addHint(QBoxLayout& layout, const QString& text, QWidget& explained);

    void store(const std::string& key, PreferenceValue value);
    void storeLoginItem(bool isOn);
    void showProblem(const QString& text);
    void showPreferences();
    void showLoginItem();

    const DesktopEnvironment& m_environment;
    LoginItem& m_loginItem;
    QTabWidget* m_tabs = nullptr;
    QCheckBox* m_openAtLogin = nullptr;
    QLineEdit* m_connectivityHost = nullptr;
    QWidget* m_problem = nullptr;
    QLabel* m_problemText = nullptr;
    std::vector<Flag> m_flags;
    MainThreadBatch<bool> m_changes; // of preferences, by whomever
    std::vector<Subscription> m_subscriptions; // end first: their calls use the batch
};

} // namespace quorrel
