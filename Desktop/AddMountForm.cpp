// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/AddMountForm.h"

#include "Desktop/ChoiceBox.h"
#include "Desktop/DesktopEnvironment.h"
#include "Sources/AddMountWindowController.h"

#include <QAccessible>
#include <QCheckBox>
#include <QCompleter>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSet>
#include <QSpinBox>
#include <QStringList>
#include <QStyle>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace quorrel {

namespace {

constexpr int fieldWidth = 30; // characters
constexpr int longestDelay = 24 * 60 * 60; // seconds; a field that holds more keeps it until the user edits it

QString shown(const Property<OptionalText>& field) {
    return QString::fromStdString(textOf(field.get()));
}

/// The text is set only where it differs: setting moves the cursor, forgets what Undo knew and drops the selection.
template <typename Control, typename Set>
void setText(Control* control, const QString& current, const QString& text, Set set) {
    if (current != text)
        (control->*set)(text);
}

int wholeSeconds(std::optional<double> seconds) {
    const double value = seconds.value_or(0);
    return std::isnan(value) ? 0 : static_cast<int>(std::clamp(value, 0.0, static_cast<double>(longestDelay)));
}

} // namespace

AddMountForm::AddMountForm(const DesktopEnvironment& environment, AddMountWindowController& controller, QWidget* parent)
    : QDialog(parent)
    , m_environment(environment)
    , m_controller(controller) {
    setObjectName("addMountForm");
    setWindowTitle(controller.isEdit() ? environment.text("Edit Share") : environment.text("Add Share"));
    setWindowModality(Qt::WindowModal);

    auto* layout = new QVBoxLayout(this);
    addNotice(*layout);
    auto* form = new QFormLayout;
    // As wide as the window in every style; some leave fields at their smallest otherwise.
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    layout->addLayout(form);
    addServerRows(*form);
    addGap(*form);
    addLoginRows(*form);
    addGap(*form);
    addMountingRows(*form);
    addGap(*form);
    addScriptRows(*form);
    layout->addSpacing(fontMetrics().height() / 2);
    layout->addStretch();
    addButtons(*layout);

    showFields();
    m_serverName->setFocus();
    m_fields = controller.observeAll([this](std::string_view key, Change change) {
        if (change != Change::Did)
            return;
        if (key == "serverNames")
            showServerNames();
        else
            showFields();
    });
}

void AddMountForm::focus(AddMountWindow::Control control) {
    switch (control) {
    case AddMountWindow::Control::ServerName:
        m_serverName->setFocus(Qt::OtherFocusReason);
        return;
    case AddMountWindow::Control::SharePoint:
        m_sharePoint->setFocus(Qt::OtherFocusReason);
        return;
    case AddMountWindow::Control::UserName:
        m_userName->setFocus(Qt::OtherFocusReason);
        return;
    }
}

void AddMountForm::accept() {
    m_controller.addMountSaveAction();
}

void AddMountForm::reject() {
    m_controller.askToCancel();
}

void AddMountForm::addServerRows(QFormLayout& form) {
    const auto serverTitle = m_environment.text("Server &name:");
    m_serverName = new ChoiceBox(serverTitle, this);
    m_serverName->setObjectName("serverName");
    m_serverName->makeEditable();
    m_serverName->setInsertPolicy(QComboBox::NoInsert);
    m_serverName->setMinimumContentsLength(fieldWidth);
    m_serverName->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    showServerNames();
    // In a list of its own: completed within the line, a name that starts another server's could not be typed.
    m_serverName->completer()->setCompletionMode(QCompleter::PopupCompletion);
    m_serverName->completer()->setFilterMode(Qt::MatchContains);
    onEdit(m_serverName, &QComboBox::editTextChanged,
        [this](const QString& text) { m_controller._Name.set(text.toStdString()); });
    m_showers.push_back([this] {
        setText(m_serverName, m_serverName->currentText(), shown(m_controller._Name), &QComboBox::setEditText);
    });
    form.addRow(serverTitle, m_serverName);

    const auto serviceTitle = m_environment.text("Ser&vice:");
    auto* service = new ChoiceBox(serviceTitle, this);
    service->setObjectName("service");
    service->setMinimumContentsLength(fieldWidth);
    for (const auto& type : m_controller.transportTypes)
        service->addItem(QString::fromStdString(type));
    onEdit(service, &QComboBox::currentIndexChanged,
        [this, service](int) { m_controller._DisplayType.set(service->currentText().toStdString()); });
    m_showers.push_back([this, service] {
        // A service that is not offered is shown all the same, and stays until another is chosen; so does none.
        const auto type = shown(m_controller._DisplayType);
        const int index = service->findText(type, Qt::MatchExactly | Qt::MatchCaseSensitive);
        service->setPlaceholderText(type.isEmpty() ? m_environment.text("Choose a service") : type);
        // Of a box that nothing is chosen in, a screen reader says no value.
        service->setAccessibleDescription(index < 0 ? service->placeholderText() : QString());
        service->setCurrentIndex(index);
    });
    form.addRow(serviceTitle, service);

    m_sharePoint = textControl("sharePoint", m_controller._SharePoint);
    form.addRow(m_environment.text("S&hare name:"), m_sharePoint);
}

