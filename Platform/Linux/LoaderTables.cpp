// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/LoaderTables.h"

#include <cstddef>
#include <cstdint>

#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

namespace quorrel {

namespace {

/// The first of an object's segments that are loaded. Linkers put the tables there, and nothing else when code and
/// constants have segments of their own.
const ElfW(Phdr) * firstSegment(const dl_phdr_info& object) {
    for (ElfW(Half) index = 0; index < object.dlpi_phnum; ++index)
        if (object.dlpi_phdr[index].p_type == PT_LOAD)
            return &object.dlpi_phdr[index];
    return nullptr;
}

/// Whether the loader wrote into what is read-only now. That would not come back from the file.
bool hasBeenRelocated(const dl_phdr_info& object) {
    for (ElfW(Half) index = 0; index < object.dlpi_phnum; ++index) {
        const auto& header = object.dlpi_phdr[index];
        if (header.p_type != PT_DYNAMIC)
            continue;
        const auto* entry = reinterpret_cast<const ElfW(Dyn)*>(object.dlpi_addr + header.p_vaddr);
        for (; entry->d_tag != DT_NULL; ++entry)
            if (entry->d_tag == DT_TEXTREL || (entry->d_tag == DT_FLAGS && (entry->d_un.d_val & DF_TEXTREL) != 0))
                return true;
    }
    return false;
}

int giveBackTablesOf(dl_phdr_info* object, std::size_t /*size*/, void* /*unused*/) {
    const auto* segment = firstSegment(*object);
    if (!segment || segment->p_flags != PF_R || hasBeenRelocated(*object))
        return 0;
    const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const std::uintptr_t begin = (object->dlpi_addr + segment->p_vaddr) / page * page;
    const std::uintptr_t end = object->dlpi_addr + segment->p_vaddr + segment->p_memsz;
    // Rounds the length up to whole pages itself. That it fails where memory is locked is as well.
    (void)madvise(reinterpret_cast<void*>(begin), end - begin, MADV_DONTNEED);
    return 0;
}

} // namespace

void LoaderTables::giveBack() {
    dl_iterate_phdr(giveBackTablesOf, nullptr);
}

} // namespace quorrel
