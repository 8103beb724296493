#!/bin/bash
# Kills the installer at random moments, alone or with all its commands. Following the messages of
# the next one must lead to a complete suite or none. ZARN_KILLS: how often to kill; ZARN_SEED:
# repeats the choices of an earlier run.
set -eu
# shellcheck source=tests/e2e/installing.sh
. "$(dirname "$0")/installing.sh"
settle
echo "ZARN_KILLS=${ZARN_KILLS:=20} ZARN_SEED=${ZARN_SEED:=$RANDOM}"
RANDOM=$ZARN_SEED
set_out cdrom
# Suppresses the information window, which nobody would close.
(cd "$place/distribution" && chmod u+w . Zarn_tools && ln -sf /bin/false Zarn_tools/xwsh)
cp "$build/distribution/tape/tape.img" "$place/distribution"
echo "the user's" >"$suite/mine"
disk >"$place/before"
tree=$suite/Zarn_system added=(textures models src) kills=0
declare -A takes # microseconds without a kill
set -m # an installer and its commands are one process group

# Prints the next action, which depends on the disk: an action is repeated until it succeeds.
next() {
    [ -e "$(record)" ] || { echo install && return; }
    (cd "$tree/subsystems" && ls "${added[@]}") >/dev/null 2>&1 && echo remove || echo add
}

# The copy of the installer may be missing, but an incomplete one must not be executable.
is_whole() {
    [ "$(wc -l <"$(record)")" = 9 ] || fail "not a record: $(cat "$(record)")"
    cmp "$(record)" "$tree/resources/.Zarn_inst" || fail "not a copy of the record"
    [ ! -x "$tree/bin/Zarn_install" ] || cmp "$tree/bin/Zarn_install" "$place/distribution/Zarn_install" || fail
    diff -r -x Zarn_install -x .Zarn_inst "$build/distribution/cdrom/Zarn_system" "$tree" || fail
}

# Clears away what a killed addition left, as the message asks the user to do.
move_away() { chmod -R u+w "$suite" && rm -rf "$suite/subsystems" "${added[@]/#/$tree/}"; }

begin() {
    local name button=kviInstallButtonInstall
    case $action in
    install)
        [ ! -e "$tree" ] || grep -q "was not finished" "$log" || fail "nothing leads to the suite"
        grep -q "finishes it" "$log" || toggle "${added[@]}"
        choose_location ;;
    add) for name in "${added[@]}"; do [ -d "$tree/subsystems/$name" ] || toggle "$name"; done ;;
    remove) button=kviInstallButtonRemove && move_away && is_whole ;;
    esac
    click $button
    [ "$action" != install ] || grep -q "starts again" "$log" || return 0
    question_expected=yes wait_for grep -q "^Question\|^Error" "$log"
    ! grep -q "^Error" "$log" || { acknowledge "$error" && move_away && click $button; }
    question_expected=yes wait_for has_window "$question"
    "$build/pilot" answer "$question" Yes &
    hand=$!
    until [[ $(<"$log") == *$'\nAnswer'* ]] || ended $hand; do :; done
}

finish() {
    [ -z "$hand" ] || wait "$hand"
    pilot widgets "$window" >/dev/null
    takes[$medium-$action]=$(($(stat -c %.6Y "$log" | tr -d .,) - began))
    [ "$action" != add ] || acknowledge "$information"
    [ "$action-$who" != install-root ] || { decide_on_icons && click dismiss; }
    [ "$(next)" != "$action" ] || fail "$action does not succeed"
    click pushButton && wait_for_end "$installer"
}

strike() {
    local moment=$(((RANDOM * 32768 + RANDOM) % takes[$medium-$action]))
    echo "$((kills += 1)): $action from $medium, after $moment of ${takes[$medium-$action]} us"
    sleep ${moment}e-6
    if ((kills % 2)); then kill -KILL -- "-$installer"; else pkill -KILL -P "$installer"; fi
    { kill ${hand:+"$hand"}; wait "$installer" ${hand:+"$hand"}; } 2>/dev/null || true
    while pgrep -g "$installer" -r D,R,S >/dev/null; do sleep 0.01; done
    wait_for has_no_window "$window"
    [ ! -e "$(record)" ] || [ -d "$tree" ] || fail "a record without a suite"
}

# The last action is a removal without a kill.
until ((kills == ZARN_KILLS)) && [ "$action-$how" = remove-finish ]; do
    action=$(next) how=finish hand=
    start_installer && says "currently"
    ! grep -q "^Information: " "$log" || acknowledge "$information"
    if ((RANDOM % 2)); then medium=tape; else medium=cdrom; fi
    choose_medium
    begin
    began=${EPOCHREALTIME/[.,]/}
    if ((kills < ZARN_KILLS && ${takes[$medium-$action]:-0} > 0 && RANDOM % 4)); then how=strike; fi
    $how
done
disk_is_as_before
