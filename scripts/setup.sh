# Sourced by ./demo, ./test and .ci/run: installs what is missing, builds, runs tests.
# Nothing here depends on what is built or tested.
# shellcheck shell=bash disable=SC2034 # the scripts that source it use the lists of packages

# What Debian 12 calls the things this project needs, by what needs them. Tools are programs of this
# machine; libraries are of the machine that is built for.
BuildTools=(g++ cmake ninja-build pkg-config qtbase5-dev-tools)
BuildLibraries=(
    qtbase5-dev libqt5serialport5-dev libqt5sql5-sqlite libcli11-dev nlohmann-json3-dev
    libncurses-dev
)
TourTools=(sqlite3)
TestTools=(tmux zsh sqlite3 groff-base dpkg-dev file locales)
TestLibraries=(libgtest-dev libmodbus-dev libbenchmark-dev zlib1g-dev libboost-dev)
ArmTools=(crossbuild-essential-armhf qemu-user-static)
ArmLibraries=(qtbase5-dev libqt5sql5-sqlite libcli11-dev libgtest-dev)
FuzzTools=(clang-14 libclang-rt-14-dev)
CoverageTools=(gcovr)
CountTools=(valgrind)
LintTools=(clang-format-14 clang-tidy-14)

UsageError=2
TestsFailed=8

# Waits for another apt, and reports its progress on standard output for show_progress.
AptOptions=(-o DPkg::Lock::Timeout=300 -o APT::Status-Fd=1)

say() { printf '== %s\n' "$*"; }

fail() {
    printf '%s: %s\n' "$0" "$*" >&2
    exit 1
}

# What ctest says when a test fails, for checks that ctest does not run.
fail_tests() {
    printf '%s: %s\n' "$0" "$*" >&2
    exit "$TestsFailed"
}

refuse_arguments() {
    printf "%s: %s\nTry '%s --help'.\n" "$0" "$*" "$0" >&2
    exit "$UsageError"
}

# Runs a command silently; when it fails, shows its output and ends the script.
#   quietly LOG COMMAND...
quietly() {
    local log=$1
    shift
    mkdir -p "$(dirname "$log")"
    "$@" >"$log" 2>&1 </dev/null && return
    cat "$log" >&2
    fail "failed: $* (its output is above and in $log)"
}

# The same, and on a terminal shows meanwhile how far the command is: the "[n/m]" that a build
# prints, or apt's percentage.
#   with_progress LOG COMMAND...
with_progress() {
    local log=$1 status=0
    [[ -t 1 ]] || { quietly "$@"; return; }
    shift
    mkdir -p "$(dirname "$log")"
    { "$@" 2>&1 </dev/null || status=$?; echo "$status" >"$log.status"; } |
        tee "$log" | show_progress
    status=$(<"$log.status")
    rm "$log.status"
    [[ $status -ne 0 ]] || return 0
    cat "$log" >&2
    fail "failed: $* (its output is above and in $log)"
}

# One line that is written over and over, and gone at the end.
show_progress() {
    local line state percent text
    while IFS= read -r line; do
        case $line in
            '['*/*']'*) text=${line%%]*}] ;;
            dlstatus:* | pmstatus:*) IFS=: read -r _ state percent text <<<"$line"
                text="${percent%%.*} % ${text:-$state}" ;;
            *) continue ;;
        esac
        printf '\r\033[K   %.70s' "$text"
    done
    printf '\r\033[K'
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

# Installs those of the named packages that the machine lacks. Does not use apt when it has all.
install_packages() {
    local package missing=()
    command -v dpkg-query apt-get >/dev/null ||
        fail "this is not a Debian machine; install what Debian calls $* and build with cmake"
    for package in "$@"; do
        is_installed "$package" || missing+=("$package")
    done
    [[ ${#missing[@]} -gt 0 ]] || return 0

    [[ $(id -u) -eq 0 ]] || command -v sudo >/dev/null ||
        fail "neither root nor sudo; as root: apt-get install ${missing[*]}"
    say "Updating apt's lists of packages"
    with_progress build/log/apt-update.log as_root apt-get "${AptOptions[@]}" update
    say "Installing $(size_of_download "${missing[@]}")"
    with_progress build/log/apt-install.log as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get "${AptOptions[@]}" install -y --no-install-recommends "${missing[@]}"
}

# "12 packages (34 MB to fetch)": what installing the named ones brings.
size_of_download() {
    apt-get install -y --no-install-recommends --print-uris "$@" 2>/dev/null |
        awk '/^.http/ { count++; bytes += $3 }
             END { s = count == 1 ? "" : "s"
                   printf "%d package%s (%.0f MB to fetch)", count, s, bytes / 1e6 }'
}

install_build_packages() {
    install_packages "${BuildTools[@]}" "${BuildLibraries[@]}"
}

install_test_packages() {
    install_packages "${BuildTools[@]}" "${TestTools[@]}" "${BuildLibraries[@]}" \
        "${TestLibraries[@]}"
}

# Configures a preset of CMakePresets.json, with further options for cmake.
#   configure_preset PRESET [OPTION...]
configure_preset() {
    local preset=$1
    shift
    quietly "build/log/$preset-configure.log" cmake --preset "$preset" "$@"
}

# Builds a configured preset: everything, or the targets named.
#   build_preset PRESET [TARGET...]
build_preset() {
    local preset=$1
    shift
    say "Building ${*:-everything} (preset $preset)"
    with_progress "build/log/$preset-build.log" \
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
