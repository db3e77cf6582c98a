# SPDX-License-Identifier: GPL-3.0-or-later
"""Crashes of gvfs's AFP back end, which befall it at random whoever uses it: in about one read of 170 on a busy machine.

Each is told in a file of the bed, so that a test may repeat what a crash has spoilt, and only that.
"""

import mmap
import os
import shutil
import sys

_SOURCE = os.path.join(os.path.dirname(__file__), "CrashTeller.cpp")
_MOUNTS = "/usr/share/gvfs/mounts"
_FILE = "afp-crashes"
SAID = "gvfs's AFP back end crashed, again"


def tell(bed):
    """Has the session that the bed will start tell of them."""
    library = bed.path("crash-teller.so")
    bed.run_tool(["c++", "-std=c++20", "-shared", "-fPIC", "-fno-exceptions", "-nostdlib", "-o", library,
                  _SOURCE, "-lc"])
    bed.write(_FILE, "")
    folder = bed.make_folder("gvfs-mounts")
    for name in os.listdir(_MOUNTS):
        shutil.copyfile(os.path.join(_MOUNTS, name), os.path.join(folder, name))
    place = os.path.join(folder, "afp.mount")
    if os.path.exists(place):
        with open(place, encoding="utf-8") as file:
            text = file.read()
        # By env, so that the back end stays the daemon's own child and keeps its name.
        said = f"Exec=/usr/bin/env LD_PRELOAD={library} TELL_CRASHES={bed.path(_FILE)} "
        bed.write(place, text.replace("Exec=", said))
    bed.session["GVFS_MOUNTABLE_DIR"] = folder
    bed.export(AFP_CRASHES=bed.path(_FILE))


def count(place=None):
    """How many there were, in the bed around the caller or by that file."""
    place = place or os.environ.get("QTB_AFP_CRASHES")
    return os.path.getsize(place) // len("crashed\n") if place and os.path.exists(place) else 0


def count_in(bed):
    return count(bed.exports.get("QTB_AFP_CRASHES"))


def in_spite(facts, times=3):
    """Calls it; once more if it fails and there was a crash meanwhile, so many times in all."""
    for time in range(1, times + 1):
        before = count()
        try:
            return facts()
        except Exception:  # pylint: disable=broad-except
            if time == times or count() == before:
                raise
            print(SAID, flush=True)


def again(options, run):
    """Runs a whole bed; anew, `options.again` times at most, while its command fails and there was a crash in it."""
    options.crashed = mmap.mmap(-1, 1)  # shared with the bed's processes
    for left in range(options.again, -1, -1):
        options.crashed[0] = False
        code = run(options)
        if code == 0 or not options.crashed[0] or left == 0:
            break
        print(f"testbed: ended with {code}, but {SAID}", file=sys.stderr, flush=True)
    return code
