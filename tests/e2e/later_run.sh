#!/bin/bash
# The life of an installation in one run of the installer: install, add, remove, decline a removal,
# remove the suite, install elsewhere. After each step the window, the record and the tree must
# agree, and at the end the disk must be as before.
set -eu
# shellcheck source=tests/e2e/installing.sh
. "$(dirname "$0")/installing.sh"
settle

# Prints the subsystems whose toggles are on, in alphabetical order.
toggles_on() {
    local name widgets
    widgets=$(pilot widgets "$window")
    for name in "${!toggle_of[@]}"; do
        [[ "$widgets"$'\n' != *" ff0000 ${toggle_of[$name]}"$'\n'* ]] || echo "$name"
    done | sort | tr '\n' ' '
}

toggles_are() { [ "$(toggles_on)" = "$1" ]; }

agree() {
    has_subsystems "$@"
    grep -qx "# PATH:    $suite" "$(record)" || fail "the record is gone"
    wait_for toggles_are "$(printf '%s\n' "$@" | sort | tr '\n' ' ')" ||
        fail "$medium: $* are there, these toggles are on: $(toggles_on)"
}

# Installs. The arguments are the command that begins it: the information window opens only for the
# first installation of a process.
first_installation() {
    choose_location
    "$@"
    [ "$medium" != tar ] || answer No
    if [ "$who" = root ]; then
        decide_on_icons
        click dismiss
    fi
    wait_for grep -q "^# PATH:    $suite\$" "$(record)"
    wait_for test -x "$suite/Zarn_system/bin/Zarn_install"
}

remove_all() {
    click kviInstallButtonRemove
    "$@"
    answer Yes
    says "Removed $suite/Zarn_system"
}

add_and_remove() {
    toggle models render src
    click kviInstallButtonInstall
    answer Yes
    acknowledge "$information"
    agree textures materials projects pictures models render src

    toggle textures src
    click kviInstallButtonRemove
    answer "Marked subsystems"
    answer Yes
    answer Yes
    acknowledge "$information"
    agree materials projects pictures models render
}

decline() {
    toggle pictures
    click kviInstallButtonRemove
    answer "Entire Zarn system"
    answer No
    [ -d "$suite/Zarn_system/subsystems/pictures" ] || fail "removed though the answer was no"
    toggle pictures
    agree materials projects pictures models render
    shot "$medium-declined"
}

be_refused_while_the_suite_runs() {
    touch "$(home)/.zarnRunning"
    click kviInstallButtonRemove
    answer "Entire Zarn system"
    answer Yes
    # While the error is open, another "Remove" must do nothing; a second error would be appended.
    wait_for has_window "$error"
    click kviInstallButtonRemove
    acknowledge "$error"
    rm "$(home)/.zarnRunning"
    agree materials projects pictures models render
}

live() {
    set_out "$1"
    elsewhere=$place/elsewhere
    mkdir -p "$elsewhere"
    [ "$who" != ann ] || chown ann "$elsewhere"
    disk >"$place/before"
    start_installer
    choose_medium
    toggle models translatorsIn translators render translatorDev src
    first_installation begin_installation
    agree textures materials projects pictures
    add_and_remove
    decline
    be_refused_while_the_suite_runs
    remove_all answer "Entire Zarn system"
    pilot widgets "$window" >/dev/null
    disk_is_as_before

    suite=$elsewhere
    first_installation click kviInstallButtonInstall
    agree materials projects pictures models render
    remove_all
    leave_installer
    suite=$place/suite
    disk_is_as_before
    rm -r "$elsewhere"
    echo "lived as $who from $medium"
}

for medium in tar cdrom tape; do live "$medium"; done
