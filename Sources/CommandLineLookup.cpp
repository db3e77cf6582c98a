// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/CommandLineLookup.h"

#include "Foundation/Paragraphs.h"
#include "Foundation/Text.h"
#include "Sources/ToolOutput.h"

#include <algorithm>
#include <utility>

namespace quorrel {

namespace {

/// Both tools read a leading hyphen as an option, and without a name one of them reads commands from its terminal. What
/// is wrong with a name they write to standard error, which is the log, as the name stands: no control character of it
/// may get there.
bool isUsableAsArgument(const std::string& hostName) {
    return !hostName.empty() && !hostName.starts_with('-') && hostName.find_first_of("\n\t") == std::string::npos
        && Text::escapedControls(hostName) == hostName;
}

} // namespace

CommandLineLookup::CommandLineLookup(ChildProcess& childProcess, Log& log, std::string path, Tool tool)
    : m_childProcess(childProcess)
    , m_log(log)
    , m_path(std::move(path))
    , m_tool(std::move(tool)) { }

bool CommandLineLookup::lookup(const std::string& hostName) {
    m_log.line(m_tool.startText, { hostName });
    if (std::exchange(m_isUsed, true) || !isUsableAsArgument(hostName))
        return fail();

    const auto text = output(hostName);
    const auto lines = Text::paragraphs(text);
    if (m_tool.alwaysLogsOutput)
        m_log.outputAlways("\n%@", text);
    else
        m_log.output("\n%@", text);

    const auto failed = [&](const std::string& line) {
        return Text::lowerCase(line).find(m_tool.failureMarker) != std::string::npos;
    };
    if (std::any_of(lines.begin(), lines.end(), failed)) {
        m_ip4.reset();
        return fail();
    }

    const auto mentionsHost = [&](const std::string& line) { return line.find(hostName) != std::string::npos; };
    const auto match = std::find_if(lines.begin(), lines.end(), mentionsHost);
    if (match == lines.end())
        return false;
    auto address = addressAt(lines, static_cast<std::size_t>(match - lines.begin()));
    if (!address)
        return false;
    m_ip4 = std::move(address);
    m_log.line(m_tool.successText, { hostName, *m_ip4 });
    return true;
}

std::string CommandLineLookup::output(const std::string& hostName) {
    auto arguments = m_tool.arguments;
    arguments.push_back(hostName);
    return toolOutput(m_childProcess, m_log, m_path, arguments);
}

bool CommandLineLookup::fail() {
    m_log.line(m_tool.failureText);
    return false;
}

} // namespace quorrel
