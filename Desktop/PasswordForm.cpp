// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/PasswordForm.h"

#include "Desktop/DesktopEnvironment.h"
#include "Desktop/ImageLoader.h"
#include "Desktop/ShownText.h"
#include "Foundation/Text.h"
#include "Platform/PasswordWindow.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

namespace quorrel {

namespace {

constexpr int iconSize = 48;
constexpr int fieldWidth = 28; // characters
constexpr int longestName = 40; // characters

} // namespace

PasswordForm::PasswordForm(const DesktopEnvironment& environment, PasswordWindowTarget& target)
    : m_environment(environment)
    , m_target(target) {
    setObjectName("passwordForm");
    setWindowTitle(environment.text("Password Needed"));
    setWindowModality(Qt::ApplicationModal);

    auto* icon = new QLabel(this);
    icon->setPixmap(ImageLoader().pixmap(Image { "drive.png" }, iconSize, devicePixelRatioF()));

    auto* heading = new QLabel(this->heading(), this);
    heading->setObjectName("heading");
    heading->setTextFormat(Qt::PlainText);
    auto font = heading->font();
    font.setBold(true);
    heading->setFont(font);
    auto* explanation = new QLabel(this->explanation(), this);
    explanation->setObjectName("explanation");
    explanation->setTextFormat(Qt::PlainText);
    explanation->setWordWrap(true);

    m_password = new QLineEdit(QString::fromStdString(target.password()), this);
    m_password->setObjectName("password");
    m_password->setEchoMode(QLineEdit::Password);
    m_password->setMinimumWidth(fontMetrics().averageCharWidth() * fieldWidth);
    m_password->setAccessibleDescription(heading->text());
    connect(m_password, &QLineEdit::textChanged, this,
        [this](const QString& text) { m_target.setPassword(text.toStdString()); });
    auto* show = new QCheckBox(environment.text("&Show password"), this);
    show->setObjectName("showPassword");
    connect(show, &QCheckBox::toggled, m_password, [this](bool isShown) {
        const auto hints = m_password->inputMethodHints(); // shown or not, nothing that learns words may learn it
        m_password->setEchoMode(isShown ? QLineEdit::Normal : QLineEdit::Password);
        m_password->setInputMethodHints(hints);
    });
    auto* form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->addRow(environment.text("&Password:"), m_password);
    form->addRow(QString(), show);

    auto* buttons = new QDialogButtonBox(this);
    auto* ok = buttons->addButton(environment.text("OK"), QDialogButtonBox::AcceptRole);
    ok->setObjectName("ok");
    ok->setDefault(true);
    buttons->addButton(environment.text("Cancel"), QDialogButtonBox::RejectRole)->setObjectName("cancel");
    connect(buttons, &QDialogButtonBox::accepted, this, &PasswordForm::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &PasswordForm::reject);

    auto* texts = new QVBoxLayout;
    texts->addWidget(heading);
    texts->addWidget(explanation);
    texts->addSpacing(fontMetrics().height() / 2);
    texts->addLayout(form);
    auto* body = new QHBoxLayout;
    body->addWidget(icon, 0, Qt::AlignTop);
    body->addSpacing(fontMetrics().height() / 2);
    body->addLayout(texts, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(body);
    layout->addSpacing(fontMetrics().height() / 2);
    layout->addStretch();
    layout->addWidget(buttons);
    buttons->setFocusProxy(nullptr); // Tab would go to the button that is drawn first, past those made before it
    focusPasswordField();
}

void PasswordForm::focusPasswordField() {
    m_password->setFocus(Qt::OtherFocusReason);
}

void PasswordForm::wipe() {
    const QSignalBlocker blocker(m_password);
    m_password->setText(QString()); // unlike clear(), leaves nothing for Undo
}

void PasswordForm::accept() {
    m_target.saveHostPassword();
}

void PasswordForm::reject() {
    m_target.cancelhostPassword();
}

std::string PasswordForm::displayName(const std::string& name) const {
    const int width = fontMetrics().averageCharWidth() * longestName;
    return fontMetrics().elidedText(ShownText::line(name), Qt::ElideMiddle, width).toStdString();
}

QString PasswordForm::heading() const {
    const auto host = displayName(m_target.hostName());
    if (host.empty())
        return m_environment.text("Enter the password");
    return QString::fromStdString(Text::filled(m_environment.strings.text("Enter the password for %@"), { host }));
}

QString PasswordForm::explanation() const {
    const auto share = displayName(m_target.shareName());
    if (share.empty())
        return m_environment.text("It is kept until Quorrel quits and never stored.");
    return QString::fromStdString(Text::filled(
        m_environment.strings.text("It is needed to mount %@. It is kept until Quorrel quits and never stored."),
        { share }));
}

} // namespace quorrel
