# A complete first installation on a virtual display, by pointer and keys. Sourced by ./run, with
# $project set.

demo=$project/build/demo

# The folder that holds the demo's files and, for who has no private place, what it installs.
lay_out_demo() {
    mkdir -p "$demo/screenshots"
    work=$demo/work
    if [ "${ZARN_PRIVATE:-}" = yes ]; then
        make_place_private "$project"
        work=/mnt
    fi
    mkdir -p "$work/home"
    export HOME=$work/home
    cp -R build/distribution/gz "$work/distribution"
}

install_by_hand() {
    wait_for has_window "Zarn 2.0 Installation"
    sleep 1
    shot 1-window
    click "Tar File"
    click Corvan
    mkdir -p "$work/suite"
    enter_text location "$work/suite"
    click "location Ok"
    shot 2-ready
    begin_installation
    answer second
    if [ "$(id -u)" = 0 ]; then
        answer first
        answer second
        acknowledge "For your information\.\.\."
        shot 3-icons
        click "icon Close"
    fi
    wait_for grep -q "Corvan Version 2.0 is currently installed" "$work/log"
    sleep 1
    shot 4-installed
}

demonstrate() {
    lay_out_demo
    if [ "$(id -u)" = 0 ]; then record=/usr/lib/.Zarn_inst; else record=$HOME/.Zarn_inst; fi
    desktop_start "$demo/screenshots"
    (cd "$work/distribution" && exec ./Zarn_install -noShell >"$work/log" 2>&1) &
    install_by_hand
    click Exit
    wait $! || {
        echo "The installer ended with status $?." >&2
        exit 1
    }
    [ -s "$record" ] && [ -x "$work/suite/Zarn_system/bin/Zarn_install" ] || {
        echo "The installation did not work:" >&2
        cat "$work/log" >&2
        exit 1
    }
    echo "The installation record $record:"
    cat "$record"
    echo "The installed tree:"
    (cd "$work/suite" && find . -maxdepth 3 -not -path '*/bin/Zarn_tools*' | sort)
    echo "Screenshots: $demo/screenshots"
}
