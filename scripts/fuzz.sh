# Sourced by ./test --fuzz: builds the fuzz targets and runs them for a while.
# shellcheck shell=bash disable=SC2154 # FuzzTools comes from setup.sh

FuzzHome=build/fuzz

# Runs all targets for so many seconds by the clock, as many at once as there are processors.
#   fuzz_for SECONDS
fuzz_for() {
    install_packages "${BuildTools[@]}" "${BuildLibraries[@]}" "${FuzzTools[@]}"
    configure_preset fuzz
    build_preset fuzz fuzz_targets
    local targets=("$FuzzHome"/bin/fuzz_*) seconds
    seconds=$(($1 * $(nproc) / ${#targets[@]}))
    [[ $seconds -gt 0 ]] || seconds=1
    say "Fuzzing ${#targets[@]} targets for $seconds s each"
    mkdir -p "$FuzzHome"/findings
    printf '%-12s %12s %10s %8s\n' target inputs coverage corpus
    export -f fuzz_target
    export FuzzHome
    # shellcheck disable=SC2016 # the inner shell expands it
    printf '%s\n' "${targets[@]}" |
        xargs -P "$(nproc)" -I{} bash -c 'fuzz_target {} "$1"' fuzz "$seconds" ||
        fail_tests "fuzzing found a fault; run the target with that input to see it again"
}

# Runs one target from the corpus in the tree and what earlier runs added to it, and prints a line.
#   fuzz_target PROGRAM SECONDS
fuzz_target() {
    local name=${1##*/fuzz_} log own status=0 last
    log=$FuzzHome/findings/$name.log
    own=$FuzzHome/corpus/$name
    mkdir -p "$own"
    UBSAN_OPTIONS=print_stacktrace=1 "$1" -max_total_time="$2" -timeout=20 -print_final_stats=1 \
        -artifact_prefix="$FuzzHome/findings/$name-" "$own" fuzz/corpus/"$name" \
        >"$log" 2>&1 </dev/null || status=$?
    last=$(grep -E 'cov: ' "$log" | tail -n 1 || true)
    printf '%-12s %12s %10s %8s\n' "$name" \
        "$(sed -nE 's/^stat::number_of_executed_units: //p' "$log")" \
        "$(sed -nE 's/.* cov: ([0-9]+).*/\1/p' <<<"$last")" \
        "$(sed -nE 's/.* corp: ([0-9]+).*/\1/p' <<<"$last")"
    [[ $status -ne 0 ]] || return 0
    {
        printf '%s: failed (its output: %s)\n' "$name" "$log"
        grep -m 3 -E 'does not hold|ERROR: |runtime error' "$log"
        sed -nE 's/.*Test unit written to /    input: /p' "$log"
    } >&2
    return 1
}
