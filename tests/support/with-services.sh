#!/bin/bash
# with-services.sh [--avahi yes|no] [--polkit POLICY] COMMAND [ARGUMENT...]
#
# Runs COMMAND with a system bus of its own and, unless told otherwise, an Avahi daemon of its own on that bus.
# The daemon keeps to the loopback interface: nothing reaches the network, and nothing on this machine is
# changed. Everything started here ends with COMMAND; the exit status is that of COMMAND.
#
# COMMAND finds in its environment
#   DBUS_SYSTEM_BUS_ADDRESS        the private bus
#   CORVALIN_DISCOVERY_INTERFACES  lo, unless it was set before
#   ORLENDO_AVAHI_COMMAND          starts the daemon anew after it was killed; unset where no private daemon runs
#   ORLENDO_AVAHI_PID_FILE         holds the daemon's process number
# Where the daemon can't be started the command is run all the same: programs then use Avahi's embedded core.
#
# With --polkit there is a polkit daemon in place of Avahi's, which knows the actions in the file POLICY, and
# COMMAND runs as orlendo-user, who has no rights. The administrator is orlendo-admin; both have the password
# "opensesame". These users, the bus and the daemon's settings exist in a mount namespace of our own only, so
# this takes root. COMMAND then also finds
#   ORLENDO_POLKIT_ROOT            a folder of root's that everybody may read
# Where that can't be had the command is run as whoever called, without that variable.
# shellcheck disable=SC2317  # functions that are called through trap and wait_until
set -u

arguments=("$@")
avahi=yes policy=''
while [ $# -gt 0 ]; do
    case $1 in
        --avahi) avahi=${2:-}; shift 2 ;;
        --avahi=*) avahi=${1#*=}; shift ;;
        --polkit) policy=${2:-} avahi=no; shift 2 ;;
        --) shift; break ;;
        *) break ;;
    esac
done
if [ $# -eq 0 ] || { [ "$avahi" != yes ] && [ "$avahi" != no ]; }; then
    echo "usage: ${0##*/} [--avahi yes|no] [--polkit POLICY] COMMAND [ARGUMENT...]" >&2
    exit 2
fi

say() { echo "${0##*/}: $*" >&2; }

# Programs that change users look for the bus at its standard place only: it must be ours there.
if [ -n "$policy" ] && [ -z "${ORLENDO_OWN_MOUNTS:-}" ]; then
    if [ "$(id -u)" = 0 ] && unshare --mount true 2>/dev/null; then
        ORLENDO_OWN_MOUNTS=yes exec unshare --mount --propagation private "$0" "${arguments[@]}"
    fi
    say "no rights to have mounts of our own; going on without polkit"
    policy=''
fi
unset ORLENDO_OWN_MOUNTS

# Not below $TMPDIR: that may lie in /run, which the daemon sees an empty copy of.
folder=$(mktemp -d /tmp/orlendo-services.XXXXXX) || exit 1
bus_pid='' command_pid='' polkit_pid='' socket=$folder/bus
export ORLENDO_AVAHI_PID_FILE=$folder/avahi.pid

end_process() {  # PID: asks it to end, and insists after two seconds
    [ -n "$1" ] && kill -TERM "$1" 2>/dev/null || return 0
    for _ in {1..40}; do
        # A dead child of ours stays visible as a zombie until it is waited for.
        case $(sed 's/.*) //' "/proc/$1/stat" 2>/dev/null) in '' | Z*) return 0 ;; esac
        sleep 0.05
    done
    kill -KILL "$1" 2>/dev/null
}

clean_up() {
    trap - EXIT
    trap '' INT TERM HUP
    end_process "$command_pid"
    [ -s "$ORLENDO_AVAHI_PID_FILE" ] && end_process "$(<"$ORLENDO_AVAHI_PID_FILE")"
    end_process "$polkit_pid"
    end_process "$bus_pid"
    rm -rf "$folder"
}
trap clean_up EXIT
# A signal goes on to COMMAND; we end when it has ended. (Ctrl-C at a terminal reaches it directly as well.)
trap '[ -n "$command_pid" ] && kill -INT "$command_pid" 2>/dev/null || exit 130' INT
trap '[ -n "$command_pid" ] && kill -TERM "$command_pid" 2>/dev/null || exit 143' TERM HUP

