#!/usr/bin/env bash
# What a request costs, next to the least a process can do to answer with a
# cJSON document (bench/min.c, "the floor"), in one run:
#
#   1. per request: instructions of the whole process (callgrind), CPU time
#      (perf stat's task-clock, user and kernel; where perf cannot count,
#      the children's user and system time as getrusage gives it), and wall
#      time, for the floor, GET stats/stat, GET lldp/remote-device and GET
#      lldp/all-interface-status against the simulated switch;
#   2. per OpEN call of lldp/all-interface-status: instructions in the
#      client (everything inside its RPC stubs: encode, send, wait, receive,
#      decode) and in the simulator (everything its connection thread does
#      for the request: receive, decode, dispatch, log, encode, send), less
#      the model's own work (the simulated operations), each divided by the
#      calls the simulator logged;
#   3. HTTP requests a second through lighttpd, one and four clients (wrk),
#      for the floor run as a CGI program and for the routes.
#
# Budgets are checked at the end; the exit status is 1 when one is missed.
# Not a test: figures depend on the machine and on what else runs on it.
#
#   bench/bench.sh [--quick]    # --quick: fewer wall-time runs, 2 s of wrk
set -euo pipefail
shopt -s inherit_errexit
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
bin="$root/build/bin"

budget_stat=250000
budget_remote=450000
budget_all=2000000
budget_client_call=4000
budget_sim_call=10000
budget_wall_ratio=6.25  # lldp/all-interface-status against the floor

runs=40 wrk_seconds=5
[ "${1:-}" = --quick ] && runs=10 wrk_seconds=2

"$root/scripts/deps" valgrind linux-perf wrk
"$root/scripts/build" >/dev/null

work="$(mktemp -d /tmp/monbench.XXXXXX)"
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill -TERM "$pid" 2>/dev/null || true; done
    for pid in "${pids[@]}"; do wait "$pid" 2>/dev/null || true; done
    rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 130' INT TERM

sandbox="$work/root"
mkdir -p "$sandbox/tmp/session" "$sandbox/mnt/application/vexo/tmp" "$sandbox/www"
session="$("$root/scripts/login" --root "$sandbox" admin)"

wait_for_socket() {
    local socket="$1" pid="$2" log="$3"
    for _ in $(seq 100); do
        [ -S "$socket" ] && return 0
        kill -0 "$pid" 2>/dev/null || { cat "$log" >&2; echo "bench: opensimd exited" >&2; exit 1; }
        sleep 0.1
    done
    echo "bench: opensimd did not create $socket" >&2
    exit 1
}

start_simulator() {  # SOCKET [wrapper...]
    local socket="$1"
    shift
    "$@" "$bin/opensimd" --socket "$socket" >"$socket.log" 2>&1 &
    pids+=($!)
    wait_for_socket "$socket" "$!" "$socket.log"
}

socket="$work/opensim.sock"
start_simulator "$socket"

gcc -O2 -Wall -Wextra "$root/bench/min.c" -lcjson -o "$work/min"
gcc -O2 -Wall -Wextra -DCGI_HEADER "$root/bench/min.c" -lcjson -o "$work/min.cgi"

floor=(PATH=/usr/bin:/bin "$work/min")

# One request as the web server would start it, left in the array "request".
# HTTP_REFRESH keeps the session file as it is, so that every run does the
# same work.
cgi_request() {
    local path="$1" sock="${2:-$socket}"
    request=(PATH=/usr/bin:/bin
        REQUEST_URI="/api/v2/monitoring/$path" REQUEST_METHOD=GET QUERY_STRING="${path#*\?}"
        HTTP_SESSION="$session" HTTP_REFRESH=1
        OPEN_RPC_SOCKET="$sock" MONITORING_ROOT="$sandbox"
        "$bin/monitoring_v2.cgi")
    [[ "$path" == *\?* ]] || request[3]=QUERY_STRING=
}

# Instructions of one whole process, from callgrind's summary. Arguments of
# the form NAME=VALUE before the program make its whole environment; valgrind
# goes between them and the program, so that the program itself is counted.
instructions() {
    local out="$1"
    shift
    local vars=()
    while [ $# -gt 0 ] && [[ "$1" == *=* ]]; do vars+=("$1"); shift; done
    env -i "${vars[@]}" valgrind --tool=callgrind --callgrind-out-file="$out" "$@" \
        >"$out.stdout" 2>"$out.valgrind" </dev/null || true
    local n
    n="$(sed -n 's/^summary: *//p' "$out" 2>/dev/null)"
    case "$n" in
        '' | *[!0-9]*) echo "bench: no callgrind total for $*" >&2; cat "$out.valgrind" >&2; exit 1 ;;
    esac
    echo "$n"
}

# A route's figure counts only when it answered with an envelope.
check_answer() {
    grep -q '"resp"' "$1" || { echo "bench: no JSON answer in $1:" >&2; cat "$1" >&2; exit 1; }
}

