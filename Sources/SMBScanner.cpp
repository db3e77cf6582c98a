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
#include <vector>

namespace quorrel {

void SMBScanner::main() {
    m_environment.log.line("Scaning for samba hosts Thread Started");
    const auto output
        = toolOutput(m_environment.childProcess, m_environment.log, m_environment.nmblookupPath, { "*", "-T" });
    // Asked for all at once: on a network that answers with many names each would be looked for among all before it.
    std::vector<TextList::Candidate> names;
    for (auto& line : Text::paragraphs(output)) {
        const auto comma = line.find(',');
        if (comma == std::string::npos || !m_smbHosts)
            continue;
        line.resize(comma);
        // Spaces are looked for where the name has dashes, so that a name with a dash is never found and comes again
        // with every scan.
        auto probe = line;
        std::replace(probe.begin(), probe.end(), '-', ' ');
        names.push_back({ std::move(line), std::move(probe) });
    }
    if (m_smbHosts)
        m_smbHosts->appendEachUnlessPrinted(std::move(names));
    m_environment.log.line("Scaning for samba hosts Thread ended");
}

} // namespace quorrel
