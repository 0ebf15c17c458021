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
#   3. the program as a FastCGI application: instructions per request in
#      steady state (callgrind over many requests of one process, its
#      start-up left out) next to a FastCGI floor (bench/min_fcgi.c: the
#      floor's document from a libfcgi loop), CPU per request, and resident
#      memory after 1,000 and after 100,000 requests;
#   4. HTTP requests a second through lighttpd, one and four clients (wrk),
#      for the floor as a CGI program, the FastCGI floor and the routes in
#      both modes, two FastCGI processes each as ./run --fastcgi has them.
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
budget_fcgi_stat=50000  # GET stats/stat in FastCGI mode, steady state
budget_fcgi_vs_cgi_floor=5   # times the floor CGI's rate, four clients
budget_fcgi_vs_fcgi_floor=0.40  # of the FastCGI floor's rate, four clients
budget_rss_growth_kib=1024

runs=40 wrk_seconds=5
[ "${1:-}" = --quick ] && runs=10 wrk_seconds=2

"$root/scripts/deps" valgrind linux-perf wrk libfcgi-bin
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
gcc -O2 -Wall -Wextra "$root/bench/min_fcgi.c" -lcjson /usr/lib/x86_64-linux-gnu/libfcgi.a -o "$work/min.fcgi"

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

# ---- The program as a FastCGI application ----

# Steady state: an application that cgi-fcgi starts on a socket of its own,
# under callgrind with its instrumentation off through start-up and some
# requests to warm up, then on for N requests, whose events are dumped: all
# the process does for them, from accepting each to finishing it.
fcgi_instructions() {  # NAME PROGRAM PATH: instructions per request
    local name="$1" program="$2" path="$3" n=1000 warm=50
    local app_socket="$work/$name.fcgi.sock" wrapper="$work/$name.vg" out="$work/cg.fcgi.$name"
    cat >"$wrapper" <<WRAPPER
#!/bin/sh
exec env -i OPEN_RPC_SOCKET="$socket" MONITORING_ROOT="$sandbox" valgrind --tool=callgrind \
    --callgrind-out-file="$out" --instr-atstart=no "$program" 2>"$out.valgrind"
WRAPPER
    chmod +x "$wrapper"
    cgi-fcgi -start -connect "$app_socket" "$wrapper" >/dev/null
    local vars=(REQUEST_URI="/api/v2/monitoring/$path" REQUEST_METHOD=GET QUERY_STRING="${path#*\?}"
        HTTP_SESSION="$session" HTTP_REFRESH=1)
    [[ "$path" == *\?* ]] || vars[2]=QUERY_STRING=
    for _ in $(seq "$warm"); do env -i "${vars[@]}" cgi-fcgi -bind -connect "$app_socket" >"$work/answer.fcgi.$name"; done
    local pid
    pid="$(pgrep -f -- "--callgrind-out-file=$out " | head -1)"
    callgrind_control -i on "$pid" >/dev/null 2>&1
    for _ in $(seq "$n"); do env -i "${vars[@]}" cgi-fcgi -bind -connect "$app_socket" >/dev/null; done
    callgrind_control -d "$pid" >/dev/null 2>&1
    kill -TERM "$pid"
    local total
    total="$(sed -n 's/^summary: *//p' "$out".1 2>/dev/null)"
    [ -n "$total" ] || { echo "bench: no callgrind total for FastCGI $name" >&2; cat "$out.valgrind" >&2; exit 1; }
    echo $((total / n))
}

declare -A fcgi_instr
fcgi_instr[floor]="$(fcgi_instructions floor "$work/min.fcgi" "")"
for name in stat remote all; do
    fcgi_instr[$name]="$(fcgi_instructions "$name" "$bin/monitoring_v2.cgi" "${paths[$name]}")"
    check_answer "$work/answer.fcgi.$name"
done

# ---- HTTP through lighttpd ----

