// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/SMBScanner.h"

#include "Foundation/Log.h"
#include "Foundation/Paragraphs.h"
#include "Foundation/TextList.h"
#include "Sources/DiscoveryEnvironment.h"
#include "Sources/ToolOutput.h"

#include <algorithm>
#include <string>
#include <utility>

namespace quorrel {

void SMBScanner::main() {
    m_environment.log.line("Scaning for samba hosts Thread Started");
    const auto output
        = toolOutput(m_environment.childProcess, m_environment.log, m_environment.nmblookupPath, { "*", "-T" });
    for (auto& line : Text::paragraphs(output)) {
        const auto comma = line.find(',');
        if (comma == std::string::npos || !m_smbHosts)
            continue;
        line.resize(comma);
        // Spaces are looked for where the name has dashes, so that a name with a dash is never found and comes again
        // with every scan.
        auto probe = line;
        std::replace(probe.begin(), probe.end(), '-', ' ');
        m_smbHosts->appendUnlessPrinted(std::move(line), probe);
    }
    m_environment.log.line("Scaning for samba hosts Thread ended");
}

} // namespace quorrel
