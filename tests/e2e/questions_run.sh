#!/bin/bash
# Disturbs the installer: input while a question is open or a command runs, windows closed by the
# window manager, a killed installer.
set -eu
# shellcheck source=tests/e2e/installing.sh
. "$(dirname "$0")/installing.sh"
settle
# A name with more bytes than characters, and a keyboard layout to type it.
export LC_ALL=C.UTF-8
setxkbmap de
suite_name=Bücher

# Gives the window $1 the keyboard by a click on its widget $2, and closes it with Alt-F4.
close_by_window_manager() {
    pilot focus "$1" "$2"
    xdotool key --delay 0 alt+F4
}

shows() { pilot texts "$1" | grep -qF -- "$2"; }

begin_slowly() {
    set_out tar
    slow_down
    start_installer -ftp
    choose_location
    begin_installation
}

# After a kill, the next installer names the unfinished location and completes the installation.
begin_slowly
wait_for test -e "$(home)/tar-runs" || fail "the extraction does not start"
pkill -KILL -P "$installer"
wait_for has_no_window "$window"
xdotool windowkill "$(pilot find "$brochure")"
[ ! -e "$(record)" ] || fail "what was not finished is recorded"
mv "$place/distribution/Zarn_tools/real-tar" "$place/distribution/Zarn_tools/tar"
start_installer -ftp
wait_for has_window "$information" || fail "nothing is said of the unfinished installation"
shows "$information" "$suite" || fail "the message names another place"
shot unfinished
acknowledge "$information"
click kviInstallButtonInstall
answer Yes
question_expected=yes wait_for brochure_is_aside
answer No
says "Installed Zarn system"
leave_installer
has_suite Zarn-Pinnet

begin_slowly
# The status is shown before the command starts, and the window is redrawn after another window
# covered it, although the installer is busy.
wait_for test -e "$(home)/tar-runs" || fail "the extraction does not start"
says "Installing Zarn system. This will take a few minutes..."
eval "$(xdotool getwindowgeometry --shell "$(pilot find "$window")")"
window_at=${WIDTH}x$HEIGHT+$X+$Y
shot busy
whole=$(picture)
xmessage -geometry +200+200 -title passing "$(seq -s ' ' 400)" &
wait_for has_window passing
wait_for looks_unlike "$whole" || fail "nothing passed over the window"
kill %xmessage
wait_for has_no_window passing
wait_for looks_like "$whole" || fail "the window does not stay drawn"
shot uncovered
touch "$(home)/go-on"

# While the question is open, clicks on other widgets have no effect.
question_expected=yes
wait_for has_window "$question" || fail "no question"
xdotool windowmove "$(pilot find "$question")" 750 100
for name in kviInstallButtonInstall kviInstallLocationTextOk kviInstallCorvan kviInstallToggleCD \
    kviInstallButtonRemove pushButton; do
    click "$name"
done
shot behind

# Closing the question answers nothing, so the archive stays.
close_by_window_manager "$question" msgBox
says "Installed Zarn system"
[ -e "$place/distribution/Zarn2.0.tar" ] || fail "the archive is gone"
has_suite Zarn-Pinnet
unset question_expected
says "Zarn-Pinnet Version 2.0 is currently installed"
click kviInstallButtonUsers
answer No
enter_text kviInstallIconPath "$suite" "Install Icon"
click kviInstallIconInstall
wait_for shows "$window" "Installed Zarn-Pinnet in $suite" || fail "the status names another place"
shot status
click dismiss
# The earlier clicks must not take effect later; by now all of them are handled.
pilot widgets "$window" >/dev/null
[ "$(grep -cF "not installed on this system" "$log")" -le 2 ] || fail "a click came through later"
close_by_window_manager "$window" label15
wait_for_end "$installer" || fail "closing the window ends with status $?"

# A directory without a suite gives an error, and no question about the installed suite.
start_installer -icons "$place/nowhere/Zarn_system"
acknowledge "$error"
has_no_window "Install Icon" || fail "the icons of another suite are offered"
click pushButton
wait_for_end "$installer"

# xconfirm breaks a long line, and Escape closes it without an answer.
"$place/distribution/Zarn_tools/xconfirm" -header asked -t "$(seq -s ' ' 500)" -b Ok &
wait_for has_window asked || fail "no confirmation"
shot asked
eval "$(xdotool getwindowgeometry --shell "$(pilot find asked)")"
[ "$WIDTH" -lt 1000 ] || fail "a confirmation $WIDTH pixels wide"
pilot focus asked box
xdotool key Escape
wait_for ended $! || fail "Escape does not close it"
! wait $! || fail "Escape is taken for an answer"