free_port() {
    local candidate
    for candidate in $(seq "$1" $(($1 + 40))); do
        if ! (exec 3<>"/dev/tcp/127.0.0.1/$candidate") 2>/dev/null; then echo "$candidate"; return; fi
    done
    echo "bench: no free port for lighttpd" >&2
    exit 1
}
# A web server as scripts/serve configures it for MODE, with the matching
# floor beside the program: /floor.cgi, or /floor.fcgi as two FastCGI processes.
start_lighttpd() {  # MODE PORT
    local mode="$1" port="$2" conf="$work/lighttpd-$1.conf"
    local fill=(-e "s|@BIND@|127.0.0.1|g" -e "s|@PORT@|$port|g" -e "s|@DOCROOT@|$sandbox/www|g"
        -e "s|@LOGDIR@|$work/$mode|g" -e "s|@CGI@|$bin/monitoring_v2.cgi|g" -e "s|@SOCKET@|$socket|g"
        -e "s|@FCGI_SOCKET@|$work/$mode.api.sock|g" -e "s|@SANDBOX@|$sandbox|g"
        -e "s|@API_CONF@|$work/lighttpd-api-$mode.conf|g")
    mkdir -p "$work/$mode"
    sed "${fill[@]}" "$root/web/lighttpd.conf.in" >"$conf"
    sed "${fill[@]}" "$root/web/lighttpd-api-$mode.conf.in" >"$work/lighttpd-api-$mode.conf"
    if [ "$mode" = cgi ]; then
        printf '\n$HTTP["url"] == "/floor.cgi" { cgi.assign = ( ".cgi" => "" ) }\n' >>"$conf"
    else
        printf '\nfastcgi.server += ( "/floor.fcgi" => (( "bin-path" => "%s", "socket" => "%s", "max-procs" => 2, "check-local" => "disable" )) )\n' \
            "$work/min.fcgi" "$work/floor.sock" >>"$conf"
    fi
    /usr/sbin/lighttpd -D -f "$conf" >"$work/lighttpd-$mode.out" 2>&1 &
    pids+=($!)
    local probe=floor.cgi
    [ "$mode" = fastcgi ] && probe=floor.fcgi
    for _ in $(seq 50); do
        curl -fs -o /dev/null "http://127.0.0.1:$port/$probe" && return 0
        sleep 0.1
    done
    echo "bench: lighttpd ($mode) does not answer; see $work/$mode/lighttpd-error.log" >&2
    exit 1
}
cp "$work/min.cgi" "$sandbox/www/floor.cgi"
cgi_port="$(free_port 18480)"
start_lighttpd cgi "$cgi_port"
fcgi_port="$(free_port $((cgi_port + 1)))"
start_lighttpd fastcgi "$fcgi_port"

rate() {  # URL CONNECTIONS: requests a second, wrk's own figure
    wrk -t "$2" -c "$2" -d "${wrk_seconds}s" -H "Session: $session" -H "Refresh: 1" "$1" 2>&1 |
        awk '/Requests\/sec/ { print $2 }'
}
# CPU seconds the program's FastCGI processes have used so far.
fcgi_cpu_s() {
    local total=0 pid
    for pid in $(pgrep -f "^$bin/monitoring_v2.cgi\$"); do
        total=$((total + $(awk '{ print $14 + $15 }' "/proc/$pid/stat")))
    done
    awk -v t="$total" -v hz="$(getconf CLK_TCK)" 'BEGIN { printf "%.4f", t / hz }'
}
fcgi_rss_kib() {
    local pid
    for pid in $(pgrep -f "^$bin/monitoring_v2.cgi\$"); do awk '/^VmRSS/ { printf "%s ", $2 }' "/proc/$pid/status"; done
}
# Requests the program's processes answered, from lighttpd's access log.
answered() {
    local n
    n="$(grep -c 'GET /api/v2/monitoring/' "$work/fastcgi/lighttpd-access.log" 2>/dev/null)" || true
    echo "${n:-0}"
}

declare -A rate1 rate4 urls
labels[floor_fcgi]="FastCGI floor: min_fcgi.c, 2 processes"
for name in stat remote all; do labels[fcgi_$name]="${labels[$name]}, FastCGI"; done
urls[floor]="http://127.0.0.1:$cgi_port/floor.cgi"
urls[floor_fcgi]="http://127.0.0.1:$fcgi_port/floor.fcgi"
for name in stat remote all; do
    urls[$name]="http://127.0.0.1:$cgi_port/api/v2/monitoring/${paths[$name]}"
    urls[fcgi_$name]="http://127.0.0.1:$fcgi_port/api/v2/monitoring/${paths[$name]}"
done

# Memory of the two processes after their first thousand requests and after
# a hundred thousand.
curl -fs -H "Session: $session" -H "Refresh: 1" -o /dev/null "${urls[fcgi_stat]}"
while [ "$(answered)" -lt 1000 ]; do wrk -t 2 -c 2 -d 1s -H "Session: $session" -H "Refresh: 1" "${urls[fcgi_stat]}" >/dev/null 2>&1; done
rss_early="$(fcgi_rss_kib)" count_early="$(answered)"

# CPU per request of the program's processes, with one client.
cpu_before="$(fcgi_cpu_s)" count_before="$(answered)"
rate1[fcgi_stat]="$(rate "${urls[fcgi_stat]}" 1)"
fcgi_cpu_ms="$(awk -v a="$cpu_before" -v b="$(fcgi_cpu_s)" -v n=$(($(answered) - count_before)) \
    'BEGIN { printf "%.3f", (b - a) * 1000 / n }')"

