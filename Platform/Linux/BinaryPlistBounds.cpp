// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/BinaryPlistBounds.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace quorrel {

namespace {

constexpr std::string_view magic = "bplist00";
constexpr std::size_t trailerSize = 32;

/// What all texts and data may come to when each is as often there as it is referred to; an XML file of the largest
/// size would hold no more.
constexpr std::size_t mostContent = std::size_t { 256 } << 20U;

/// The part of the format that says which object refers to which.
class Walker final {
public:
    Walker(std::string_view bytes, std::size_t deepest)
        : m_bytes(bytes)
        , m_deepest(deepest) { }

    std::optional<std::string> refusal() {
        if (!readTrailer())
            return "The file's table of contents is broken";
        m_objects.resize(m_count);
        if (!enter(m_root))
            return m_refusal;
        while (!m_path.empty()) {
            auto& step = m_path.back();
            if (step.next == step.children.size())
                leave();
            else if (!visit(step.children[step.next++]))
                return m_refusal;
        }
        if (m_objects[m_root].unpacked > m_bytes.size() || m_objects[m_root].content > mostContent)
            return "It holds more values than its size allows";
        return std::nullopt;
    }

private:
    static constexpr std::size_t dataKind = 0x4;
    static constexpr std::size_t asciiKind = 0x5;
    static constexpr std::size_t wideKind = 0x6;
    static constexpr std::size_t dictionaryKind = 0xD;

    enum class State : std::uint8_t { Unknown, Open, Done };

    struct Object final {
        State state = State::Unknown;
        std::uint32_t depth = 0; ///< of the containers below and including this one
        bool isKey = false; ///< known to be one
        std::size_t unpacked = 1;
        std::size_t content = 0; ///< bytes of texts and data, those below included
    };

    /// How an object begins.
    struct Header final {
        std::size_t kind = 0;
        std::size_t count = 0;
        std::size_t position = 0; ///< of what stands behind the count
    };

    struct Step final {
        std::size_t object = 0;
        std::vector<std::size_t> children;
        std::size_t next = 0;
    };

    [[nodiscard]] std::optional<std::size_t> number(std::size_t position, std::size_t width) const {
        if (width == 0 || width > 8 || position > m_bytes.size() || m_bytes.size() - position < width)
            return std::nullopt;
        std::size_t value = 0;
        for (std::size_t index = 0; index < width; ++index)
            value = value << 8U | static_cast<unsigned char>(m_bytes[position + index]);
        return value;
    }

    bool readTrailer() {
        if (m_bytes.size() < magic.size() + trailerSize)
            return false;
        const std::size_t trailer = m_bytes.size() - trailerSize;
        m_offsetWidth = static_cast<unsigned char>(m_bytes[trailer + 6]);
        m_referenceWidth = static_cast<unsigned char>(m_bytes[trailer + 7]);
        m_count = number(trailer + 8, 8).value_or(0);
        m_root = number(trailer + 16, 8).value_or(0);
        m_table = number(trailer + 24, 8).value_or(0);
        return m_offsetWidth >= 1 && m_offsetWidth <= 8 && m_referenceWidth >= 1 && m_referenceWidth <= 8
            && m_root < m_count && m_table < trailer && m_count <= (trailer - m_table) / m_offsetWidth;
    }

    /// Absent when it is not all in the file.
    [[nodiscard]] std::optional<Header> headerOf(std::size_t object) const {
        const auto start = number(m_table + object * m_offsetWidth, m_offsetWidth);
        const auto marker = start ? number(*start, 1) : std::nullopt;
        if (!marker)
            return std::nullopt;
        Header header { *marker >> 4U, *marker & 0xFU, *start + 1 };
        if (header.count != 0xF || !(isContainer(header.kind) || bytesPerUnit(header.kind) > 0))
            return header;
        const auto size = number(header.position, 1);
        const std::size_t width = size ? std::size_t { 1 } << (*size & 0xFU) : 0;
        const auto longCount = number(header.position + 1, width);
        if (!size || *size >> 4U != 1 || !longCount)
            return std::nullopt;
        header.count = *longCount;
        header.position += 1 + width;
        return header;
    }

    [[nodiscard]] static bool isContainer(std::size_t kind) { return kind == 0xA || kind == 0xC || kind == 0xD; }

    /// 0 for what is neither data nor a text.
    [[nodiscard]] static std::size_t bytesPerUnit(std::size_t kind) {
        return kind == dataKind || kind == asciiKind ? 1 : kind == wideKind ? 2 : 0;
    }

    [[nodiscard]] std::size_t roomAt(std::size_t position) const {
        return m_bytes.size() - std::min(position, m_bytes.size());
    }

