# shellcheck shell=bash disable=SC2034,SC2119
# Common functions of the end-to-end tests: they prepare private folders, a user and a distribution,
# drive the installer, and check what it left. Sourced by each test, whose arguments are the build
# folder and who installs: "user" or "root".

build=$(cd "$1" && pwd)
person=$2
project=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
. "$project/scripts/place.sh"
. "$project/scripts/desktop.sh"

# The subsystems' directories and their toggles in the window.
declare -A toggle_of=(
    [textures]=kviSubsystemTextures [materials]=kviSubsystemMaterials
    [projects]=kviSubsystemProjects [models]=kviSubsystemModels
    [translatorsIn]=kviSubsystemImportXlators [translators]=kviSubsystemExportXlators
    [render]=kviSubsystemPhotorealRenderer [pictures]=kviSubsystemPictureGallery
    [translatorDev]=kviSubsystemTranslatorsDev [src]=kviSubsystemMiscSource)

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

# ctest counts this status as a skipped test.
not_run() {
    echo "NOT RUN: $*"
    exit 77
}

# Continues the test in private mounts, if possible. Sets $place, the folder for its files, and
# $who, the user who installs.
settle() {
    shots=$build/screenshots/$(basename "$0" .sh)-$person
    mkdir -p "$shots"
    cd "$project" || exit
    case ${ZARN_PRIVATE:=$(own_place)} in
    system)
        [ -n "${ZARN_ENTERED:-}" ] ||
            ZARN_ENTERED=yes exec unshare -m --propagation private "$0" "$build" "$person"
        make_system_private "$project"
        unset TMPDIR
        place=/mnt
        echo "ann:x:12345:12345:Ann:/mnt/ann:/bin/sh" >>/etc/passwd
        echo "ann:x:12345:" >>/etc/group
        ;;
    *)
        [ "$person" = user ] || not_run "without private mounts, a super-user would install for real"
        [ "$(id -u)" != 0 ] ||
            run_as_nobody "tests/e2e/$(basename "$0")" "$build" build/release "$person"
        [ "$ZARN_PRIVATE" = nothing ] || [ -n "${ZARN_ENTERED:-}" ] ||
            TMPDIR=/tmp ZARN_ENTERED=yes enter_private_tmp "$project" "$0" "$build" "$person"
        place=$(mktemp -d "${TMPDIR:-/tmp}/e2e.XXXXXX")
        ;;
    esac
    case $ZARN_PRIVATE-$person in
    *-root) who=root ;;
    system-user) who=ann ;;
    *) who=$(id -un) ;;
    esac
    # Motif leaks a few bytes each time the pilot reads the widgets.
    echo "leak:XGetWindowProperty" >"$place/known-leaks"
    export LSAN_OPTIONS="suppressions=$place/known-leaks:print_suppressions=0"
    trap unsettle EXIT
    desktop_start "$shots"
}

# Shows what was visible when a test failed: a screenshot, the text of open boxes, the log.
tell_what_was_seen() {
    local box
    shot failed
    for box in "$question" "$error" "$information"; do
        has_no_window "$box" || { echo "$box" && pilot texts "$box"; } | sed 's/^/    box: /'
    done
    sed 's/^/    log: /' "${log:-/dev/null}"
}

unsettle() {
    [ $? = 0 ] || tell_what_was_seen >&2 || true
    desktop_stop
    [ "$place" = /mnt ] || { chmod -R u+w "$place" && rm -rf "$place"; } 2>/dev/null || true
}

home() { echo "$place/home"; }

# Runs a command as the user who installs.
as_person() {
    if [ "$who" = ann ]; then
        set -- setpriv --reuid=12345 --regid=12345 --clear-groups "$@"
    fi
    HOME=$(home) "$@"
}

record() { if [ "$who" = root ]; then echo /usr/lib/.Zarn_inst; else echo "$(home)/.Zarn_inst"; fi; }

# Prepares an empty home directory and a copy of the distribution for the medium $1, from the folder
# $2 if given. Sets $medium, $suite, $log and the tape drive.
set_out() {
    medium=$1
    suite=$place/${suite_name:-suite}
    log=$place/log-$medium
    export TAPE=$place/distribution/tape.img
    chmod -R u+w "$(home)" "$place/distribution" "$suite" 2>/dev/null || true
    rm -rf "$(home)" "$place/distribution" "$suite" "$(record)"
    make_home "$(home)"
    mkdir -p "$suite"
    cp -a "$build/distribution/${2:-$1}" "$place/distribution"
    [ "$who" != ann ] || chown -R ann "$(home)" "$suite"
    # A CD-ROM is read-only. With other media, archives are uncompressed in place.
    [ "$who" != ann ] || [ "$medium" = cdrom ] || chown -R ann "$place/distribution"
}

