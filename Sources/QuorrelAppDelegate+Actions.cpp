// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/QuorrelAppDelegate.h"

#include "Foundation/StringTable.h"
#include "Platform/Application.h"
#include "Sources/AddMountWindowController.h"
#include "Sources/ControllerWindows.h"
#include "Sources/HostDefinition.h"
#include "Sources/PasswordWindowController.h"
#include "Sources/SharePointDefinition.h"

#include <algorithm>
#include <array>
#include <variant>

namespace quorrel {

namespace {

/// What keeps an action from doing anything: the key of a text that says so. Null: nothing; empty: nothing that needs
/// words.
using Hindrance = const char*;

constexpr Hindrance nothing = nullptr;
constexpr Hindrance obvious = "";

bool hasVolume(const SharePointDefinition& sharePoint) {
    return sharePoint.referenceNumber.get().value_or(0) != 0; // a mount that failed leaves 0
}

Hindrance toBeginWith(const SharePointDefinition& sharePoint) {
    return sharePoint.unmounting.get() ? localizable("The share is being unmounted.")
        : sharePoint.mounting.get()    ? localizable("The share is being mounted.")
                                       : nothing;
}

/// A share that is online without a volume of ours may be only the namesake of one that is: it can be mounted.
Hindrance toMounting(const SharePointDefinition& sharePoint) {
    if (const auto* hindrance = toBeginWith(sharePoint))
        return hindrance;
    return sharePoint.mounted.get() && hasVolume(sharePoint) ? localizable("The share is mounted already.") : nothing;
}

/// And one that is offline with a volume of ours may be the namesake of one that went: it can be unmounted.
Hindrance toUnmounting(const SharePointDefinition& sharePoint) {
    if (const auto* hindrance = toBeginWith(sharePoint))
        return hindrance;
    if (hasVolume(sharePoint))
        return nothing;
    return sharePoint.mounted.get() ? localizable("Another program mounted this volume, and it can be unmounted there.")
                                    : localizable("The share is not mounted.");
}

Hindrance toOpeningFolder(const SharePointDefinition& sharePoint) {
    if (!sharePoint.mounted.get())
        return localizable("The share is not mounted.");
    return textOf(sharePoint.volumePath.get()).empty()
        ? localizable("It is not known under which folder the share is mounted.")
        : nothing;
}

using Condition = Hindrance (*)(const SharePointDefinition& sharePoint);

Hindrance toAnythingWithShare(const SharePointDefinition&) {
    return nothing;
}

bool isFreeForAny(const HostDefinition& host, Condition hindranceOf) {
    const auto all = host.sharePoints.snapshot();
    return std::any_of(all.begin(), all.end(), [&](const auto& each) { return hindranceOf(*each) == nothing; });
}

} // namespace

/// Everything that menus, buttons and shortcuts can ask for.
struct QuorrelAppDelegate::Actions final {
    using Controller = QuorrelAppDelegate;
    using Run = std::variant<void (Controller::*)(), void (Controller::*)(const MenuItem&)>;

    struct Action final {
        Selector name;
        Run run;
        Hindrance (*hindrance)(const Controller& controller);
    };

    [[nodiscard]] static const Action* named(Selector name);

    [[nodiscard]] static Hindrance none(const Controller&) { return nothing; }
    [[nodiscard]] static Hindrance always(const Controller&) { return obvious; }

    [[nodiscard]] static Hindrance withoutWindows(const Controller& controller) {
        return controller.m_environment.windows ? nothing : obvious;
    }

    /// One sheet at a time.
    [[nodiscard]] static Hindrance duringSheet(const Controller& controller) {
        const auto& sheet = controller.m_addMountWindowController;
        return sheet && sheet->isShown() ? obvious : withoutWindows(controller);
    }

    [[nodiscard]] static Hindrance toEditing(const Controller& controller) {
        const auto* hindrance = duringSheet(controller);
        return hindrance ? hindrance : onSelectedShare<toAnythingWithShare>(controller);
    }

    [[nodiscard]] static Hindrance withoutHelpPage(const Controller& controller) {
        return controller.m_environment.helpPage.empty() ? obvious : nothing;
    }

    template <Condition hindranceOf>
    [[nodiscard]] static Hindrance onSelectedShare(const Controller& controller) {
        const auto sharePoint = controller.selectedSharePoint();
        return sharePoint ? hindranceOf(*sharePoint) : localizable("Select a share first.");
    }

