// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Globals.h"

#include "Tests/Sources/CatalogueFixture.h"

namespace quorrel {

namespace {

class GlobalsTest : public CatalogueFixture { };

TEST_F(GlobalsTest, EveryDisplayNameAndShortNameHasItsType) {
    const std::vector<std::pair<std::string, std::string>> types {
        { afp, "_afpovertcp._tcp." },
        { "afp", "_afpovertcp._tcp." },
        { smb, "_smb._tcp." },
        { cifs, "_smb._tcp." },
        { "smb", "_smb._tcp." },
        { nfs, "_ftp._tcp." },
        { "ftp", "_ftp._tcp." },
        { ftp, "_ftp._tcp." },
        { webDav, "_http._tcp." },
        { "http", "_http._tcp." },
        { secureWebDav, "_http._tcp." },
        { "https", "_http._tcp." },
    };
    for (const auto& [name, type] : types)
        EXPECT_EQ(Globals::getFullServiceName(name), type) << name;
}

TEST_F(GlobalsTest, NoNameMeansAppleFiling) {
    EXPECT_EQ(Globals::getFullServiceName(std::nullopt), "_afpovertcp._tcp.");
    EXPECT_EQ(Globals::getShortServiceName(std::nullopt), "afp");
}

TEST_F(GlobalsTest, SecureWebDavSharesItsTypeWithPlainWebDav) {
    EXPECT_EQ(Globals::getFullServiceName(secureWebDav), "_http._tcp.");
    EXPECT_EQ(Globals::getFullServiceName("https"), "_http._tcp.");
}

TEST_F(GlobalsTest, TypesAreFoundByExactNamesOnly) {
    for (const auto* name : { "AFP", "APPLE FILING PROTOCOL (AFP)", "cifs", "nfs", " afp", "", "_smb._tcp." })
        EXPECT_EQ(Globals::getFullServiceName(name), std::nullopt) << name;
}

TEST_F(GlobalsTest, EveryDisplayNameHasItsScheme) {
    const std::vector<std::pair<std::string, std::string>> schemes { { afp, "afp" }, { smb, "smb" }, { cifs, "smb" },
        { nfs, "ftp" }, { ftp, "ftp" }, { webDav, "http" }, { secureWebDav, "https" } };
    for (const auto& [name, scheme] : schemes)
        EXPECT_EQ(Globals::getShortServiceName(name), scheme) << name;
}

TEST_F(GlobalsTest, AShortNameHasNoScheme) {
    for (const auto* name : { "afp", "smb", "cifs", "ftp", "http", "https", "", "WEBDAV (HTTP)" })
        EXPECT_EQ(Globals::getShortServiceName(name), std::nullopt) << name;
}

TEST_F(GlobalsTest, DigitsAndDotsAloneAreAnAddress) {
    for (const auto* text : { "", "192.168.1.10", "10.0.1.2", "1.2", "999.1", "...", "7" })
        EXPECT_TRUE(Globals::isIPAddress(text)) << text;
    for (const auto* text : { "server.local", "10.0.1.x", "fe80::1", "10.0.1.2:80", "x10.0.1.2", "1 2" })
        EXPECT_FALSE(Globals::isIPAddress(text)) << text;
    EXPECT_FALSE(Globals::isIPAddress(std::nullopt));
}

TEST_F(GlobalsTest, TheLocalComputerIsNamedByTheDesktop) {
    EXPECT_EQ(Globals::getLocalComputerName(workspace), "Testing");
}

TEST_F(GlobalsTest, APhonesModelGivesThePhoneWhateverTheService) {
    for (const auto* model : { "M68AP", "Device" })
        for (const OptionalText& type : { OptionalText(), OptionalText(afp), OptionalText("_smb._tcp.") })
            EXPECT_EQ(Globals::getComputerIconForModelCode(workspace, model, type), Image { "phone" });
}

TEST_F(GlobalsTest, NoModelGivesTheGenericComputer) {
    const Image generic { "/icons/Contents/Resources/generic-pc" };
    EXPECT_EQ(Globals::getComputerIconForModelCode(workspace, std::nullopt), generic);
    EXPECT_EQ(Globals::getComputerIconForModelCode(workspace, ""), generic);
    EXPECT_EQ(Globals::getComputerIconForModelCode(workspace, "", afp), generic);
}

TEST_F(GlobalsTest, AnUndeclaredModelGoesByTheService) {
    const Image mac { "/icons/Contents/Resources/mac" };
    const Image generic { "/icons/Contents/Resources/generic-pc" };
    for (const auto* type : { afp, "afp", "_afpovertcp._tcp." })
        EXPECT_EQ(Globals::getComputerIconForModelCode(workspace, "Unheard9,9", type), mac) << type;
    EXPECT_EQ(Globals::getComputerIconForModelCode(workspace, "Unheard9,9", smb), generic);
    EXPECT_EQ(Globals::getComputerIconForModelCode(workspace, "Unheard9,9"), generic);
}

TEST_F(GlobalsTest, ADeclaredModelHasItsOwnIconAlsoUnderAppleFiling) {
    workspace.setTypeIdentifier("Box1,1", "org.example.box");
    workspace.setTypeDeclaration("org.example.box", TypeDeclaration { "box", "com.apple.mac", "/boxes/" });
    workspace.addImage("/boxes/Contents/Resources/box");
    EXPECT_EQ(Globals::getComputerIconForModelCode(workspace, "Box1,1", "_afpovertcp._tcp."),
        Image { "/boxes/Contents/Resources/box" });
}

TEST_F(GlobalsTest, AnIconIsInheritedFromTheNearestKindThatHasOne) {
    workspace.setTypeIdentifier("Box1,1", "org.example.box");
    workspace.setTypeDeclaration("org.example.box", TypeDeclaration { {}, "org.example.middle", "/boxes" });
    workspace.setTypeDeclaration("org.example.middle", TypeDeclaration { {}, "com.apple.mac", "/boxes" });
    EXPECT_EQ(Globals::getComputerIconForModelCode(workspace, "Box1,1"), Image { "/icons/Contents/Resources/mac" });
}

TEST_F(GlobalsTest, KindsThatInheritInACircleHaveNoIcon) {
    workspace.setTypeIdentifier("Box1,1", "org.example.box");
    workspace.setTypeDeclaration("org.example.box", TypeDeclaration { {}, "org.example.other", "/boxes" });
    workspace.setTypeDeclaration("org.example.other", TypeDeclaration { {}, "org.example.box", "/boxes" });
    EXPECT_EQ(Globals::getComputerIconForModelCode(workspace, "Box1,1", afp), std::nullopt);
}

TEST_F(GlobalsTest, AnIconFileThatIsNotThereIsNoIcon) {
    workspace.removeImage("/icons/Contents/Resources/generic-pc");
    EXPECT_EQ(Globals::getComputerIconForModelCode(workspace, std::nullopt), std::nullopt);
    EXPECT_EQ(Globals::getDefaultPCComputerIcon(workspace), std::nullopt);
}

TEST_F(GlobalsTest, TheDefaultIconsDoNotInherit) {
    workspace.setTypeDeclaration("com.apple.mac", TypeDeclaration { {}, "public.generic-pc", "/icons" });
    EXPECT_EQ(Globals::getDefaultMacComputerIcon(workspace), std::nullopt);
    workspace.setTypeDeclaration("public.generic-pc", std::nullopt);
    EXPECT_EQ(Globals::getDefaultPCComputerIcon(workspace), std::nullopt);
}

TEST_F(GlobalsTest, ThePlayerAndThePhoneAreSystemIcons) {
    EXPECT_EQ(Globals::getDefaultiPodIcon(workspace), Image { "music-player" });
    EXPECT_EQ(Globals::getDefaultiPhoneIcon(workspace), Image { "phone" });
    workspace.setSystemIcon(SystemIcon::Phone, std::nullopt);
    EXPECT_EQ(Globals::getDefaultiPhoneIcon(workspace), std::nullopt);
}

} // namespace

} // namespace quorrel
