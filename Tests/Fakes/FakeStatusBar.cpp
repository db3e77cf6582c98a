// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/FakeStatusBar.h"

namespace quorrel {

class FakeStatusBar::Item final : public StatusItem {
public:
    explicit Item(FakeStatusBar& bar)
        : m_bar(bar) { }
    ~Item() override {
        m_bar.record("end of status item");
        m_bar.m_menu = nullptr;
    }
    void setImage(const Image& image) override { m_bar.record("image " + image.name); }
    void setAlternateImage(const Image& image) override { m_bar.record("alternate image " + image.name); }
    void setHighlightMode(bool isOn) override { m_bar.record(isOn ? "highlight on" : "highlight off"); }
    void setMenu(std::shared_ptr<Menu> menu) override {
        m_bar.record("menu " + (menu ? menu->title() : "none"));
        m_bar.m_menu = std::move(menu);
    }

private:
    FakeStatusBar& m_bar;
};

std::unique_ptr<StatusItem> FakeStatusBar::statusItemWithLength(double length) {
    record("status item " + std::to_string(static_cast<int>(length)));
    return std::make_unique<Item>(*this);
}

void FakeStatusBar::record(std::string event) {
    m_events.push_back(event);
    if (m_witness)
        m_witness(event);
}

} // namespace quorrel