wait_until() {  # SECONDS COMMAND...: until the command succeeds
    local tries=$(($1 * 20))
    shift
    while ! "$@" >/dev/null 2>&1; do
        tries=$((tries - 1))
        [ $tries -gt 0 ] || return 1
        sleep 0.05
    done
}

start_bus() {
    command -v dbus-daemon >/dev/null || return 1
    cat >"$folder/bus.conf" <<EOF
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>unix:path=$socket</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow receive_sender="*"/>
  </policy>
</busconfig>
EOF
    # A session of its own, so that Ctrl-C doesn't end it before COMMAND; it dies with this script in any case.
    setsid setpriv --pdeathsig TERM dbus-daemon --config-file="$folder/bus.conf" --nofork --nopidfile \
        >"$folder/bus.log" 2>&1 </dev/null &
    bus_pid=$!
    export DBUS_SYSTEM_BUS_ADDRESS=unix:path=$socket
    wait_until 10 dbus-send --system --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus \
        org.freedesktop.DBus.GetId
}

# How to give the daemon a /run of its own: its process file and socket have fixed names there, so that otherwise
# only root could start it and only one could run.
private_run() {
    local options
    for options in "--mount" "--user --map-current-user --keep-caps --mount"; do
        # shellcheck disable=SC2086
        if unshare $options sh -c 'mount -t tmpfs none /run' 2>/dev/null; then
            echo "unshare $options"
            return 0
        fi
    done
    return 1
}

avahi_is_ready() {
    dbus-send --system --print-reply=literal --dest=org.freedesktop.Avahi / org.freedesktop.Avahi.Server.GetState \
        2>/dev/null | grep -qw 2
}

start_avahi() {
    local daemon unshare
    daemon=$(PATH=$PATH:/usr/sbin:/sbin command -v avahi-daemon) || { say "no avahi-daemon here"; return 1; }
    cat >"$folder/avahi.conf" <<EOF
[server]
host-name=orlendo-$$
use-ipv4=yes
use-ipv6=yes
allow-interfaces=lo
disallow-other-stacks=no
[wide-area]
enable-wide-area=no
[publish]
# A second daemon on this machine would quarrel with this one over the name of 127.0.0.1. Programs that are run
# here publish host names of their own.
publish-addresses=no
publish-hinfo=no
publish-workstation=no
publish-domain=no
[reflector]
enable-reflector=no
EOF
    local prepare
    if unshare=$(private_run); then
        prepare='mount -t tmpfs -o mode=755 none /run && mkdir /run/avahi-daemon'
        if [ "$(id -u)" != 0 ]; then
            # The daemon insists on its own user for that folder: let the name mean us.
            echo "avahi:x:$(id -u):$(id -g)::/:/bin/false" >"$folder/passwd"
            echo "avahi:x:$(id -g):" >"$folder/group"
            prepare+=" && mount --bind $folder/passwd /etc/passwd && mount --bind $folder/group /etc/group"
        fi
    elif [ "$(id -u)" = 0 ]; then
        unshare='' prepare='mkdir -p /run/avahi-daemon'
    else
        say "no rights to give the Avahi daemon a /run of its own"
        return 1
    fi
    export ORLENDO_AVAHI_COMMAND=$folder/start-avahi
    cat >"$ORLENDO_AVAHI_COMMAND" <<EOF
#!/bin/sh
echo \$\$ >'$ORLENDO_AVAHI_PID_FILE'
exec $unshare sh -c "$prepare && exec '$daemon' -f '$folder/avahi.conf' --no-drop-root --no-chroot --no-rlimits" \
    >>'$folder/avahi.log' 2>&1 </dev/null
EOF
    chmod +x "$ORLENDO_AVAHI_COMMAND"
    setsid "$ORLENDO_AVAHI_COMMAND" &
    disown  # a test may kill it: nothing to tell about
    wait_until 15 avahi_is_ready && return 0
    say "the Avahi daemon doesn't start:"
    tail -n 5 "$folder/avahi.log" >&2
    [ -s "$ORLENDO_AVAHI_PID_FILE" ] && end_process "$(<"$ORLENDO_AVAHI_PID_FILE")"
    return 1
}

