// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/HelpPage.h"

#include "Platform/Linux/GlibPointers.h"

#include <filesystem>
#include <sstream>

namespace quorrel {

namespace {

/// The page for one locale, such as "pt_BR.UTF-8" or "de@euro"; empty when there is none.
std::string pageFor(const std::string& folder, const std::string& locale) {
    if (locale.find('/') != std::string::npos)
        return {};
    const auto place = locale.substr(0, locale.find_first_of(".@"));
    const auto language = place.substr(0, place.find('_'));
    // English is the page without a language in its name.
    for (const auto& name : { place, language }) {
        auto page = folder + "/index.";
        page += name == "en" ? "html" : name + ".html";
        std::error_code error;
        if (!name.empty() && std::filesystem::is_regular_file(page, error))
            return page;
    }
    return {};
}

} // namespace

std::string helpPage(const std::string& folder, const std::string& languages) {
    std::string page;
    std::istringstream list(languages);
    for (std::string locale; page.empty() && std::getline(list, locale, ':');)
        page = pageFor(folder, locale);
    if (page.empty())
        page = folder + "/index.html";
    const GlibPointer<gchar> url(g_filename_to_uri(page.c_str(), nullptr, nullptr));
    return url ? url.get() : std::string();
}

} // namespace quorrel