    template <Condition hindranceOf>
    [[nodiscard]] static Hindrance onSelectedHost(const Controller& controller) {
        const auto host = controller.selectedHost();
        if (!host)
            return localizable("Select a server first.");
        if (host->sharePoints.count() == 0)
            return localizable("The server has no shares in the catalogue.");
        return isFreeForAny(*host, hindranceOf) ? nothing
            : hindranceOf == toMounting         ? localizable("Every share of the server is mounted already.")
                                                : localizable("No share of the server is mounted.");
    }

    template <Condition hindranceOf>
    [[nodiscard]] static Hindrance onAllHosts(const Controller& controller) {
        const auto all = controller.hosts.snapshot();
        if (std::all_of(all.begin(), all.end(), [](const auto& host) { return host->sharePoints.count() == 0; }))
            return localizable("There are no shares in the catalogue.");
        const auto isFree = [](const auto& host) { return isFreeForAny(*host, hindranceOf); };
        return std::any_of(all.begin(), all.end(), isFree) ? nothing
            : hindranceOf == toMounting                    ? localizable("Every share is mounted already.")
                                                           : localizable("No share is mounted.");
    }

    /// It also calls off what is queued, the mounts above all.
    [[nodiscard]] static Hindrance toUnmountingAll(const Controller& controller) {
        const bool isBusy = controller.m_opQueue->operationCount() > 0 || !controller.m_workLine.isEmpty();
        return isBusy ? nothing : onAllHosts<toUnmounting>(controller);
    }
};

const QuorrelAppDelegate::Actions::Action* QuorrelAppDelegate::Actions::named(Selector name) {
    using C = Controller;
    static constexpr std::array<Action, 23> table { {
        { "mountAllListItem", &C::mountAllListItem, onAllHosts<toMounting> },
        { "unmountAllListItem", &C::unmountAllListItem, toUnmountingAll },
        { "mountMenuItem", &C::mountMenuItem, none },
        { "unmountMenuItem", &C::unmountMenuItem, none },
        { "mountThisHostMenuItem", &C::mountThisHostMenuItem, none },
        { "unmountThisHostMenuItem", &C::unmountThisHostMenuItem, none },
        { "mountThisHostListItem", &C::mountThisHostListItem, onSelectedHost<toMounting> },
        { "unmountThisHostListItem", &C::unmountThisHostListItem, onSelectedHost<toUnmounting> },
        { "mountSelectedListItem", &C::mountSelectedListItem, onSelectedShare<toMounting> },
        { "unmountSelectedListItem", &C::unmountSelectedListItem, onSelectedShare<toUnmounting> },
        { "mountFavroiteItem", &C::mountFavroiteItem, none },
        { "browseMount", &C::browseMount, always },
        { "addMountSheet", &C::addMountSheet, duringSheet },
        { "editMountAction", &C::editMountAction, toEditing },
        { "deleteSelectedMount", &C::deleteSelectedMount, toEditing },
        { "showMountList", &C::showMountList, withoutWindows },
        { "showPreferences", &C::showPreferences, withoutWindows },
        { "switchTab", &C::switchTab, withoutWindows },
        { "showAbout", &C::showAbout, withoutWindows },
        { "help", &C::help, withoutHelpPage },
        { "openMountedFolder", &C::openMountedFolder, onSelectedShare<toOpeningFolder> },
        { "toggleFavroite", &C::toggleFavroite, onSelectedShare<toAnythingWithShare> },
        { "terminate", &C::terminate, withoutWindows },
    } };
    const auto* found = std::find_if(table.begin(), table.end(), [&](const Action& each) { return each.name == name; });
    return found == table.end() ? nullptr : found;
}

void QuorrelAppDelegate::perform(Selector name, const MenuItem& sender) {
    const auto* action = Actions::named(name);
    // A status menu can be opened while the prompt for a password is; nothing but the end may overtake the answer.
    if (!action || (m_isPrompting && name != "terminate"))
        return;
    if (const auto* plain = std::get_if<void (QuorrelAppDelegate::*)()>(&action->run))
        (this->**plain)();
    else
        (this->*std::get<void (QuorrelAppDelegate::*)(const MenuItem&)>(action->run))(sender);
    validateActions();
}

ActionState QuorrelAppDelegate::validate(Selector name) const {
    const auto* action = Actions::named(name);
    if (!action)
        return { false, {} };
    const auto* hindrance = m_isPrompting && name != "terminate" ? localizable("The password has to be given first.")
                                                                 : action->hindrance(*this);
    if (hindrance == nothing)
        return {};
    return { false, *hindrance == '\0' ? std::string() : m_environment.strings.text(hindrance) };
}

void QuorrelAppDelegate::terminate() {
    if (!m_environment.windows)
        return;
    m_isTerminating = true;
    if (m_isPrompting)
        m_passwordWindowController->cancelhostPassword();
    m_environment.windows->application.terminate();
}

} // namespace quorrel
