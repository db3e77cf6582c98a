// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// What the real tools printed on a network made for the purpose, byte for byte.
namespace quorrel::ToolOutputs {

constexpr auto nslookupFound = "Server:\t\t10.77.0.2\n"
                               "Address:\t10.77.0.2#53\n"
                               "\n"
                               "Name:\tfiles.lan.test\n"
                               "Address: 10.77.0.2\n"
                               "\n";

constexpr auto nslookupAlias = "Server:\t\t10.77.0.2\n"
                               "Address:\t10.77.0.2#53\n"
                               "\n"
                               "alias.lan.test\tcanonical name = files.lan.test.\n"
                               "Name:\tfiles.lan.test\n"
                               "Address: 10.77.0.2\n"
                               "\n";

constexpr auto nslookupBothFamilies = "Server:\t\t10.77.0.2\n"
                                      "Address:\t10.77.0.2#53\n"
                                      "\n"
                                      "Name:\tdual.lan.test\n"
                                      "Address: 10.77.0.3\n"
                                      "Name:\tdual.lan.test\n"
                                      "Address: fd77::3\n"
                                      "\n";

constexpr auto nslookupUnknown = "Server:\t\t10.77.0.2\n"
                                 "Address:\t10.77.0.2#53\n"
                                 "\n"
                                 "** server can't find nosuch.lan.test: NXDOMAIN\n"
                                 "\n";

constexpr auto nslookupDeadServer = ";; communications error to 10.77.0.99#53: timed out\n"
                                    ";; communications error to 10.77.0.99#53: timed out\n"
                                    ";; communications error to 10.77.0.99#53: timed out\n"
                                    ";; no servers could be reached\n"
                                    "\n";

constexpr auto nmblookupFound = "10.77.0.2 HOSTB<00>\n";
constexpr auto nmblookupUnknown = "name_query failed to find name NOSUCH\n";
constexpr auto nmblookupTooLong = "The specified netbios name [AMUCHTOOLONGNAME] is too long!\n";

} // namespace quorrel::ToolOutputs
