// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/WindowFrame.h"

#include "Foundation/Preferences.h"

#include <QEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QWidget>

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

namespace quorrel {

namespace {

using namespace std::chrono_literals;

constexpr auto quiet = 500ms; // after the last move
constexpr int largest = 100'000; // no screen is: what says so is no frame

QList<QRect> availableScreens() {
    QList<QRect> screens;
    for (const auto* screen : QGuiApplication::screens())
        screens.push_back(screen->availableGeometry());
    return screens;
}

int shownArea(const QRect& frame, const QRect& screen) {
    const auto shown = frame & screen;
    return shown.isEmpty() ? 0 : shown.width() * shown.height();
}

} // namespace

WindowFrame::WindowFrame(QWidget& window, Preferences& preferences, std::string key)
    : QObject(&window)
    , m_window(window)
    , m_preferences(preferences)
    , m_key(std::move(key))
    , m_timer(new QTimer(this)) {
    m_timer->setObjectName("frameTimer");
    m_timer->setSingleShot(true);
    m_timer->setInterval(quiet);
    connect(m_timer, &QTimer::timeout, this, [this] { save(); });
    // The program ends without a word to its windows.
    connect(qApp, &QCoreApplication::aboutToQuit, this, [this] {
        if (m_timer->isActive())
            save();
    });
    m_window.installEventFilter(this);
}

WindowFrame::~WindowFrame() {
    if (m_timer->isActive())
        save();
}

bool WindowFrame::restore() {
    const auto kept = parsed(m_preferences.text(m_key));
    const auto screens = availableScreens();
    if (!kept || screens.isEmpty())
        return false;
    const auto frame = fitted({ kept->topLeft(), kept->size().expandedTo(m_window.minimumSizeHint()) }, screens);
    m_window.resize(frame.size());
    m_window.move(frame.topLeft());
    return true;
}

bool WindowFrame::eventFilter(QObject*, QEvent* event) {
    if (event->type() == QEvent::Move || event->type() == QEvent::Resize) {
        if (m_window.isVisible())
            m_timer->start();
    } else if (event->type() == QEvent::Hide && !event->spontaneous()) {
        save();
    }
    return false;
}

void WindowFrame::save() {
    m_timer->stop();
    // That a window fills the screen says nothing of where it is to be otherwise.
    if (m_window.windowState() & (Qt::WindowMaximized | Qt::WindowFullScreen | Qt::WindowMinimized))
        return;
    const auto text = QStringLiteral("%1 %2 %3 %4")
                          .arg(m_window.x())
                          .arg(m_window.y())
                          .arg(m_window.width())
                          .arg(m_window.height());
    if (const auto value = text.toStdString(); m_preferences.text(m_key) != value)
        static_cast<void>(m_preferences.set(m_key, value)); // lost at most the place
}

std::optional<QRect> WindowFrame::parsed(const std::string& text) {
    const auto words = QString::fromStdString(text).split(' ', Qt::SkipEmptyParts);
    std::array<int, 4> numbers {};
    if (words.size() != static_cast<qsizetype>(numbers.size()))
        return std::nullopt;
    for (std::size_t index = 0; index < numbers.size(); ++index) {
        bool isNumber = false;
        numbers[index] = words[static_cast<qsizetype>(index)].toInt(&isNumber);
        if (!isNumber || numbers[index] > largest || numbers[index] < -largest)
            return std::nullopt;
    }
    const auto [x, y, width, height] = numbers;
    return width > 0 && height > 0 ? std::optional(QRect(x, y, width, height)) : std::nullopt;
}

QRect WindowFrame::fitted(QRect frame, const QList<QRect>& screens) {
    auto best = screens.front();
    for (const auto& screen : screens)
        if (shownArea(frame, screen) > shownArea(frame, best))
            best = screen;
    frame.setSize(frame.size().boundedTo(best.size()));
    frame.moveLeft(std::clamp(frame.left(), best.left(), best.right() + 1 - frame.width()));
    frame.moveTop(std::clamp(frame.top(), best.top(), best.bottom() + 1 - frame.height()));
    return frame;
}

} // namespace quorrel
