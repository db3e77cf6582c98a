// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdlib>
#include <string>
#include <vector>

namespace quorrel {

/// A name that somebody on the network, in a file or on a share may choose, and what is evil about it.
struct HostileName final {
    const char* evil;
    std::string name;
};

constexpr std::size_t longestHostileName = 10'000'000;

/// The longest name for what turns over each character of it many times: it takes long over ten million.
[[nodiscard]] inline std::size_t longestCostlyName() {
    return std::getenv("QUORREL_LARGE_INPUTS") ? longestHostileName : longestHostileName / 20; // NOLINT: one thread
}

/// For whatever shows, writes, opens or hands on names.
[[nodiscard]] inline std::vector<HostileName> hostileNames(std::size_t longest = longestHostileName) {
    using namespace std::string_literals;
    return {
        { "nothing at all", "" },
        { "a line of its own", "nas\n2026-11-21 10:11:12.345 Quorrel[1:1] Network Reachable." },
        { "other ends of lines", "a\rb\vc\fd\u0085e\u2028f\u2029g" },
        { "columns", "nas\tfilms\tOnline" },
        { "commands for a terminal", "a\x1b[2J\x1b]0;title\x07\x1b[31mb\x9b"s + "31m" },
        { "controls in UTF-8", "a\u009b31m\u0090b" },
        { "a NUL", "nas\0hidden"s },
        { "a backspace", "nas\x08\x08\x08" },
        { "bytes that are no UTF-8", "a\xff\xc3(\xed\xa0\x80\xf4\x90\x80\x80\xe2\x82" },
        { "writing from right to left", "gnp.\u202eexe" },
        { "isolates and marks", "a\u2066b\u2067c\u2068d\u200fe\u061cf" },
        { "characters without width", "na\u200bs\ufeff\u2060" },
        { "the folder itself", "." },
        { "the folder above", ".." },
        { "a way out", "../../../../tmp/out" },
        { "an absolute path", "/etc/passwd" },
        { "a way out that is escaped", "%2e%2e%2fout" },
        { "an option", "-rf" },
        { "a long option", "--help" },
        { "places of values", "%n%n%s%@%d%%" },
        { "quotes", "\"'`$(touch out);|&<>*?[]{}\\" },
        { "marks of a menu's keys", "a&b_c&&__d&" },
        { "blanks like an indentation", "\u2003\u2003 share" },
        { "rich text", "<b>nas</b><img src='file:///etc/passwd'><a href='http://h/'>x</a><!--" },
        { "entities", "&lt;b&gt;&#10;&amp;" },
        { "a URL's parts", "user:secret@host:1/share?x#y" },
        { "millions of characters", std::string(longest, 'x') },
        { "very many wide ones",
            [longest] {
                std::string name;
                for (std::size_t count = 0; count < longest / 10; ++count)
                    name += "😀";
                return name;
            }() },
    };
}

} // namespace quorrel
