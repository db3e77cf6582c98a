// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/MenuLabel.h"

#include "Tests/Fakes/HostileNames.h"

#include <gtest/gtest.h>

#include <QChar>
#include <QString>

#include <cmath>
#include <memory>
#include <string>

namespace quorrel {
namespace {

std::string text(const std::string& title, MenuLabel::Drawer drawer = MenuLabel::Drawer::Qt, int level = 0) {
    MenuItem item { title };
    item.indentationLevel = level;
    return MenuLabel::textOf(item, drawer).toStdString();
}

TEST(MenuLabel, DoublesEveryAmpersandForQt) {
    EXPECT_EQ(text("a & b & c"), "a && b && c");
    EXPECT_EQ(text("&"), "&&");
    EXPECT_EQ(text("my_share"), "my_share");
}

// What the bus makes of these is in the tests among real trays.
TEST(MenuLabel, DoublesUnderscoresAndTheFirstAmpersandForTheDesktop) {
    EXPECT_EQ(text("my_share_2", MenuLabel::Drawer::Desktop), "my__share__2");
    EXPECT_EQ(text("a & b & c", MenuLabel::Drawer::Desktop), "a && b & c");
    EXPECT_EQ(text("a&_b", MenuLabel::Drawer::Desktop), "a&&\u02cdb");
    EXPECT_EQ(text("a_&_&", MenuLabel::Drawer::Desktop), "a_&&__&");
}

/// What Qt sends for it: the first ampersand that is not the last character is the desktop's mark.
QString onTheBus(QString label) {
    const auto ampersand = label.indexOf('&');
    return ampersand < 0 || ampersand == label.size() - 1 ? label : label.replace(ampersand, 1, '_');
}

/// What a toolkit shows of it; of two underscores one, of one none.
QString unescaped(const QString& label, bool* isMarked) {
    QString shown;
    for (int index = 0; index < label.size(); ++index) {
        if (label.at(index) == '_' && index + 1 < label.size()) {
            *isMarked = *isMarked || label.at(index + 1) != '_';
            ++index;
        }
        shown += label.at(index);
    }
    return shown;
}

TEST(MenuLabel, NoDesktopLosesACharacterOfATitle) {
    constexpr int length = 6;
    constexpr int kinds = 4;
    for (int number = 0; number < std::pow(kinds, length); ++number) {
        std::string title = "x"; // a blank in front is removed
        for (int rest = number; rest > 0; rest /= kinds)
            title += "a&_ "[rest % kinds];
        const auto wanted = QString::fromStdString(title);
        for (const bool hasMenu : { false, true }) {
            MenuItem item { title };
            if (hasMenu)
                item.submenu = std::make_shared<Menu>();
            bool isMarked = false;
            const auto label = MenuLabel::textOf(item, MenuLabel::Drawer::Desktop);
            const auto ampersand = wanted.indexOf('&');
            EXPECT_EQ(label.contains(QChar(0x02cd)), !hasMenu && ampersand >= 0 && ampersand < wanted.indexOf('_'))
                << title;
            auto shown = unescaped(onTheBus(label), &isMarked);
            const auto alike = [](QString each) { return each.replace(QChar(0x02cd), '_'); };
            EXPECT_EQ(alike(shown), wanted) << title;
            if (hasMenu) {
                EXPECT_EQ(shown, wanted) << title;
            } else if (isMarked) {
                EXPECT_EQ(alike(unescaped(shown, &isMarked)), wanted) << title;
            }
        }
    }
}

TEST(MenuLabel, KeepsEveryTitleOnOneLineWithoutColumns) {
    for (const auto drawer : { MenuLabel::Drawer::Qt, MenuLabel::Drawer::Desktop })
        EXPECT_EQ(text("a\tb\nc\rd\x1b"
                       "e\u2028f\u0085g",
                      drawer),
            "a b c d e f g");
}

TEST(MenuLabel, NoNameBreaksItsRowOrReachesAnother) {
    for (const auto drawer : { MenuLabel::Drawer::Qt, MenuLabel::Drawer::Desktop })
        for (const auto& [evil, name] : hostileNames()) {
            const auto label = QString::fromStdString(text(name, drawer));
            EXPECT_LE(label.size(), 1001) << evil;
            EXPECT_FALSE(!label.isEmpty() && label.at(0).isSpace()) << evil;
            for (const QChar character : label) {
                EXPECT_TRUE(character.category() != QChar::Other_Control) << evil;
                EXPECT_TRUE(character.unicode() < 0x2028 || character.unicode() > 0x202e) << evil;
                EXPECT_TRUE(character.unicode() < 0x2066 || character.unicode() > 0x2069) << evil;
            }
            EXPECT_TRUE(label.isValidUtf16()) << evil;
        }
}

TEST(MenuLabel, ANameCannotIndentItself) {
    EXPECT_EQ(text("\u2003\u2003\u00a0 \tshare "), "share ");
    EXPECT_EQ(text("\u2003share", MenuLabel::Drawer::Desktop, 1), "\u2003share");
    EXPECT_EQ(text("\u2003"), "");
}

TEST(MenuLabel, IndentsByBlanksThatDesktopsKeep) {
    EXPECT_EQ(text("host : share", MenuLabel::Drawer::Desktop, 2), "\u2003\u2003host : share");
    EXPECT_EQ(text("host", MenuLabel::Drawer::Qt, -1), "host");
}

TEST(MenuLabel, LeavesOtherScriptsAsTheyAre) {
    EXPECT_EQ(text("שרת : מסמכים"), "שרת : מסמכים");
    EXPECT_EQ(text("خادم : Fotos 📷"), "خادم : Fotos 📷");
}

} // namespace
} // namespace quorrel
