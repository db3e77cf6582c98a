// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <string_view>

namespace quorrel::fuzz {

/// What reads input that others write, each with what must hold of its result whatever the input. A target reads any
/// bytes, needs neither files nor processes, keeps nothing from one input to the next, and ends the process with
/// `require` when something does not hold.
///
/// Where an input has several parts, they stand one behind the other with the byte 0x1F between them.
void readCatalogue(std::string_view input);
void readRecords(std::string_view input);
void readNSLookUp(std::string_view input);
void readSMBLookup(std::string_view input);
void readSMBScan(std::string_view input);
void readHostFile(std::string_view input);
void readVolumePath(std::string_view input);
void buildServerURL(std::string_view input);
void readKernelMounts(std::string_view input);
void readTXTRecord(std::string_view input);

struct Target final {
    const char* name; ///< as the corpus's folder is called
    void (*run)(std::string_view input);
};

inline constexpr std::array targets {
    Target { "catalogue", readCatalogue },
    Target { "records", readRecords },
    Target { "nslookup", readNSLookUp },
    Target { "smblookup", readSMBLookup },
    Target { "smbscan", readSMBScan },
    Target { "hostfile", readHostFile },
    Target { "volumepath", readVolumePath },
    Target { "serverurl", buildServerURL },
    Target { "kernelmounts", readKernelMounts },
    Target { "txtrecord", readTXTRecord },
};

} // namespace quorrel::fuzz
