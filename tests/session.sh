#!/bin/bash
# Runs the commands of the session $1, its lines that begin with "$ " and continue with "> ", in an
# empty folder. What they print, and their status unless it is 0, must be the lines that follow.
# $2: the build folder. With ZARN_UPDATE in the environment, writes those lines instead.
set -u
session=$(realpath "$1") build=$(cd "$2" && pwd) project=$(cd "$(dirname "$0")/.." && pwd)
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
chmod 755 "$place"
mkdir "$place/home"
cd "$place/home" || exit
export HOME=$PWD tools=$build/Zarn_tools LC_ALL=C
unset XFILESEARCHPATH TAPE TAR_RSH VISUAL EDITOR ZARNHOME SUDO_USER

# Makes a program $1 that runs the lines $2.
program() {
    mkdir -p "$(dirname "$1")"
    printf '#!/bin/sh\n%s\n' "$2" >"$1"
    chmod 755 "$1"
}

command=
finish() {
    local status=0
    # shellcheck disable=SC2034 # for the sessions
    here=$project
    eval "$command" >"$place/printed" 2>&1 </dev/null || status=$?
    cat "$place/printed"
    [ -z "$(tail -c 1 "$place/printed")" ] || echo "\\"
    [ $status = 0 ] || echo "[$status]"
    command=
}

run() {
    local last=comment
    while IFS= read -r line <&3; do
        case $line in
        '$ '*)
            finish
            command=${line#'$ '} last=command
            ;;
        '> '*) command+=$'\n'${line#'> '} ;;
        '#'*)
            finish
            [ $last = comment ] || echo
            last=comment
            ;;
        *) continue ;;
        esac
        printf '%s\n' "$line"
    done 3<"$session"
    finish
}

run 2>&1 | while IFS= read -r line; do
    line=${line//"$place/home"/HOME}
    printf '%s\n' "${line//"$build"/BUILD}"
done >"$place/session"
[ -z "${ZARN_UPDATE:-}" ] || exec cp "$place/session" "$session"
diff -u "$session" "$place/session"
