// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Observable.h"
#include "Foundation/PrintedList.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace quorrel {

/// An observable list of texts that several threads add to, with its printed form.
///
/// Any thread. Changes are announced as a property's are, under the list's key; what changes nothing announces nothing.
class TextList final {
public:
    struct Candidate final {
        std::string text;
        std::string probe; ///< what is looked for; without a line feed
    };

    TextList(const Observable& object, const char* key);
    TextList(const TextList&) = delete;
    TextList& operator=(const TextList&) = delete;

    void append(std::string text);
    /// Appends them with one announcement; none, when there are none.
    void appendAll(std::vector<std::string> texts);
    /// Appends the text unless it occurs anywhere in the printed form; whether it was appended.
    bool appendUnlessPrinted(std::string text);
    /// The same for one after the other, looking for another text than the one that is appended; in time in proportion
    /// to all of them and the list together.
    void appendEachUnlessPrinted(std::vector<Candidate> candidates);
    /// Removes the first item that is equal; whether there was one.
    bool removeFirst(std::string_view text);

    [[nodiscard]] std::vector<std::string> snapshot() const;
    [[nodiscard]] std::size_t count() const;
    [[nodiscard]] bool contains(std::string_view text) const;
    [[nodiscard]] bool printedFormContains(std::string_view text) const;

private:
    const Observable& m_object;
    const char* m_key;
    PrintedList m_list GUARDED_BY(m_object.valueMutex());
};

} // namespace quorrel
