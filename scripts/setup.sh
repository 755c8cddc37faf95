# Sourced by ./demo, ./test and .ci/run: installs what is missing, builds, runs tests.
# Knows nothing of what is built or tested.
# shellcheck shell=bash

# What Debian 12 calls the things this project needs: programs of this machine, and
# libraries of the machine that is built for.
ToolPackages=(g++ cmake ninja-build pkg-config sqlite3 qtbase5-dev-tools)
LibraryPackages=(
    qtbase5-dev libqt5sql5-sqlite libcli11-dev nlohmann-json3-dev
    libgtest-dev libgmock-dev libbenchmark-dev libmodbus-dev zlib1g-dev libboost-dev
)

UsageError=2

say() { printf '== %s\n' "$*"; }

fail() {
    printf '%s: %s\n' "$0" "$*" >&2
    exit 1
}

refuse_arguments() {
    printf "%s: %s\nTry '%s --help'.\n" "$0" "$*" "$0" >&2
    exit "$UsageError"
}

# Runs a command silently; when it fails, shows all it had to say and ends the script.
#   quietly LOG COMMAND...
quietly() {
    local log=$1
    shift
    mkdir -p "$(dirname "$log")"
    "$@" >"$log" 2>&1 </dev/null && return
    cat "$log" >&2
    fail "failed: $* (its output stands above and in $log)"
}

is_installed() {
    [[ $(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null) == installed ]]
}

as_root() {
    if [[ $(id -u) -eq 0 ]]; then
        "$@"
    else
        sudo "$@"
    fi
}

# Installs those of the named packages that the machine lacks. Asks nothing of apt when none is.
install_packages() {
    local package missing=()
    command -v dpkg-query apt-get >/dev/null ||
        fail "this is no Debian machine; what Debian calls $* must be here before cmake can build"
    for package in "$@"; do
        is_installed "$package" || missing+=("$package")
    done
    [[ ${#missing[@]} -gt 0 ]] || return 0

    [[ $(id -u) -eq 0 ]] || command -v sudo >/dev/null ||
        fail "neither root nor sudo; as root: apt-get install ${missing[*]}"
    say "Installing ${missing[*]}"
    quietly build/log/apt-update.log as_root apt-get -o DPkg::Lock::Timeout=300 update
    quietly build/log/apt-install.log as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get -o DPkg::Lock::Timeout=300 install -y --no-install-recommends "${missing[@]}"
}

install_build_packages() {
    install_packages "${ToolPackages[@]}" "${LibraryPackages[@]}"
}

# Configures and builds a preset of CMakePresets.json: everything, or the targets named.
#   build_preset PRESET [TARGET...]
build_preset() {
    local preset=$1
    shift
    say "Building ${*:-everything} (preset $preset)"
    quietly "build/log/$preset-configure.log" cmake --preset "$preset"
    quietly "build/log/$preset-build.log" \
        cmake --build --preset "$preset" --parallel "$(nproc)" ${1:+--target "$@"}
}

# Runs the tests of a built preset and prints what failed, then ctest's summary.
#   run_tests PRESET [CTEST-OPTION...]
run_tests() {
    local preset=$1
    shift
    say "Running the tests (preset $preset)"
    ctest --preset "$preset" --parallel "$(nproc)" "$@" |
        sed -uE '/^ +Start +[0-9]+: /d; / Passed +[0-9.]+ sec$/d'
}
