# SPDX-License-Identifier: GPL-3.0-or-later
# Completes the command line of quorrel in bash; bash-completion loads it by its name.

_quorrel()
{
    local cur prev words cword
    _init_completion || return
    # It takes one option.
    ((cword > 1)) || mapfile -t COMPREPLY < <(compgen -W "--show-shares --mount-all --preferences --help --version" -- "$cur")
} && complete -F _quorrel quorrel
