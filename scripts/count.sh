# Sourced by ./test --count: counts instructions and heap blocks with callgrind.
# shellcheck shell=bash disable=SC2154 # CountTools comes from setup.sh

CountHome=build/count

# Prints a table of costs and goals; fails where a goal is missed.
count_costs() {
    install_test_packages
    install_packages "${CountTools[@]}"
    configure_preset release -DBUILD_TESTING=ON
    build_preset release count
    say "Counting"
    rm -rf "$CountHome"
    mkdir -p "$CountHome"
    # All symbols are bound at the start, so that no first call pays for it.
    quietly build/log/count.log env LD_BIND_NOW=1 QT_HASH_SEED=0 \
        valgrind --tool=callgrind --dump-before=mark --callgrind-out-file="$CountHome/dump" \
        build/release/bin/count measure "$CountHome/blocks"
    local dumps
    mapfile -t dumps < <(printf '%s\n' "$CountHome"/dump.* | sort -V)
    build/release/bin/count report "$CountHome/blocks" "${dumps[@]}" ||
        fail_tests "a goal is missed"
}
