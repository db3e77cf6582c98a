// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/ActionTarget.h"
#include "Foundation/Menu.h"
#include "Foundation/NotificationCenter.h"
#include "Foundation/ObservableList.h"
#include "Foundation/OperationQueue.h"
#include "Foundation/Property.h"
#include "Foundation/TextList.h"
#include "Platform/Window.h"
#include "Sources/CatalogueContext.h"
#include "Sources/CatalogueLists.h"
#include "Sources/ControllerEnvironment.h"
#include "Sources/HostIndex.h"
#include "Sources/WorkLine.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorrel {

class AddMountWindowController;
class BonjourMonitor;
class BonjourResolver;
class BonjourScanner;
class CatalogueFile;
class DiskMonitor;
class HostDefinition;
class HostFileScanner;
class PasswordWindowController;
class Reachability;
class ServiceDefinition;
class SharePointDefinition;
class SMBScanner;
class StatusBarItem;

/// The one controller: it owns the catalogue, the operation queue and whatever watches the world, and takes every
/// decision. Main thread only, save for `bonjourServices`, which scans append to.
class QuorrelAppDelegate final : public Observable, public ActionTarget {
public:
    using HostPointer = std::shared_ptr<HostDefinition>;
    using SharePointPointer = std::shared_ptr<SharePointDefinition>;

    explicit QuorrelAppDelegate(const ControllerEnvironment& environment);
    /// Waits for operations that run; a program that must not wait ends its process instead.
    ~QuorrelAppDelegate() override;

    // Life
    void awakeFromNib();
    void registerHotKeys() { }
    void applicationDidFinishLaunching();
    /// Cancels and unregisters; waits for nothing and saves nothing.
    void applicationWillTerminate();
    /// What records of the catalogue are made with.
    [[nodiscard]] const CatalogueContextPointer& catalogueContext() const { return m_context; }

    // The catalogue file
    /// The folder's path, whether or not it could be created.
    [[nodiscard]] std::string applicationSupportFolder();
    [[nodiscard]] std::string catalogueFile();
    void loadHostsArray();
    /// Takes down what is to be saved; see the environment's `saves` for when it is.
    void saveHostsArray();

    // Preferences
    /// For the key paths that turn browsers and scans on and off; any other does nothing.
    void observeValueForKeyPath(std::string_view keyPath);

    // Reconciliation
    void bonjourServiceNotigficationUpdate(const Notification& notification);
    void diskNotigficationUpdate(const Notification& notification);
    void networkReachabilityChanged(const Notification& notification);
    void saveNotigfication(const Notification& notification);
    void sendSaveNotification();

    // Commands. A null share point is allowed.
    void mount(const SharePointPointer& sharePoint);
    void mountSharePoint(const SharePointPointer& sharePoint);
    void unmount(const SharePointPointer& sharePoint);
    /// As the user's wish, whether or not it mounts automatically.
    void mountManually(const SharePointPointer& sharePoint) { mountInTurn(sharePoint, Manner::Manually); }
    void mountAll();
    void mountAllListItem();
    void unmountAllListItem();
    void mountMenuItem(const MenuItem& item);
    void unmountMenuItem(const MenuItem& item);
    void mountThisHostMenuItem(const MenuItem& item);
    void unmountThisHostMenuItem(const MenuItem& item);
    void mountThisHostListItem();
    void unmountThisHostListItem();
    void mountSelectedListItem();
    void unmountSelectedListItem();
    void mountFavroiteItem(const MenuItem& item);
    void browseMount() { }

    // Actions of menus, buttons and shortcuts, by the name of the operation
    void perform(Selector action, const MenuItem& sender) override;
    [[nodiscard]] ActionState validate(Selector action) const override;

    // Menus. Without a status item they are not built.
    void makeMountpopMenu();
    /// Leaves the menu as it is where one of its markers is missing.
    void makeFavroitesMenu();

    // Windows
    /// Returns when the prompt, if one was needed, is closed.
    void getHostPassword(const SharePointPointer& sharePoint);
    void showHostPasswordWindow(const SharePointPointer& sharePoint);
    void addMountSheet();
    void editMountAction();
    void deleteSelectedMount();
    void sheetDidEndShouldDelete(AlertAnswer answer);
    void showMountList();
    void showPreferences();
    void switchTab(const MenuItem& sender);
    void showAbout();
    void help();
    /// Opens the folder of the first selected share point, if it is mounted.
    void openMountedFolder();
    /// Makes the first selected share point a favourite, or no longer one, and saves.
    void toggleFavroite();

