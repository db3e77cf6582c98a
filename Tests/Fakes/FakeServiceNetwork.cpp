// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/FakeServiceNetwork.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace quorrel {

namespace {

std::string withFinalDot(std::string text) {
    return text.ends_with('.') ? text : std::move(text) + '.';
}

} // namespace

bool FakeServiceNetwork::OrderByText::operator()(
    const NetServiceInstance& left, const NetServiceInstance& right) const {
    return std::tie(left.name, left.type, left.domain) < std::tie(right.name, right.type, right.domain);
}

NetServiceInstance FakeServiceNetwork::instance(
    std::string name, std::string type, const std::optional<std::string>& domain) {
    return { std::move(name), withFinalDot(std::move(type)),
        domain && !domain->empty() ? withFinalDot(*domain) : "local." };
}

bool FakeServiceNetwork::isPlain(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char letter) { return letter != '\0' && letter != '\xFF'; });
}

void FakeServiceNetwork::record(const std::string& call) {
    calls.push_back(call);
    if (witness)
        witness(call);
}

} // namespace quorrel
