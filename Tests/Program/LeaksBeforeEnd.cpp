// SPDX-License-Identifier: GPL-3.0-or-later
#include <sanitizer/lsan_interface.h>

#include <atomic>

#include <unistd.h>

[[noreturn]] void endAtOnce(int status) asm("__real__exit");
[[noreturn]] void lookForLeaksAndEnd(int status) asm("__wrap__exit");

/// Stands for `_exit` in programs built with AddressSanitizer: they end by it because of threads that may hang, and
/// leaks are looked for at other ends only.
void lookForLeaksAndEnd(int status) {
    // It takes its time, in which another thread may want to end the program with another status.
    static std::atomic_flag ends;
    while (ends.test_and_set())
        pause();
    __lsan_do_leak_check();
    endAtOnce(status);
}
