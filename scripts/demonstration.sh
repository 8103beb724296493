# shellcheck shell=bash disable=SC2154
# A complete first installation on a virtual display, with simulated mouse and keyboard input.
# Sourced by ./run, which sets $project.

build=$project/build/release
shots=$build/screenshots/demo

# Creates the folder for a home, a distribution and the installed suite. Its path has no blank, even
# if the project's has: the installer would refuse it.
lay_out_demo() {
    mkdir -p "$shots"
    if [ "$ZARN_PRIVATE" = system ]; then
        make_system_private "$project"
        work=/mnt
    else
        work=$(mktemp -d /tmp/zarn.XXXXXX)
    fi
    make_home "$work/home"
    export HOME=$work/home
    cp -R "$build/distribution/gz" "$work/distribution"
}

clean_up_demo() {
    desktop_stop
    [ "$work" = /mnt ] || { chmod -R u+w "$work" && rm -rf "$work"; }
}

install_by_hand() {
    wait_for has_window "$window"
    shot 1-window
    click kviInstallToggleTarFile
    click kviInstallCorvan
    mkdir -p "$work/suite"
    enter_text kviInstallLocationText "$work/suite"
    click kviInstallLocationTextOk
    pilot widgets "$window" >/dev/null
    shot 2-ready
    begin_installation
    answer No
    if [ "$(id -u)" = 0 ]; then
        answer Yes
        acknowledge "$information"
        answer No
        acknowledge "$information"
        shot 3-icons
        click dismiss
    fi
    wait_for grep -q "Corvan Version 2.0 is currently installed" "$work/log"
    shot 4-installed
}

demonstrate() {
    lay_out_demo
    if [ "$(id -u)" = 0 ]; then record=/usr/lib/.Zarn_inst; else record=$HOME/.Zarn_inst; fi
    trap clean_up_demo EXIT
    desktop_start "$shots"
    (cd "$work/distribution" && exec ./Zarn_install -noShell >"$work/log" 2>&1) &
    installer=$!
    install_by_hand
    click pushButton
    wait_for_end "$installer" || {
        echo "The installer ended with status $?." >&2
        exit 1
    }
    if ! [ -s "$record" ] || ! [ -x "$work/suite/Zarn_system/bin/Zarn_install" ]; then
        echo "The installation did not work:" >&2
        cat "$work/log" >&2
        exit 1
    fi
    echo "The installation record $record:"
    cat "$record"
    echo "The installed tree:"
    (cd "$work/suite" && find . -maxdepth 3 -not -path '*/bin/Zarn_tools*' | sort)
    echo "Screenshots: $shots"
}
