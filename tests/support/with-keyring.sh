#!/bin/sh
# Runs a program beside a fresh gnome-keyring whose login collection exists and is unlocked, so
# keys can be stored without a password prompt (there is no display for one). Run it inside a
# private session bus, itself inside a private HOME, so that the bus and any daemon it starts on
# demand keep their files there too:
#   with-private-home.sh dbus-run-session -- with-keyring.sh <program> [arguments]
set -eu

if [ -z "${DBUS_SESSION_BUS_ADDRESS:-}" ]; then
  echo "with-keyring.sh: no session bus; run it under dbus-run-session" >&2
  exit 1
fi

# An empty line is the login password: given one, the daemon creates the login collection,
# makes it the default one and unlocks it. Given no line at all it would ask a prompter instead.
echo | gnome-keyring-daemon --foreground --unlock --components=secrets >/dev/null &
keyring=$!
trap 'kill "$keyring" 2>/dev/null || true; wait "$keyring" 2>/dev/null || true' EXIT INT TERM

# The daemon takes its bus name only after it has read the password. A program that asked before
# then would have the bus start a second daemon, which cannot reach the unlocked collection and
# would ask a prompter to create one.
gdbus wait --session --timeout 30 org.freedesktop.secrets

status=0
"$@" || status=$?
exit "$status"
