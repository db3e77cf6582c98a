// SPDX-License-Identifier: GPL-3.0-or-later
#include "Assembly/LinuxAssembly.h"
#include "Desktop/DesktopProgram.h"
#include "Desktop/QtLanguage.h"
#include "Platform/Linux/AutostartLoginItems.h"
#include "Platform/Linux/CoreFiles.h"
#include "Platform/Linux/FileVersion.h"
#include "Platform/Linux/FlockCatalogueLock.h"
#include "Platform/Linux/HelpPage.h"
#include "Platform/Linux/LinuxRemoteControl.h"
#include "Platform/Linux/LoaderTables.h"
#include "Platform/Linux/LogFile.h"
#include "Platform/Linux/ResourcePaths.h"
#include "Platform/Linux/SignalWatch.h"
#include "Platform/Linux/StandardPaths.h"
#include "Platform/Linux/StandardStreams.h"
#include "Sources/OperationsEnd.h"

#include <QApplication>
#include <QTimer>

#include <atomic>
#include <chrono>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

using namespace quorrel;

namespace {

/// By then the icon, the volumes and the watches have loaded what they need, and the loader has no more to look up.
constexpr std::chrono::seconds startsEnd { 2 };

int userErrors = STDERR_FILENO; // what standard error was before it became the log

void tellUser(std::string_view text) {
    (void)!write(userErrors, text.data(), text.size());
}

/// Qt's messages go to the log. What is wrong with the display is for the user too, and so are the last words of a Qt
/// that cannot go on, which leaves no core.
void handleMessage(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    const auto line = "quorrel: " + message.toStdString() + '\n';
    (void)!write(STDERR_FILENO, line.data(), line.size());
    const std::string_view category = context.category ? context.category : "";
    if (type == QtFatalMsg || (type == QtWarningMsg && category.starts_with("qt.qpa.")))
        tellUser(line);
    if (type == QtFatalMsg)
        _exit(EXIT_FAILURE);
}

/// The options that need no display; whether there was one.
bool answeredWithoutDisplay(int argumentCount, char** arguments) {
    const std::string_view option = argumentCount > 1 ? arguments[1] : "";
    if (option == "--version")
        std::printf("quorrel %s\n", QUORREL_VERSION);
    else if (option == "--help")
        std::puts("quorrel [--show-shares | --mount-all | --preferences | --version | --help]\n\n"
                  "Keeps network shares mounted, from the desktop's tray. Started again, it shows its window.\n\n"
                  "  --show-shares  shows the window, whether or not it runs already\n"
                  "  --mount-all    mounts every share\n"
                  "  --preferences  shows the preferences\n\n"
                  "quorrelctl does the same from a terminal.");
    else
        return false;
    return true;
}

/// The desktop entry's name for what it is started for; empty for nothing in particular.
std::string actionAmong(int argumentCount, char** arguments) {
    for (int index = 1; index < argumentCount; ++index)
        for (const std::string_view action : { "show-shares", "mount-all", "preferences" })
            if (const std::string_view argument = arguments[index];
                argument.starts_with("--") && argument.substr(2) == action)
                return std::string(action);
    return {};
}

/// What the one that starts a program leaves there for it alone, not for those that it starts in turn.
std::string takenFromEnvironment(const char* name) {
    const char* value = std::getenv(name);
    std::string result = value ? value : "";
    unsetenv(name);
    return result;
}

int runOnDesktop(std::atomic<DesktopProgram*>& running, LinuxAssembly& assembly, const DesktopProgramOptions& options) {
    const auto& paths = assembly.paths();
    AutostartLoginItems loginItems(
        { paths.autostartFolder(), paths.programs, { paths.volumesFolder(), paths.runtime.value_or("") + "/gvfs" } });
    FlockCatalogueLock lock(paths.lockFile());
    LinuxRemoteControl remoteControl({ paths.sessionBus, getuid() });
    DesktopProgram program(assembly.environment(), &assembly.discovery(), lock, loginItems, remoteControl, options);
    running = &program;
    // A quarter of what the idle program would hold, and needed no more.
    QTimer::singleShot(startsEnd, [] { LoaderTables::giveBack(); });
    const int status = program.run();
    running = nullptr;
    assembly.endTools();
    // Workers may hang in what they do for a server; nothing that they use may be destroyed under them.
    std::fflush(nullptr);
    _exit(status);
}

} // namespace

int main(int argumentCount, char** arguments) {
    StandardStreams::fillClosedOnes();
    CoreFiles::forbid();
    std::setlocale(LC_ALL, "");
    if (answeredWithoutDisplay(argumentCount, arguments))
        return EXIT_SUCCESS;
    std::signal(SIGPIPE, SIG_IGN);

    // Qt would take the first for the first window that it shows, whenever that is.
    const auto token = takenFromEnvironment("XDG_ACTIVATION_TOKEN");
    const auto startupId = takenFromEnvironment("DESKTOP_STARTUP_ID");
    userErrors = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const auto paths = StandardPaths::fromEnvironment();
    LogFile::reopenStandardError(paths.logFile());
    qInstallMessageHandler(handleMessage);

    std::atomic<DesktopProgram*> running = nullptr;
    std::atomic<LinuxAssembly*> assembled = nullptr;
    const SignalWatch signalWatch([&](int signal) {
        if (auto* program = running.load()) {
            program->quit();
            std::this_thread::sleep_for(signalPatience);
            // The main thread waits for the save as well, and then ends the program in order.
            if (program->waitUntilSaved())
                std::this_thread::sleep_for(signalPatience);
        }
        if (auto* assembly = assembled.load())
            assembly->endTools();
        _exit(128 + signal);
    });
    const auto resources = ResourcePaths::find();
    LinuxAssembly assembly(paths, resources.locale, resources.icons);
    assembled = &assembly;
    const auto action = actionAmong(argumentCount, arguments);
    const QApplication application(argumentCount, arguments);
    const QtLanguage language(paths.languages);
    return runOnDesktop(running, assembly,
        { QCoreApplication::applicationFilePath().toStdString(), helpPage(resources.help, paths.languages),
            paths.logFile(), QUORREL_VERSION, fileVersion, action, token, startupId });
}
