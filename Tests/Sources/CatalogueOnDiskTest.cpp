// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/LinuxWorkspace.h"
#include "Platform/Linux/PlistFile.h"
#include "Platform/Linux/PosixChildProcess.h"
#include "Tests/Fakes/TemporaryFolder.h"
#include "Tests/Sources/ControllerTest.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <sys/stat.h>

namespace quorrel {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

/// The permissions that new files get, put back at the end.
class Umask final {
public:
    explicit Umask(mode_t mask)
        : m_before(::umask(mask)) { }
    ~Umask() { ::umask(m_before); }
    Umask(const Umask&) = delete;
    Umask& operator=(const Umask&) = delete;

private:
    const mode_t m_before;
};

mode_t modeOf(const std::string& path) {
    struct stat status { };
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777U;
}

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return { std::istreambuf_iterator<char>(file), {} };
}

/// A catalogue with every key, and one with hardly any, as another tool writes them.
constexpr const char* catalogueInPython = R"(
import datetime, plistlib, sys
catalogue = [
    {'displayName': 'Büro', 'computerModel': 'Xserve', 'hostName': 'buero.local', 'domain': 'local.',
     'automatically': False,
     'services': [{'displayType': 'Server Message Block (smb)'}, {'displayType': 'WebDAV (http)'}],
     'sharePoints': [
         {'displayType': 'WebDAV (http)', 'sharePoint': 'dav/Ünï & <co>', 'userName': 'ann', 'password': 'p"w',
          'passwordPrompt': False, 'guestLogin': False, 'automatically': False, 'favroite': True,
          'script': '/bin/true', 'scriptArguments': '-a "b c"', 'isDelayed': True, 'delaySeconds': 12},
         {'displayType': 'Server Message Block (smb)', 'sharePoint': 'Public', 'guestLogin': 1, 'delaySeconds': 0.5,
          'seen': datetime.datetime(2026, 11, 21), 'blob': bytes(range(256))}]},
    {'displayName': 'bare'}]
)";

} // namespace

class CatalogueOnDiskTest : public ControllerTest {
protected:
    CatalogueOnDiskTest() { controller = std::make_unique<QuorrelAppDelegate>(onDisk); }

    /// Runs Python with the catalogue above at hand; what it prints.
    std::string python(const std::string& code) {
        PosixChildProcess tools;
        auto result = tools.run("/usr/bin/python3", { "-c", catalogueInPython + code, file });
        EXPECT_TRUE(result.started) << result.failure;
        return result.output;
    }

    void expectCatalogueOfPython() {
        const auto hosts = controller->hosts.snapshot();
        ASSERT_EQ(hosts.size(), 2U);
        EXPECT_EQ(hosts[0]->displayName.get(), "Büro");
        EXPECT_EQ(hosts[0]->computerModel.get(), "Xserve");
        EXPECT_EQ(hosts[0]->hostName.get(), "buero.local");
        EXPECT_EQ(hosts[0]->domain.get(), "local.");
        EXPECT_EQ(hosts[0]->automatically.get(), false);
        EXPECT_EQ(hosts[0]->services.count(), 2U);
        const auto sharePoints = hosts[0]->sharePoints.snapshot();
        ASSERT_EQ(sharePoints.size(), 2U);
        EXPECT_EQ(sharePoints[0]->sharePoint.get(), "dav/Ünï & <co>");
        EXPECT_EQ(sharePoints[0]->userName.get(), "ann");
        EXPECT_EQ(sharePoints[0]->password.get(), "p\"w");
        EXPECT_EQ(sharePoints[0]->automatically.get(), false);
        EXPECT_EQ(sharePoints[0]->favroite.get(), true);
        EXPECT_EQ(sharePoints[0]->script.get(), "/bin/true");
        EXPECT_EQ(sharePoints[0]->scriptArguments.get(), "-a \"b c\"");
        EXPECT_EQ(sharePoints[0]->isDelayed.get(), true);
        EXPECT_EQ(sharePoints[0]->delaySeconds.get(), 12);
        EXPECT_EQ(sharePoints[0]->parentService.get().lock(), hosts[0]->services.snapshot()[1]);
        EXPECT_EQ(sharePoints[1]->guestLogin.get(), true);
        EXPECT_EQ(sharePoints[1]->delaySeconds.get(), 0.5);
        EXPECT_EQ(sharePoints[1]->automatically.get(), true);
        EXPECT_EQ(hosts[1]->displayName.get(), "bare");
        EXPECT_EQ(hosts[1]->automatically.get(), true);
    }

    TemporaryFolder home;
    PlistFile plist;
    LinuxWorkspace desktop { { home.path() + "/data", home.path(), QUORREL_ICONS, "unix:path=/nonexistent" } };
    const std::string folder = home.path() + "/data/Quorrel";
    const std::string file = folder + "/Quorrel2.plist";
    ControllerEnvironment onDisk { { mounting, resolving, preferences, notificationCenter, plist, desktop, strings, log,
                                       mainThreadQueue },
        passwordWindow };
};