void AddMountForm::addLoginRows(QFormLayout& form) {
    form.addRow(QString(), flagControl("guestLogin", m_environment.text("&Guest login"), m_controller._GuestLogin));
    m_userName = textControl("userName", m_controller._UserName);
    form.addRow(m_environment.text("&User name:"), m_userName);
    m_password = textControl("password", m_controller._Password);
    m_password->setEchoMode(QLineEdit::Password);
    form.addRow(m_environment.text("&Password:"), m_password);
    auto* prompt = flagControl(
        "passwordPrompt", m_environment.text("As&k for the password when mounting"), m_controller._PasswordPrompt);
    prompt->setToolTip(m_environment.text("The password is not stored; it is asked for once after each start."));
    form.addRow(QString(), prompt);
}

void AddMountForm::addMountingRows(QFormLayout& form) {
    auto* automatically
        = flagControl("automatically", m_environment.text("Mount &automatically"), m_controller._Automatically);
    automatically->setToolTip(m_environment.text("The share is mounted whenever its server can be reached."));
    form.addRow(QString(), automatically);
    auto* favorite = flagControl("favroite", m_environment.text("&Favorite"), m_controller._Favroite);
    favorite->setToolTip(m_environment.text("The share stands in the menu itself, ready to be clicked."));
    form.addRow(QString(), favorite);

    auto* isDelayed = flagControl("isDelayed", m_environment.text("&Wait before mounting"), m_controller._isDelayed);
    m_delaySeconds = new QSpinBox(this);
    m_delaySeconds->setObjectName("delaySeconds");
    m_delaySeconds->setRange(0, longestDelay);
    onEdit(m_delaySeconds, &QSpinBox::valueChanged, [this](int seconds) { m_controller._delaySeconds.set(seconds); });
    m_showers.push_back([this] {
        const int seconds = wholeSeconds(m_controller._delaySeconds.get());
        if (m_delaySeconds->value() != seconds)
            m_delaySeconds->setValue(seconds);
    });
    auto* label = new QLabel(m_environment.text("S&econds:"), this);
    label->setBuddy(m_delaySeconds);
    auto* row = new QHBoxLayout;
    row->addWidget(isDelayed);
    row->addSpacing(fontMetrics().height());
    row->addWidget(label);
    row->addWidget(m_delaySeconds);
    row->addStretch();
    form.addRow(QString(), row);
}

void AddMountForm::addScriptRows(QFormLayout& form) {
    auto* script = textControl("script", m_controller._script);
    script->setToolTip(m_environment.text("This program is run each time after the share was mounted."));
    auto* choose = new QPushButton(m_environment.text("Ch&oose…"), this);
    choose->setObjectName("selectScript");
    choose->setToolTip(m_environment.text("Chooses the script among your files."));
    connect(choose, &QPushButton::clicked, this, [this] { m_controller.selectScript(); });
    auto* row = new QHBoxLayout;
    row->addWidget(script);
    row->addWidget(choose);
    auto* label = new QLabel(m_environment.text("S&cript:"), this);
    label->setBuddy(script);
    form.addRow(label, row);
    form.addRow(m_environment.text("A&rguments:"), textControl("scriptArguments", m_controller._scriptArguments));
}

void AddMountForm::addNotice(QVBoxLayout& layout) {
    auto* notice = new QFrame(this);
    notice->setObjectName("removedNotice");
    notice->setFrameShape(QFrame::StyledPanel);
    auto* icon = new QLabel(notice);
    const int size = style()->pixelMetric(QStyle::PM_LargeIconSize, nullptr, this);
    icon->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning, nullptr, this).pixmap(size));
    auto* text = new QLabel(m_environment.text("The share you are editing is no longer in the catalogue, since another "
                                               "one stands in its place. Save it under another name to keep it."),
        notice);
    text->setObjectName("removedNoticeText");
    text->setWordWrap(true);
    auto* row = new QHBoxLayout(notice);
    row->addWidget(icon);
    row->addWidget(text, 1);
    notice->hide();
    m_notice = notice;
    layout.addWidget(notice);
}

