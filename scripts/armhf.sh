# Sourced by ./test --arm: what it takes to build for 32-bit ARM and to run the result here.
# All of it stays in build/armhf; this machine gets a cross compiler and an emulator only.
# shellcheck shell=bash disable=SC2154 # ArmTools comes from setup.sh

ArmhfHome=$PWD/build/armhf
ArmhfRoot=$ArmhfHome/root

# Everything that preset arm and its tests need; downloads only what an earlier run has not.
prepare_armhf() {
    install_packages "${BuildTools[@]}" "${BuildLibraries[@]}" "${ArmTools[@]}"
    local stamp=$ArmhfRoot/packages
    if [[ ! -f $stamp || $(<"$stamp") != "${ArmLibraries[*]}" ]]; then
        download_armhf_packages
        unpack_armhf_packages
        echo "${ArmLibraries[*]}" >"$stamp"
    fi
}

# apt as if for an ARM machine with nothing installed, with folders of its own.
armhf_apt() {
    apt-get --config-file "$ArmhfHome/apt/apt.conf" --quiet "$@"
}

download_armhf_packages() {
    local apt=$ArmhfHome/apt
    mkdir -p "$apt"/state/lists/partial "$apt"/cache/archives/partial
    : >"$apt/state/status"
    cat >"$apt/apt.conf" <<END
APT::Architecture "armhf";
#clear APT::Architectures;
APT::Architectures { "armhf"; };
APT::Install-Recommends "false";
APT::Sandbox::User "";
#clear APT::Update::Post-Invoke;
#clear APT::Update::Post-Invoke-Success;
Dir::State "$apt/state";
Dir::State::status "$apt/state/status";
Dir::Cache "$apt/cache";
Dir::Etc::sourcelist "$apt/sources.list";
Dir::Etc::sourceparts "/dev/null";
Dir::Etc::preferences "/dev/null";
Dir::Etc::preferencesparts "/dev/null";
END
    main_suite_of_this_machine >"$apt/sources.list"
    say "Downloading Debian's ARM packages to $apt (about 120 MB)"
    quietly build/log/armhf-update.log armhf_apt update
    quietly build/log/armhf-clean.log armhf_apt autoclean
    quietly build/log/armhf-download.log \
        armhf_apt install -y --download-only "${ArmLibraries[@]}"
}

unpack_armhf_packages() {
    say "Unpacking them to $ArmhfRoot"
    rm -rf "$ArmhfRoot"
    mkdir -p "$ArmhfRoot"
    local archive
    for archive in "$ArmhfHome"/apt/cache/archives/*.deb; do
        dpkg-deb --extract "$archive" "$ArmhfRoot"
    done
    keep_links_inside_root
    use_qt_tools_of_this_machine
}

# The machine's own mirror: the ARM libraries have to be of the release that its Qt tools are of.
main_suite_of_this_machine() {
    local codename format targets
    codename=$(. /etc/os-release && echo "${VERSION_CODENAME-}")
    # shellcheck disable=SC2016 # apt fills these in
    format='deb $(REPO_URI) $(RELEASE) $(COMPONENT)'
    targets=$(apt-get indextargets --format "$format" \
        'Created-By: Packages' 'Origin: Debian' "Codename: $codename" 'Component: main')
    [[ -n $targets ]] || fail "apt lists no Debian mirror with '$codename main'; run apt-get update"
    head -n 1 <<<"$targets"
}

# An absolute link leads everyone but the emulator to this machine's files.
keep_links_inside_root() {
    local link
    find "$ArmhfRoot" -type l -lname '/*' -print0 | while IFS= read -r -d '' link; do
        ln -sfn --relative "$ArmhfRoot$(readlink "$link")" "$link"
    done
}

# moc and its like run during the build, so the ARM ones give way.
use_qt_tools_of_this_machine() {
    local tools=usr/lib/qt5/bin
    rm -rf "${ArmhfRoot:?}/$tools"
    ln -s "/$tools" "$ArmhfRoot/$tools"
}
