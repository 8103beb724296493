#!/bin/bash
# Tests whether messages get the keyboard under each window manager: one row for each manager and
# situation. ZARN_MANAGERS: the managers; ZARN_SCREENS: also takes screenshots on these screens.
# shellcheck disable=SC2317 # the rows call functions by name
set -eu
# shellcheck source=tests/e2e/installing.sh
. "$(dirname "$0")/installing.sh"
settle
desktop_stop
question_expected=yes
wait_limit=15
failed=0

# Prepares an unfinished installation: it gives a message at the start, and a question at each press
# of "Install".
begin_unfinished() {
    set_out tar
    mkdir "$suite/Zarn_system"
    {
        printf '# DO NOT MODIFY THIS FILE MANUALLY\n#\n# PROGRAM: Zarn-Pinnet\n#\n# VERSION: 2.0\n'
        printf '# DATE:    Jun-30-1997\n# PATH:    %s\n# HOST:    here\n#\n' "$suite"
    } >"$(home)/.Zarn_inst.part"
    [ "$who" != ann ] || chown -R ann "$(home)" "$suite"
    slow_down
    start_installer -ftp
}

# Gives the manager time to react; nothing tells when it has.
let_it() { sleep 0.4; }

soon() {
    local end=$((SECONDS + 5))
    until "$@" >/dev/null; do
        [ $SECONDS -lt $end ] || return 1
        sleep 0.05
    done
}

has_keyboard() { [ "$(xdotool getwindowfocus -f 2>/dev/null)" = "$(pilot find "$1")" ]; }

answers() { grep -c "^Answer: No" "$log" || true; }

has_answers() { [ "$(answers)" = "$1" ]; }

ask() { click kviInstallButtonInstall && soon has_window "$question"; }

# Answers with keys only, and checks that the question took them.
answered_by_keys() {
    local before
    before=$(answers)
    soon has_keyboard "$question" || true
    xdotool key Right space
    soon has_answers $((before + 1))
}

at_once() {
    soon has_window "$information" || return 1
    soon has_keyboard "$information" || true
    xdotool key Return
    soon has_no_window "$information"
}

asked() { ask && answered_by_keys; }

clicked_behind() {
    ask && click kviInstallToggleCD && let_it && answered_by_keys
}

iconified() {
    local main
    main=$(pilot find "$window")
    ask && xdotool windowminimize "$main" && soon has_no_window "$window" &&
        xdotool windowmap "$main" && soon has_window "$question" && let_it && answered_by_keys
}

# A user who types into another program meanwhile must not answer the question.
left_alone() {
    local before other
    ask || return 1
    before=$(answers)
    xterm -title other -geometry 40x10+0+0 -e sleep 60 2>/dev/null &
    soon has_window other && let_it && other=$(pilot find other) &&
        xdotool windowraise "$other" mousemove 40 100 click 1 sleep 0.1 windowfocus "$other" &&
        soon has_keyboard other && xdotool key Right space && let_it && has_keyboard other &&
        has_answers "$before" || return 1
    kill $!
    soon has_no_window other && pilot answer "$question" No
}

after_information() {
    ask && soon has_keyboard "$question" && xdotool key Return || return 1
    wait_for test -e "$(home)/tar-runs" && wait_for has_window "$brochure" || return 1
    eval "$(xdotool getwindowgeometry --shell "$(pilot find "$brochure")")"
    xdotool windowraise "$(pilot find "$brochure")" mousemove $((X + 300)) $((Y + 200)) click 1
    let_it
    touch "$(home)/go-on"
    wait_for has_window "$question" && soon has_keyboard "$question"
}

# Opens a window with the information window's title over the open question, as if it were late.
late_information() {
    local X Y WIDTH HEIGHT whole
    xdotool windowkill "$(pilot find "$brochure")"
    soon has_no_window "$brochure" || return 1
    eval "$(xdotool getwindowgeometry --shell "$(pilot find "$question")")"
    window_at=${WIDTH}x$HEIGHT+$X+$Y
    xdotool mousemove $((X + 9)) $((Y + 9))
    let_it
    whole=$(picture)
    xterm -title "$brochure" -geometry "40x10+$X+$Y" -e sleep 60 2>/dev/null &
    soon has_window "$brochure" && let_it && soon looks_like "$whole" && answered_by_keys
}

# Starts a new display, and an installer that shows a message.
begin() {
    end
    export HOME=$place/manager
    rm -rf "$HOME"
    mkdir -p "$HOME/.fluxbox"
    # Otherwise fluxbox opens a window that says it finds no program for the background.
    echo "background: none" >"$HOME/.fluxbox/overlay"
    desktop_start "$shots" "$manager" "$screen"
    begin_unfinished
}

end() {
    desktop_stop
    [ -z "${installer:-}" ] || wait "$installer" || true
    installer=
}

row() {
    local result=ok
    "$2" || result=FAILED
    printf '%-10s %-40s %s\n' "$manager" "$1" "$result"
    [ $result != ok ] || return 0
    failed=1
    shot "$manager-$2"
    # A failed situation could disturb the next ones.
    begin
    acknowledge "$information"
}

try() {
    begin
    row "a message at once" at_once
    row "a question" asked
    row "after a click on the window behind" clicked_behind
    [ "$manager" = none ] || row "after the window was an icon" iconified
    row "not while a terminal of the user's has it" left_alone
    row "after the information window had it" after_information
    row "over an information window that is late" late_information
}

# Takes a screenshot with a question.
look() {
    begin
    acknowledge "$information"
    ask
    let_it
    pictures+=("$manager on $screen")
    shot "$manager on $screen"
}

unset XDG_CONFIG_HOME XDG_CACHE_HOME XDG_DATA_HOME XDG_RUNTIME_DIR
screen=1280x1024x24
for manager in ${ZARN_MANAGERS:=mwm twm openbox}; do try; done
pictures=()
if [ -n "${ZARN_SCREENS:-}" ]; then
    for manager in $ZARN_MANAGERS; do look; done
    manager=mwm
    for screen in $ZARN_SCREENS; do look; done
    (cd "$shots" && montage -label '%t' "${pictures[@]/%/.png}" -geometry 640x512+4+4 -tile 3x sheet.png)
fi
exit $failed
