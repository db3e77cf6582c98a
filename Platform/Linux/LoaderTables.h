// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace quorrel::LoaderTables {

/// Takes the symbol, string and relocation tables of the program and its libraries out of this process's memory. They
/// come back from their files, page by page, where a library is loaded or a symbol looked up later. For the end of the
/// start; any thread.
void giveBack();

} // namespace quorrel::LoaderTables
