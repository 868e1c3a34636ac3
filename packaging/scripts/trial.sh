#!/usr/bin/env bash
# The sample run behind ./run: four agents on sample workstation trees, and the console on them.
#   trial.sh yes|no [options of orlendo...]      (yes: no window; table and picture instead)
# Needs ORLENDO_BIN, AGENT_BIN and TRIAL (a folder of its own); ends every agent that it started.
set -euo pipefail
headless=$1
shift

agents=() console=
# shellcheck disable=SC2317  # called by the trap
end_all() {
    kill ${console:+"$console"} ${agents[@]+"${agents[@]}"} 2>/dev/null || true
    wait 2>/dev/null || true
}
trap end_all EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP

"$ORLENDO_BIN" --export-certificate "$TRIAL/console.crt" >/dev/null

names=("Edit Bay 1" "Edit Bay 2" "Grading Suite" "Render Node 1")
for i in 1 2 3 4; do
    # Made under another name first, so that an interrupted one is not taken for whole. Its agent.conf says the
    # rest: names, 127.0.0.1, any free port.
    if [ ! -d "$TRIAL/workstation-$i" ]; then
        rm -rf "$TRIAL/making"
        "$AGENT_BIN" --make-sample "$TRIAL/making" --profile "$i" >/dev/null
        mv "$TRIAL/making" "$TRIAL/workstation-$i"
    fi
    "$AGENT_BIN" --root "$TRIAL/workstation-$i" --authorize "$TRIAL/console.crt" \
        >"$TRIAL/agent-$i.out" 2>"$TRIAL/agent-$i.err" &
    agents+=($!)
done

# The port stands at the end of the line with which an agent says that it is ready.
port_of() {
    for _ in $(seq 100); do
        local port
        port=$(sed -nE 's/.* listening on .*:([0-9]+)$/\1/p' "$TRIAL/agent-$1.out" | head -n 1)
        [ -n "$port" ] && { echo "$port"; return; }
        kill -0 "${agents[$1 - 1]}" 2>/dev/null || break
        sleep 0.05
    done
    echo "The agent on sample workstation $1 did not start:" >&2
    cat "$TRIAL/agent-$1.err" >&2
    return 1
}
ports=()
for i in 1 2 3 4; do ports+=("$(port_of $i)"); done

any_interface_up() {
    local flags
    for flags in /sys/class/net/*/flags; do
        (($(<"$flags") & 1)) && return 0
    done
    return 1
}

all_are_found() {
    QT_QPA_PLATFORM=offscreen "$ORLENDO_BIN" --report addonry --expect-clients 4 --wait "${TRIAL_WAIT:-10}" \
        >/dev/null 2>"$TRIAL/looking.err"
}

means=none why=
any_interface_up && means=$("$ORLENDO_BIN" --print-discovery)
case $means in
    daemon) all_are_found || why="Not all of the four sample workstations are found on the network" ;;
    # Each agent does its own announcing then, and those on one machine can lose theirs to each other at any time.
    embedded) why="There is no Avahi daemon that would announce several agents on one machine reliably" ;;
    *) why="There is no usable network interface to look for clients on" ;;
esac
clients=()
if [ -n "$why" ]; then
    echo "$why: the four sample workstations are added by address."
    clients=(--no-discovery)
    for i in 0 1 2 3; do clients+=(--add-client "${names[i]}=127.0.0.1:${ports[i]}"); done
fi

if [ "$headless" = yes ]; then
    picture=$TRIAL/orlendo.png
    rm -f "$picture"
    export QT_QPA_PLATFORM=offscreen
    set -- --report addonry --expect-clients 4 --screenshot "$picture" "$@"
fi
"$ORLENDO_BIN" ${clients[@]+"${clients[@]}"} "$@" &
console=$!
wait "$console"