if perf stat -x, -e task-clock true >/dev/null 2>&1; then
    cpu_method="perf stat task-clock (user and kernel)"
    perf stat -x, -e instructions true 2>&1 | grep -q 'not supported' &&
        cpu_method="$cpu_method; perf counts no instructions here"
else
    cpu_method="getrusage of the children (user and system)"
fi

# CPU milliseconds of one process, the mean of $runs.
cpu_ms() {
    if [[ "$cpu_method" == perf* ]]; then
        env -i "$@" >/dev/null  # warm
        perf stat -x, -e task-clock -r "$runs" -o "$work/perf" env -i "$@" >/dev/null
        awk -F, '/task-clock/ { printf "%.2f", $1; exit }' "$work/perf"
    else
        local t
        t="$( (for _ in $(seq "$runs"); do env -i "$@" >/dev/null; done; times) | tail -1)"
        awk -v t="$t" -v n="$runs" 'BEGIN { split(t, p, /[ms]+/); printf "%.2f", (p[1] * 60 + p[2] + p[3] * 60 + p[4]) * 1000 / n }'
    fi
}

# Wall milliseconds of one process in a batch of $runs/5 runs; each case's
# figure is the median of five batches, the cases' batches taking turns so
# that a burst of other work on the machine falls on all of them alike.
batch_ms() {
    local batch=$((runs / 5)) start end
    start="$(date +%s%N)"
    for _ in $(seq "$batch"); do env -i "$@" >/dev/null; done
    end="$(date +%s%N)"
    awk -v ns="$((end - start))" -v n="$batch" 'BEGIN { printf "%.3f", ns / n / 1e6 }'
}

# The OpEN calls one request makes, from the simulator's call log.
open_calls() {
    "$bin/opensimctl" --socket "$socket" calls clear
    env -i "$@" >/dev/null
    "$bin/opensimctl" --socket "$socket" calls | wc -l
}

inclusive_of() {  # CALLGRIND_FILE PATTERN: the summed inclusive cost of the functions matching
    callgrind_annotate --inclusive=yes --threshold=100 "$1" 2>/dev/null |
        awk -v pattern="$2" '$0 ~ pattern && $0 ~ /\[/ { gsub(",", "", $1); sum += $1 } END { print sum + 0 }'
}

ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", a / b }'; }

declare -A instr cpu wall commands
names=(floor stat remote all)
declare -A paths=([stat]="stats/stat?ifNum=1&counterId=ctr_rx_total_bytes" [remote]="lldp/remote-device"
    [all]="lldp/all-interface-status")
declare -A labels=([floor]="floor: min.c, one cJSON document" [stat]="GET stats/stat"
    [remote]="GET lldp/remote-device" [all]="GET lldp/all-interface-status")

for name in "${names[@]}"; do
    if [ "$name" = floor ]; then
        cmd=("${floor[@]}")
    else
        cgi_request "${paths[$name]}"
        cmd=("${request[@]}")
        env -i "${cmd[@]}" >"$work/answer.$name"
        check_answer "$work/answer.$name"
    fi
    instr[$name]="$(instructions "$work/cg.$name" "${cmd[@]}")"
    [ "$name" = floor ] || check_answer "$work/cg.$name.stdout"
    cpu[$name]="$(cpu_ms "${cmd[@]}")"
    commands[$name]="$(printf '%q ' "${cmd[@]}")"
done
declare -A batches
for _ in 1 2 3 4 5; do
    for name in "${names[@]}"; do
        eval "cmd=(${commands[$name]})"
        batches[$name]+="$(batch_ms "${cmd[@]}") "
    done
done
for name in "${names[@]}"; do
    wall[$name]="$(printf '%s\n' ${batches[$name]} | sort -n | sed -n 3p)"
done

echo "Per request (instructions: callgrind, whole process; CPU: $cpu_method, mean of $runs;"
echo "wall: median of five batches of $((runs / 5)) taking turns, run directly against the simulated switch)"
row='%-34s %12s %7s %9s %7s %9s %7s\n'
printf "$row" request instructions ratio "CPU ms" ratio "wall ms" ratio
for name in "${names[@]}"; do
    printf "$row" "${labels[$name]}" "${instr[$name]}" "$(ratio "${instr[$name]}" "${instr[floor]}")" \
        "${cpu[$name]}" "$(ratio "${cpu[$name]}" "${cpu[floor]}")" \
        "${wall[$name]}" "$(ratio "${wall[$name]}" "${wall[floor]}")"
done
echo

# Per OpEN call: the client's stubs inside the measured CGI run, and a
# simulator under callgrind counting only its connection threads.
cgi_request "${paths[all]}"
calls="$(open_calls "${request[@]}")"
client_total="$(inclusive_of "$work/cg.all" 'openRpcCall')"
sim_socket="$work/counted.sock"
start_simulator "$sim_socket" valgrind --tool=callgrind --callgrind-out-file="$work/cg.sim" \
    --toggle-collect='SimServer::serveConnection(int)'
