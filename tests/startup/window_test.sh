#!/bin/bash
# Starts the installer with its options. What it shows and prints must be as in window.txt. $1: the
# build folder.
set -eu
build=$1 question_expected=yes here=$(cd "$(dirname "$0")" && pwd)
project=${here%/tests/*}
# shellcheck source=scripts/place.sh
. "$project/scripts/place.sh"
# shellcheck source=scripts/desktop.sh
. "$project/scripts/desktop.sh"
# The installer's files in /tmp have fixed names.
[ -n "${ZARN_ENTERED:-}" ] || [ "$(own_place)" = nothing ] ||
    TMPDIR=/tmp ZARN_ENTERED=yes enter_private_tmp "$project" "$here/window_test.sh" "$build"
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
chmod 755 "$place"
cp -R "$build/Zarn_install" "$build/Zarn_tools" "$place"
cd "$place"
# Motif leaks a few bytes each time the pilot reads the widgets.
echo "leak:XGetWindowProperty" >known-leaks
export LSAN_OPTIONS="suppressions=$place/known-leaks:print_suppressions=0"
mkdir -p home other suite/Zarn_system/resources shots
cat >suite/Zarn_system/resources/.Zarn_inst <<END
# PROGRAM: Zarn-Corvan
# VERSION: 2.0
# DATE:    today
# PATH:    $place/suite
# HOST:    here
END
# The super-user's installations would be real ones.
user=()
[ "$(id -u)" != 0 ] || user=(setpriv --reuid=nobody --regid=nogroup --clear-groups)
[ "$(id -u)" != 0 ] || chown nobody home
export HOME=$place/home

start() {
    echo "== $*"
    "${user[@]}" ./Zarn_install -noShell "$@" >printed 2>&1 </dev/null &
    installer=$!
    wait_for has_window "$window"
}

# Prints what the installer said, and ends it with the command $*.
end() {
    "$@"
    local status=0
    wait "$installer" || status=$?
    cat printed
    echo "[$status]"
}

close_by_keys() {
    pilot focus "$window" label15
    xdotool key alt+F4
}

# The window's place, its media, its status line, and the message titled $1.
look() {
    pilot widgets "$window" | grep -E " (install|kviInstallToggle[A-Za-z]*)$"
    [ -z "${1:-}" ] || {
        wait_for has_window "$1"
        pilot texts "$1"
    }
    pilot texts "$window" | grep currently
}

all() {
    trap desktop_stop EXIT
    desktop_start shots
    for medium in "" -ftp -cdrom; do
        start $medium
        look
        xprop -name "$window" | grep -E "protocols|DELETE|NAME" || true
        # What is closed then is the message that there are no tar files.
        if [ "$medium" = -ftp ]; then end kill "$installer"; else end close_by_keys; fi
    done
    start -icons "$place/other/Zarn_system"
    look "$error"
    end kill "$installer"
    start -subsystems suite/Zarn_system
    look
    end kill "$installer"
    LC_ALL=C.UTF-8 start -subsystems "$place/other/Zarn_system" -icons "$place/suite/Zarn_system"
    look "$question"
    end kill "$installer"
    desktop_stop
    desktop_start shots none 640x480x24
    start -cdrom
    look
    end kill "$installer"
    sed -n "s/=== [-0-9]* [:0-9]*/=== now/p" home/.Zarn_install.log
}

all 2>&1 | sed -u "s,$place,PLACE,g" | diff "$here/window.txt" -
