#!/bin/sh
# Runs a program with HOME and every XDG base folder inside a fresh temporary folder, removed
# afterwards, so a test never reads or changes the data of the user who runs it. The runtime
# folder holds no session bus socket: a bus exists only where the caller provides one.
set -eu

home=$(mktemp -d "${TMPDIR:-/tmp}/lumenary-home.XXXXXX")
trap 'rm -rf "$home"' EXIT INT TERM

export HOME="$home"
export XDG_CONFIG_HOME="$home/.config"
export XDG_DATA_HOME="$home/.local/share"
export XDG_CACHE_HOME="$home/.cache"
export XDG_STATE_HOME="$home/.local/state"
export XDG_RUNTIME_DIR="$home/runtime"
mkdir -m 0700 "$XDG_RUNTIME_DIR"

status=0
"$@" || status=$?
exit "$status"
