// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/ManyTextSearch.h"

namespace quorrel {

ManyTextSearch::ManyTextSearch()
    : m_nodes(1) {
    m_nodes.front().hasOccurred = true;
}

ManyTextSearch::Place ManyTextSearch::add(std::string_view text) {
    Place node = 0;
    for (const char letter : text) {
        Place next = childOf(node, letter);
        if (next == 0) {
            next = static_cast<Place>(m_nodes.size());
            if (node == 0)
                m_rootChildren[static_cast<unsigned char>(letter)] = next;
            m_nodes.push_back({ 0, m_nodes[node].firstChild, 0, letter, false });
            m_nodes[node].firstChild = next;
        }
        node = next;
    }
    m_hasSuffixes = false;
    return node;
}

void ManyTextSearch::read(std::string_view piece) {
    if (!m_hasSuffixes)
        findSuffixes();
    for (const char letter : piece) {
        m_current = follow(m_current, letter);
        // With a beginning all of its suffixes have occurred; those of one that has already are marked.
        for (Place node = m_current; !m_nodes[node].hasOccurred; node = m_nodes[node].longestSuffix)
            m_nodes[node].hasOccurred = true;
    }
}

void ManyTextSearch::forget() {
    for (auto& node : m_nodes)
        node.hasOccurred = false;
    m_nodes.front().hasOccurred = true;
    m_current = 0;
}

ManyTextSearch::Place ManyTextSearch::childOf(Place node, char letter) const {
    if (node == 0)
        return m_rootChildren[static_cast<unsigned char>(letter)];
    Place child = m_nodes[node].firstChild;
    while (child != 0 && m_nodes[child].letter != letter)
        child = m_nodes[child].nextSibling;
    return child;
}

ManyTextSearch::Place ManyTextSearch::follow(Place node, char letter) const {
    for (;; node = m_nodes[node].longestSuffix)
        if (const Place child = childOf(node, letter); child != 0 || node == 0)
            return child;
}

void ManyTextSearch::findSuffixes() {
    // Shorter ones first: the suffix of a beginning is found by way of its parent's.
    std::vector<Place> waiting { 0 };
    waiting.reserve(m_nodes.size());
    for (std::size_t index = 0; index < waiting.size(); ++index) {
        const Place parent = waiting[index];
        for (Place child = m_nodes[parent].firstChild; child != 0; child = m_nodes[child].nextSibling) {
            m_nodes[child].longestSuffix
                = parent == 0 ? 0 : follow(m_nodes[parent].longestSuffix, m_nodes[child].letter);
            waiting.push_back(child);
        }
    }
    m_hasSuffixes = true;
}

} // namespace quorrel
