# SPDX-License-Identifier: GPL-3.0-or-later
"""The parts of scripts/testbed: one module per duty, standard library only."""