    [[nodiscard]] OperationQueue& opQueue() { return *m_opQueue; }
    /// What waits for names; it comes to the queue from there.
    [[nodiscard]] WorkLine& workLine() { return m_workLine; }
    /// Whether a mount or an unmount of it waits or runs.
    [[nodiscard]] bool isBusyWith(const SharePointDefinition& sharePoint) const;
    /// Whether the user is asked for a password just now.
    [[nodiscard]] bool isPrompting() const { return m_isPrompting; }
    /// Whether mounting it would ask for a password.
    [[nodiscard]] static bool wantsPassword(const SharePointDefinition& sharePoint);

    ObservableList<HostPointer> hosts { *this, "hosts" };
    TextList bonjourServices { *this, "bonjourServices" }; ///< names of servers seen
    const std::vector<SortDescriptor> sharePointListSortDescriptors { { "sharePoint", SortOrder::Ascending } };
    const std::vector<SortDescriptor> hostsListSortDescriptors { { "displayName", SortOrder::Ascending } };
    SharePointListController mountsArrayController;
    HostListController hostsArrayController;
    const std::shared_ptr<Menu> mountMenu;
    const std::shared_ptr<Menu> unmountMenu;
    const std::shared_ptr<Menu> popMenu; ///< what the status item shows; holds both

private:
    void writeFirstLaunchDefaults();
    void registerForNotifications();
    void observePreferences();
    void setReachabilityTarget();
    /// 0 also where the system cannot watch the host.
    [[nodiscard]] int remoteHostStatus();
    void networkBecame(int status);
    void bindLists();
    void unbindLists();
    /// At once on the main thread; from another one later, and not at all once the controller is gone. What comes on
    /// the main thread while the user is asked for a password waits for the answer, and all that comes after it too.
    void onMainThread(const std::function<void()>& task);

    void watchModel(const HostPointer& host);
    /// Of hosts that are gone, or that are no longer marked as monitored and so about to get a new one.
    void dropSpentMonitors();
    /// Of hosts that are gone, or are not being resolved, and so wait for no answer any more.
    void dropSpentResolvers();

    struct Browser;
    void startBrowsers();
    void startBrowser(const Browser& browser);
    void stopBrowser(const Browser& browser);
    void switchBrowsing();
    void switchBrowser(const Browser& browser);
    void startScans();
    void scanForSMBHosts();
    void lookUpHostFile();

    void serviceAppeared(const std::string& name, const OptionalText& type);
    void serviceLeft(const std::string& name);
    /// A model that a host tells is saved at once. Those that come close behind it are saved together: a departure ends
    /// every monitor and the next save starts them all, so that all hosts tell their models, and with a save for each
    /// the main thread would do nothing else for minutes.
    void followRecords();
    void watchForQuiet();
    [[nodiscard]] bool isFromMonitor(const Notification& notification) const;
    void saveAndShowHosts();

    /// A host that nobody knows counts as unresolved.
    void resolveIfUnknown(const HostPointer& host, const std::shared_ptr<ServiceDefinition>& service);
    /// What that would have the main thread wait for.
    [[nodiscard]] std::vector<NameLookup> lookupsFor(
        const HostPointer& host, const std::shared_ptr<ServiceDefinition>& service) const;
    enum class Manner { AsMarked, Manually };
    /// What concerns share points or hosts is done in turn: see `WorkLine`. A share point that is deleted before its
    /// turn comes is left alone.
    void mountInTurn(const SharePointPointer& sharePoint, Manner manner);
    void mountNow(const SharePointPointer& sharePoint, Manner manner);
    void unmountNow(const SharePointPointer& sharePoint);
    void queueMount(const SharePointPointer& sharePoint);
    void queueUnmount(const SharePointPointer& sharePoint);
    void queueOperation(
        std::string_view kind, const SharePointPointer& sharePoint, std::shared_ptr<Operation> operation);
    void mountManually(const HostPointer& host);
    void unmountAllOf(const HostPointer& host);
    void cancelQueueIfBusy();
    /// The first one; null without a selection.
    [[nodiscard]] SharePointPointer selectedSharePoint() const;
    /// Made on first use; null without windows, and while its sheet is open.
    [[nodiscard]] AddMountWindowController* addMountWindowController();
    /// Selects what the sheet has just saved.
    void selectSaved(const SharePointPointer& sharePoint);
    /// Every host whose display name is the title of the item's menu.
    [[nodiscard]] std::vector<HostPointer> hostsOfMenu(const MenuItem& item) const;

