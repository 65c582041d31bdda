#!/bin/sh
# usage: session.sh COMMAND [ARGUMENTS]
#
# Runs a command in a desktop session of its own, and ends the session with it: an X server, a session bus, a window
# manager and a dock, in an empty home so that nobody's settings take part. Ends nothing that it has not started.
set -eu

home=$(mktemp -d "${TMPDIR:-/tmp}/cobblet-bench.XXXXXX")
started=
# shellcheck disable=SC2317 # the trap calls it
finish() {
    # The youngest first: the X server goes when nobody draws any more.
    for pid in $started; do
        kill "$pid" 2>/dev/null || :
    done
    for pid in $started; do
        wait "$pid" 2>/dev/null || :
    done
    rm -rf "$home"
}
trap finish EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

keep() {
    "$@" >>"$home/session.log" 2>&1 &
    started="$! $started"
}
die() {
    echo "session.sh: $*" >&2
    sed 's/^/    /' "$home/session.log" >&2
    exit 1
}

for part in Xvfb dbus-daemon openbox tint2; do
    command -v "$part" >/dev/null || { echo "session.sh: $part is not installed" >&2; exit 1; }
done

# Only what the desktop of a fresh user would have.
for name in $(env | sed -n 's/^\(XDG_[A-Z_]*\|QT_[A-Z_]*\|QSG_[A-Z_]*\|QML_[A-Z_]*\|GTK_[A-Z_]*\|GDK_[A-Z_]*\)=.*/\1/p'); do
    unset "$name"
done
unset WAYLAND_DISPLAY DESKTOP_STARTUP_ID XAUTHORITY
export HOME="$home" LANG=C.UTF-8 XDG_RUNTIME_DIR="$home/run"
mkdir -m 700 "$XDG_RUNTIME_DIR"
mkdir -p "$home/.config" "$home/.local/share" "$home/.cache"

mkfifo "$home/display"
: >"$home/session.log"
Xvfb -displayfd 3 -screen 0 1440x900x24 -nolisten tcp 3<>"$home/display" >>"$home/session.log" 2>&1 &
started=$!
number=$(timeout 10 head -n 1 "$home/display") || die "the X server did not start"
export DISPLAY=":$number"

export DBUS_SESSION_BUS_ADDRESS="unix:path=$XDG_RUNTIME_DIR/bus"
keep dbus-daemon --session --nofork --nopidfile --address="$DBUS_SESSION_BUS_ADDRESS"
tries=0
while [ ! -S "$XDG_RUNTIME_DIR/bus" ]; do
    tries=$((tries + 1))
    [ "$tries" -lt 100 ] || die "the session bus did not start"
    sleep 0.05
done
keep openbox
keep tint2
sleep 1.5

status=0
"$@" || status=$?
exit "$status"
