# Sourced by the other scripts: installs the Debian packages that a build needs, if any are missing.
# Packages that only make a build faster are used where they are there.

kelvane_packages=(build-essential cmake libpcl-dev libeigen3-dev libcli11-dev nlohmann-json3-dev)

install_missing_packages() {
    local missing=() package
    for package in "${kelvane_packages[@]}" "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' ||
            missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    echo "installing: ${missing[*]}"
    local sudo=()
    [ "$(id -u)" -eq 0 ] || sudo=(sudo)
    "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -q
    "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends \
        "${missing[@]}"
}

# Ninja and a compiler cache where they are installed.
build_options() {
    command -v ninja >/dev/null && printf '%s\n' -G Ninja
    command -v ccache >/dev/null && printf '%s\n' -DCMAKE_CXX_COMPILER_LAUNCHER=ccache
    return 0
}

# One compiler per processor, but no more than memory allows: some sources take 1.5 GB.
build_jobs() {
    local processors memory
    processors=$(nproc)
    memory=$(awk '/MemAvailable/ {print int($2 / 1500000)}' /proc/meminfo)
    [ "$memory" -ge 1 ] || memory=1
    echo $((processors < memory ? processors : memory))
}