    struct Actions;
    /// Ends the program; a prompt that is open is cancelled, and none is shown any more.
    void terminate();

    /// For what neither list shows: the other hosts' shares and the queue.
    void validateActions();
    /// In a later turn of the run loop, once for all that ask until then. Any thread.
    void soon(std::atomic<bool> QuorrelAppDelegate::*isDue, void (QuorrelAppDelegate::*task)());
    void validateActionsSoon() { soon(&QuorrelAppDelegate::m_isValidationDue, &QuorrelAppDelegate::validateActions); }
    void serverNamesChanged();
    void showHosts();
    /// Selects the first host where none is selected.
    void selectSomeHost();
    /// The list of share points is that of the first selected host.
    void followSelectedHost();
    void showSharePoints();
    /// The first one; null without a selection.
    [[nodiscard]] HostPointer selectedHost() const;
    /// Where nothing can be started for it, the user reads the complaint.
    void open(const std::string& url, const std::string& complaint);

    const ControllerEnvironment m_environment;
    const CatalogueContextPointer m_context;
    const std::shared_ptr<CatalogueFile> m_catalogueFile; // the saves' as well
    std::unique_ptr<PasswordWindowController> m_passwordWindowController;
    std::unique_ptr<AddMountWindowController> m_addMountWindowController;
    std::unique_ptr<BonjourScanner> m_AFP_Scanner;
    std::unique_ptr<BonjourScanner> m_SMB_Scanner;
    std::unique_ptr<BonjourScanner> m_HTTP_Scanner;
    std::unique_ptr<BonjourScanner> m_FTP_Scanner;
    std::shared_ptr<SMBScanner> m_shellSBMScanner;
    std::shared_ptr<HostFileScanner> m_hostFileScanner;
    HostIndex m_hostIndex;
    std::vector<std::unique_ptr<BonjourResolver>> m_resolverArray; // those whose hosts are being resolved, and the last
    std::uint64_t m_resolvingEnds = 0; // as counted when spent resolvers were dropped last
    std::vector<std::unique_ptr<BonjourMonitor>> m_monitorsArray;
    std::uint64_t m_monitoringEnds = 0; // likewise, of monitors
    WorkLine m_workLine;
    std::map<std::string, int> m_departures; // by server, of those that wait in the line
    std::optional<OperationQueue> m_opQueue;
    std::unique_ptr<DiskMonitor> m_diskMonitor;
    std::unique_ptr<StatusBarItem> m_statusBarItem;
    std::unique_ptr<Reachability> m_sharedReachabilityObject;
    bool m_reachable = false;
    std::optional<int> m_unsavedRecords; // absent: the next one is saved at once
    int m_quietTurns = 0; // of the run loop, without a record

    std::vector<Subscription> m_notificationSubscriptions;
    std::vector<Subscription> m_preferenceSubscriptions;
    Subscription m_hostsSubscription;
    Subscription m_selectionSubscription;
    Subscription m_sharePointsSubscription;
    Subscription m_endsSubscription;
    Subscription m_lineSubscription;
    Subscription m_namesSubscription;
    HostPointer m_hostOnShow; // whose share points are listed
    bool m_isMountListShown = false; // has been, in this run
    bool m_isPrompting = false; // within the modal run of the prompt for a password
    bool m_isTerminating = false;
    std::atomic<bool> m_isValidationDue = false; // a task for it is posted
    std::atomic<bool> m_areNamesDue = false; // likewise
    int m_postponed = 0; // tasks that waited for the prompt's answer and have not run yet
    std::shared_ptr<QuorrelAppDelegate*> m_self; // what tasks that were posted to the main thread hold weakly
};

} // namespace quorrel
