# shellcheck shell=bash disable=SC2034,SC2154
# A private desktop: a virtual display with a window manager, and functions that look at what is on
# it and operate it. Sourced by scripts that set $build, the build folder.

window="Zarn 2.0 Installation"
question="Please confirm..."
information="For your information..."
error="Oooops... Sorry!"
brochure="Installation will take a few minutes... use the space bar to scroll up and down"

# Starts a virtual display with a window manager and sets DISPLAY. $1: folder for logs and
# screenshots; $2: the manager, mwm by default, or "none"; $3: the screen's size and depth. The
# caller must stop it at the end.
desktop_start() {
    local manager=${2:-mwm} screen=${3:-1280x1024x24}
    desktop_shots=$1
    mkdir -p "$desktop_shots"
    desktop_had_sockets=no
    [ ! -d /tmp/.X11-unix ] || desktop_had_sockets=yes
    local number
    # Without this, the server resets when its last client leaves, and disconnects the next one.
    exec {number}< <(exec Xvfb -displayfd 1 -screen 0 "$screen" -nolisten tcp -noreset \
        2>"$desktop_shots/xvfb.log")
    desktop_server=$!
    read -r -u "$number" DISPLAY || {
        echo "The virtual display does not start:" >&2
        cat "$desktop_shots/xvfb.log" >&2
        return 1
    }
    export DISPLAY=:$DISPLAY
    unset XAUTHORITY XENVIRONMENT XAPPLRESDIR XFILESEARCHPATH
    # In other locales the terminal draws two-byte characters, which the pilot can't read.
    export LC_ALL=C LANG=C
    [ "$manager" != none ] || return 0
    manager_start "$manager" >"$desktop_shots/manager.log" 2>&1 &
    wait_for is_managed "$manager" || {
        cat "$desktop_shots"/*.log >&2
        return 1
    }
}

manager_start() {
    case $1 in
    # Desktop environments' managers get their settings from a session.
    xfwm4 | metacity) exec dbus-run-session -- "$1" ;;
    *) exec "$1" ;;
    esac
}

# mwm announces when it is ready.
is_managed() {
    if [ "$1" = mwm ]; then
        xprop -root _MOTIF_WM_INFO | grep -q =
    else
        xwininfo -root -events | grep -q SubstructureRedirect
    fi
}

desktop_stop() {
    kill "${desktop_server:-}" 2>/dev/null || return 0
    wait "$desktop_server" 2>/dev/null || true
    rm -f "$desktop_shots/xvfb.log" "$desktop_shots/manager.log"
    [ "$desktop_had_sockets" = yes ] || rmdir /tmp/.X11-unix 2>/dev/null || true
}

pilot() { "$build/pilot" "$@"; }

# Waits until a command succeeds, $wait_limit or 60 seconds at most. Fails early if an unexpected
# question stays open; a short wait is needed, because an answer may still be under way.
wait_for() {
    local end=$((SECONDS + ${wait_limit:-60})) seen=0
    until "$@" >/dev/null 2>&1; do
        seen=$((seen + 1))
        [ -z "${question_expected:-}" ] && has_window "$question" || seen=0
        if [ $seen -ge 20 ]; then
            echo "nobody answers:" >&2
            pilot texts "$question" >&2
            return 1
        fi
        [ $SECONDS -lt $end ] || {
            echo "gave up waiting for: $*" >&2
            return 1
        }
        sleep 0.05
    done
}

# Waits until a child process of this script ends, and returns its status.
wait_for_end() {
    wait_for ended "$1" && wait "$1"
}

ended() { ! kill -0 "$1" 2>/dev/null; }

shot() { import -window root "$desktop_shots/$1.png"; }

has_window() { pilot find "$1" >/dev/null; }

has_no_window() { ! has_window "$1"; }

# Creates the home directory $1 with a double-click time of 1 ms: the message box would ignore a
# click that counts as the second of a double click.
make_home() {
    mkdir -p "$1"
    echo "*multiClickTime: 1" >"$1/.Xdefaults"
}

# Clicks on the widget named $1.
click() {
    pilot click "$window" "$1" || {
        echo "can't click on: $1" >&2
        return 1
    }
}

# Whether the toggle named $1 is on: its indicator is red then.
is_on() { pilot widgets "$window" | grep -q " ff0000 $1\$"; }

brochure_is_aside() {
    local X=0
    xdotool windowmove "$(pilot find "$brochure")" 800 600
    eval "$(xdotool getwindowgeometry --shell "$(pilot find "$brochure")" | grep '^X=')"
    [ "$X" -ge 800 ]
}

# Presses "Install", and moves aside the information window, which opens some time later and covers
# whatever is there.
begin_installation() {
    click kviInstallButtonInstall
    question_expected=yes wait_for brochure_is_aside
}

# Types the text $2 into the field $1, replacing the old text. $3: its window, by default the main
# one.
enter_text() {
    pilot focus "${3:-$window}" "$1"
    xdotool key --delay 0 ctrl+slash BackSpace
    xdotool type --delay 0 "$2"
}

# Answers the current or next question with the button labelled $1.
answer() {
    question_expected=yes wait_for has_window "$question"
    answer_in "$question" "$1"
}

answer_in() {
    pilot answer "$1" "$2" || {
        echo "no button \"$2\" in:" >&2
        pilot texts "$1" >&2
        return 1
    }
}

# Closes the current or next information or error box; $1 is its title.
acknowledge() {
    wait_for has_window "$1"
    answer_in "$1" Ok
    wait_for has_no_window "$1"
}
