# Bash completion for cfgctl. Commands and options come from the program's own help, rows from the running service.
# Nothing is sent anywhere but to the service's socket; without a service only what the help tells is completed.

# _cfgctl_commands [COMMAND...]: the names in the help's list of commands
_cfgctl_commands()
{
    cfgctl "$@" --help 2>/dev/null | awk '/^Commands:/ { on = 1; next } !/^  / { on = 0 } on && /^  [a-z]/ { print $1 }'
}

_cfgctl_options()
{
    { cfgctl --help; cfgctl "$@" --help; } 2>/dev/null | grep -oE '^  (-[a-zA-Z],)?--[a-z-]+' | grep -oE -- '--[a-z-]+' | sort -u
}

# _cfgctl_column COMMAND...: the first column of a table, without its heading
_cfgctl_column()
{
    cfgctl "${_cfgctl_socket[@]}" "$@" 2>/dev/null </dev/null | awk 'NR > 1 { print $1 }'
}

_cfgctl_interfaces()
{
    cfgctl "${_cfgctl_socket[@]}" show StatusNetifWatch 2>/dev/null </dev/null | awk 'NR > 1 { print $2 }'
    ls /sys/class/net 2>/dev/null
}

_cfgctl_words()
{
    mapfile -t COMPREPLY < <(compgen -W "$*" -- "$cur")
}

# Options whose value is known; false for any other.
_cfgctl_value()
{
    case $1 in
        --provider | -p) _cfgctl_words "$(_cfgctl_column providers)" ;;
        --interface | -i) _cfgctl_words "$(_cfgctl_interfaces)" ;;
        --exec) mapfile -t COMPREPLY < <(compgen -c -- "$cur") ;;
        --format) _cfgctl_words "inadyn ddclient openwrt" ;;
        --account) _cfgctl_words "$(_cfgctl_column account list)" ;;
        --password-file | --providers | --socket | --output | -o) compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$cur") ;;
        --host | --user | --zone | --url | --server | --retry | --expect | --unchanged | --wait | --count | --timeout | --exec-limit | --max-age | --lines | -n) ;;
        *) return 1 ;;
    esac
}

# What may follow a command that is complete.
_cfgctl_arguments()
{
    case "${words[0]} ${words[1]:-}" in
        "account test" | "account enable" | "account disable" | "account remove" | "account password" | "account set")
            _cfgctl_words "$(_cfgctl_column account list)" ;;
        "providers "*) _cfgctl_words "$(_cfgctl_column providers)" ;;
        "import "* | "account import") compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$cur") ;;
        "tables "* | "watch "* | "export "* | "show " | "add " | "set " | "delete ") _cfgctl_words "$(_cfgctl_column tables)" ;;
        "show "* | "add "* | "set "* | "delete "*)
            _cfgctl_words "$(_cfgctl_column tables "${words[1]}" | sed 's/$/=/')"
            compopt -o nospace 2>/dev/null ;;
    esac
}

_cfgctl()
{
    local cur=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local words=() _cfgctl_socket=() index
    COMPREPLY=()
    for ((index = 1; index < COMP_CWORD; index++)); do # commands and arguments before the cursor, without options
        case ${COMP_WORDS[index]} in
            --socket) _cfgctl_socket=(--socket "${COMP_WORDS[++index]}") ;;
            --json | --show-secrets | --help | --all | --dual | --disabled | --dry-run | --yes | --follow | --check | --metrics | -[hfyV]) ;;
            -*) ((index++)) ;;
            *) words+=("${COMP_WORDS[index]}") ;;
        esac
    done
    [[ $cur != = && $previous != = ]] || return # bash takes COLUMN=VALUE for three words; values aren't completed
    _cfgctl_value "$previous" && return
    if [[ $cur == -* ]]; then
        local command=("${words[@]:0:1}")
        [ "${words[0]:-}" != account ] || command=("${words[@]:0:2}")
        _cfgctl_words "$(_cfgctl_options "${command[@]}")"
    elif [ ${#words[@]} -eq 0 ]; then
        _cfgctl_words "$(_cfgctl_commands)"
    elif [ "${words[*]}" = account ]; then
        _cfgctl_words "$(_cfgctl_commands account)"
    else
        _cfgctl_arguments
    fi
}

complete -F _cfgctl cfgctl
