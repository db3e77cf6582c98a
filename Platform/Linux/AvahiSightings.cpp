// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/AvahiSightings.h"

#include <algorithm>

namespace quorrel {

bool AvahiSightings::add(const NetServiceInstance& instance, Place place) {
    auto& places = m_places[Key(instance.name, instance.type, instance.domain)];
    const bool isFirst = places.empty();
    if (std::find(places.begin(), places.end(), place) == places.end())
        places.push_back(place);
    return isFirst;
}

bool AvahiSightings::remove(const NetServiceInstance& instance, Place place) {
    const auto found = m_places.find(Key(instance.name, instance.type, instance.domain));
    if (found == m_places.end())
        return false;
    std::erase(found->second, place);
    if (!found->second.empty())
        return false;
    m_places.erase(found);
    return true;
}

std::vector<NetServiceInstance> AvahiSightings::takeAll() {
    std::vector<NetServiceInstance> all;
    all.reserve(m_places.size());
    for (const auto& [key, places] : m_places)
        all.push_back({ std::get<0>(key), std::get<1>(key), std::get<2>(key) });
    m_places.clear();
    return all;
}

} // namespace quorrel
