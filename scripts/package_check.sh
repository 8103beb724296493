#!/bin/bash
# Builds the Debian package, checks it with lintian, and installs it with apt into an empty Debian.
# There make-distribution publishes the sample suite, and Zarn_install installs it, with simulated
# mouse and keyboard input. Needs the super-user. The empty Debian is in a tmpfs of this script's
# mount namespace and vanishes with it.
set -euo pipefail

cd "$(dirname "$0")/.."
. scripts/packages.sh
. scripts/place.sh
. scripts/desktop.sh
build=$PWD/build/release
debian=/mnt/debian

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

# Runs a command and shows its output only if it fails.
quietly() {
    "$@" >"$build/package.log" 2>&1 || {
        cat "$build/package.log" >&2
        fail "$*"
    }
}

make_package() {
    # shellcheck disable=SC2086
    require_packages $zarn_build_packages $zarn_run_packages $zarn_test_packages \
        $zarn_package_packages
    build_preset release
    rm -rf "$build/package"
    (cd "$build" && quietly cpack -B package)
    lintian --fail-on error,warning "$build"/package/*.deb
}

# The mirror that this machine's apt uses.
mirror_of() {
    # shellcheck disable=SC2016 # apt expands it
    apt-get indextargets --format '$(REPO_URI)' "Codename: $1" | sed -n 1p
}

make_debian() {
    local release mirror
    release=$(sed -n 's/^VERSION_CODENAME=//p' /etc/os-release)
    mirror=$(mirror_of "$release")
    # apt knows no mirror before it has package lists.
    [ -n "$mirror" ] || { quietly apt-get update && mirror=$(mirror_of "$release"); }
    [ -n "$mirror" ] || fail "apt's sources name no mirror of $release"
    eval "$(apt-config shell http_proxy Acquire::http::Proxy)"
    [ -z "${http_proxy:-}" ] || export http_proxy
    quietly debootstrap --variant=minbase "$release" "$debian" "$mirror"
    mount -t proc proc "$debian/proc"
    mount --rbind /dev "$debian/dev"
    cp "$build"/package/*.deb "$debian/root/package.deb"
    quietly in_debian apt-get install -y /root/package.deb
}

in_debian() {
    DEBIAN_FRONTEND=noninteractive HOME=/root chroot "$debian" "$@"
}

publish_there() {
    cp -R sample "$debian/root"
    # shellcheck disable=SC2016 # the shell in the chroot expands it
    in_debian sh -euc 'cd /root
        make-distribution --output dist --medium gz sample/Zarn_system sample/subsystems/*'
}

# As a user would: the program is in PATH, and the distribution is in another folder.
install_there() {
    make_home "$debian/root"
    mkdir -p "$debian/tmp/.X11-unix"
    mount --bind /tmp/.X11-unix "$debian/tmp/.X11-unix"
    in_debian sh -c 'cd /root/dist/gz && exec Zarn_install -ftp' &
    wait_for has_window "Zarn Installation " || fail "no terminal"
    wait_for has_window "$window" || fail "no window"
    shot window
    begin_installation
    answer No
    answer Yes
    acknowledge "$information"
    answer No
    acknowledge "$information"
    shot installed
    click dismiss
    click pushButton
    wait_for_end $! || fail "Zarn_install ended with status $?"
    cmp "$debian"/usr/{,local/Zarn_system/}bin/Zarn_install
    in_debian /usr/sbin/Zarn-Pinnet
}

if [ -z "${ZARN_PRIVATE:-}" ]; then
    make_package
    [ "$(own_place)" = system ] || fail "only a super-user who may mount can make an empty Debian"
    ZARN_PRIVATE=system exec unshare -m -p -f --mount-proc --kill-child "$PWD/scripts/package_check.sh"
fi
make_system_private "$PWD"
trap desktop_stop EXIT
make_debian
publish_there
desktop_start "$build/screenshots/package"
install_there
echo "The package works in an empty Debian."
