#!/usr/bin/env bash
# Prints how long the kit's functions take, compared with the usual alternatives. Both sides run
# in one program, in turns chosen at random, so that whatever else the machine does slows both; the
# figures are medians of the CPU time, and the ratio is what to trust.
#   benchmarks/ratios.sh [PATH-OF-KIT_BENCHMARK]
set -euo pipefail
Benchmark=${1:-$(dirname "$(readlink -f "$0")")/../build/release/bin/kit_benchmark}
"$Benchmark" --benchmark_enable_random_interleaving=true --benchmark_repetitions=15 \
    --benchmark_min_time=0.02 --benchmark_report_aggregates_only=true --benchmark_format=csv \
    2>/dev/null |
    awk -F, '
        # "crc32/kit_median",iterations,real time,CPU time,unit,...
        /_median/ {
            gsub(/"|_median/, "", $1)
            group = substr($1, 1, index($1, "/") - 1)
            what = substr($1, index($1, "/") + 1)
            kind = what ~ /^kit/ ? "kit" : "other"
            slot = group SUBSEP kind
            names[slot, ++count[slot]] = what
            time[slot, count[slot]] = $4
            unit = $5
            if (!(group in seen)) { seen[group]; order[++groups] = group }
        }
        END {
            print "| what | kit | compared with | ratio |"
            print "|---|---|---|---|"
            for (g = 1; g <= groups; g++) {
                kit = order[g] SUBSEP "kit"; other = order[g] SUBSEP "other"
                for (i = 1; i <= count[kit]; i++)
                    for (j = 1; j <= count[other]; j++) {
                        ratio = time[kit, i] / time[other, j]
                        verdict = sprintf("%.2f × its time", ratio)
                        if (ratio < 1) verdict = sprintf("%.1f × faster", 1 / ratio)
                        printf "| %s, %s | %.0f %s | %s %.0f %s | %s |\n", order[g], names[kit, i],
                               time[kit, i], unit, names[other, j], time[other, j], unit, verdict
                    }
            }
        }'