echo "HTTP requests a second through lighttpd on 127.0.0.1 (wrk, ${wrk_seconds} s each; ratio to the floor CGI)"
row='%-40s %10s %7s %10s %7s\n'
printf "$row" request "1 client" ratio "4 clients" ratio
for name in floor floor_fcgi stat fcgi_stat remote fcgi_remote all fcgi_all; do
    [ -n "${rate1[$name]:-}" ] || rate1[$name]="$(rate "${urls[$name]}" 1)"
    rate4[$name]="$(rate "${urls[$name]}" 4)"
    printf "$row" "${labels[$name]}" "${rate1[$name]}" "$(ratio "${rate1[$name]}" "${rate1[floor]}")" \
        "${rate4[$name]}" "$(ratio "${rate4[$name]}" "${rate4[floor]}")"
done
echo

echo "The program as a FastCGI application (instructions: callgrind, per request over 1,000 requests of one"
echo "process after 50 to warm up, all it does from accepting each to finishing it; CPU: the processes' own,"
echo "with one client; wall: through lighttpd with one client, the inverse of its rate above)"
row='%-34s %12s %7s %9s %9s\n'
wall_ms() { awk -v r="$1" 'BEGIN { printf "%.3f", 1000 / r }'; }
printf "$row" request instructions ratio "CPU ms" "wall ms"
printf "$row" "${labels[floor_fcgi]%, 2 processes}" "${fcgi_instr[floor]}" 1.00 "" "$(wall_ms "${rate1[floor_fcgi]}")"
for name in stat remote all; do
    printf "$row" "${labels[$name]}" "${fcgi_instr[$name]}" "$(ratio "${fcgi_instr[$name]}" "${fcgi_instr[floor]}")" \
        "$([ "$name" = stat ] && echo "$fcgi_cpu_ms")" "$(wall_ms "${rate1[fcgi_$name]}")"
done
echo

while [ "$(answered)" -lt 200000 ]; do
    wrk -t 4 -c 4 -d 5s -H "Session: $session" -H "Refresh: 1" "${urls[fcgi_stat]}" >/dev/null 2>&1
done
rss_late="$(fcgi_rss_kib)" count_late="$(answered)"
rss_growth="$(awk -v a="$rss_early" -v b="$rss_late" 'BEGIN { n = split(a, x, " "); split(b, y, " ");
    for (i = 1; i <= n; i++) if (y[i] - x[i] > m) m = y[i] - x[i]; print m + 0 }')"
echo "Resident memory of the two FastCGI processes (KiB): $rss_early after $count_early requests of both,"
echo "$rss_late after $count_late; the most either grew: $rss_growth KiB"
echo

failed=0
check() {  # LABEL VALUE <=|>= LIMIT
    local verdict=PASS
    awk -v v="$2" -v l="$4" -v op="$3" 'BEGIN { exit !(op == "<=" ? v <= l : v >= l) }' || verdict=FAIL failed=1
    printf '%-58s %12s %s %-10s %s\n' "$1" "$2" "$3" "$4" "$verdict"
}
budget() { check "$1" "$2" "<=" "$3"; }   # LABEL VALUE LIMIT
atleast() { check "$1" "$2" ">=" "$3"; }  # LABEL VALUE LIMIT
echo "Budgets"
budget "GET stats/stat, instructions" "${instr[stat]}" "$budget_stat"
budget "GET lldp/remote-device, instructions" "${instr[remote]}" "$budget_remote"
budget "GET lldp/all-interface-status, instructions" "${instr[all]}" "$budget_all"
budget "client instructions per OpEN call" "$client_call" "$budget_client_call"
budget "simulator instructions per OpEN call, model aside" "$sim_call" "$budget_sim_call"
budget "GET lldp/all-interface-status wall time, floors" "$(ratio "${wall[all]}" "${wall[floor]}")" "$budget_wall_ratio"
budget "GET stats/stat, FastCGI, instructions a request" "${fcgi_instr[stat]}" "$budget_fcgi_stat"
atleast "GET stats/stat, FastCGI, 4 clients, times the floor CGI" "$(ratio "${rate4[fcgi_stat]}" "${rate4[floor]}")" \
    "$budget_fcgi_vs_cgi_floor"
atleast "GET stats/stat, FastCGI, 4 clients, of the FastCGI floor" \
    "$(ratio "${rate4[fcgi_stat]}" "${rate4[floor_fcgi]}")" "$budget_fcgi_vs_fcgi_floor"
budget "FastCGI resident memory growth, KiB, 1,000 to 100,000 requests" "$rss_growth" "$budget_rss_growth_kib"
exit "$failed"
