# What run, test and .ci/run share: missing packages, configuring, building. Sourced by bash under set -eu.
# Nothing is printed when there is nothing to do.

top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

buildPackages=(g++ cmake ninja-build ccache pkg-config python3 zlib1g-dev libicu-dev libpng-dev libjpeg-dev
    libcli11-dev nlohmann-json3-dev libfmt-dev libgtest-dev)

say() { printf '%s\n' "$*" >&2; }

# Those of the named packages that are not installed, one a line.
missingPackages() {
    comm -13 <(dpkg-query -W -f='${db:Status-Status} ${Package}\n' "$@" 2>/dev/null | sed -n 's/^installed //p' | sort -u) \
        <(printf '%s\n' "$@" | sort -u)
}

# Installs those of the named Debian packages that are missing; by sudo for another user than root.
needPackages() {
    local missing log asRoot=()
    if ! command -v apt-get >/dev/null; then
        command -v g++ >/dev/null && command -v cmake >/dev/null && command -v ninja >/dev/null && return
        say "This is no Debian or Ubuntu. Install what these packages hold there, then try again: $*"
        return 1
    fi
    mapfile -t missing < <(missingPackages "$@")
    [ ${#missing[@]} -gt 0 ] || return 0
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null; then
            say "Packages are missing and sudo is not here. Let root run: apt-get install ${missing[*]}"
            return 1
        fi
        asRoot=(sudo)
    fi
    say "Installing ${missing[*]} ..."
    log=$(mktemp)
    if ! { ${asRoot[@]+"${asRoot[@]}"} apt-get update -q &&
        ${asRoot[@]+"${asRoot[@]}"} env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}"; } \
        >"$log" 2>&1 </dev/null; then
        tail -n 20 "$log" >&2
        say "They could not be installed."
        rm -f "$log"
        return 1
    fi
    rm -f "$log"
}

# build FOLDER PRESET TARGET...: configures build/FOLDER at first need, or when options stand in the array configure, and builds.
# One line tells when it takes time; all output goes to a log, which is shown on failure.
build() {
    local folder=build/$1 preset=$2 log=$top/build/$1.log
    shift 2
    mkdir -p "$top/build"
    : >"$log"
    {
        flock 9 # two at a time would write the same files
        iConfigure && iBuild "$@" && return
    } 9>"$top/build/lock"
    grep -vE '^\[[0-9]+/[0-9]+\] (Building|Linking)|^-- ' "$log" | tail -n 100 >&2 || true
    say "The build failed. Its whole output: $log"
    return 1
}

iConfigure() {
    [ ! -f "$top/$folder/build.ninja" ] || [ ${#configure[@]} -gt 0 ] || return 0
    (cd "$top" && cmake --preset "$preset" -B "$folder" ${configure[@]+"${configure[@]}"}) >>"$log" 2>&1
}

iBuild() {
    local line told= step='^\[1/([0-9]+)\] (Building|Linking)'
    cmake --build "$top/$folder" --target "$@" 2>&1 9>&- | while IFS= read -r line; do
        printf '%s\n' "$line"
        if [ -z "$told" ] && [[ $line =~ $step ]]; then
            say "Building $folder, ${BASH_REMATCH[1]} steps ..."
            told=yes
        fi
    done >>"$log"
    return "${PIPESTATUS[0]}"
}
configure=()
