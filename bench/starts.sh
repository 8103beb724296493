# shellcheck shell=bash disable=SC2154
# Compares the installer's start with that of a program with one button, and counts the requests for
# a click. Sourced by bench/run.

starts=11

# Starts each program in turn, and writes the medians to files: milliseconds until mapped,
# milliseconds until idle, kilobytes of memory.
compare_starts() {
    local run program
    rm -f "$place"/starts.*
    cd "$place/bin" || return
    for ((run = 0; run < starts; run++)); do
        for program in button Zarn_install; do
            start_command "$program"
            "${as_user[@]}" "$place/bin/bench_start" "${command[@]}" \
                >>"$place/starts.$program"
        done
    done
    for program in 1 2 3; do
        for run in button Zarn_install; do
            cut -d' ' -f$program "$place/starts.$run" | median >"$place/median.$run.$program"
        done
    done
}

start_command() {
    case $1 in
    button) command=("$place/bin/bench_button") ;;
    *) command=("$place/bin/Zarn_install" -noShell) ;;
    esac
}

of() { cat "$place/median.$1.$2"; }

print_starts() {
    compare_starts
    printf '| %s | %.1f ms, %s | %.1f ms, %s | %s kB, %s |\n' "$1" \
        "$(of Zarn_install 1)" "$(ratio "$(of Zarn_install 1)" "$(of button 1)")" \
        "$(of Zarn_install 2)" "$(ratio "$(of Zarn_install 2)" "$(of button 2)")" \
        "$(of Zarn_install 3)" "$(ratio "$(of Zarn_install 3)" "$(of button 3)")"
}

# Requests and round trips that the proxy between program and server saw.
requests() { grep -c '^[0-9]*:<:.*Request(' "$place/protocol" || true; }
round_trips() { grep -c '^[0-9]*:>:.*Reply to' "$place/protocol" || true; }

# Waits until the program sends nothing more.
settle_protocol() {
    local before=-1
    until [ "$(stat -c %s "$place/protocol")" = "$before" ]; do
        before=$(stat -c %s "$place/protocol")
        sleep 0.4
    done
}

start_under_proxy() {
    start_command "$1"
    "${as_user[@]}" stdbuf -oL xtrace -n -k -d "$DISPLAY" -D :77 -- "${command[@]}" \
        >"$place/protocol" 2>&1 &
    proxy=$!
    sleep 1
    settle_protocol
}

end_proxy() {
    kill "$proxy" 2>/dev/null || true
    pkill -f "$place/bin/" 2>/dev/null || true
    wait "$proxy" 2>/dev/null || true
}

count_start() {
    start_under_proxy "$1"
    echo "$(requests) $(round_trips)"
    end_proxy
}

click_and_settle() {
    xdotool click 1
    sleep 0.3
    settle_protocol
}

# Counts the requests for one click. A first click moves the keyboard focus to the widget: then
# Motif asks the server for the position of every widget, which is not part of the click.
count_click() {
    local x y before trips
    read -r x y < <(pilot widgets "$window" | awk -v name="$1" '
        $NF == name { print $1 + int($3 / 2), $2 + int($4 / 2) }')
    xdotool mousemove "$x" "$y"
    # The first click may do no more than give the window the keyboard focus.
    click_and_settle
    click_and_settle
    before=$(requests) trips=$(round_trips)
    click_and_settle
    echo "| a click on $2 | $(($(requests) - before)) | $(($(round_trips) - trips)) |"
}

measure_protocol() {
    local button installer
    button=$(count_start button)
    installer=$(count_start Zarn_install)
    echo "| X protocol | requests | round trips |"
    echo "|---|---|---|"
    echo "| start of the program with one button | ${button% *} | ${button#* } |"
    echo "| start of the installer | ${installer% *} | ${installer#* } |"
    start_under_proxy Zarn_install
    wait_for has_window "$window"
    count_click kviSubsystemModels "a subsystem"
    count_click kviInstallToggleCD "the medium that is chosen"
    count_click kviInstallLustrel "the edition that is chosen"
    end_proxy
}

measure_starts() {
    # On an installed suite a click marks the subsystem, which changes its colour.
    rm -f "$HOME/.Zarn_inst"*
    measure_protocol
    echo
    echo "| in the window | |"
    echo "|---|---|"
    in_window "what a message leaves in memory, bytes" messages 2000
    in_window "a list of 50,000 users, seconds" users 50000
    echo
    echo "| start | mapped | idle | memory |"
    echo "|---|---|---|---|"
    print_starts "with mwm"
    pkill -x mwm
    sleep 1
    print_starts "without window manager"
    echo
    echo "The commands that the start has to run take $(time_commands) ms of it."
}

time_commands() {
    local run TIMEFORMAT=%R
    for ((run = 0; run < starts; run++)); do
        { time sh -c "rm -f $place/none"; } 2>&1
    done | median >"$place/first"
    for ((run = 0; run < starts; run++)); do
        { time sh -c "id | grep root >/dev/null" || true; } 2>&1
    done | median >"$place/second"
    awk '{ sum += 1000 * $1 } END { print sum }' "$place/first" "$place/second"
}

in_window() {
    cd "$place/bin" || return
    echo "| $1 | $("${as_user[@]}" "$place/bin/bench_window" "$2" "$3" 2>&1 >/dev/null | tail -n 1) |"
}
