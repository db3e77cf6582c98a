// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/HelpPage.h"

#include "Tests/Fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace quorrel {

class HelpPageTest : public testing::Test {
protected:
    HelpPageTest() {
        for (const char* name : { "index.html", "index.de.html", "index.pt.html", "index.pt_BR.html" })
            folder.put(name, "<html/>");
        std::filesystem::create_directory(folder.path("index.it.html"));
    }
    /// The page's name.
    [[nodiscard]] std::string page(const std::string& languages) const {
        const auto url = helpPage(folder.path(), languages);
        const auto start = "file://" + folder.path() + "/";
        return url.starts_with(start) ? url.substr(start.size()) : "not in the folder: " + url;
    }

    TemporaryFolder folder;
};

TEST_F(HelpPageTest, theFirstLanguageThatIsThereIsTaken) {
    EXPECT_EQ(page("de_DE.UTF-8"), "index.de.html");
    EXPECT_EQ(page("de"), "index.de.html");
    EXPECT_EQ(page("de_AT@euro"), "index.de.html");
    EXPECT_EQ(page("pt_BR.UTF-8"), "index.pt_BR.html");
    EXPECT_EQ(page("pt_PT"), "index.pt.html");
    EXPECT_EQ(page("sv:de:pt_BR"), "index.de.html");
    EXPECT_EQ(page(":it:pt"), "index.pt.html");
}

TEST_F(HelpPageTest, englishIsALanguageToo) {
    EXPECT_EQ(page("en_GB.UTF-8:de"), "index.html");
    EXPECT_EQ(page("sv:en:de"), "index.html");
}

TEST_F(HelpPageTest, allElseIsEnglish) {
    for (const char* languages : { "", "C", "POSIX", "C.UTF-8", "sv_SE", ":::", "it", "..", "d/../x", "/../index.de" })
        EXPECT_EQ(page(languages), "index.html") << languages;
}

TEST_F(HelpPageTest, whatMeansSomethingInAURLIsEscaped) {
    EXPECT_EQ(helpPage("/opt/a b#c?d%e", "de"), "file:///opt/a%20b%23c%3Fd%25e/index.html");
}

} // namespace quorrel
