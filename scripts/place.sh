# shellcheck shell=bash
# A place of one's own, so that installations that are tried out leave the machine as it is.
# Sourced.

# What this user may have: "system", all folders that a super-user's installation changes; "tmp",
# only /tmp; or "nothing".
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

# Goes on with the command that follows where /tmp is empty and its own, as the same user. The
# folder $1 stays what it is, wherever it lies.
enter_private_tmp() {
    local user=()
    [ "$(own_place)" = system ] || user=(-U --map-current-user --keep-caps)
    # shellcheck disable=SC2016 # these are for the new place to expand
    exec unshare -m "${user[@]}" --propagation private bash -euc '
        . "$0/scripts/place.sh"
        cd "$0"
        mount -t tmpfs -o mode=1777 tmpfs /tmp
        keep_folder "$0"
        exec setpriv --ambient-caps=-all --inh-caps=-all "$@"' "$@"
}

# Shows the working directory, which a mount may have hidden, at its path $1 again.
keep_folder() {
    # By its name, mount would find the empty folder itself.
    [ "$1" -ef . ] || { mkdir -p "$1" && mount --no-canonicalize --rbind . "$1"; }
    cd "$1" || return
}

# Gives this mount namespace folders of its own for all that a super-user's installation changes;
# /mnt and /tmp are empty. The folder $1 stays what it is.
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

# Runs the project's script $1 with the remaining arguments as nobody: a super-user who may have no
# mounts has to be somebody else, or the installations would be real ones. It runs in a copy of what
# it needs, since nobody may not be able to enter the project's folder. $2: the folder of the build.
# Takes the screenshots back into that folder.
run_as_nobody() {
    local script=$1 build=$2 copy status=0
    shift 2
    copy=$(mktemp -d /tmp/zarn.XXXXXX)
    # shellcheck disable=SC2064 # the name is needed when the function is long gone
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
