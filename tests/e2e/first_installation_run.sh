#!/bin/bash
# First installations through the window: every medium, as an ordinary user and as super-user.
set -eu
build=$1
. "$(dirname "$0")/installing.sh"
settle

# One question for each archive; they are to stay.
keep_archives() {
    case $medium in
    two) answer second && sleep 1 && answer second ;;
    tar | gz | Z) answer second ;;
    esac
}

# The super-user is shown the icon dialog and asked for desktop icons and translators.
finish_as_root() {
    wait_for has_window "Install Icon" || fail "$medium: no icon dialog"
    answer first
    answer second
    acknowledge "For your information\.\.\."
    click "icon Install"
    click "icon Close"
    wait_for has_no_window "Install Icon" || fail "$medium: the icon dialog stays"
    [ "$(readlink /usr/local/bin/Zarn-Lustrel)" = /usr/sbin/Zarn-Lustrel ] ||
        fail "$medium: no link to the start command"
    /usr/local/bin/Zarn-Lustrel >/dev/null || fail "$medium: the start command does not start"
    rm /usr/local/bin/Zarn-Lustrel
}

install_once() {
    set_out "$1" "$2"
    start_installer
    choose_medium
    click Lustrel
    click models
    enter_text location "$suite"
    click "location Ok"
    begin_installation
    keep_archives
    says "Installed Zarn system"
    [ "$who" != root ] || finish_as_root
    says "Zarn-Lustrel Version 2.0 is currently installed"
    leave_installer
    has_suite Zarn-Lustrel
    # Lustrel comes without the renderer and the sources; the models were switched off.
    has_subsystems materials pictures projects textures translatorDev translators translatorsIn
    [[ $medium != gz && $medium != Z ]] || [ -s "$place/distribution/Zarn2.0.tar.gz" ] ||
        fail "the archive is not compressed again"
    "$suite/Zarn_system/bin/Zarn.install" -r "$suite/Zarn_system" >/dev/null
    rm -f /usr/sbin/Zarn-Lustrel
    echo "installed as $who from $medium"
}

for somebody in $people; do
    for medium in tar gz Z two tape cdrom; do
        install_once "$somebody" "$medium"
    done
done