user=64101 admin=64102
as_user=(setpriv "--reuid=$user" "--regid=$user" --clear-groups env "HOME=$folder/home" USER=orlendo-user)

# Users, the place of the bus, and polkit's settings, for this mount namespace.
own_the_machine() {
    local file hash copies=/run/accounts  # a copy of the machine's passwords never lies on its disk
    chmod 711 "$folder"
    mkdir -m 755 "$folder/home" "$folder/root" && chown $user:$user "$folder/home" &&
        mount -t tmpfs -o mode=755 none /run && mkdir /run/dbus $copies || return 1
    socket=/run/dbus/system_bus_socket
    cp -p /etc/passwd /etc/group /etc/shadow $copies || return 1
    printf '%s\n' "orlendo-user:x:$user:$user::$folder/home:/bin/sh" "orlendo-admin:x:$admin:$admin::/:/bin/sh" \
        >>$copies/passwd
    printf '%s\n' "orlendo-user:x:$user:" "orlendo-admin:x:$admin:" >>$copies/group
    hash=$(openssl passwd -6 -stdin <<<opensesame) || return 1
    printf '%s\n' "orlendo-user:$hash:19000:0:99999:7:::" "orlendo-admin:$hash:19000:0:99999:7:::" >>$copies/shadow
    for file in passwd group shadow; do
        mount --bind $copies/$file /etc/$file || return 1
    done
    mount -t tmpfs -o mode=755 none /usr/share/polkit-1/actions && cp "$policy" /usr/share/polkit-1/actions &&
        mount -t tmpfs -o mode=755 none /etc/polkit-1 && mkdir /etc/polkit-1/rules.d || return 1
    echo 'polkit.addAdminRule(function() { return ["unix-user:orlendo-admin"]; });' \
        >/etc/polkit-1/rules.d/00-test.rules
}

polkit_answers() {
    dbus-send --system --print-reply --dest=org.freedesktop.PolicyKit1 /org/freedesktop/PolicyKit1/Authority \
        org.freedesktop.DBus.Peer.Ping
}

start_polkit() {  # COMMAND
    # Neither works where programs may not change users, or in a build folder that is hidden from others.
    "${as_user[@]}" pkexec --version >/dev/null || { say "pkexec doesn't work here"; return 1; }
    "${as_user[@]}" test -x "$1" || { say "other users can't run $1"; return 1; }
    setsid setpriv --pdeathsig TERM /usr/lib/polkit-1/polkitd --no-debug >"$folder/polkit.log" 2>&1 </dev/null &
    polkit_pid=$!
    wait_until 15 polkit_answers && return 0
    say "the polkit daemon doesn't start:"
    tail -n 5 "$folder/polkit.log" >&2
    return 1
}

if [ -n "$policy" ] && ! own_the_machine; then
    say "no users and settings of our own; going on without polkit"
    policy=''
fi
export CORVALIN_DISCOVERY_INTERFACES=${CORVALIN_DISCOVERY_INTERFACES-lo}
if ! start_bus; then
    say "no private system bus; going on without it"
    policy=''
elif [ "$avahi" = yes ] && ! start_avahi; then
    say "going on without an Avahi daemon"
    unset ORLENDO_AVAHI_COMMAND
fi
if [ -n "$policy" ] && start_polkit "$1"; then
    export ORLENDO_POLKIT_ROOT=$folder/root
    set -- "${as_user[@]}" "$@"
fi

# In the background, so that signals are acted on at once. Bash makes background commands ignore Ctrl-C.
env --default-signal=INT --default-signal=QUIT "$@" <&0 &
command_pid=$!
while :; do
    wait "$command_pid"
    status=$?
    # Interrupted by a signal that a trap has passed on: wait on.
    kill -0 "$command_pid" 2>/dev/null || break
done
command_pid=''
exit "$status"
