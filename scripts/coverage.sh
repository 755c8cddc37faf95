# Sourced by ./test --coverage: which lines and branches the tests reach.
# shellcheck shell=bash disable=SC2154 # CoverageTools comes from setup.sh

CoverageHome=build/coverage
CoverageFolders=(runtime simulator conformance bench plcctl examples)
GoalFolder=runtime/drivers
GoalPercent=97

# Runs all tests, prints a table and leaves a report. Fails where a test fails or the goal is missed.
measure_coverage() {
    local folder filters=() testStatus=0
    install_test_packages
    install_packages "${CoverageTools[@]}"
    configure_preset coverage
    build_preset coverage
    find "$CoverageHome" -name '*.gcda' -delete # of an earlier run
    run_tests coverage || testStatus=$?
    say "Collecting the coverage"
    mkdir -p "$CoverageHome/report"
    for folder in "${CoverageFolders[@]}"; do
        filters+=(--filter "$folder/")
    done
    quietly build/log/coverage-report.log gcovr --root . "$CoverageHome" "${filters[@]}" \
        --exclude '.*_autogen/' --exclude-throw-branches --exclude-unreachable-branches \
        -j "$(nproc)" --csv "$CoverageHome/report/files.csv" \
        --html-details "$CoverageHome/report/index.html"
    coverage_table <"$CoverageHome/report/files.csv" ||
        fail_tests "$GoalFolder has less than $GoalPercent % of its lines covered"
    echo "by file and line: $CoverageHome/report/index.html"
    return "$testStatus"
}

# Sums gcovr's table of files up by folder. Status 1 where the goal is missed.
coverage_table() {
    awk -F, -v goal="$GoalPercent" -v goalFolder="$GoalFolder" '
        function percent(part, whole) { return whole ? 100 * part / whole : 100 }
        function row(name, f) {
            printf "%-28s %6d %6.1f %% %8d %6.1f %%\n", name, lines[f],
                   percent(linesHit[f], lines[f]), branches[f], percent(branchesHit[f], branches[f])
        }
        function add(f) {
            lines[f] += $2; linesHit[f] += $3; branches[f] += $5; branchesHit[f] += $6
        }
        NR > 1 {
            folder = $1
            sub(/\/[^\/]*$/, "", folder)
            if (!(folder in lines)) order[++count] = folder
            add(folder)
            if (index($1, goalFolder "/") == 1) add("the goal")
        }
        END {
            printf "%-28s %15s %17s\n", "folder", "lines", "branches"
            for (i = 1; i <= count; i++) row(order[i], order[i])
            row(goalFolder ", all of it", "the goal")
            reached = percent(linesHit["the goal"], lines["the goal"])
            printf "goal: %d %% of the lines of %s: %s\n", goal, goalFolder,
                   (reached < goal ? "missed" : "reached")
            exit reached < goal
        }'
}
