#!/bin/bash
# The way a user starts the installer: from a terminal, in the distribution's folder. It opens a
# terminal of its own, and an ordinary user types the super-user's password there.
set -eu
build=$1
. "$(dirname "$0")/installing.sh"
settle

ended() { ! kill -0 "$1" 2>/dev/null; }

# Starts the launcher as $1 with the remaining arguments, in the background.
launch() {
    who=$1
    shift
    (cd "$place/distribution" && as "$who" ./Zarn_install "$@") >"$log" 2>&1 </dev/null &
    launcher=$!
}

close_window() {
    click Exit
    wait_for ended "$launcher" || fail "the launcher outlives its installer"
    wait "$launcher" || fail "the launcher ended with status $?"
}

# As super-user no password is asked for, and the options arrive in the second process.
as_super_user() {
    set_out root tar
    launch root -ftp
    wait_for has_window "Zarn Installation " || fail "no terminal with the given title"
    wait_for has_window "Zarn 2.0 Installation" || fail "no window"
    shot super-user
    begin_installation
    answer second
    wait_for test -s /usr/lib/.Zarn_inst || fail "-ftp did not choose the archive"
    answer second
    answer second
    acknowledge "For your information\.\.\."
    click "icon Close"
    close_window
    grep -qx "# PATH:    /usr/local" /usr/lib/.Zarn_inst || fail "wrong default location"
}

type_password() {
    sleep 2
    shot password
    click_at "Zarn Installation .Please enter super-user password." 100 60
    xdotool type --delay 50 "zarn"
    xdotool key Return
}

# As ordinary user through su, or through something that asks for no password where the
# super-user can't be had.
as_ordinary_user() {
    set_out "${people%% *}" cdrom
    if [ "$ZARN_PRIVATE" = yes ]; then
        echo "root:zarn" | chpasswd
        # The suite that was just installed is found by the super-user.
        cp -a /usr/local/Zarn_system/resources/.Zarn_inst /usr/lib/.Zarn_inst
    else
        install -D -m 755 <(printf '#!/bin/sh\nexec sh -c "$3"\n') "$place/bin/su"
        PATH=$place/bin:$PATH
    fi
    launch "$who" -cdrom
    wait_for has_window "Zarn Installation .Please enter super-user password." || fail "no terminal"
    [ "$ZARN_PRIVATE" != yes ] || type_password
    wait_for has_window "Zarn 2.0 Installation" || fail "no window behind it"
    sleep 1
    shot ordinary-user
    wait_for is_on "CD-ROM" || fail "the option got lost on the way through su"
    close_window
}

[ "$ZARN_PRIVATE" != yes ] || as_super_user
as_ordinary_user
