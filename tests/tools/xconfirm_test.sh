#!/bin/bash
# Shows boxes and presses keys. What the boxes draw, their widgets, and what is printed in the end
# must be as in xconfirm.txt. $1: the build folder.
set -eu
build=$1 question_expected=yes title=box here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=scripts/desktop.sh
. "$here/../../scripts/desktop.sh"
place=$(mktemp -d)
trap 'desktop_stop; rm -rf "$place"' EXIT
cd "$place"
# Motif leaks a few bytes each time the pilot reads the widgets.
echo "leak:XGetWindowProperty" >known-leaks
export LSAN_OPTIONS="suppressions=$place/known-leaks:print_suppressions=0"
mkdir home
export HOME=$place/home
desktop_start "$place/shots"
# Defaults that anybody could plant.
echo "*background: red" >Xconfirm
export XFILESEARCHPATH=$PWD/%N

is_ready() { shown=$(pilot find "$title") && [ "$(xdotool getwindowfocus)" = "$shown" ]; }

begin() {
    rm -f out
    "$build/Zarn_tools/xconfirm" "$@" >"${out:-out}" &
    wait_for is_ready
}

# Presses the key $1, or clicks on the leftmost button.
end() {
    local status=0
    if [ "$1" = click ]; then pilot click "$title" button; else xdotool key "$1"; fi
    wait $! || status=$?
    echo "[$status $(cat out 2>/dev/null)]"
}

# Prints what the box draws; $1 ends it.
ask() {
    begin "${@:2}"
    pilot texts "$title"
    end "$1"
}

# Prints the widgets' places.
widgets() {
    begin "$@"
    pilot widgets "$title"
    end Escape
}

# Prints a sum of what is seen.
picture() {
    begin "$@"
    # shellcheck disable=SC2094
    pilot texts box >texts
    import -window "$shown" txt: | md5sum
    end Escape >texts
}

boxes() {
    ask Return -header box -icon info -t one -t "two words" -b No -B Yes -b Other
    ask alt+F4 -header box -num 3 -text $'a\nb' -b1 One -b2 Two -b3 Three
    ask Return -header box -num 2 -b1 One -b2 Two -b3 Three
    ask click -header box -b Three -B Two -b One
    ask Escape -header box -t one -b Yes
    title=xconfirm ask Return -b 1 -b 2 -useslider
    out=/dev/full ask Return -header box -b No
    ask Return -header box -B Yes -t "$(seq -s " " 50)" -t "$(printf %081d 0)" -t "" \
        -t "$(printf %080d 0)"
    # shellcheck disable=SC2046 # a letter for each number
    LC_ALL=C.UTF-8 ask Return -header box -B Yes -t "$(printf é%.0s $(seq 80))" -t "$(printf é%.0s $(seq 81))"
    ask Return -header box -B Yes -text "$(seq 30)"
    ask Return -header box -B Yes -text "$(seq 31)"
    widgets -header box -t one -b No -B Yes
    widgets -header box -text "$(seq 31)" -b Yes
    for words in "" "-icon info" "-icon error" "-icon question" "-icon none" "-num 1" "-num 2"; do
        # shellcheck disable=SC2086
        picture -header box $words -t x -B Yes
    done | awk '!($1 in n) { n[$1] = ++k } { printf "%d ", n[$1] }'
}

boxes 2>&1 | diff "$here/xconfirm.txt" -
