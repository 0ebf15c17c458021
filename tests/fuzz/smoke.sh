#!/usr/bin/env bash
# Runs one fuzz target for a bounded time over a copy of its corpus (the
# repository's corpus stays as it is) and its saved regressions. Fails on any
# crash, leak, time-out or sanitizer report, keeping the work directory with
# the log and the input that caused it.
#
#   smoke.sh TARGET CORPUS REGRESSIONS SECONDS [DICTIONARY]
set -euo pipefail
[ $# -eq 4 ] || [ $# -eq 5 ] || { echo "usage: $0 TARGET CORPUS REGRESSIONS SECONDS [DICTIONARY]" >&2; exit 2; }
target="$1" corpus="$2" regressions="$3" seconds="$4" dict="${5:-}"

work="$(mktemp -d "${TMPDIR:-/tmp}/fuzz-smoke.XXXXXX")"
mkdir "$work/corpus"
[ -d "$corpus" ] && cp -R "$corpus/." "$work/corpus/"
dirs=("$work/corpus")
[ -d "$regressions" ] && dirs+=("$regressions")
options=()
[ -n "$dict" ] && options+=(-dict="$dict")

status=0
"$target" -max_total_time="$seconds" -timeout=25 -rss_limit_mb=2048 -print_final_stats=1 \
    -artifact_prefix="$work/" "${options[@]}" "${dirs[@]}" >"$work/log" 2>&1 || status=$?

if [ "$status" -ne 0 ] || grep -qE 'ERROR: [A-Za-z]+Sanitizer|runtime error:|ERROR: libFuzzer' "$work/log"; then
    cat "$work/log" >&2
    echo "smoke: $(basename "$target") failed (status $status); log and inputs kept in $work" >&2
    exit 1
fi
grep -E '^(#[0-9]+ +DONE|stat::)' "$work/log" || tail -n 5 "$work/log"
rm -rf "$work"