void AddMountForm::addButtons(QVBoxLayout& layout) {
    auto* buttons = new QDialogButtonBox(this);
    auto* save = buttons->addButton(m_environment.text("Save"), QDialogButtonBox::AcceptRole);
    save->setObjectName("save");
    save->setDefault(true);
    m_cancel = buttons->addButton(m_environment.text("Cancel"), QDialogButtonBox::RejectRole);
    m_cancel->setObjectName("cancel");
    connect(buttons, &QDialogButtonBox::accepted, this, &AddMountForm::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &AddMountForm::reject);
    layout.addWidget(buttons);
    buttons->setFocusProxy(nullptr); // Tab would go to the button that is drawn first, past those made before it
}

void AddMountForm::addGap(QFormLayout& form) {
    form.addItem(new QSpacerItem(0, fontMetrics().height() / 2));
}

QLineEdit* AddMountForm::textControl(const char* name, Property<OptionalText>& field) {
    auto* control = new QLineEdit(this);
    control->setObjectName(name);
    onEdit(control, &QLineEdit::textChanged, [&field](const QString& text) { field.set(text.toStdString()); });
    m_showers.push_back([control, &field] { setText(control, control->text(), shown(field), &QLineEdit::setText); });
    return control;
}

QCheckBox* AddMountForm::flagControl(const char* name, const QString& title, Property<OptionalFlag>& field) {
    auto* control = new QCheckBox(title, this);
    control->setObjectName(name);
    onEdit(control, &QCheckBox::toggled, [&field](bool isChecked) { field.set(isChecked); });
    m_showers.push_back([control, &field] { control->setChecked(isSet(field.get())); });
    return control;
}

template <typename Control, typename Signal, typename Write>
void AddMountForm::onEdit(Control* control, Signal signal, Write write) {
    connect(control, signal, this, [this, write](auto value) {
        if (!m_showsFields)
            write(value);
    });
}

void AddMountForm::showFields() {
    // Setting a control may not write its field: an absent one would become an empty one.
    const bool showed = std::exchange(m_showsFields, true);
    for (const auto& show : m_showers)
        show();
    m_showsFields = showed;
    enableControls();
    showNotice(m_controller.isEditedMountRemoved());
}

void AddMountForm::showServerNames() {
    QStringList names;
    for (const auto& name : m_controller.serverNames())
        names.append(QString::fromStdString(name));
    const auto& line = *m_serverName->lineEdit();
    const auto text = line.text();
    const int cursor = line.cursorPosition();
    const int selected = m_serverName->currentIndex();
    const bool showed = std::exchange(m_showsFields, true);
    const QSet<QString> wanted(names.begin(), names.end());
    for (int row = m_serverName->count() - 1; row >= 0; --row)
        if (!wanted.contains(m_serverName->itemText(row)))
            m_serverName->removeItem(row);
    // In runs, since a box hears of ten thousand names at once far sooner than of each.
    for (int row = 0; row < names.size(); ++row) {
        int end = row;
        const auto next = row < m_serverName->count() ? m_serverName->itemText(row) : QString();
        while (end < names.size() && names[end] != next)
            ++end;
        if (end > row)
            m_serverName->insertItems(row, names.mid(row, end - row));
        row = end;
    }
    if (selected < 0)
        m_serverName->setCurrentIndex(-1); // or the first of them could not be reached with the arrow keys
    if (line.text() != text) {
        m_serverName->setEditText(text);
        m_serverName->lineEdit()->setCursorPosition(cursor);
    }
    m_showsFields = showed;
}

void AddMountForm::showNotice(bool isShown) {
    if (m_notice->isVisibleTo(this) == isShown)
        return;
    m_notice->setVisible(isShown);
    m_cancel->setToolTip(
        isShown ? m_environment.text("Closes without bringing the share back into the catalogue.") : QString());
    if (!isShown)
        return;
    layout()->activate();
    resize(width(), std::max(height(), layout()->totalHeightForWidth(width())));
    QAccessibleEvent event(m_notice->findChild<QLabel*>("removedNoticeText"), QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
}

/// What has no effect is grey; its field keeps its value.
void AddMountForm::enableControls() {
    const bool isGuest = isSet(m_controller._GuestLogin.get());
    m_userName->setEnabled(!isGuest);
    m_password->setEnabled(!isGuest && !isSet(m_controller._PasswordPrompt.get()));
    m_delaySeconds->setEnabled(isSet(m_controller._isDelayed.get()));
    const bool isFTP = m_controller._DisplayType.get() == "File Transfer Protocol (ftp)";
    m_sharePoint->setPlaceholderText(isFTP ? m_environment.text("optional") : QString());
}

} // namespace quorrel
