// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/PlistFile.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <random>

#include <pthread.h>

namespace quorrel {

namespace {

using Outcome = PropertyListReadResult::Outcome;

std::string repeated(const std::string& text, int count) {
    std::string result;
    for (int index = 0; index < count; ++index)
        result += text;
    return result;
}

/// Parses on a thread whose stack a few ten thousand calls exhaust.
Outcome outcomeOnASmallStack(const std::string& bytes) {
    struct Job final {
        const std::string& bytes;
        Outcome outcome = Outcome::Missing;
    } job { bytes };
    pthread_attr_t attributes;
    pthread_t thread {};
    ::pthread_attr_init(&attributes);
    ::pthread_attr_setstacksize(&attributes, std::size_t { 1 } << 20U);
    const auto parse = [](void* data) -> void* {
        auto& each = *static_cast<Job*>(data);
        each.outcome = PlistFile::parse(each.bytes).outcome;
        return nullptr;
    };
    if (::pthread_create(&thread, &attributes, parse, &job) == 0)
        ::pthread_join(thread, nullptr);
    ::pthread_attr_destroy(&attributes);
    return job.outcome;
}

/// A binary property list made by hand, whose objects may refer to one another as no honest tool writes them. Offsets
/// and references are four bytes wide.
class BinaryFile final {
public:
    /// An array of those objects.
    void addArray(const std::vector<std::uint32_t>& children) {
        m_offsets.push_back(static_cast<std::uint32_t>(m_bytes.size()));
        m_bytes += static_cast<char>(0xAF);
        m_bytes += '\x12';
        append(static_cast<std::uint32_t>(children.size()), 4);
        for (const auto child : children)
            append(child, 4);
    }

    void addTrue() {
        m_offsets.push_back(static_cast<std::uint32_t>(m_bytes.size()));
        m_bytes += '\x09';
    }

    /// A dictionary with those keys, all with one value.
    void addDictionary(const std::vector<std::uint32_t>& keys, std::uint32_t value) {
        m_offsets.push_back(static_cast<std::uint32_t>(m_bytes.size()));
        m_bytes += "\xDF\x12";
        append(static_cast<std::uint32_t>(keys.size()), 4);
        for (const auto key : keys)
            append(key, 4);
        for (std::size_t index = 0; index < keys.size(); ++index)
            append(value, 4);
    }

    void addText(const std::string& text) {
        m_offsets.push_back(static_cast<std::uint32_t>(m_bytes.size()));
        m_bytes += "\x5F\x12";
        append(static_cast<std::uint32_t>(text.size()), 4);
        m_bytes += text;
    }

    /// Of sixteen bits each.
    void addWideText(const std::vector<std::uint16_t>& units) {
        m_offsets.push_back(static_cast<std::uint32_t>(m_bytes.size()));
        m_bytes += "\x6F\x12";
        append(static_cast<std::uint32_t>(units.size()), 4);
        for (const auto unit : units)
            append(unit, 2);
    }

    [[nodiscard]] std::string bytes(std::uint32_t root = 0) const {
        BinaryFile copy = *this;
        const auto table = copy.m_bytes.size();
        for (const auto offset : m_offsets)
            copy.append(offset, 4);
        copy.m_bytes += std::string(6, '\0') + "\x04\x04";
        copy.append(m_offsets.size(), 8);
        copy.append(root, 8);
        copy.append(table, 8);
        return copy.m_bytes;
    }

private:
    void append(std::uint64_t number, unsigned width) {
        for (unsigned index = width; index > 0; --index)
            m_bytes += static_cast<char>(number >> (8 * (index - 1)) & 0xFFU);
    }