    /// The objects that this one refers to; absent when they are not all in the file.
    [[nodiscard]] std::optional<std::vector<std::size_t>> childrenOf(const Header& header) const {
        auto count = header.count;
        if (!isContainer(header.kind))
            return std::vector<std::size_t>();
        const std::size_t room = roomAt(header.position) / m_referenceWidth;
        if (count > room || (header.kind == dictionaryKind && count > room / 2))
            return std::nullopt;
        if (header.kind == dictionaryKind)
            count *= 2;
        std::vector<std::size_t> children;
        children.reserve(count);
        for (std::size_t index = 0; index < count; ++index) {
            const auto child = number(header.position + index * m_referenceWidth, m_referenceWidth);
            if (!child || *child >= m_count)
                return std::nullopt;
            children.push_back(*child);
        }
        return children;
    }

    /// The library ends the program on a key with a NUL in it.
    bool readKey(std::size_t object) {
        if (m_objects[object].isKey)
            return true;
        const auto header = headerOf(object);
        if (!header || (header->kind != asciiKind && header->kind != wideKind))
            return refuse("A key is no text");
        const auto width = bytesPerUnit(header->kind);
        if (header->count > roomAt(header->position) / width)
            return refuse("A reference leaves the file");
        m_keyBytes += header->count; // texts that overlap would be read over and over
        if (m_keyBytes > mostContent)
            return refuse("It holds more values than its size allows");
        for (std::size_t index = 0; index < header->count; ++index)
            if (number(header->position + index * width, width) == std::size_t { 0 })
                return refuse("A key holds a NUL");
        m_objects[object].isKey = true;
        return true;
    }

    bool enter(std::size_t object) {
        const auto header = headerOf(object);
        auto children = header ? childrenOf(*header) : std::nullopt;
        if (!children)
            return refuse("A reference leaves the file");
        if (header->kind == dictionaryKind)
            for (std::size_t index = 0; index < children->size() / 2; ++index)
                if (!readKey((*children)[index]))
                    return false;
        // What overlaps may be read over and over; a file that is what it seems names each reference once.
        m_references += children->size();
        if (m_references > m_bytes.size())
            return refuse("It holds more values than its size allows");
        if (m_path.size() > m_deepest)
            return refuse("It is nested too deeply");
        m_objects[object].state = State::Open;
        // A length beyond the file is the library's to refuse.
        if (const auto width = bytesPerUnit(header->kind); width > 0)
            m_objects[object].content = std::min(header->count, m_bytes.size()) * width;
        m_path.push_back({ object, std::move(*children), 0 });
        return true;
    }

    bool visit(std::size_t child) {
        if (m_objects[child].state == State::Open)
            return refuse("A container holds itself");
        if (m_objects[child].state == State::Unknown)
            return enter(child); // its step hands its numbers up when it ends
        return add(child);
    }

    void leave() {
        const auto object = m_path.back().object;
        if (!m_path.back().children.empty())
            ++m_objects[object].depth;
        m_objects[object].state = State::Done;
        m_path.pop_back();
        if (!m_path.empty())
            sum(object);
    }

    bool add(std::size_t child) {
        sum(child);
        // A container met before counts with all that is below it.
        return m_path.size() + m_objects[child].depth <= m_deepest || refuse("It is nested too deeply");
    }

    void sum(std::size_t child) {
        auto& parent = m_objects[m_path.back().object];
        parent.depth = std::max(parent.depth, m_objects[child].depth);
        // Held far below an overflow; more than the file's size is refused in the end.
        parent.unpacked = std::min(parent.unpacked + m_objects[child].unpacked, m_bytes.size() + 1);
        parent.content = std::min(parent.content + m_objects[child].content, mostContent + 1);
    }

    bool refuse(const char* reason) {
        m_refusal = reason;
        return false;
    }

    const std::string_view m_bytes;
    const std::size_t m_deepest;
    std::size_t m_offsetWidth = 0;
    std::size_t m_referenceWidth = 0;
    std::size_t m_count = 0;
    std::size_t m_root = 0;
    std::size_t m_table = 0;
    std::vector<Object> m_objects;
    std::vector<Step> m_path;
    std::size_t m_references = 0;
    std::size_t m_keyBytes = 0;
    std::string m_refusal;
};

} // namespace

bool isBinaryPlist(std::string_view bytes) {
    return bytes.starts_with(magic.substr(0, 6));
}

std::optional<std::string> binaryPlistRefusal(std::string_view bytes, std::size_t deepest) {
    return Walker(bytes, deepest).refusal();
}

} // namespace quorrel
