# shellcheck shell=bash disable=SC2034,SC2154
# A desktop of one's own: a virtual display with a window manager, and a user's eyes and hands on
# it. Sourced by ./run, ./test and the whole runs of the tests, with $build, the folder of a build.

window="Zarn 2.0 Installation"
question="Please confirm..."
information="For your information..."
error="Oooops... Sorry!"
brochure="Installation will take a few minutes... use the space bar to scroll up and down"

# Starts a virtual display with a window manager; sets DISPLAY. $1: folder for logs and screenshots;
# $2: the manager, "none" for a bare display, else mwm; $3: the screen's size and depth. Whoever
# starts one stops it when the script ends.
desktop_start() {
    local manager=${2:-mwm} screen=${3:-1280x1024x24}
    desktop_shots=$1
    mkdir -p "$desktop_shots"
    desktop_had_sockets=no
    [ ! -d /tmp/.X11-unix ] || desktop_had_sockets=yes
    local number
    # A server that starts anew when its last client leaves would cut off the next one.
    exec {number}< <(exec Xvfb -displayfd 1 -screen 0 "$screen" -nolisten tcp -noreset \
        2>"$desktop_shots/xvfb.log")
    desktop_server=$!
    read -r -u "$number" DISPLAY || {
        echo "The virtual display does not start:" >&2
        cat "$desktop_shots/xvfb.log" >&2
        return 1
    }
    export DISPLAY=:$DISPLAY
    unset XAUTHORITY
    # Elsewhere a terminal draws letters of two bytes, which the pilot does not read.
    export LC_ALL=C
    [ "$manager" != none ] || return 0
    manager_start "$manager" >"$desktop_shots/manager.log" 2>&1 &
    wait_for is_managed "$manager" || {
        cat "$desktop_shots"/*.log >&2
        return 1
    }
}

manager_start() {
    case $1 in
    # Those of the desktops ask a session for their settings.
    xfwm4 | metacity) exec dbus-run-session -- "$1" ;;
    *) exec "$1" ;;
    esac
}

# Motif's own manager says when it is ready.
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

# Waits, $wait_limit or 60 seconds at most, until a command succeeds. A question that nobody is going
# to answer ends that early: one that stays, since an answer may be on its way through the window
# manager.
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
            echo "waited in vain for: $*" >&2
            return 1
        }
        sleep 0.05
    done
}

# Waits until a process of this script's has ended; its status is that of the process.
wait_for_end() {
    wait_for ended "$1" && wait "$1"
}

ended() { ! kill -0 "$1" 2>/dev/null; }

shot() { import -window root "$desktop_shots/$1.png"; }

has_window() { pilot find "$1" >/dev/null; }

has_no_window() { ! has_window "$1"; }

# Makes the home directory $1 that of somebody whose clicks are never taken for double clicks,
# however fast they come: the message box ignores the second half of one.
make_home() {
    mkdir -p "$1"
    echo "*multiClickTime: 1" >"$1/.Xdefaults"
}

# Clicks on the widget of that name.
click() {
    pilot click "$window" "$1" || {
        echo "can't click on: $1" >&2
        return 1
    }
}

# Whether the toggle of that name is on: it is filled with red.
is_on() { pilot widgets "$window" | grep -q " ff0000 $1\$"; }

brochure_is_aside() {
    local X=0
    xdotool windowmove "$(pilot find "$brochure")" 800 600
    eval "$(xdotool getwindowgeometry --shell "$(pilot find "$brochure")" | grep '^X=')"
    [ "$X" -ge 800 ]
}

# The installer's first installation brings up the information window: whenever it is ready, over
# whatever is there by then.
begin_installation() {
    click kviInstallButtonInstall
    question_expected=yes wait_for brochure_is_aside
}

# Replaces the text of a field by typing. $3: its window, if that is not the main one.
enter_text() {
    pilot focus "${3:-$window}" "$1"
    xdotool key --delay 0 ctrl+slash BackSpace
    xdotool type --delay 0 "$2"
}

# Answers the open question, or the next that comes, with the button that carries the label $1.
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

# Closes the information or error that is shown, or comes next.
acknowledge() {
    wait_for has_window "$1"
    answer_in "$1" Ok
    wait_for has_no_window "$1"
}
