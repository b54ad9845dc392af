# Sourced by ./dev: installs the Debian packages that a verb lacks.
# shellcheck shell=bash

# The packages that packaging/build-packages.txt lists for a verb.
PackagesFor() {
    awk -v verb="$1" -F: '
        /^#/ || NF < 2 { next }
        (" " $1 " ") ~ (" (all|" verb ") ") { print $2 }' packaging/build-packages.txt |
        tr -s ' ' '\n' | sed '/^$/d'
}

IsInstalled() {
    [[ $(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null) == installed ]]
}

# InstallPackages VERB: does nothing at all when nothing is missing.
InstallPackages() {
    local package
    local -a missing=() become=()
    for package in $(PackagesFor "$1"); do
        IsInstalled "$package" || missing+=("$package")
    done
    [[ ${#missing[@]} -gt 0 ]] || return 0
    if [[ $EUID -ne 0 ]]; then
        if ! type -P sudo >/dev/null; then
            Die "missing packages; as root: apt-get install ${missing[*]}"
        fi
        become=(sudo)
    fi
    Say "Installing ${missing[*]}"
    # The lists may be absent or older than the archive; they are fetched only when that shows.
    local -a install=("${become[@]}" env DEBIAN_FRONTEND=noninteractive
        apt-get install --yes --no-install-recommends)
    if ! "${install[@]}" "${missing[@]}" >/dev/null 2>&1; then
        "${become[@]}" apt-get update || Die "the package lists could not be fetched"
        "${install[@]}" "${missing[@]}" || Die "the packages could not be installed"
    fi
    # Tests start a clamd of their own. The package's listens from its installation on, and would scan
    # for everybody on this machine, which nobody has asked for here.
    if [[ " ${missing[*]} " == *" clamav-daemon "* && -d /run/systemd/system ]]; then
        "${become[@]}" systemctl disable --quiet --now clamav-daemon.socket clamav-daemon.service ||
            Die "the clamd that came with clamav-daemon could not be stopped"
    fi
}
