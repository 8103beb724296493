# shellcheck shell=bash
# Private mounts, so that test installations do not change the machine. Sourced.

# Prints what this user can have privately: "system" (all folders that a super-user's installation
# changes), "tmp" (only /tmp) or "nothing".
own_place() {
    if [ "$(id -u)" = 0 ] && unshare -m mount -t tmpfs tmpfs /mnt 2>/dev/null; then
        echo system
    elif [ "$(id -u)" != 0 ] &&
        unshare -Um --map-current-user --keep-caps mount -t tmpfs tmpfs /tmp 2>/dev/null; then
        echo tmp
    else
        echo nothing
    fi
}

# Replaces this shell by the command in $2 and the following arguments, as the same user, with an
# empty private /tmp. The folder $1 stays visible, wherever it is.
enter_private_tmp() {
    local user=()
    [ "$(own_place)" = system ] || user=(-U --map-current-user --keep-caps)
    # shellcheck disable=SC2016 # the inner shell expands these
    exec unshare -m "${user[@]}" --propagation private bash -euc '
        . "$0/scripts/place.sh"
        cd "$0"
        mount -t tmpfs -o mode=1777 tmpfs /tmp
        keep_folder "$0"
        exec setpriv --ambient-caps=-all --inh-caps=-all "$@"' "$@"
}

# Makes the working directory visible at its path $1 again, if a mount has hidden it.
keep_folder() {
    # By its name, mount would find the empty folder that hides it, so bind ".".
    [ "$1" -ef . ] || { mkdir -p "$1" && mount --no-canonicalize --rbind . "$1"; }
    cd "$1" || return
}

# Gives this mount namespace private copies of all folders that a super-user's installation changes,
# and an empty /mnt and /tmp. The folder $1 stays visible.
make_system_private() {
    local place name
    cd "$1" || return
    mount -t tmpfs -o mode=755 tmpfs /mnt
    for place in /usr/lib /usr/sbin /usr/share /usr/local /etc /root; do
        name=/mnt/.layers/${place//\//_}
        mkdir -p "$name/upper" "$name/work"
        chmod --reference="$place" "$name/upper"
        mount -t overlay overlay \
            -o "lowerdir=$place,upperdir=$name/upper,workdir=$name/work" "$place"
    done
    mount -t tmpfs -o mode=1777 tmpfs /tmp
    keep_folder "$1"
}

# Runs the project's script $1 with the arguments after $2 as nobody: if the super-user can't mount
# anything, installations as super-user would be real ones. The script runs in a copy of the files
# it needs, because the user "nobody" may not be able to enter the project's folder. $2 is the build
# folder, to which the screenshots are copied back.
run_as_nobody() {
    local script=$1 build=$2 copy status=0
    shift 2
    copy=$(mktemp -d /tmp/zarn.XXXXXX)
    # shellcheck disable=SC2064 # the local variable is gone when the trap runs
    trap "rm -rf '$copy'" EXIT
    mkdir -p "$copy/tests" "$copy/build/release"
    cp -R run scripts "$copy"
    cp -R tests/e2e "$copy/tests"
    cp -R "$build/distribution" "$build/pilot" "$copy/build/release"
    chown -R nobody "$copy"
    (cd "$copy" && setpriv --reuid=nobody --regid=nogroup --clear-groups "./$script" "$@") ||
        status=$?
    cp -R "$copy/build/release/screenshots" "$build"
    exit $status
}