    std::string m_bytes = "bplist00";
    std::vector<std::uint32_t> m_offsets;
};

/// So many arrays, each but the last holding the next one so many times.
std::string chain(std::uint32_t length, std::size_t times) {
    BinaryFile file;
    for (std::uint32_t index = 0; index < length; ++index)
        file.addArray(index + 1 < length ? std::vector<std::uint32_t>(times, index + 1) : std::vector<std::uint32_t>());
    return file.bytes();
}

const std::string sampleXML = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<array><dict>"
                              "<key>displayName</key><string>B&#252;ro &amp; Co</string><key>on</key><true/>"
                              "<key>n</key><integer>-5</integer><key>r</key><real>0.5</real>"
                              "<key>d</key><data>AAEC</data><key>t</key><date>2026-11-21T10:11:12Z</date>"
                              "<key>s</key><array><string/><!-- c --><string><![CDATA[<x>]]></string></array>"
                              "</dict></array></plist>\n";

} // namespace

TEST(PlistHostileInputTest, theHandMadeBinaryFileIsOneThatCanBeRead) {
    BinaryFile file;
    file.addArray({ 1, 2, 2 });
    file.addTrue();
    file.addArray({});
    const PropertyValue empty { PropertyValue::Array {} };
    EXPECT_EQ(PlistFile::parse(file.bytes()).root, PropertyValue(PropertyValue::Array { true, empty, empty }));
}

TEST(PlistHostileInputTest, modestNestingIsRead) {
    const auto xml = "<plist>" + repeated("<array>", 200) + repeated("</array>", 200) + "</plist>";
    EXPECT_EQ(PlistFile::parse(xml).outcome, Outcome::Read);
    EXPECT_EQ(PlistFile::parse(chain(200, 1)).outcome, Outcome::Read);
}

TEST(PlistHostileInputTest, bothFormsRefuseTheSameDepth) {
    for (const int depth : { 256, 257 }) {
        const auto wanted = depth == 256 ? Outcome::Read : Outcome::Malformed;
        const auto xml = "<plist>" + repeated("<array>", depth) + repeated("</array>", depth) + "</plist>";
        EXPECT_EQ(PlistFile::parse(xml).outcome, wanted) << depth;
        EXPECT_EQ(PlistFile::parse(chain(static_cast<std::uint32_t>(depth), 1)).outcome, wanted) << depth;
    }
}

TEST(PlistHostileInputTest, deepNestingOfXMLDoesNotExhaustTheStack) {
    constexpr int depth = 60'000;
    EXPECT_EQ(outcomeOnASmallStack("<plist>" + repeated("<array>", depth) + repeated("</array>", depth) + "</plist>"),
        Outcome::Malformed);
    EXPECT_EQ(PlistFile::parse("<plist>" + repeated("<dict><key>k</key>", depth) + "<true/>"
                  + repeated("</dict>", depth) + "</plist>")
                  .outcome,
        Outcome::Malformed);
    EXPECT_EQ(outcomeOnASmallStack("<plist>" + repeated("<array>", depth)), Outcome::Malformed);
}

TEST(PlistHostileInputTest, depthHiddenFromACounterOfTagsDoesNotExhaustTheStackEither) {
    constexpr int depth = 60'000;
    for (const std::string disguise : { "<array></x>", "<array></dict>", "<array><!-- </array> -->",
             "<array><![CDATA[</array>]]>", "<array x='/>'>", "<array x='<!--'>", "<array><?x </array>?>",
             "<array></array x='", "<dict><key></array></key>", "<array><!DOCTYPE </array>>", "</array><array>",
             "<array><string></array>", "<array ><!-->", "<array><!-></array>", "<array></ array>" })
        EXPECT_EQ(outcomeOnASmallStack("<?xml version=\"1.0\"?><!DOCTYPE plist><plist>" + repeated(disguise, depth)),
            Outcome::Malformed)
            << disguise;
}

TEST(PlistHostileInputTest, deepNestingOfBinaryDoesNotExhaustTheStack) {
    EXPECT_EQ(outcomeOnASmallStack(chain(60'000, 1)), Outcome::Malformed);
}

TEST(PlistHostileInputTest, aSharedObjectIsCountedAsDeepAsItIsPlaced) {
    // The inner chain is met first from near the root, then again from far below.
    BinaryFile file;
    constexpr std::uint32_t half = 200;
    file.addArray({ 1, 1 + half });
    for (std::uint32_t index = 1; index <= half; ++index)
        file.addArray(index < half ? std::vector { index + 1 } : std::vector<std::uint32_t>());
    for (std::uint32_t index = half + 1; index <= 2 * half; ++index)
        file.addArray({ index < 2 * half ? index + 1 : 1 });
    EXPECT_EQ(PlistFile::parse(file.bytes()).outcome, Outcome::Malformed);
}

TEST(PlistHostileInputTest, aBinaryFileThatUnpacksToBillionsIsRefused) {
    EXPECT_EQ(PlistFile::parse(chain(100, 10)).outcome, Outcome::Malformed);
}

TEST(PlistHostileInputTest, aContainerThatHoldsItselfIsRefused) {
    BinaryFile file;
    file.addArray({ 1 });
    file.addArray({ 0 });
    EXPECT_EQ(PlistFile::parse(file.bytes()).outcome, Outcome::Malformed);
}

TEST(PlistHostileInputTest, referencesOutOfTheFileAreRefused) {
    BinaryFile file;
    file.addArray({ 7 });
    EXPECT_EQ(PlistFile::parse(file.bytes()).outcome, Outcome::Malformed);
    EXPECT_EQ(PlistFile::parse(file.bytes(9)).outcome, Outcome::Malformed);
    EXPECT_EQ(PlistFile::parse("bplist00").outcome, Outcome::Malformed);
    EXPECT_EQ(PlistFile::parse("bplist00" + std::string(32, '\xFF')).outcome, Outcome::Malformed);
}

TEST(PlistHostileInputTest, aTextOfEscapesAloneIsReadWhole) {
    constexpr int count = 1'000'000; // minutes, if the time grew with the square
    const auto xml = "<plist><array><string>" + repeated("&#65;", count) + "</string><string>a&amp;b<![CDATA["
        + repeated("&", 5000) + "]]><!--" + repeated("&", 5000) + "--></string></array></plist>";
    EXPECT_EQ(PlistFile::parse(xml).root,
        PropertyValue(PropertyValue::Array { std::string(count, 'A'), "a&b" + repeated("&", 5000) }));
}

TEST(PlistHostileInputTest, aKeyWithANULIsRefused) {
    for (const auto unit : { std::uint16_t { 0xE4 }, std::uint16_t { 0 } }) {
        BinaryFile file;
        file.addDictionary({ 1 }, 2);
        file.addWideText({ 'r', unit, 's' });
        file.addTrue();
        EXPECT_EQ(PlistFile::parse(file.bytes()).outcome, unit == 0 ? Outcome::Malformed : Outcome::Read) << unit;
    }
    BinaryFile file;
    file.addDictionary({ 1 }, 2);
    file.addText(std::string("r\0s", 3));
    file.addTrue();
    EXPECT_EQ(PlistFile::parse(file.bytes()).outcome, Outcome::Malformed);
}

TEST(PlistHostileInputTest, aKeyThatIsNoTextIsRefused) {
    BinaryFile file;
    file.addDictionary({ 1 }, 1);
    file.addTrue();
    EXPECT_EQ(PlistFile::parse(file.bytes()).outcome, Outcome::Malformed);
}

TEST(PlistHostileInputTest, oneLongTextReferredToOverAndOverIsRefused) {
    for (const std::size_t times : { std::size_t { 2 }, std::size_t { 100'000 } }) {
        BinaryFile file;
        file.addArray(std::vector<std::uint32_t>(times, 1));
        file.addText(std::string(1'000'000, 'x'));
        EXPECT_EQ(PlistFile::parse(file.bytes()).outcome, times == 2 ? Outcome::Read : Outcome::Malformed) << times;
    }
}

TEST(PlistHostileInputTest, whatIsNoPropertyListIsMalformed) {
    for (const std::string text :
        { "", "garbage", "<html></html>", "<plist></plist>", "<plist><array><string>x</array></plist>",
            "<plist><dict><string>no key</string></dict></plist>", "<plist><string>&unknown;</string></plist>" })
        EXPECT_EQ(PlistFile::parse(text).outcome, Outcome::Malformed) << text;
}

TEST(PlistHostileInputTest, aByteOrderMarkIsPassedOver) {
    EXPECT_EQ(PlistFile::parse("\xEF\xBB\xBF<plist><true/></plist>").root, PropertyValue(true));
}

TEST(PlistHostileInputTest, aFileCutOffAnywhereIsRefusedOrReadAndNeverCrashes) {
    ASSERT_EQ(PlistFile::parse(sampleXML).outcome, Outcome::Read);
    const auto inner = sampleXML.find("</array></plist>");
    for (std::size_t length = 0; length < inner; ++length)
        EXPECT_EQ(PlistFile::parse(sampleXML.substr(0, length)).outcome, Outcome::Malformed) << length;
    const auto binary = chain(5, 3);
    for (std::size_t length = 0; length < binary.size(); ++length)
        EXPECT_EQ(PlistFile::parse(binary.substr(0, length)).outcome, Outcome::Malformed) << length;
}

TEST(PlistHostileInputTest, bytesChangedAtRandomNeverCrash) {
    std::mt19937 random(20261121); // NOLINT(cert-msc51-cpp): the same every time
    const auto binary = chain(6, 2);
    int read = 0;
    for (int round = 0; round < 4000; ++round) {
        auto bytes = round % 2 == 0 ? sampleXML : binary;
        for (unsigned change = 0; change < 1 + random() % 4; ++change)
            bytes[random() % bytes.size()] = static_cast<char>(random() % 256);
        const auto result = PlistFile::parse(bytes);
        EXPECT_EQ(result.outcome == Outcome::Read, result.root.has_value());
        read += result.outcome == Outcome::Read ? 1 : 0;
    }
    EXPECT_GT(read, 0);
    EXPECT_LT(read, 4000);
}

} // namespace quorrel
