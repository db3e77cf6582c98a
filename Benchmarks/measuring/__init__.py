# SPDX-License-Identifier: GPL-3.0-or-later
"""What the benchmarks of whole programs are made of."""
