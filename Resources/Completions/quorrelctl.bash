# SPDX-License-Identifier: GPL-3.0-or-later
# Completes the command line of quorrelctl in bash; bash-completion loads it by its name.

# PROGRAM MOUNTED: the names of the servers and shares that are mounted ("true") or not, one a line. A program that
# does not answer at once is not waited for. Names that JSON writes with escapes for control characters are left out.
_quorrelctl_names()
{
    timeout 3 "$1" list --json 2>/dev/null </dev/null | awk -v wanted="$2" '
        function text(line, rest) {
            sub(/^[^:]*: "/, "", line)
            sub(/",?$/, "", line)
            rest = line
            gsub(/\\["\\]/, "", rest)
            if (rest ~ /\\/)
                return ""
            gsub(/\\\\/, "\001", line)
            gsub(/\\"/, "\"", line)
            gsub(/\001/, "\\", line)
            return line
        }
        function give(name) {
            if (name != "" && !given[name]++)
                print name
        }
        /^ *"host": "/ { host = text($0) }
        /^ *"share": "/ { share = text($0) }
        /^ *"mounted": / && $2 ~ wanted && host != "" {
            give(host)
            if (share != "")
                give(host "/" share)
        }'
}

_quorrelctl()
{
    local cur prev words cword split
    _init_completion -s -n : || return

    local command="" all=false ended=false options="" before="" word
    local -A given=()
    for word in "${words[@]:1:cword-1}"; do
        if $ended || [[ $word != -* ]]; then
            if [[ $before == --password-file ]]; then
                :
            elif [[ -z $command ]]; then
                command=$word
            else
                given[$word]=1
            fi
        elif [[ $word == -- ]]; then
            ended=true
        elif [[ $word == --all ]]; then
            all=true
        fi
        before=$word
    done

    case $command in
    "") options="--help --version" ;;
    list) options="--json" ;;
    status) options="--follow --json" ;;
    mount) options="--all --json --password-file" ;;
    unmount | umount) options="--all --json" ;;
    watch) options="--password-file" ;;
    esac

    if [[ $prev == --password-file ]] && ! $ended; then
        _filedir
    elif $split; then
        return
    elif [[ $cur == -* ]] && ! $ended; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$cur")
    elif [[ -z $command ]]; then
        mapfile -t COMPREPLY < <(compgen -W "list status mount unmount watch help" -- "$cur")
    elif [[ $command == @(mount|unmount|umount) ]] && ! $all; then
        local mounted=true plain=$cur quote="" name quoted
        [[ $command == mount ]] && mounted=false
        case $cur in
        [\"\']*) quote=${cur:0:1} plain=${cur:1} ;;
        *\\*) IFS= read -d "" plain < <(printf '%s\0' "$cur") ;; # without its backslashes
        esac
        while IFS= read -r name; do
            printf -v quoted %q "$name"
            [[ $name == "$plain"* && ! -v given[$quoted] ]] || continue
            case $quote in
            "") COMPREPLY+=("$quoted") ;;
            \") COMPREPLY+=("$(printf %s "$name" | sed 's/[\\"$`]/\\&/g')") ;;
            *) [[ $name == *\'* ]] || COMPREPLY+=("$name") ;;
            esac
        done < <(_quorrelctl_names "$1" "$mounted")
        __ltrim_colon_completions "$cur"
    fi
} && complete -F _quorrelctl quorrelctl
