// SPDX-License-Identifier: GPL-3.0-or-later
#include <sanitizer/lsan_interface.h>

[[noreturn]] void endAtOnce(int status) asm("__real__exit");
[[noreturn]] void lookForLeaksAndEnd(int status) asm("__wrap__exit");

/// Stands for `_exit` in programs built with AddressSanitizer: they end by it because of threads that may hang, and
/// leaks are looked for at other ends only.
void lookForLeaksAndEnd(int status) {
    __lsan_do_leak_check();
    endAtOnce(status);
}
