#!/usr/bin/env bash
# The desktop application's two figures in docs/PERFORMANCE.md, each the median of several runs
# on a virtual X display (Xvfb, no window manager, no compositor):
#
#   1. CPU use of the idle application: her panel on screen, the character animating at 24
#      frames a second, nothing else happening; user and system time of the process over 60 s
#      from /proc/<pid>/stat, as a share of one core.
#   2. Start-up time with a 1 000 000-message archive: from starting `lumenary` to the panel
#      being mapped on the screen, polled every few milliseconds with xdotool.
#
#   bench/desktop-benchmarks.sh [build folder]     (default build/release)
#
# The build must be optimised and configured with -DLUMENARY_BENCH=ON (for GenerateExport).
# Each measurement runs in its own temporary home, seeded with `lumenary --demo`, which stores
# the archive through Store::adopt as onboarding does.

set -euo pipefail
cd "$(dirname "$0")/.."

build=${1:-build/release}
idle_runs=${IDLE_RUNS:-5}
idle_seconds=${IDLE_SECONDS:-60}
start_runs=${START_RUNS:-5}
messages=1000000
seed=20160101
export TZ=Asia/Kolkata

for program in "$build/lumenary" "$build/bench/GenerateExport"; do
    [[ -x "$program" ]] || { echo "No $program: build with -DLUMENARY_BENCH=ON" >&2; exit 1; }
done
if [[ -z "${LUMENARY_BENCH_DISPLAY:-}" ]]; then
    # Re-run inside a private X server; the screen is a common laptop size.
    exec env LUMENARY_BENCH_DISPLAY=1 xvfb-run -a -s "-screen 0 1920x1080x24 -nolisten tcp -noreset" \
        "$0" "$@"
fi
unset QT_QPA_PLATFORM WAYLAND_DISPLAY DBUS_SESSION_BUS_ADDRESS

median() {
    sort -g | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'
}

workdir=$(mktemp -d)
app=""
trap '[[ -n "$app" ]] && kill -9 "$app" 2>/dev/null; rm -rf "$workdir"' EXIT

use_home() {
    export HOME="$workdir/$1"
    export XDG_CONFIG_HOME="$HOME/.config" XDG_DATA_HOME="$HOME/.local/share"
    export XDG_CACHE_HOME="$HOME/.cache" XDG_STATE_HOME="$HOME/.local/state"
    export XDG_RUNTIME_DIR="$HOME/runtime"
    mkdir -p "$XDG_RUNTIME_DIR" && chmod 0700 "$XDG_RUNTIME_DIR"
}

panel_mapped() {
    [[ -n "$(xdotool search --onlyvisible --name '^Lumenary$' 2>/dev/null)" ]]
}

# Starts `lumenary "$@"` and waits for its panel; sets $app and $elapsed (seconds). Runs in
# this shell, never in a subshell, so that $app stays known.
start_until_panel() {
    local started
    started=$(date +%s.%N)
    "$build/lumenary" "$@" >/dev/null 2>"$workdir/app.err" &
    app=$!
    for _ in $(seq 30000); do
        if panel_mapped; then
            elapsed=$(awk -v a="$started" -v b="$(date +%s.%N)" 'BEGIN { printf "%.3f", b - a }')
            return
        fi
        kill -0 "$app" 2>/dev/null || { cat "$workdir/app.err" >&2; exit 1; }
        sleep 0.005
    done
    echo "no panel after a long wait" >&2
    exit 1
}

stop() {
    kill -TERM "$app"
    wait "$app" || true
    app=""
}

# Starts the application $start_runs times, each until its panel is on screen, printing each
# time and then their median; the times are kept in the file $1.
time_starts() {
    : >"$1"
    for _ in $(seq "$start_runs"); do
        start_until_panel
        stop
        echo "$elapsed" | tee -a "$1"
    done
    echo "median: $(median <"$1") s"
}

ticks() {
    # utime and stime, fields 14 and 15 of /proc/<pid>/stat, counted after the command name.
    sed 's/^.*) //' "/proc/$1/stat" | awk '{ print $12 + $13 }'
}

echo "Desktop benchmarks; $(date -u '+%Y-%m-%d %H:%M UTC') on $(nproc) CPUs," \
    "load average $(cut -d' ' -f1-3 /proc/loadavg)"

echo
echo "== idle CPU, panel animating, $idle_runs runs of $idle_seconds s"
use_home idle
start_until_panel --demo docs/sample-chat.txt
stop
hz=$(getconf CLK_TCK)
: >"$workdir/idle.txt"
for _ in $(seq "$idle_runs"); do
    start_until_panel
    sleep 10  # the greeting's bubble has come and gone
    before=$(ticks "$app")
    sleep "$idle_seconds"
    after=$(ticks "$app")
    stop
    awk -v t=$((after - before)) -v hz="$hz" -v s="$idle_seconds" \
        'BEGIN { printf "%.2f\n", 100 * t / hz / s }' | tee -a "$workdir/idle.txt"
done
echo "median: $(median <"$workdir/idle.txt") % of one core"

echo
echo "== start-up to the visible panel, $messages generated messages (bracketed), $start_runs runs"
use_home large
"$build/bench/GenerateExport" "$messages" bracketed "$seed" "$workdir/_chat.txt" >/dev/null
start_until_panel --demo "$workdir/_chat.txt" --as Amma
stop
rm -f "$workdir/_chat.txt"
echo "seeding and first start: $elapsed s"
echo "data folder: $(du -sh "$XDG_DATA_HOME/Lumenary" | cut -f1)"
time_starts "$workdir/start.txt"

echo
echo "== start-up to the visible panel, docs/sample-chat.txt, $start_runs runs"
use_home idle
time_starts "$workdir/small.txt"
