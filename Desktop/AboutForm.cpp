// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/AboutForm.h"

#include "Desktop/DesktopEnvironment.h"
#include "Desktop/ImageLoader.h"
#include "Desktop/WrappedLabel.h"
#include "Foundation/Text.h"
#include "Platform/Application.h"

#include <QDialogButtonBox>
#include <QFile>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

/// A static library's resources do not register themselves. The macro wants to stand outside every namespace.
static void registerLicence() {
    Q_INIT_RESOURCE(Licence);
}

namespace quorrel {

namespace {

constexpr int iconSize = 64;
constexpr int textWidth = 44; // characters
constexpr int licenceWidth = 80; // characters, as the licence itself is set
constexpr int licenceHeight = 18; // lines

QLabel* addText(QVBoxLayout& layout, const char* name, const std::string& text, int columns = textWidth) {
    auto* label = new WrappedLabel(columns, QString::fromStdString(text));
    label->setObjectName(name);
    label->setVisible(!text.empty());
    layout.addWidget(label);
    return label;
}

QString licenceText() {
    registerLicence();
    QFile file(":/licence/LICENSE");
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

AboutForm::AboutForm(
    const DesktopEnvironment& environment, const ImageLoader& images, const AboutPanelOptions& options) {
    setObjectName("aboutPanel");
    setWindowTitle(
        QString::fromStdString(Text::filled(environment.strings.text("About %@"), { options.applicationName })));
    auto* layout = new QVBoxLayout(this);
    addFacts(*layout, images, options);
    addLicence(*layout, environment);
    connect(new QShortcut(Qt::CTRL | Qt::Key_W, this), &QShortcut::activated, this, &QDialog::reject);
}

void AboutForm::addFacts(QVBoxLayout& layout, const ImageLoader& images, const AboutPanelOptions& options) {
    auto* row = new QHBoxLayout;
    auto* icon = new QLabel;
    icon->setObjectName("aboutIcon");
    icon->setPixmap(images.pixmap({ "quorrel.png" }, iconSize, devicePixelRatioF()));
    row->addWidget(icon, 0, Qt::AlignTop);
    row->addSpacing(fontMetrics().averageCharWidth());

    auto* texts = new QVBoxLayout;
    auto* name = addText(*texts, "aboutName", options.applicationName, textWidth / 2);
    auto nameFont = name->font();
    nameFont.setBold(true);
    nameFont.setPointSizeF(nameFont.pointSizeF() * 1.5);
    name->setFont(nameFont);
    auto* version = addText(*texts, "aboutVersion", options.version);
    version->setTextInteractionFlags(Qt::TextSelectableByMouse); // for reports of errors
    texts->addSpacing(fontMetrics().height() / 2);
    addText(*texts, "aboutDescription", options.description);
    addText(*texts, "aboutLicence", options.licence);
    texts->addStretch();
    row->addLayout(texts, 1);
    layout.addLayout(row);
    layout.addSpacing(fontMetrics().height() / 2);
}

void AboutForm::addLicence(QVBoxLayout& layout, const DesktopEnvironment& environment) {
    auto* text = new QPlainTextEdit;
    text->setObjectName("licenceText");
    text->setAccessibleName(environment.text("Licence"));
    text->setReadOnly(true);
    text->setTabChangesFocus(true);
    text->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    const QFontMetrics metrics(text->font());
    text->setMinimumSize(metrics.averageCharWidth() * licenceWidth, metrics.lineSpacing() * licenceHeight);
    text->hide();
    layout.addWidget(text, 1);
    layout.addStretch();

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    auto* licence = buttons->addButton(environment.text("&Licence"), QDialogButtonBox::ActionRole);
    licence->setObjectName("showLicence");
    licence->setCheckable(true);
    licence->setAutoDefault(false);
    auto* close = buttons->button(QDialogButtonBox::Close);
    close->setObjectName("closeAbout");
    close->setText(environment.text("&Close"));
    close->setIcon({}); // no other button has one
    close->setDefault(true);
    connect(licence, &QPushButton::toggled, this, [this, text](bool isShown) {
        if (isShown && text->document()->isEmpty())
            text->setPlainText(licenceText());
        text->setVisible(isShown);
        QDialog::layout()->activate();
        resize(isShown ? size().expandedTo(sizeHint()) : minimumSizeHint());
    });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout.addWidget(buttons);
    buttons->setFocusProxy(nullptr); // Tab would go to the button that is drawn first, past those made before it
    setTabOrder(licence, close);
}

} // namespace quorrel