sim_pid="${pids[-1]}"
cgi_request "${paths[all]}" "$sim_socket"
env -i "${request[@]}" >"$work/answer.counted"
check_answer "$work/answer.counted"
kill -TERM "$sim_pid"
wait "$sim_pid" 2>/dev/null || true
unset 'pids[-1]'
sim_total="$(sed -n 's/^summary: *//p' "$work/cg.sim")"
sim_model="$(inclusive_of "$work/cg.sim" ':sim::openapi')"
client_call=$((client_total / calls))
sim_call=$(((sim_total - sim_model) / calls))
echo "Per OpEN call of GET lldp/all-interface-status ($calls calls; callgrind)"
row='%-58s %12s %10s\n'
printf "$row" "" total "per call"
printf "$row" "client: inside its RPC stubs" "$client_total" "$client_call"
printf "$row" "simulator: its connection thread, all of it" "$sim_total" "$((sim_total / calls))"
printf "$row" "simulator: the model's own work (sim::openapi*)" "$sim_model" "$((sim_model / calls))"
printf "$row" "simulator: receive, decode, dispatch, log, encode, send" "$((sim_total - sim_model))" "$sim_call"
echo

# HTTP through lighttpd: the floor as a CGI program beside the routes.
port=
for candidate in $(seq 18480 18520); do
    if ! (exec 3<>"/dev/tcp/127.0.0.1/$candidate") 2>/dev/null; then port=$candidate; break; fi
done
[ -n "$port" ] || { echo "bench: no free port for lighttpd" >&2; exit 1; }
cp "$work/min.cgi" "$sandbox/www/floor.cgi"
sed -e "s|@BIND@|127.0.0.1|g" -e "s|@PORT@|$port|g" -e "s|@DOCROOT@|$sandbox/www|g" \
    -e "s|@LOGDIR@|$work|g" -e "s|@CGI@|$bin/monitoring_v2.cgi|g" -e "s|@SOCKET@|$socket|g" \
    -e "s|@SANDBOX@|$sandbox|g" "$root/web/lighttpd.conf.in" >"$work/lighttpd.conf"
printf '\n$HTTP["url"] == "/floor.cgi" { cgi.assign = ( ".cgi" => "" ) }\n' >>"$work/lighttpd.conf"
/usr/sbin/lighttpd -D -f "$work/lighttpd.conf" >"$work/lighttpd.out" 2>&1 &
pids+=($!)
for _ in $(seq 50); do
    curl -fs -o /dev/null "http://127.0.0.1:$port/floor.cgi" && break
    sleep 0.1
done
rate() {  # URL CONNECTIONS: requests a second, wrk's own figure
    wrk -t "$2" -c "$2" -d "${wrk_seconds}s" -H "Session: $session" -H "Refresh: 1" "$1" 2>&1 |
        awk '/Requests\/sec/ { print $2 }'
}
echo "HTTP requests a second through lighttpd on 127.0.0.1 (wrk, ${wrk_seconds} s each; ratio to the floor)"
row='%-34s %10s %7s %10s %7s\n'
printf "$row" request "1 client" ratio "4 clients" ratio
declare -A rate1 rate4
for name in "${names[@]}"; do
    url="http://127.0.0.1:$port/api/v2/monitoring/${paths[$name]:-}"
    [ "$name" = floor ] && url="http://127.0.0.1:$port/floor.cgi"
    rate1[$name]="$(rate "$url" 1)"
    rate4[$name]="$(rate "$url" 4)"
    printf "$row" "${labels[$name]}" "${rate1[$name]}" "$(ratio "${rate1[$name]}" "${rate1[floor]}")" \
        "${rate4[$name]}" "$(ratio "${rate4[$name]}" "${rate4[floor]}")"
done
echo

failed=0
budget() {  # LABEL VALUE LIMIT
    if awk -v v="$2" -v l="$3" 'BEGIN { exit !(v <= l) }'; then
        printf '%-58s %12s <= %-10s PASS\n' "$1" "$2" "$3"
    else
        printf '%-58s %12s <= %-10s FAIL\n' "$1" "$2" "$3"
        failed=1
    fi
}
echo "Budgets"
budget "GET stats/stat, instructions" "${instr[stat]}" "$budget_stat"
budget "GET lldp/remote-device, instructions" "${instr[remote]}" "$budget_remote"
budget "GET lldp/all-interface-status, instructions" "${instr[all]}" "$budget_all"
budget "client instructions per OpEN call" "$client_call" "$budget_client_call"
budget "simulator instructions per OpEN call, model aside" "$sim_call" "$budget_sim_call"
budget "GET lldp/all-interface-status wall time, floors" "$(ratio "${wall[all]}" "${wall[floor]}")" "$budget_wall_ratio"
exit "$failed"
