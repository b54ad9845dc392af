# bash completion of corvane-scan(1)
# shellcheck shell=bash

_corvane_scan() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} words
    # A name, its equals sign and its value are three words.
    if [[ $current == = ]]; then
        current=
    elif [[ $previous == = ]]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    case $previous in
        --action) words="report delete repair repair-or-delete" ;;
        --format) words="text json" ;;
        --exclude) words= ;;
        *)
            if [[ $current != -* || $previous == --files-from ]]; then
                compopt -o filenames
                mapfile -t COMPREPLY < <(compgen -f -- "$current")
                return
            fi
            words="--action --no-archives --no-packed --no-adware --dumb --exclude --files-from
                --format --quiet --progress --notify --help --version"
            ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}

complete -F _corvane_scan corvane-scan
