#!/usr/bin/env bash
# Does what a guide says: runs the commands of its console blocks, in order and in one shell, from
# the source tree and with an empty home directory. What the guide shows below a command has to be
# what the command prints.
#   follow.sh GUIDE SOURCE-DIRECTORY BUILD-DIRECTORY HOME-DIRECTORY
#
# BUILD-DIRECTORY stands in for build/release, and a free port for the guide's.
set -uo pipefail
Guide=$1 Source=$2 Build=$3
export HOME=$4

GuidesPort=8601
Port=$(perl -MIO::Socket::INET -e 'print IO::Socket::INET->new(Listen => 1)->sockport')
Output=$HOME/output

end() {
    local jobs
    jobs=$(jobs -p)
    [[ -z $jobs ]] || kill $jobs
}
trap end EXIT

fail() {
    printf '%s\n' "$*"
    exit 1
}

# A person takes a moment between two commands.
wait_for_listener() {
    local tries
    for ((tries = 0; tries < 600; ++tries)); do
        (: <>"/dev/tcp/127.0.0.1/$Port") 2>/dev/null && return
        sleep 0.1
    done
    fail "it does not listen on port $Port"
}

# Runs a command of the guide in this shell.
#   run COMMAND SHOWN
run() {
    printf '$ %s\n' "$1"
    : >"$Output"
    eval "$1" >>"$Output" 2>&1 </dev/null || fail "$(<"$Output")" "failed"
    [[ $1 != *'&' ]] || wait_for_listener
    [[ -z $2 || $2 == "$(<"$Output")" ]] ||
        fail "$(diff <(printf '%s\n' "$2") "$Output")" "'<' is what the guide shows"
}

rm -rf "$HOME"
mkdir -p "$HOME"
cd "$Source" || exit
command='' shown='' commands=0
while IFS= read -r line; do
    if [[ $line != '$ '* ]]; then
        shown+=${shown:+$'\n'}$line
        continue
    fi
    [[ -z $command ]] || run "$command" "$shown"
    command=${line#'$ '} shown=''
    commands=$((commands + 1))
done < <(sed -n '/^```console$/,/^```$/ { /^```/d; p }' "$Guide" |
    sed "s|build/release|$Build|g; s|$GuidesPort|$Port|g")
[[ -z $command ]] || run "$command" "$shown"
[[ $commands -gt 0 ]] || fail "the guide has no commands"
echo "$commands commands run"
