#!/usr/bin/env bash
# Start-up cost of monitoring_v2.cgi: instructions executed by one whole CGI
# process (loader, start-up, OpEN registration, dispatch, answer, tear-down),
# counted with callgrind, next to a minimal C program that prints one cJSON
# document. Exits non-zero when stats/stat exceeds its budget.
set -euo pipefail
shopt -s inherit_errexit
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
bin="$root/build/bin"
budget_stat=350000

"$root/scripts/deps" valgrind
valgrind="$(command -v valgrind)"
"$root/scripts/build"

work="$(mktemp -d /tmp/monbench.XXXXXX)"
sim_pid=
cleanup() {
    if [ -n "$sim_pid" ]; then
        kill -TERM "$sim_pid" 2>/dev/null || true
        wait "$sim_pid" 2>/dev/null || true
    fi
    rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 130' INT TERM

sandbox="$work/root"
socket="$work/opensim.sock"
mkdir -p "$sandbox/tmp/session" "$sandbox/mnt/application/vexo/tmp"

"$bin/opensimd" --socket "$socket" >"$work/opensimd.log" 2>&1 &
sim_pid=$!
for _ in $(seq 50); do
    [ -S "$socket" ] && break
    kill -0 "$sim_pid" 2>/dev/null || { cat "$work/opensimd.log" >&2; echo "bench: opensimd exited" >&2; exit 1; }
    sleep 0.1
done
[ -S "$socket" ] || { echo "bench: opensimd did not create its socket" >&2; exit 1; }

session="$("$root/scripts/login" --root "$sandbox" admin)"

gcc -O2 -Wall -Wextra "$root/bench/min.c" -lcjson -o "$work/min"

# callgrind's total for the whole process, from the summary line of its file.
# Arguments of the form NAME=VALUE before the program make its whole
# environment; valgrind is put between them and the program, so that what is
# counted is the program and not a wrapper that execs it.
count() {
    local out="$1"
    shift
    local vars=()
    while [ $# -gt 0 ] && [[ "$1" == *=* ]]; do
        vars+=("$1")
        shift
    done
    # The program's own exit status is judged by its answer, not here.
    env -i "${vars[@]}" "$valgrind" --tool=callgrind --callgrind-out-file="$out" "$@" \
        >"$out.stdout" 2>"$out.valgrind" </dev/null || true
    local n
    n="$(sed -n 's/^summary: *//p' "$out" 2>/dev/null)"
    case "$n" in
        ''|*[!0-9]*) echo "bench: no callgrind total for $*" >&2; cat "$out.valgrind" >&2; return 1 ;;
    esac
    echo "$n"
}

# One request as the web server would start it, left in the array "request".
# HTTP_REFRESH keeps the session file as it is, so that every run does the
# same work.
cgi_request() {
    local path="$1" query="$2"
    local uri="/api/v2/monitoring/$path"
    [ -n "$query" ] && uri="$uri?$query"
    request=(PATH=/usr/bin:/bin
        REQUEST_URI="$uri" REQUEST_METHOD=GET QUERY_STRING="$query"
        HTTP_SESSION="$session" HTTP_REFRESH=1
        OPEN_RPC_SOCKET="$socket" MONITORING_ROOT="$sandbox"
        "$bin/monitoring_v2.cgi")
}

# Measures one route; refuses to report a figure for a request that failed.
measure_cgi() {
    local name="$1" path="$2" query="$3"
    local out="$work/cg.$name"
    local n
    cgi_request "$path" "$query"
    n="$(count "$out" "${request[@]}")" || exit 1
    if ! grep -q '"resp"' "$out.stdout"; then
        echo "bench: $path gave no JSON answer:" >&2
        cat "$out.stdout" "$out.valgrind" >&2
        exit 1
    fi
    echo "$n"
}

# Warm the page cache and the simulator so that the first figure is not odd.
cgi_request stats/stat "ifNum=1&counterId=ctr_rx_total_bytes"
env -i "${request[@]}" >/dev/null || true

min="$(count "$work/cg.min" PATH=/usr/bin:/bin "$work/min")"
stat="$(measure_cgi stat stats/stat "ifNum=1&counterId=ctr_rx_total_bytes")"
snap="$(measure_cgi snapshot instru-bst/snapshot "")"
all="$(measure_cgi all lldp/all-interface-status "")"
remote="$(measure_cgi remote lldp/remote-device "")"

ratio() {
    awk -v a="$1" -v b="$min" 'BEGIN { printf "%.2f", a / b }'
}

# The result code each measured request answered, so a figure of a failing
# request is recognised as such.
answered() {
    sed -n 's/.*"respCode":[[:space:]]*\(-\{0,1\}[0-9]*\).*/\1/p' "$work/cg.$1.stdout" | head -1
}

# Wall time of one request in milliseconds, the mean of 20 runs outside valgrind.
wall_ms() {
    local runs=20 start end
    cgi_request "$@"
    start="$(date +%s%N)"
    for _ in $(seq "$runs"); do env -i "${request[@]}" >/dev/null || true; done
    end="$(date +%s%N)"
    awk -v ns="$((end - start))" -v n="$runs" 'BEGIN { printf "%.1f", ns / n / 1e6 }'
}

# The OpEN calls one request makes, from the simulator's call log.
open_calls() {
    cgi_request "$@"
    "$bin/opensimctl" --socket "$socket" calls clear
    env -i "${request[@]}" >/dev/null || true
    "$bin/opensimctl" --socket "$socket" calls | wc -l
}

# Instructions inside the client's RPC calls (request built and printed,
# sent, answer read, parsed and decoded), inclusive, from callgrind.
client_cost() {
    callgrind_annotate --inclusive=yes "$work/cg.$1" 2>/dev/null |
        awk '/openRpcCall/ && !found { gsub(",", "", $1); print $1; found = 1 }'
}

row='%-28s %14s %8s %8s %10s\n'
printf "$row" case instructions ratio "wall ms" respCode
printf "$row" "minimal C (cJSON_Print)" "$min" "1.00" "-" "-"
printf "$row" "GET stats/stat" "$stat" "$(ratio "$stat")" "$(wall_ms stats/stat "ifNum=1&counterId=ctr_rx_total_bytes")" \
    "$(answered stat)"
printf "$row" "GET instru-bst/snapshot" "$snap" "$(ratio "$snap")" "$(wall_ms instru-bst/snapshot "")" \
    "$(answered snapshot)"
printf "$row" "GET lldp/all-interface-status" "$all" "$(ratio "$all")" "$(wall_ms lldp/all-interface-status "")" \
    "$(answered all)"
printf "$row" "GET lldp/remote-device" "$remote" "$(ratio "$remote")" "$(wall_ms lldp/remote-device "")" \
    "$(answered remote)"
echo

row='%-28s %10s %18s %18s\n'
printf "$row" case "OpEN calls" "client instr" "per call"
for name in stat all remote; do
    case "$name" in
        stat) path=stats/stat query="ifNum=1&counterId=ctr_rx_total_bytes" ;;
        all) path=lldp/all-interface-status query="" ;;
        remote) path=lldp/remote-device query="" ;;
    esac
    calls="$(open_calls "$path" "$query")"
    cost="$(client_cost "$name")"
    printf "$row" "GET $path" "$calls" "$cost" "$(awk -v c="$cost" -v n="$calls" 'BEGIN { printf "%d", c / n }')"
done
echo

if [ "$stat" -le "$budget_stat" ]; then
    echo "budget stats/stat <= $budget_stat: PASS"
else
    echo "budget stats/stat <= $budget_stat: FAIL"
    exit 1
fi