TEST_F(CatalogueOnDiskTest, AnXMLFileOfAnotherToolLoads) {
    ASSERT_EQ(controller->applicationSupportFolder(), folder);
    EXPECT_EQ(python("plistlib.dump(catalogue, open(sys.argv[1], 'wb'), fmt=plistlib.FMT_XML)"), "");
    ASSERT_TRUE(contentOf(file).starts_with("<?xml"));
    controller->loadHostsArray();
    expectCatalogueOfPython();
}

TEST_F(CatalogueOnDiskTest, ABinaryFileOfAnotherToolLoads) {
    ASSERT_EQ(controller->applicationSupportFolder(), folder);
    EXPECT_EQ(python("plistlib.dump(catalogue, open(sys.argv[1], 'wb'), fmt=plistlib.FMT_BINARY)"), "");
    ASSERT_TRUE(contentOf(file).starts_with("bplist"));
    controller->loadHostsArray();
    expectCatalogueOfPython();
}

TEST_F(CatalogueOnDiskTest, WhatIsSavedIsXMLThatAnotherToolReadsInOrder) {
    const auto host = addHost("Büro", smb, { "Public", "dav/Ünï & <co>" });
    const auto second = host->sharePoints.snapshot()[1];
    second->guestLogin.set(false);
    second->userName.set("ann");
    second->password.set("p\"w");
    second->isDelayed.set(true);
    second->delaySeconds.set(12);
    controller->saveHostsArray();
    EXPECT_EQ(python("print(repr(plistlib.load(open(sys.argv[1], 'rb'), fmt=plistlib.FMT_XML)))"),
        "[{'displayName': 'Büro', 'automatically': True, "
        "'services': [{'displayType': 'Server Message Block (smb)'}], 'sharePoints': ["
        "{'displayType': 'Server Message Block (smb)', 'sharePoint': 'Public', 'passwordPrompt': False, "
        "'guestLogin': True, 'automatically': True, 'favroite': False}, "
        "{'displayType': 'Server Message Block (smb)', 'sharePoint': 'dav/Ünï & <co>', 'userName': 'ann', "
        "'password': 'p\"w', 'passwordPrompt': False, 'guestLogin': False, 'automatically': True, "
        "'favroite': False, 'isDelayed': True, 'delaySeconds': 12}]}]\n");
}

TEST_F(CatalogueOnDiskTest, FolderAndFileAreTheOwnersAloneWhateverTheUmask) {
    for (const mode_t mask : { mode_t { 0 }, mode_t { 077 }, mode_t { 022 }, mode_t { 0377 } }) {
        std::filesystem::remove_all(home.path() + "/data");
        const Umask umask(mask);
        addHost("Office", smb, { "Public" });
        controller->saveHostsArray();
        EXPECT_EQ(modeOf(home.path() + "/data"), 0700U) << mask;
        EXPECT_EQ(modeOf(folder), 0700U) << mask;
        EXPECT_EQ(modeOf(file), 0600U) << mask;
        controller->saveHostsArray();
        EXPECT_EQ(modeOf(file), 0600U) << mask;
    }
}

TEST_F(CatalogueOnDiskTest, ASaveTakesTheOthersRightsToAnOlderFileAway) {
    addHost("Office", smb, { "Public" });
    controller->saveHostsArray();
    ASSERT_EQ(::chmod(file.c_str(), 0644), 0);
    controller->saveHostsArray();
    EXPECT_EQ(modeOf(file), 0600U);
}

TEST_F(CatalogueOnDiskTest, ACutOffFileIsKeptUnderFreeNames) {
    addHost("Office", smb, { "Public" });
    controller->saveHostsArray();
    const auto whole = contentOf(file);
    const auto half = whole.substr(0, whole.size() / 2);
    for (const char* name : { ".damaged", ".damaged-2", ".damaged-3" }) {
        std::ofstream(file, std::ios::trunc) << half;
        controller->loadHostsArray();
        EXPECT_EQ(controller->hosts.count(), 0U);
        EXPECT_EQ(contentOf(file), half) << "loading changes nothing";
        controller->saveHostsArray();
        EXPECT_EQ(contentOf(file + name), half);
    }
}

TEST_F(CatalogueOnDiskTest, AFolderInTheFilesPlaceFailsTheSaveOrIsKept) {
    ASSERT_EQ(controller->applicationSupportFolder(), folder);
    ASSERT_TRUE(std::filesystem::create_directory(file));
    std::ofstream(file + "/precious") << "x";
    controller->loadHostsArray();
    addHost("Office", smb, { "Public" });
    controller->saveHostsArray();
    EXPECT_TRUE(std::filesystem::exists(file + ".damaged/precious"));
    EXPECT_TRUE(std::filesystem::is_regular_file(file));
}