# shellcheck disable=SC2120 # most tests need no options
start_installer() {
    # shellcheck disable=SC2086 # a program with its options
    (cd "$place/distribution" && as_person ${ZARN_UNDER:-} ./Zarn_install -noShell "$@") \
        >"$log" 2>&1 </dev/null &
    installer=$!
    wait_for has_window "$window" || fail "no window"
}

choose_medium() {
    case $medium in
    tape) click kviInstallToggleTape ;;
    remote)
        click kviInstallToggleRemoteTape
        enter_text kviInstallReadText "ann@127.0.0.1:$place/distribution/tape.img"
        click kviInstallReadTextOk
        ;;
    cdrom) click kviInstallToggleCD ;;
    *) click kviInstallToggleTarFile ;;
    esac
}

choose_location() {
    enter_text kviInstallLocationText "$suite"
    click kviInstallLocationTextOk
}

# Answers the questions that the super-user gets: yes to desktop icons, no to translators.
decide_on_icons() {
    answer Yes
    acknowledge "$information"
    answer No
    acknowledge "$information"
}

# A checksum of the screen's pixels at $window_at.
picture() { import -window root -crop "$window_at" rgba:- | cksum; }

looks_like() { [ "$(picture)" = "$1" ]; }

looks_unlike() { ! looks_like "$1"; }

# Replaces tar by one that waits for the file go-on after extracting, so the test can look
# meanwhile.
slow_down() {
    mv "$place/distribution/Zarn_tools/tar" "$place/distribution/Zarn_tools/real-tar"
    cat >"$place/distribution/Zarn_tools/tar" <<'SLOW'
#!/bin/sh
/usr/bin/tar "$@"
status=$?
case $1 in t*) exit $status ;; esac
touch "$HOME/tar-runs"
turns=0
while [ $((turns += 1)) -lt 2000 ] && [ ! -e "$HOME/go-on" ]; do sleep 0.05; done
exit $status
SLOW
    chmod +x "$place/distribution/Zarn_tools/tar"
}

leave_installer() {
    click pushButton
    wait_for_end "$installer" || fail "$medium: the installer ended with status $?"
    [ ! -e /tmp/.kvcInstallMsg ] || fail "the brochure is left behind"
    # The information window stays open until the user closes it.
    xdotool windowkill "$(pilot find "$brochure")"
    wait_for has_no_window "$brochure"
}

says() { wait_for grep -qF -- "$1" "$log" || fail "$medium: it never said: $1"; }

toggle() {
    local name
    for name in "$@"; do click "${toggle_of[$name]}"; done
}

# Lists everything that an installation could leave, except the information window's text. Of
# /usr/lib only the overlay's upper layer is listed: no other file there can change.
disk() {
    local shared=(/mnt/.layers/_usr_lib/upper /usr/sbin /usr/share/applications /tmp)
    # Without private mounts an ordinary user can't change these, and others may use /tmp.
    [ "$place" = /mnt ] || shared=()
    find "$suite" ${elsewhere:+"$elsewhere"} "$(home)" "${shared[@]}" \
        -path "$project" -prune -o -not -path '/tmp/.X*' -not -name .kvcInstallMsg -not -name .Zarn_install.log \
        \( -type d -printf '%p %m\n' -o -printf '%p %y %s %m %l\n' \) | sort -T "$place"
}

disk_is_as_before() {
    disk >"$place/after"
    diff "$place/before" "$place/after" || fail "$medium: the disk is not as it was"
}

# Compares the subsystems on the disk with the given names.
has_subsystems() {
    local there
    there=$(find "$suite/Zarn_system/subsystems" -mindepth 1 -printf '%P\n' -prune | sort | tr '\n' ' ')
    [ "$there" = "$(printf '%s\n' "$@" | sort | tr '\n' ' ')" ] ||
        fail "$medium: the subsystems are: $there, not: $*"
}

# Checks everything that a first installation of edition $1 leaves.
has_suite() {
    [ "$(wc -l <"$(record)")" = 9 ] || fail "$medium: not a record: $(cat "$(record)")"
    grep -qx "# PROGRAM: $1" "$(record)" || fail "$medium: wrong edition recorded"
    grep -qx "# PATH:    $suite" "$(record)" || fail "$medium: wrong location recorded"
    cmp "$(record)" "$suite/Zarn_system/resources/.Zarn_inst" || fail "$medium: no copy of the record"
    cmp "$place/distribution/Zarn_install" "$suite/Zarn_system/bin/Zarn_install" ||
        fail "$medium: the installer is not in the suite"
    [ ! -e "$suite/subsystems" ] || fail "$medium: subsystems lie beside the suite"
}
