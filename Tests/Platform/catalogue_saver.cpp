// SPDX-License-Identifier: GPL-3.0-or-later
//
// catalogue_saver FILE NAME FIRST LAST: saves the catalogues of that name with those numbers one after another, as fast
// as it can, and prints the number of each that is saved. Ends with its parent.
#include "Platform/Linux/PlistFile.h"
#include "Tests/Platform/NumberedCatalogue.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <sys/prctl.h>

int main(int argumentCount, char** arguments) {
    if (argumentCount != 5)
        return 2;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    quorrel::PlistFile file;
    const int last = std::atoi(arguments[4]);
    for (int number = std::atoi(arguments[3]); number <= last; ++number) {
        if (const auto failure = file.write(arguments[1], quorrel::NumberedCatalogue::make(arguments[2], number))) {
            std::fprintf(stderr, "%s %d: %s\n", arguments[2], number, failure->c_str());
            return EXIT_FAILURE;
        }
        std::printf("%d\n", number);
        std::fflush(stdout);
    }
    return EXIT_SUCCESS;
}
