#!/bin/bash
# The life of an installation in one run of the installer: install, add, remove, think better of
# it, remove all, install elsewhere. After each step window, record and tree have to agree, and in
# the end the disk is as it was.
set -eu
build=$1
. "$(dirname "$0")/installing.sh"
settle

# All that an installation could leave behind, the brochure of a running installer apart. The
# project with its screenshots may lie in one of these places.
disk() {
    find "$suite" "$elsewhere" /usr/lib /usr/sbin /usr/share/applications "$(home_of "$who")" /tmp \
        -path "$project" -prune -o -not -path '/tmp/.X*' -not -name .kvcInstallMsg \
        \( -type d -printf '%p %m\n' -o -printf '%p %y %s %m %l\n' \) | sort -T "$place"
}

disk_is_as_before() {
    disk >"$place/after"
    diff "$place/before" "$place/after" || fail "$who $medium: the disk is not as it was"
}

agree() {
    has_subsystems "$@"
    grep -qx "# PATH:    $suite" "$(record_of "$who")" || fail "the record is gone"
    local name
    for name in $all_subsystems; do
        if [[ " $* " = *" $name "* ]]; then
            wait_for is_on "$name" || fail "$who $medium: $name is there, its toggle is off"
        else
            wait_for is_off "$name" || fail "$who $medium: $name is not there, its toggle is on"
        fi
    done
}

toggle() {
    local name
    for name in "$@"; do click "$name"; done
}

# Installs; the arguments are the way to begin, since only an installer's first installation brings
# up the information window.
first_installation() {
    enter_text location "$suite"
    click "location Ok"
    "$@"
    [ "$medium" != tar ] || answer second
    if [ "$who" = root ]; then
        answer first
        answer second
        acknowledge "For your information\.\.\."
        click "icon Close"
    fi
    wait_for grep -q "^# PATH:    $suite\$" "$(record_of "$who")"
    wait_for test -x "$suite/Zarn_system/bin/Zarn_install"
    sleep 1
}

live() {
    set_out "$1" "$2"
    elsewhere=$place/elsewhere-$who-$medium
    mkdir -p "$elsewhere"
    [ "$who" != ann ] || chown ann "$elsewhere"
    disk >"$place/before"
    start_installer
    choose_medium
    toggle models translatorsIn translators render translatorDev src
    first_installation begin_installation
    agree textures materials projects pictures

    toggle models render src
    click Install
    answer first
    acknowledge "For your information\.\.\."
    agree textures materials projects pictures models render src

    toggle textures src
    click Remove
    answer first
    answer first
    answer first
    acknowledge "For your information\.\.\."
    agree materials projects pictures models render

    toggle pictures
    click Remove
    answer second
    answer second
    [ -d "$suite/Zarn_system/subsystems/pictures" ] || fail "removed though the answer was no"
    toggle pictures
    agree materials projects pictures models render
    shot "$who-$medium-declined"

    touch "$(home_of "$who")/.zarnRunning"
    click Remove
    answer second
    answer first
    acknowledge "Oooops\.\.\. Sorry!"
    rm "$(home_of "$who")/.zarnRunning"
    agree materials projects pictures models render
    click Remove
    answer second
    answer first
    says "Removed $suite/Zarn_system"
    sleep 1
    disk_is_as_before

    suite=$elsewhere
    first_installation click Install
    agree materials projects pictures models render
    click Remove
    answer first
    says "Removed $suite/Zarn_system"
    leave_installer
    suite=$place/suite-$who-$medium
    disk_is_as_before
    rm -r "$elsewhere"
    echo "lived as $who from $medium"
}

for somebody in $people; do
    for medium in tar cdrom tape; do live "$somebody" "$medium"; done
done
