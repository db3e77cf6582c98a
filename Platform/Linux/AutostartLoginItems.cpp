// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/AutostartLoginItems.h"

#include "Platform/Linux/GlibPointers.h"
#include "Platform/Linux/LocalPath.h"
#include "Platform/Linux/OwnerOnlyFile.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <string_view>
#include <utility>

#include <gio/gio.h>

namespace quorrel {

namespace {

constexpr const char* group = G_KEY_FILE_DESKTOP_GROUP;
constexpr const char* disabledByGnome = "X-GNOME-Autostart-enabled";
constexpr std::string_view ending = ".desktop";
constexpr std::size_t largestEntry = std::size_t { 1 } << 20U;

struct KeyFileDeleter final {
    void operator()(GKeyFile* file) const { g_key_file_free(file); }
};
using KeyFile = std::unique_ptr<GKeyFile, KeyFileDeleter>;

/// The path as the first word of a command line, by the rules of desktop entries.
std::string quoted(const std::string& path) {
    std::string word = "\"";
    for (const char letter : path) {
        if (std::string_view("\"`$\\").find(letter) != std::string_view::npos)
            word += '\\';
        word += letter;
        if (letter == '%') // alone it would begin a field code
            word += '%';
    }
    return word + '"';
}

/// The program that a command line starts; absent when the line cannot be read.
std::optional<std::string> programOf(const std::string& commandLine) {
    gchar** words = nullptr;
    if (!g_shell_parse_argv(commandLine.c_str(), nullptr, &words, nullptr))
        return std::nullopt;
    std::string program;
    for (const char* letter = words[0]; *letter; ++letter) {
        if (letter[0] == '%' && letter[1] == '%')
            ++letter;
        program += *letter;
    }
    g_strfreev(words);
    return program;
}

std::optional<std::string> textIn(GKeyFile* entry, const char* key) {
    const GlibPointer<gchar> text(g_key_file_get_string(entry, group, key, nullptr));
    return text ? std::optional<std::string>(text.get()) : std::nullopt;
}

bool flagIn(GKeyFile* entry, const char* key, bool fallback) {
    GError* error = nullptr;
    const bool flag = g_key_file_get_boolean(entry, group, key, &error) != 0;
    if (!error)
        return flag;
    g_error_free(error);
    return fallback;
}

class AutostartList final : public LoginItemsList {
public:
    AutostartList(const AutostartLoginItems::Places& places, std::vector<LoginItemEntry> items)
        : m_places(places)
        , m_items(std::move(items)) { }

    std::optional<LoginItemEntry> insertItemURL(const std::string& path) override;
    [[nodiscard]] std::vector<LoginItemEntry> snapshot() const override { return m_items; }
    [[nodiscard]] std::optional<std::string> resolve(const LoginItemEntry& item) const override;
    bool remove(const LoginItemEntry& item) override;

private:
    [[nodiscard]] std::string fileOf(const LoginItemEntry& item) const {
        return m_places.folder + "/" + item.identifier;
    }
    /// Where the path of a file leads; absent when no file is there.
    [[nodiscard]] std::optional<std::string> fileAt(const std::string& path) const;

    const AutostartLoginItems::Places m_places;
    std::vector<LoginItemEntry> m_items;
};

std::optional<LoginItemEntry> AutostartList::insertItemURL(const std::string& path) {
    if (!path.starts_with('/') || !g_utf8_validate(path.data(), static_cast<gssize>(path.size()), nullptr)
        || !fileAt(path) || OwnerOnlyFile::createFolders(m_places.folder))
        return std::nullopt;
    const KeyFile entry(g_key_file_new());
    g_key_file_set_string(entry.get(), group, G_KEY_FILE_DESKTOP_KEY_TYPE, "Application");
    g_key_file_set_string(entry.get(), group, G_KEY_FILE_DESKTOP_KEY_NAME, "Quorrel");
    g_key_file_set_string(entry.get(), group, G_KEY_FILE_DESKTOP_KEY_ICON, "org.quorrel.Quorrel");
    g_key_file_set_string(entry.get(), group, G_KEY_FILE_DESKTOP_KEY_EXEC, quoted(path).c_str());
    // Without its program the entry is passed over in silence, so that removing the program breaks no login.
    g_key_file_set_string(entry.get(), group, G_KEY_FILE_DESKTOP_KEY_TRY_EXEC, path.c_str());
    g_key_file_set_boolean(entry.get(), group, G_KEY_FILE_DESKTOP_KEY_TERMINAL, 0);
    gsize length = 0;
    const GlibPointer<gchar> bytes(g_key_file_to_data(entry.get(), &length, nullptr));
    const auto file = OwnerOnlyFile::create(
        m_places.folder + "/quorrel", std::string(ending), std::string_view(bytes.get(), length));
    if (!file)
        return std::nullopt;
    m_items.push_back({ std::filesystem::path(*file).filename().string() });
    return m_items.back();
}

std::optional<std::string> AutostartList::resolve(const LoginItemEntry& item) const {
    const auto file = fileAt(fileOf(item));
    const auto content = file ? OwnerOnlyFile::read(*file, largestEntry) : OwnerOnlyFile::Content();
    const KeyFile entry(g_key_file_new());
    if (content.outcome != OwnerOnlyFile::Content::Outcome::Read
        || !g_key_file_load_from_data(entry.get(), content.bytes.data(), content.bytes.size(), G_KEY_FILE_NONE, nullptr)
        || flagIn(entry.get(), G_KEY_FILE_DESKTOP_KEY_HIDDEN, false) || !flagIn(entry.get(), disabledByGnome, true))
        return std::nullopt;
    const auto commandLine = textIn(entry.get(), G_KEY_FILE_DESKTOP_KEY_EXEC);
    const auto program = commandLine ? programOf(*commandLine) : std::nullopt;
    if (!program || program->empty())
        return std::nullopt;
    if (program->starts_with('/'))
        return fileAt(*program);
    if (program->find('/') == std::string::npos)
        for (const auto& folder : m_places.programs)
            if (auto path = fileAt(folder + "/" + *program))
                return path;
    return std::nullopt;
}

bool AutostartList::remove(const LoginItemEntry& item) {
    std::error_code error;
    std::filesystem::remove(fileOf(item), error);
    if (error)
        return false;
    std::erase(m_items, item);
    return true;
}

std::optional<std::string> AutostartList::fileAt(const std::string& path) const {
    auto file = localPath(path, m_places.volumes);
    std::error_code error;
    return file && !std::filesystem::is_directory(*file, error) ? file : std::nullopt;
}

} // namespace

AutostartLoginItems::AutostartLoginItems(Places places)
    : m_places(std::move(places)) { }

std::unique_ptr<LoginItemsList> AutostartLoginItems::open() {
    std::vector<LoginItemEntry> items;
    std::error_code error;
    std::filesystem::directory_iterator file(m_places.folder, error);
    if (error && error != std::errc::no_such_file_or_directory)
        return nullptr;
    for (; !error && file != std::filesystem::directory_iterator(); file.increment(error))
        if (file->path().extension() == ending)
            items.push_back({ file->path().filename().string() });
    std::sort(items.begin(), items.end(),
        [](const auto& left, const auto& right) { return left.identifier < right.identifier; });
    return std::make_unique<AutostartList>(m_places, std::move(items));
}

} // namespace quorrel
