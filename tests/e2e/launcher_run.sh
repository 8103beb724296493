#!/bin/bash
# Starts the installer as a user does: in the distribution's folder, without options for tests. It
# opens a terminal, where an ordinary user types the super-user's password.
set -eu
# shellcheck source=tests/e2e/installing.sh
. "$(dirname "$0")/installing.sh"
settle

terminal="Zarn Installation "
password_terminal="Zarn Installation (Please enter super-user password)"

# Starts the launcher in the background.
launch() {
    (cd "$place/distribution" && as_person ./Zarn_install "$@") >"$log" 2>&1 </dev/null &
    launcher=$!
}

close_window() {
    click pushButton
    wait_for_end "$launcher" || fail "the launcher ended with status $?"
}

# The super-user needs no password, and the options reach the second process.
as_super_user() {
    set_out tar
    launch -ftp
    wait_for has_window "$terminal" || fail "no terminal with the given title"
    wait_for has_window "$window" || fail "no window"
    shot super-user
    begin_installation
    answer No
    decide_on_icons
    grep -qx "# PATH:    /usr/local" "$(record)" || fail "not recorded, or at the wrong location"
    click dismiss
    # Closing the terminal ends the running command, but not the installer.
    xdotool windowkill "$(pilot find "$terminal")"
    wait_for_end "$launcher" || fail "the launcher ended with status $?"
    click kviInstallButtonRemove
    answer Yes
    wait_for test ! -e /usr/local/Zarn_system || fail "nothing is removed without a terminal"
    # The removal drops clicks until it ends; this waits for the end.
    pilot widgets "$window" >/dev/null
    click pushButton
    wait_for has_no_window "$window"
    grep -q "^Removed /usr/local/Zarn_system" "$(home)/.Zarn_install.log" || fail "no log"
}

# Starts a display of size $1 that admits only clients with the cookie in $authority.
guarded_display() {
    local number
    authority=$place/ann/.Xauthority
    mkdir -p "$place/ann"
    xauth -qf "$authority" add ":0" . 0123456789abcdef0123456789abcdef
    exec {number}< <(exec Xvfb -displayfd 1 -auth "$authority" -screen 0 "$1x24" -nolisten tcp \
        -noreset +extension SECURITY 2>/dev/null)
    guarded=$!
    trap 'unsettle; kill "$guarded"' EXIT
    read -r -u "$number" DISPLAY
    xauth -qf "$authority" add ":$DISPLAY" . 0123456789abcdef0123456789abcdef
    export DISPLAY=:$DISPLAY
}

# At this position the terminal is black and the window grey.
terminal_is_in_front() { import -window root -crop 1x1+150+300 txt: | grep -q "#000000"; }

# ssh asks for the password of a remote tape's machine in the terminal.
with_a_remote_tape() {
    click kviInstallToggleRemoteTape
    enter_text kviInstallReadText "127.0.0.1:/dev/tape"
    click kviInstallReadTextOk
    wait_for eval "! terminal_is_in_front"
    click kviInstallButtonInstall
    wait_for terminal_is_in_front || fail "nobody sees who asks in the terminal"
    shot remote-tape
    # The user gives up with Ctrl-C: the command ends, but the terminal stays for another attempt.
    pilot focus "$password_terminal" vt100
    xdotool key ctrl+c
    acknowledge "$error"
    has_window "$password_terminal" || fail "the terminal is gone with a command"
}

# sudo passes on DISPLAY, but the super-user's home directory lacks the caller's cookie.
as_caller_of_sudo() {
    guarded_display 800x545
    launch -ftp
    wait_for_end "$launcher"
    grep -q "display \"$DISPLAY\" can't be opened" "$log" || fail "an open display, without sudo"
    SUDO_USER=ann launch -ftp
    export XAUTHORITY=$authority
    wait_for has_window "$window" || fail "no window under sudo"
    # Without a window manager, nothing can move a button that is below the screen's edge.
    click pushButton || fail "on a small screen the last button is out of reach"
    wait_for_end "$launcher" || fail "the launcher ended with status $?"
    # ssh -X gives clients an untrusted cookie like this one.
    xauth -qf "$authority.less" generate "$DISPLAY" . untrusted
    XAUTHORITY=$authority.less start_installer
    kill "$installer"
}

# A display can admit its user by name, and then refuses root after su.
as_user_known_by_name() {
    guarded_display 1280x1024
    XAUTHORITY=$authority xhost +si:localuser:ann
    install -m 755 <(printf '#!/bin/sh\nexec sleep 60\n') "$place/ssh"
    TAR_RSH=$place/ssh launch
    export XAUTHORITY=$authority
    mwm >/dev/null 2>&1 &
    type_password zarn
    wait_for has_window "$window" || fail "the super-user can't use the display"
    with_a_remote_tape
    close_window
    [ -z "$(find "$(home)" -name ".zarn.*")" ] || fail "the cookie is left behind"
}

asks_for_password() { pilot texts "$password_terminal" | grep -q "^Password:"; }

explains() { pilot texts "$password_terminal" | grep -q "^This ended with status"; }

type_password() {
    wait_for asks_for_password || fail "no password is asked for"
    pilot focus "$password_terminal" vt100
    xdotool type --delay 0 "$1"
    xdotool key Return
}

# The terminal stays open so that the user can read what went wrong.
with_a_wrong_password() {
    type_password wrong
    wait_for explains || fail "the terminal does not say what went wrong"
    shot refused
    xdotool key Return
    wait_for_end "$launcher" || fail "the launcher ended with status $?"
    launch -cdrom
    wait_for has_window "$password_terminal" || fail "no terminal"
}

# As an ordinary user through su, or through a fake su without a password if this test does not run
# as the super-user.
as_ordinary_user() {
    set_out cdrom
    if [ "$who" = ann ]; then
        echo "root:zarn" | chpasswd
    else
        # shellcheck disable=SC2016 # the fake su expands it
        install -D -m 755 <(printf '#!/bin/sh\nexec sh -c "$3"\n') "$place/bin/su"
        PATH=$place/bin:$PATH
    fi
    launch -cdrom
    wait_for has_window "$password_terminal" || fail "no terminal"
    if [ "$who" = ann ]; then
        with_a_wrong_password
        type_password zarn
    fi
    wait_for has_window "$window" || fail "no window behind it"
    wait_for is_on kviInstallToggleCD || fail "the option got lost on the way through su"
    shot ordinary-user
    close_window
    [ "$who" != ann ] || as_user_known_by_name
}

case $person in
root)
    as_super_user
    as_caller_of_sudo
    ;;
user) as_ordinary_user ;;
esac
