# Sourced by ./demo: shows plcctl at work on a simulated controller, and fails where a step does not
# give what it should. Every line behind a "$" is what the command printed.
# shellcheck shell=bash disable=SC2154,SC2164 # fail and set -e come from the script around it

Controllers=()
TourDirectory=$(mktemp -d)

end_tour() {
    [[ ${#Controllers[@]} -eq 0 ]] || kill "${Controllers[@]}" 2>/dev/null || true
    rm -rf "$TourDirectory"
}
trap end_tour EXIT

plcctl() { "$Plcctl" "$@"; }

# Starts a controller as a process of its own and waits until it listens.
#   start_controller OPTION...
start_controller() {
    local ready output
    printf '$ plcctl simulate %s &\n' "$*"
    exec {output}< <(exec "$Plcctl" simulate "$@")
    Controllers+=($!)
    read -r ready <&"$output" || fail "the simulated controller does not start"
    printf '%s\n' "$ready"
}

# Shows a command and what it prints. Standard input holds what must stand in there, line by line.
#   show COMMAND
show() {
    local status=0 output part
    printf '$ %s\n' "$1"
    output=$(eval "$1" 2>&1) || status=$?
    printf '%s\n' "$output"
    [[ $status -eq 0 ]] || fail "this ended with status $status"
    while IFS= read -r part; do
        [[ $output == *"$part"* ]] || fail "the output lacks: $part"
    done
}

# Shows everything. Commands are run in a directory of their own, so that names stay short.
#   tour PLCCTL
tour() {
    Plcctl=$(readlink -f "$1")
    cd "$TourDirectory"
    show_driver
    show_values
    show_wire
    show_project
    show_failure
}

show_driver() {
    echo "-- A driver plug-in, loaded by a program that knows nothing but its interface"
    show "plcctl info | head -3" <<'END'
KEYENCE KV-1000
1.0.0
END
}

show_values() {
    echo "-- A controller of its own, at the far end of a pseudo-terminal: words, double"
    echo "-- words, relays, and a timer's current value (T) and set value (TS)"
    start_controller --pty ./kv
    show "plcctl write DM100 300 7 -p ./kv; plcctl read DM100 -c 2 -p ./kv" <<'END'
DM100  300
DM101    7
END
    show "plcctl write DM8 -70000 -t dword -p ./kv; plcctl read DM8 -t dword -s -p ./kv" <<'END'
DM8  -70000
END
    show "plcctl write MR515 1 1 -t bit -p ./kv; plcctl read MR515 -c 2 -t bit -p ./kv" <<'END'
MR515  1
MR600  1
END
    show "plcctl write T5 30 -t dword -p ./kv; plcctl write TS5 250 -t dword -p ./kv" <<'END'
T5: 1 dword written
TS5: 1 dword written
END
    show "plcctl read T5 TS5 -t dword -p ./kv" <<'END'
T5    30
TS5  250
END
}

show_wire() {
    echo "-- The same two words as they go over the wire"
    show "plcctl read DM100 -c 2 -p ./kv --trace 2>&1 | grep '\"'" <<'END'
write 4 -> 4  "CR\r\n"
read 4 -> 4  "CC\r\n"
write 15 -> 15  "RDS DM00100 2\r\n"
read 4 -> 4  "0030"
read 9 -> 9  "0 00007\r\n"
write 4 -> 4  "CQ\r\n"
read 4 -> 4  "CF\r\n"
END
}

show_project() {
    echo "-- A panel project, an SQLite file, says which link and station are on a port"
    mkdir -p panel/compile/database
    sqlite3 panel/compile/database/database <<'END'
CREATE TABLE LINK (LINKID INTEGER, HMIPORT INTEGER);
CREATE TABLE NODE (LINKID INTEGER, STATIONID INTEGER, ISDEFAULT INTEGER, IP TEXT, PORT INTEGER);
INSERT INTO LINK VALUES (3, 1001), (4, 2000);
INSERT INTO NODE VALUES (3, 1, 1, NULL, NULL), (4, 7, 1, '192.168.0.10', 8501);
END
    show "plcctl links --project panel" <<'END'
COM2      1001     3     1
ETHERNET  2000     4     7        192.168.0.10  8501
END
    show "plcctl read DM100 -p ./kv --project panel" <<'END'
COM2 is link 3 of the project, station 1
DM100  300
END
}

show_failure() {
    echo "-- A controller that does not answer its first two reads: without a retry the"
    echo "-- first is lost; the second run repeats the request by itself and recovers"
    start_controller --pty ./deaf --fault silent@RDS#1-2 --set DM100=12
    show "plcctl read DM100 -p ./deaf --retry 0; echo \"exit status \$?\"" <<'END'
plcctl: DM100: packet loss
exit status 4
END
    show "plcctl read DM100 -p ./deaf" <<'END'
DM100  12
END
}
