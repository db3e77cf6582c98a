#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""include_order.py ROOT: reads every source below the root and fails on what the rules forbid."""

import sys
from pathlib import Path

import rules


def main():
    root = Path(sys.argv[1]).resolve()
    problems = rules.check(root)
    count = len(rules.sources(root))
    for problem in problems:
        print(problem, file=sys.stderr)
    if count == 0:
        print(f"no sources below {root}", file=sys.stderr)
    print(f"{count} sources, {len(problems)} problems")
    return 1 if problems or count == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
