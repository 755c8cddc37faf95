# Sourced by ./demo: shows plcctl at work on a simulated controller, and fails where a step does not
# give what it should. Every line below a "$" is what the command printed.
# shellcheck shell=bash disable=SC2154 # fail, Plcctl, Shown and Demo come from the script around it

Controllers=()
TourDirectory=$(mktemp -d)

end_tour() {
    [[ ${#Controllers[@]} -eq 0 ]] || kill "${Controllers[@]}" 2>/dev/null || true
    rm -rf "$TourDirectory"
}
trap end_tour EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

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

# Shows a command and what it prints, then checks its exit status. Standard input holds what must
# be in the output, line by line.
#   show_status STATUS COMMAND
show_status() {
    local status=0 output part
    printf '$ %s\n' "$2"
    output=$(eval "$2" 2>&1) || status=$?
    printf '%s\n' "$output"
    [[ $status -eq $1 ]] || fail "this ended with status $status, not $1"
    while IFS= read -r part; do
        [[ $output == *"$part"* ]] || fail "the output lacks: $part"
    done
}

# The same for a command that succeeds.
#   show COMMAND
show() { show_status 0 "$1"; }

# All of it in 24 lines of 80 columns, the line about the build included.
screen() {
    echo "plcctl reads and writes a controller through a driver plug-in, as a panel does."
    echo "This KV-1000 is simulated and leaves its third and fourth read without a reply."
    start_controller --pty ./plc --fault silent@RDS#3-4
    show "plcctl write DM100 300 -5 -p ./plc --verify" <<'END'
2 values written and read back
END
    show "plcctl read DM100 DM101:int --trace -p ./plc 2>&1 | grep -E 'RDS|\"0|^DM'" <<'END'
"RDS DM00100 2\r\n"
DM100  300
DM101   -5
END
    show_status 4 "plcctl read DM100 --retry 0 -p ./plc" <<'END'
packet loss
END
    show "plcctl read DM100 -p ./plc     # repeats the request by itself" <<'END'
DM100  300
END
    echo "Next, with $Shown:"
    printf '  plcctl %-31s plcctl %s\n' "watch DM100 MR500 --live" "scan DM0 -p /dev/ttyUSB0" \
        "explain read DM0 -c 5000" "dump DM0..DM99"
    echo "  $Demo --tour"
}

# Everything else. Commands are run in a directory of their own, so that names stay short.
tour() {
    show_driver
    show_values
    show_tags
    show_watch
    show_wire
    show_project
    show_failure
}

show_driver() {
    echo "-- A driver plug-in says what it is and which devices it serves"
    show "plcctl info | sed -n '1,3p; 11,13p' | cut -c -75" <<'END'
KEYENCE KV-1000
1.0.0
data memory
END
}

show_values() {
    echo "-- A controller at the far end of a pseudo-terminal. Each device has the type of"
    echo "-- its area, or the one after its colon"
    start_controller --pty ./kv
    show "plcctl write DM100 300 7 -p ./kv; plcctl read DM100 -c 2 -p ./kv" <<'END'
DM100  300
DM101    7
END
    show "plcctl write DM8:dint -70000 -p ./kv; plcctl write DM20:real 21.5 -p ./kv" <<'END'
1 value written
END
    show "plcctl write MR515 1 1 -p ./kv; plcctl write TS5 250 -p ./kv" <<'END'
2 values written
END
    show "plcctl read DM8:dint DM20:real MR515..MR600 TS5 DM100..DM101 -p ./kv" <<'END'
DM8    -70000
DM20     21.5
MR515       1
MR600       1
TS5       250
END
    echo "-- What was not meant is not written"
    show_status 2 "plcctl write MR500:word 5 -p ./kv" <<'END'
plcctl: 
END
}

show_tags() {
    echo "-- Names, scales, units and limits come from a table, as a spreadsheet writes it"
    cat >plant.csv <<'END'
name,device,type,factor,unit,min,max
boiler.temp,DM200,int,0.1,°C,,
boiler.setpoint,DM201,int,0.1,°C,5,80
END
    show "cat plant.csv" <<'END'
boiler.setpoint
END
    show "plcctl write boiler.setpoint 21.5 --verify --tags plant.csv -p ./kv" <<'END'
1 value written and read back
END
    show "plcctl read 'boiler.*' DM201 --tags plant.csv -p ./kv" <<'END'
boiler.setpoint
DM201
215
END
    show_status 2 "plcctl write boiler.setpoint 95 --tags plant.csv -p ./kv" <<'END'
boiler.setpoint
END
}

show_watch() {
    echo "-- Some values of a simulated controller move. A watch prints what changes, and"
    echo "-- a summary at its end"
    show "plcctl watch C0 MR500 DM100 -i 400ms -n 4 -p ./kv" <<'END'
  C0  
  DM100  300
12 requests, 0 failed
4 rounds
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
COM2         1001     3        1
ETHERNET     2000     4        7  192.168.0.10    8501
END
    show "plcctl read DM100 -p ./kv --project panel" <<'END'
COM2 is link 3 of the project, station 1
DM100  300
END
}

show_failure() {
    echo "-- A controller that refuses its first read, and leaves the next without a reply"
    start_controller --pty ./far --fault error=1@RDS#1,silent@RDS#2-2 --set DM7=9
    show_status 1 "plcctl read DM7 -p ./far --retry 0" <<'END'
E1
END
    show_status 4 "plcctl read DM7 -p ./far --retry 0" <<'END'
packet loss
END
    show "plcctl read DM7 -p ./far" <<'END'
DM7  9
END
}