TEST_F(CatalogueOnDiskTest, AFolderThatCannotBeWrittenLogsTheFailureAndKeepsTheFile) {
    addHost("Office", smb, { "Public" });
    controller->saveHostsArray();
    const auto before = contentOf(file);
    addHost("New", smb, {});
    // The folder is moved away and a file stands in its place: so it fails for every user, the superuser too.
    std::filesystem::rename(folder, folder + "-moved");
    std::ofstream(folder) << "in the way";
    controller->saveHostsArray();
    EXPECT_THAT(logSink.texts(), ElementsAre("Save Failed hosts."));
    EXPECT_EQ(contentOf(folder + "-moved/Quorrel2.plist"), before);
    EXPECT_EQ(contentOf(folder), "in the way");
}

TEST_F(CatalogueOnDiskTest, AFolderThatIsRemovedComesBackWithTheNextSave) {
    addHost("Office", smb, { "Public" });
    controller->saveHostsArray();
    const auto before = contentOf(file);
    std::filesystem::remove_all(home.path() + "/data");
    controller->saveHostsArray();
    EXPECT_THAT(logSink.texts(), IsEmpty());
    EXPECT_EQ(contentOf(file), before);
    EXPECT_EQ(modeOf(folder), 0700U);
}

TEST_F(CatalogueOnDiskTest, WhatCouldNotBeSavedIsSavedOnceTheFolderIsBack) {
    addHost("Office", smb, { "Public" });
    controller->saveHostsArray();
    std::filesystem::rename(folder, folder + "-moved");
    std::ofstream(folder) << "in the way";
    addHost("New", smb, {});
    controller->saveHostsArray();
    addHost("Newer", smb, {});
    std::filesystem::remove(folder);
    std::filesystem::rename(folder + "-moved", folder);
    controller->saveHostsArray();
    EXPECT_THAT(logSink.texts(), ElementsAre("Save Failed hosts."));
    controller->loadHostsArray();
    EXPECT_EQ(controller->hosts.count(), 3U);
}

TEST_F(CatalogueOnDiskTest, ALinkStaysOneWhereverItLeads) {
    ASSERT_EQ(controller->applicationSupportFolder(), folder);
    const auto dotfiles = home.path() + "/dotfiles";
    std::filesystem::create_symlink("../../dotfiles/quorrel.plist", file);
    controller->loadHostsArray();
    addHost("Office", smb, { "Public" });
    controller->saveHostsArray(); // to a folder that is not there
    EXPECT_THAT(logSink.texts(), ElementsAre("Save Failed hosts."));
    EXPECT_TRUE(std::filesystem::is_symlink(file));
    std::filesystem::create_directory(dotfiles);
    controller->saveHostsArray(); // to a file that is not there
    EXPECT_THAT(contentOf(dotfiles + "/quorrel.plist"), HasSubstr("Office"));
    addHost("New", smb, {});
    controller->saveHostsArray(); // to a file
    EXPECT_THAT(contentOf(dotfiles + "/quorrel.plist"), HasSubstr("New"));
    EXPECT_TRUE(std::filesystem::is_symlink(file));
    EXPECT_EQ(modeOf(dotfiles + "/quorrel.plist"), 0600U);
    EXPECT_EQ(logSink.texts().size(), 1U);
    controller->loadHostsArray();
    EXPECT_EQ(controller->hosts.count(), 2U);
}

TEST_F(CatalogueOnDiskTest, ADamagedFileBehindALinkIsKeptWhereItIsAndTheLinkStays) {
    ASSERT_EQ(controller->applicationSupportFolder(), folder);
    const auto dotfiles = home.path() + "/dotfiles";
    std::filesystem::create_directory(dotfiles);
    std::ofstream(dotfiles + "/quorrel.plist") << "damaged";
    std::filesystem::create_symlink("../../dotfiles/quorrel.plist", file);
    controller->loadHostsArray();
    addHost("Office", smb, { "Public" });
    controller->saveHostsArray();
    EXPECT_TRUE(std::filesystem::is_symlink(file));
    EXPECT_EQ(contentOf(dotfiles + "/quorrel.plist.damaged"), "damaged");
    EXPECT_THAT(contentOf(dotfiles + "/quorrel.plist"), HasSubstr("Office"));
}

TEST_F(CatalogueOnDiskTest, ASaveLeavesNothingBesideTheFile) {
    addHost("Office", smb, { "Public" });
    for (int count = 0; count < 3; ++count)
        controller->saveHostsArray();
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    EXPECT_THAT(names, ElementsAre("Quorrel2.plist"));
}

TEST_F(CatalogueOnDiskTest, AHostDefinedByHandSurvivesAllItsCharacters) {
    const std::string name = "\"'<>&\u00a0\u2028 \U0001F5A5 \t";
    addHost(name, ftp, { "a/b c", "%41", "" });
    controller->saveHostsArray();
    controller->loadHostsArray();
    ASSERT_EQ(controller->hosts.count(), 1U);
    const auto host = controller->hosts.snapshot().front();
    EXPECT_EQ(host->displayName.get(), name);
    std::vector<std::string> shares;
    for (const auto& sharePoint : host->sharePoints.snapshot())
        shares.push_back(sharePoint->sharePoint.get().value_or("(absent)"));
    EXPECT_THAT(shares, ElementsAre("a/b c", "%41", ""));
}

} // namespace quorrel
