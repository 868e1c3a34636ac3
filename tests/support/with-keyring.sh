#!/bin/bash
# with-keyring.sh COMMAND [ARGUMENT...]
#
# Runs COMMAND with a session bus and an unlocked keychain of its own, which lives in a temporary folder. All of it
# ends with COMMAND, whose exit status is that of this script. COMMAND finds ORLENDO_KEYRING in its environment.
# Without gnome-keyring the status is 77: skipped.
set -u

if [ "${1:-}" != --inside ]; then
    for program in dbus-run-session gnome-keyring-daemon; do
        command -v "$program" >/dev/null || { echo "${0##*/}: no $program here" >&2; exit 77; }
    done
    folder=$(mktemp -d /tmp/orlendo-keyring.XXXXXX) || exit 1
    trap 'rm -rf "$folder"' EXIT
    mkdir -m 700 "$folder/run"
    unset DISPLAY WAYLAND_DISPLAY
    HOME=$folder XDG_DATA_HOME=$folder/data XDG_CONFIG_HOME=$folder/config XDG_CACHE_HOME=$folder/cache \
        XDG_RUNTIME_DIR=$folder/run ORLENDO_KEYRING=1 dbus-run-session -- "$0" --inside "$@"
    exit $?
fi
shift

# In the foreground it would keep our standard output open after we have ended.
printf 'keyring' | gnome-keyring-daemon --unlock --foreground --components=secrets \
    --control-directory="$XDG_RUNTIME_DIR/keyring" >"$HOME/keyring.log" 2>&1 &
keyring=$!
trap 'kill "$keyring" 2>/dev/null; wait "$keyring" 2>/dev/null' EXIT
# To ask the keychain itself would make the bus start another one.
for _ in {1..100}; do
    dbus-send --session --print-reply --dest=org.freedesktop.DBus / org.freedesktop.DBus.NameHasOwner \
        string:org.freedesktop.secrets 2>/dev/null | grep -q 'boolean true' && break
    sleep 0.1
done
"$@"
