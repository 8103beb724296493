#!/bin/bash
# What the window does while something else has the user's attention: a question that is open, a
# command that runs, a window manager that closes windows.
set -eu
build=$1
. "$(dirname "$0")/installing.sh"
settle
who=${people%% *}

close_by_window_manager() {
    click_at "$1" 150 15
    xdotool key alt+F4
    sleep 0.7
}

looks_like() { [ "$(import -window root -crop "$window_at" rgba:- | cksum)" = "$1" ]; }

# A tar that takes its time, so that there is time to look.
slow_down() {
    mv "$place/distribution/Zarn_tools/tar" "$place/distribution/Zarn_tools/real-tar"
    cat >"$place/distribution/Zarn_tools/tar" <<'SLOW'
#!/bin/sh
touch "$HOME/tar-runs"
while [ ! -e "$HOME/go-on" ]; do sleep 0.2; done
exec /usr/bin/tar "$@"
SLOW
    chmod +x "$place/distribution/Zarn_tools/tar"
}

set_out "$who" tar
slow_down
start_installer -ftp
enter_text location "$suite"
click "location Ok"
begin_installation

# The status is there before the command is, and another window that passes over the window
# leaves it whole though the installer is busy.
wait_for test -e "$(home_of "$who")/tar-runs" || fail "the extraction does not start"
says "Installing Zarn system. This will take a few minutes..."
eval "$(xdotool getwindowgeometry --shell "$(find_window "Zarn 2.0 Installation")")"
window_at=${WIDTH}x$HEIGHT+$X+$Y
sleep 1
shot busy
whole=$(import -window root -crop "$window_at" rgba:- | cksum)
xmessage -geometry +200+200 -title passing "$(seq -s ' ' 400)" &
wait_for has_window passing
sleep 0.5
! looks_like "$whole" || fail "nothing passed over the window"
kill %xmessage
wait_for has_no_window passing
sleep 0.5
shot uncovered
looks_like "$whole" || fail "the window does not stay drawn"
touch "$(home_of "$who")/go-on"

# While the question is open nothing else starts, whatever is clicked, typed or closed.
wait_for has_window "Please confirm\.\.\." || fail "no question"
sleep 0.7
xdotool windowmove "$(find_window "Please confirm\.\.\.")" 750 100
for what in Install "location Ok" Corvan "CD-ROM" Remove Exit; do click "$what"; done
shot behind

# Closing the question is a no: the archive stays.
close_by_window_manager "Please confirm\.\.\."
says "Installed Zarn system"
[ -e "$place/distribution/Zarn2.0.tar" ] || fail "the archive is gone"
has_suite Zarn-Pinnet
says "Zarn-Pinnet Version 2.0 is currently installed"
# What was clicked behind the question must not come after it.
sleep 1
[ "$(grep -cF "not installed on this system" "$log")" -le 2 ] || fail "a click came through later"
close_by_window_manager "Zarn 2.0 Installation"
wait "$installer" || fail "closing the window ends with status $?"
