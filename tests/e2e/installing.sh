# What the whole runs have in common: people, their distributions, an installer to drive, and what
# an installation must have left. Sourced, with $build set.

project=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
. "$project/scripts/desktop.sh"

all_subsystems="materials models pictures projects render src textures translatorDev translators translatorsIn"

fail() {
    echo "FAILED: $*" >&2
    shot failed || true
    sed 's/^/    log: /' "${log:-/dev/null}" >&2
    exit 1
}

# Goes on in a private place where that is allowed, and says who can install there. Elsewhere a
# super-user has to be somebody else, or his installations would be real ones.
settle() {
    local shots=$build/e2e-screenshots/$(basename "$0" .sh)
    mkdir -p "$shots"
    if [ -z "${ZARN_PRIVATE:-}" ] && ! enter_private_place "$0" "$build"; then
        ZARN_PLACE=$(mktemp -d "$build/e2e.XXXXXX")
        export ZARN_PLACE ZARN_PRIVATE=no
        if [ "$(id -u)" = 0 ]; then
            chown nobody "$ZARN_PLACE" "$shots"
            exec setpriv --reuid=nobody --regid=nogroup --clear-groups "$0" "$build"
        fi
    fi
    if [ "$ZARN_PRIVATE" = yes ]; then
        make_place_private "$project"
        place=/mnt
        people="ann root"
        echo "ann:x:12345:12345:Ann:/mnt/ann:/bin/sh" >>/etc/passwd
        echo "ann:x:12345:" >>/etc/group
    else
        place=$ZARN_PLACE
        people=$(id -un)
    fi
    desktop_start "$shots"
    trap unsettle EXIT
}

unsettle() {
    desktop_stop
    [ "$place" = /mnt ] || { chmod -R u+w "$place" && rm -rf "$place"; } 2>/dev/null || true
}

home_of() { echo "$place/home-$1"; }

# Runs a command as one of the people.
as() {
    local who=$1
    shift
    if [ "$who" = ann ]; then
        set -- setpriv --reuid=12345 --regid=12345 --clear-groups "$@"
    fi
    HOME=$(home_of "$who") "$@"
}

record_of() { if [ "$1" = root ]; then echo /usr/lib/.Zarn_inst; else echo "$(home_of "$1")/.Zarn_inst"; fi; }

# Gives $1 an empty home and a copy of the distribution $2; sets who, medium, suite, log.
set_out() {
    who=$1
    medium=$2
    suite=$place/suite-$who-$medium
    log=$place/log-$who-$medium
    chmod -R u+w "$(home_of "$who")" "$place/distribution" "$suite" 2>/dev/null || true
    rm -rf "$(home_of "$who")" "$place/distribution" "$suite" "$(record_of "$who")"
    mkdir -p "$(home_of "$who")" "$suite"
    cp -a "$build/distribution/$medium" "$place/distribution"
    [ "$who" != ann ] || chown -R ann "$(home_of ann)" "$suite"
    # A CD-ROM can't be written; everywhere else archives are uncompressed in their place.
    [ "$who" != ann ] || [ "$medium" = cdrom ] || chown -R ann "$place/distribution"
}

start_installer() {
    (cd "$place/distribution" && as "$who" ./Zarn_install -noShell "$@") >"$log" 2>&1 </dev/null &
    installer=$!
    wait_for has_window "Zarn 2.0 Installation" || fail "no window"
    sleep 0.5
}

choose_medium() {
    case $medium in
    tape)
        enter_text device "$place/distribution/tape.img"
        click "device Ok"
        ;;
    cdrom) click "CD-ROM" ;;
    *) click "Tar File" ;;
    esac
}

leave_installer() {
    click Exit
    wait "$installer" || fail "$who $medium: the installer ended with status $?"
    [ ! -e /tmp/.kvcInstallMsg ] || fail "the brochure is left behind"
}

says() { wait_for grep -qF -- "$1" "$log" || fail "$who $medium: it never said: $1"; }

# Compares the subsystems on the disk with the names given.
has_subsystems() {
    local there
    there=$(ls "$suite/Zarn_system/subsystems" | sort | tr '\n' ' ')
    [ "$there" = "$(printf '%s\n' "$@" | sort | tr '\n' ' ')" ] ||
        fail "$who $medium: subsystems are: $there"
}

# Checks all that a first installation of edition $1 leaves.
has_suite() {
    local record copy=$suite/Zarn_system/resources/.Zarn_inst
    record=$(record_of "$who")
    [ "$(wc -l <"$record")" = 9 ] || fail "$who $medium: not a record: $(cat "$record")"
    grep -qx "# PROGRAM: $1" "$record" || fail "$who $medium: wrong edition recorded"
    grep -qx "# PATH:    $suite" "$record" || fail "$who $medium: wrong location recorded"
    cmp "$record" "$copy" || fail "$who $medium: no copy of the record"
    cmp "$place/distribution/Zarn_install" "$suite/Zarn_system/bin/Zarn_install" ||
        fail "$who $medium: the installer is not in the suite"
    [ ! -e "$suite/subsystems" ] || fail "$who $medium: subsystems lie beside the suite"
}
