// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/PasswordFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <sys/stat.h>

namespace quorrel {
namespace {

using testing::HasSubstr;
using testing::Not;

class PasswordFileTest : public testing::Test {
protected:
    PasswordFileTest() {
        std::string pattern = testing::TempDir() + "quorrel-password-XXXXXX";
        folder = mkdtemp(pattern.data());
        path = folder + "/password";
    }
    ~PasswordFileTest() override { std::filesystem::remove_all(folder); }

    void write(const std::string& content, mode_t mode = 0600) const {
        std::ofstream(path, std::ios::binary) << content;
        ASSERT_EQ(chmod(path.c_str(), mode), 0);
    }
    [[nodiscard]] std::string password() const {
        const auto read = PasswordFile::read(path);
        const auto* text = std::get_if<std::string>(&read);
        return text != nullptr ? *text : "none";
    }
    [[nodiscard]] std::string failure() const {
        const auto read = PasswordFile::read(path);
        const auto* failure = std::get_if<PasswordFile::Failure>(&read);
        return failure != nullptr ? failure->message : "none";
    }

    std::string folder;
    std::string path;
};

TEST_F(PasswordFileTest, takesTheFirstLine) {
    write("se cret\nmore\n");
    EXPECT_EQ(password(), "se cret");
    write("secret");
    EXPECT_EQ(password(), "secret");
    write("secret\r\n");
    EXPECT_EQ(password(), "secret");
    write("secret\r");
    EXPECT_EQ(password(), "secret\r");
    write("ключ\n", 0400);
    EXPECT_EQ(password(), "ключ");
}

TEST_F(PasswordFileTest, refusesAFileThatOthersMayRead) {
    for (const mode_t mode : { 0640U, 0604U, 0644U }) {
        write("secret\n", mode);
        EXPECT_THAT(failure(), HasSubstr("can be read by others"));
        EXPECT_THAT(failure(), Not(HasSubstr("secret")));
    }
}

TEST_F(PasswordFileTest, saysWhyAFileCannotBeRead) {
    EXPECT_THAT(failure(), HasSubstr("cannot be read: No such file"));
    path = folder;
    EXPECT_THAT(failure(), HasSubstr("cannot be read: Is a directory"));
}

TEST_F(PasswordFileTest, refusesAFileWithoutAPassword) {
    write("");
    EXPECT_THAT(failure(), HasSubstr("has no password"));
    write("\nsecret\n");
    EXPECT_THAT(failure(), HasSubstr("has no password"));
    write(std::string(5000, 'x'));
    EXPECT_THAT(failure(), HasSubstr("too long"));
    write(std::string(4096, 'x') + '\n');
    EXPECT_EQ(password(), std::string(4096, 'x'));
}

} // namespace
} // namespace quorrel
