# shellcheck shell=bash disable=SC2154
# Compares installations with scripts of the same commands. Sourced by bench/run.

# Empties $place/suite and deletes the record.
begin_anew() {
    rm -rf "$place/suite" "$HOME/.Zarn_inst"*
    mkdir "$place/suite"
    [ "${as_user[0]}" = env ] || chown 12345 "$place/suite"
    cd "$place/distribution" || return
}

# Runs an installation from $1, "archives" or "cdrom", and prints its seconds. Further arguments are
# a command to run it under.
install_once() {
    local medium=$1
    shift
    begin_anew
    "${as_user[@]}" "$@" "$place/bin/bench_window" install "$medium" "$place/suite" \
        2>&1 >"$place/log" | tail -n 1
}

# Records the installer's commands after the button press as a script.
record_commands() {
    install_once "$1" strace -f -s 100000 -e trace=execve,chdir,mkdir,openat -o "$place/trace" \
        >/dev/null
    awk '
        NR == 1 { installer = $1 }
        / = -1 / { next }
        $1 == installer && match($0, /(chdir|mkdir)\("[^"]*"/) {
            split(substr($0, RSTART, RLENGTH), part, /[("]+/)
            print (part[1] == "chdir" ? "cd" : "mkdir"), part[2]
        }
        match($0, /execve\("\/bin\/sh", \["sh", "-c", "/) {
            command = substr($0, RSTART + RLENGTH)
            sub(/"\], 0x[0-9a-f]+ .*/, "", command)
            gsub(/\\"/, "\"", command)
            if (command !~ /^id \| |^cat <&|^xwsh /) print command
        }' "$place/trace" >"$place/script"
}

# Runs that script with the programs from PATH, and prints its seconds.
run_script() {
    local TIMEFORMAT=%R
    begin_anew
    { time "${as_user[@]}" sh "$place/script" >"$place/log" 2>&1; } 2>&1
}

# Prints a row. $1: its name; $2: the suite; $3: the suite's form; $4: the medium; $5: number of
# runs.
compare_installations() {
    local run name tools=$place/bin/Zarn_tools
    pack_suite "$2" "$3"
    record_commands "$4"
    rm -f "$place"/seconds.*
    for ((run = 0; run < $5; run++)); do
        install_once "$4" >>"$place/seconds.installer"
        PATH=$tools:$PATH run_script >>"$place/seconds.standin"
        run_script >>"$place/seconds.system"
    done
    for name in installer standin system; do
        local "$name=$(median <"$place/seconds.$name")"
    done
    printf '| %s | %.3f s | %+.0f ms, %s | %+.0f ms, %s |\n' "$1" "$installer" \
        "$(awk "BEGIN { print 1000 * ($installer - $standin) }")" "$(ratio "$installer" "$standin")" \
        "$(awk "BEGIN { print 1000 * ($installer - $system) }")" "$(ratio "$installer" "$system")"
}

# Counts how often the installer listed the folder $1 during the last recorded installation.
count_listings() {
    awk 'NR == 1 { installer = $1 } $1 == installer' "$place/trace" |
        grep -cE "openat\(AT_FDCWD, \"$1/?\", [A-Z_|]*O_DIRECTORY" || true
}

print_listings() {
    echo "| listings during an installation from a .tar.gz | number |"
    echo "|---|---|"
    echo "| of the start directory | $(count_listings "$place/distribution") |"
    echo "| of the location | $(count_listings "$place/suite") |"
    echo "| of the folder with the extracted subsystems | $(count_listings "$place/suite/subsystems") |"
    echo "| of the suite's own folder of subsystems |" \
        "$(count_listings "$place/suite/Zarn_system/subsystems") |"
}

measure_installations() {
    make_suite few 20 9000
    make_suite middle 10000 18500
    echo "| whole installation | takes | against a script with the stand-in tar | with the system's tar |"
    echo "|---|---|---|---|"
    compare_installations "20 files .tar" few tar archives 9
    compare_installations "10,000 files, 185 MB .tar" middle tar archives 5
    compare_installations "the same from a CD-ROM directory" middle cdrom cdrom 5
    compare_installations "the same .tar.gz" middle gz archives 3
    rm -rf "$place/suites/middle"
    make_suite many 100000 300
    compare_installations "100,000 small files .tar" many tar archives 5
    rm -rf "$place/suites/many"
    make_suite big 1 1000000000
    compare_installations "one file of 1 GB .tar" big tar archives 5
    rm -rf "$place/suites/big"
    echo
    pack_suite few gz
    record_commands archives
    print_listings
}
