#!/bin/sh
# The desktop application on a real X server: run under xvfb-run, in a private home.
#
#   desktop-end-to-end.sh <lumenary program> <sample chat export>
#
# Starts a window manager (openbox), then `lumenary --demo <export>`, and checks that the panel
# appears 148 × 196 at the bottom right of the screen without taking the focus, that a click on
# its transparent margin reaches what lies below, that a click on her opens the chat window, that
# a message typed there is answered and saved, and that Ctrl+Q there ends the application
# cleanly. A second start (without --demo) checks that SIGTERM also ends it cleanly with her data
# kept.
set -eu

program=$1
export_file=$2
work=$(mktemp -d "${TMPDIR:-/tmp}/lumenary-e2e.XXXXXX")
app=""
wm=""
cleanup() {
    [ -n "$app" ] && kill -9 "$app" 2>/dev/null || true
    [ -n "$wm" ] && kill "$wm" 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT

fail() {
    echo "FAIL: $*" >&2
    for log in "$work"/*.err; do
        [ -s "$log" ] && { echo "--- $log" >&2; tail -40 "$log" >&2; }
    done
    exit 1
}

# Polls `$@` every 0.1 s until it succeeds, for at most $timeout seconds.
wait_for() {
    timeout=$1
    shift
    tries=$((timeout * 10))
    while ! "$@" >/dev/null 2>&1; do
        tries=$((tries - 1))
        [ "$tries" -gt 0 ] || return 1
        sleep 0.1
    done
}

visible_window() {
    xdotool search --onlyvisible --name "$1" 2>/dev/null | head -n 1
}

has_visible_window() {
    [ -n "$(visible_window "$1")" ]
}

# Waits up to $1 seconds for the process $app to end and sets $status to its exit status (124
# when it did not end). Runs in this shell, which alone can reap its child.
wait_exit() {
    tries=$(($1 * 10))
    status=124
    while [ "$tries" -gt 0 ]; do
        # A child that has ended stays a zombie, which kill -0 still finds, until it is reaped;
        # its state in /proc tells the two apart.
        state=$(sed -n 's/^[0-9]* (.*) \(.\).*/\1/p' "/proc/$app/stat" 2>/dev/null || true)
        case "$state" in
            "" | Z*)
                status=0
                wait "$app" || status=$?
                app=""
                return
                ;;
        esac
        tries=$((tries - 1))
        sleep 0.1
    done
}

geometry() {
    xwininfo -id "$1" | awk -F: '
        /Absolute upper-left X/ {x=$2} /Absolute upper-left Y/ {y=$2}
        /Width/ {w=$2} /Height/ {h=$2}
        END {gsub(/ /, "", x); gsub(/ /, "", y); gsub(/ /, "", w); gsub(/ /, "", h);
             print x, y, w, h}'
}

pointer_window() {
    xdotool mousemove "$1" "$2"
    xdotool getmouselocation --shell | sed -n 's/^WINDOW=//p'
}

started=$(date +%s)

# A window manager, so that windows can become active (bare Xvfb has no focus handling).
openbox >"$work/openbox.out" 2>"$work/openbox.err" &
wm=$!
wait_for 10 sh -c 'xprop -root _NET_SUPPORTING_WM_CHECK | grep -q "window id"' ||
    fail "the window manager did not start"

"$program" --demo "$export_file" >"$work/first.out" 2>"$work/first.err" &
app=$!
wait_for 60 has_visible_window '^Lumenary$' || fail "no panel appeared"
panel=$(visible_window '^Lumenary$')
grep -q '^Seeded [0-9]* messages as Amma' "$work/first.out" || fail "the demo did not seed"

screen=$(xwininfo -root | awk -F: '/Width/ {w=$2} /Height/ {h=$2} END {print w+0, h+0}')
set -- $screen
screen_w=$1
screen_h=$2
set -- $(geometry "$panel")
x=$1 y=$2 w=$3 h=$4
[ "$w" = 148 ] && [ "$h" = 196 ] || fail "the panel is ${w}x${h}, not 148x196"
[ "$x" = $((screen_w - 148 - 28)) ] && [ "$y" = $((screen_h - 196 - 4)) ] ||
    fail "the panel is at $x,$y on a ${screen_w}x${screen_h} screen, not at its bottom right"

# It never takes the focus: it says so to the window manager, and it is not the active window.
xprop -id "$panel" WM_HINTS | grep -q 'accepts input or input focus: False' ||
    fail "the panel accepts the focus"
active=$(xdotool getactivewindow 2>/dev/null || true)
[ "$active" != "$panel" ] || fail "the panel took the focus"
xprop -id "$panel" _NET_WM_STATE | grep -q _NET_WM_STATE_SKIP_TASKBAR ||
    fail "the panel would show in a taskbar"

# The margin lets the pointer through to what lies below; the middle does not.
middle=$(pointer_window $((x + 74)) $((y + 120)))
margin=$(pointer_window $((x + 5)) $((y + 120)))
[ -n "$middle" ] && [ "$margin" != "$middle" ] || fail "the margin is not click-through"

# A click on her opens the chat window, which takes the focus.
xdotool mousemove $((x + 74)) $((y + 120)) click 1
wait_for 30 has_visible_window '^Amma$' || fail "the chat window did not open"
chat=$(visible_window '^Amma$')
wait_for 10 sh -c "[ \"\$(xdotool getactivewindow)\" = $chat ]" || fail "the chat window is not active"

# What is typed there reaches her: in words-only mode one of her real messages answers, and
# both lines are saved at once.
store="${XDG_DATA_HOME:-$HOME/.local/share}/Lumenary"
xdotool type --delay 30 "did you eat"
xdotool key Return
wait_for 30 grep -q '"speaker": "her"' "$store/chat.json" || fail "no answer was saved"
grep -q '"text": "did you eat"' "$store/chat.json" || fail "the message was not saved"
grep -q '"realDate": "20[0-9][0-9]-' "$store/chat.json" || fail "her answer carries no real date"

# The screen as it stands, kept beside the test's build for a person to look at
# (xwud -in desktop-end-to-end.xwd, or convert it with any image tool).
sleep 0.5
xwd -root -silent >"${LUMENARY_ARTIFACTS:-.}/desktop-end-to-end.xwd" 2>/dev/null ||
    echo "note: no screenshot taken (xwd failed)" >&2

xdotool key ctrl+q
wait_exit 30
[ "$status" = 0 ] || fail "Ctrl+Q ended the application with status $status"

# Her data stays for the next start, which SIGTERM ends as cleanly.
[ -s "$store/persona.json" ] && [ -s "$store/messages.json" ] || fail "nothing was kept in $store"
"$program" >"$work/second.out" 2>"$work/second.err" &
app=$!
wait_for 60 has_visible_window '^Lumenary$' || fail "no panel appeared on the second start"
kill -TERM "$app"
wait_exit 30
[ "$status" = 0 ] || fail "SIGTERM ended the application with status $status"
[ -s "$store/persona.json" ] || fail "the persona was lost"

echo "desktop end to end: passed in $(( $(date +%s) - started )) s"
