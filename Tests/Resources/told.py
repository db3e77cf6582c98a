# SPDX-License-Identifier: GPL-3.0-or-later
"""What a program's help tells of."""

import os
import re
import subprocess

SECONDS = 60


def told_by(program):
    """The long options and the commands."""
    said = subprocess.run([program, "--help"], capture_output=True, text=True, timeout=SECONDS, check=True).stdout
    name = os.path.basename(program)
    return set(re.findall(r"(?<![\w-])--[a-z][a-z-]*", said)), set(re.findall(rf"^  {name} ([a-z]+)", said, re.MULTILINE))
