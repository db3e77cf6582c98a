// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/TextList.h"

#include <algorithm>
#include <utility>

namespace quorrel {

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
    const auto probe = text;
    return appendUnlessPrinted(std::move(text), probe);
}

bool TextList::appendUnlessPrinted(std::string text, std::string_view probe) {
    if (printedFormContains(probe))
        return false;
    // Announced before it is known for certain: another thread may add the same text in between, and observers must
    // not run under the lock.
    m_object.willChangeValueForKey(m_key);
    bool appended = false;
    {
        const MutexLock lock(m_object.valueMutex());
        if (!m_list.printedFormContains(probe)) {
            m_list.append(std::move(text));
            appended = true;
        }
    }
    m_object.didChangeValueForKey(m_key);
    return appended;
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
