// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/ImageFiles.h"

#include "Tests/Fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace quorrel {

class ImageFilesTest : public testing::Test {
protected:
    std::string put(const std::string& name, const std::string& bytes = "\x89PNG\r\n\x1a\n") const {
        folder.put(name, bytes);
        return folder.path(name);
    }

    TemporaryFolder folder;
    ImageFiles files;
};

TEST_F(ImageFilesTest, aPictureIsWhatBeginsAsOne) {
    EXPECT_TRUE(files.contain(put("picture.png")));
    EXPECT_FALSE(files.contain(put("text.png", "text")));
    EXPECT_FALSE(files.contain(put("empty.png", "")));
    EXPECT_FALSE(files.contain(put("damaged.png", "\x89PNG\r\n\n"))); // as a transfer as text leaves it
    EXPECT_FALSE(files.contain(put("drawing.svg", "<svg/>")));
    EXPECT_FALSE(files.contain(folder.path("nothing.png")));
    EXPECT_FALSE(files.contain(folder.path("")));
}

TEST_F(ImageFilesTest, aFileIsLookedAtOnce) {
    const auto picture = put("picture.png");
    const auto later = folder.path("later.png");
    EXPECT_TRUE(files.contain(picture));
    EXPECT_FALSE(files.contain(later));
    std::filesystem::remove(picture);
    put("later.png");
    EXPECT_TRUE(files.contain(picture));
    EXPECT_FALSE(files.contain(later));
    EXPECT_TRUE(ImageFiles().contain(later));
}

TEST_F(ImageFilesTest, notEveryPathIsRemembered) {
    const auto picture = put("picture.png");
    EXPECT_TRUE(files.contain(picture));
    std::filesystem::remove(picture);
    for (int i = 0; i < 1000; ++i)
        EXPECT_FALSE(files.contain(folder.path("nothing") + std::to_string(i)));
    EXPECT_FALSE(files.contain(picture));
}

TEST_F(ImageFilesTest, manyThreadsGetTheSameAnswers) {
    const auto picture = put("picture.png");
    const auto text = put("text.png", "text");
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&, thread] {
            for (int i = 0; i < 400; ++i) {
                const auto other = folder.path(std::to_string(thread * 1000 + i));
                if (!files.contain(picture) || files.contain(text) || files.contain(other))
                    ++wrong;
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

} // namespace quorrel
