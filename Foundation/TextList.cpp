// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/TextList.h"

#include "Foundation/ManyTextSearch.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace quorrel {

namespace {

/// Which candidates' probes a list's printed form contains, while the list changes. Used with the list's lock held, but
/// for making it, which is what takes long.
class PrintedSearch final {
public:
    explicit PrintedSearch(const std::vector<TextList::Candidate>& candidates) {
        m_places.reserve(candidates.size());
        for (const auto& candidate : candidates)
            m_places.push_back(m_search.add(candidate.probe));
        readEnd();
    }

    /// The list is the same in every call.
    [[nodiscard]] bool contains(const PrintedList& list, std::size_t candidate) {
        if (list.removals() != m_removals) {
            m_removals = list.removals();
            m_search.forget();
            readEnd();
            m_length = 0;
        }
        m_search.read(list.growingForm().substr(m_length));
        m_length = list.growingForm().size();
        return m_search.hasOccurred(m_places[candidate]);
    }

private:
    /// The parenthesis that closes a printed form is always there. No probe goes past the line feed.
    void readEnd() { m_search.read(")\n"); }

    ManyTextSearch m_search;
    std::vector<ManyTextSearch::Place> m_places;
    std::size_t m_length = 0; ///< of the growing form, as far as it was read
    std::uint64_t m_removals = 0;
};

} // namespace

TextList::TextList(const Observable& object, const char* key)
    : m_object(object)
    , m_key(key) { }

void TextList::append(std::string text) {
    m_object.willChangeValueForKey(m_key);
    {
        const MutexLock lock(m_object.valueMutex());
        m_list.append(std::move(text));
    }
    m_object.didChangeValueForKey(m_key);
}

void TextList::appendAll(std::vector<std::string> texts) {
    if (texts.empty())
        return;
    m_object.willChangeValueForKey(m_key);
    {
        const MutexLock lock(m_object.valueMutex());
        for (auto& text : texts)
            m_list.append(std::move(text));
    }
    m_object.didChangeValueForKey(m_key);
}

bool TextList::appendUnlessPrinted(std::string text) {
    if (printedFormContains(text))
        return false;
    // Announced before it is known for certain: another thread may add the same text in between, and observers must
    // not run under the lock.
    m_object.willChangeValueForKey(m_key);
    bool appended = false;
    {
        const MutexLock lock(m_object.valueMutex());
        if (!m_list.printedFormContains(text)) {
            m_list.append(std::move(text));
            appended = true;
        }
    }
    m_object.didChangeValueForKey(m_key);
    return appended;
}

void TextList::appendEachUnlessPrinted(std::vector<Candidate> candidates) {
    PrintedSearch search(candidates);
    for (std::size_t index = 0; index < candidates.size(); ++index) {
        {
            const MutexLock lock(m_object.valueMutex());
            if (search.contains(m_list, index))
                continue;
        }
        m_object.willChangeValueForKey(m_key);
        {
            const MutexLock lock(m_object.valueMutex());
            if (!search.contains(m_list, index))
                m_list.append(std::move(candidates[index].text));
        }
        m_object.didChangeValueForKey(m_key);
    }
}

bool TextList::removeFirst(std::string_view text) {
    if (!contains(text))
        return false;
    m_object.willChangeValueForKey(m_key);
    bool removed = false;
    {
        const MutexLock lock(m_object.valueMutex());
        removed = m_list.removeFirst(text);
    }
    m_object.didChangeValueForKey(m_key);
    return removed;
}

std::vector<std::string> TextList::snapshot() const {
    const MutexLock lock(m_object.valueMutex());
    return m_list.items();
}

std::size_t TextList::count() const {
    const MutexLock lock(m_object.valueMutex());
    return m_list.items().size();
}

bool TextList::contains(std::string_view text) const {
    const MutexLock lock(m_object.valueMutex());
    const auto& items = m_list.items();
    return std::find(items.begin(), items.end(), text) != items.end();
}

bool TextList::printedFormContains(std::string_view text) const {
    const MutexLock lock(m_object.valueMutex());
    return m_list.printedFormContains(text);
}

} // namespace quorrel
