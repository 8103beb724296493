#!/bin/bash
# Builds the Debian package, unpacks it into an empty folder and starts the program there on a
# virtual display; asks apt whether its dependencies can be had.
set -euo pipefail

cd "$(dirname "$0")/.."
. scripts/packages.sh
. scripts/desktop.sh

# shellcheck disable=SC2086
require_packages $zarn_build_packages $zarn_run_packages $zarn_test_packages $zarn_package_packages
build_preset release
build=$PWD/build/release
root=$(mktemp -d /tmp/zarn-package.XXXXXX)
installer=
clean_up() {
    [ -z "$installer" ] || kill "$installer" 2>/dev/null || true
    desktop_stop
    rm -rf "$root"
}
trap clean_up EXIT

(cd "$build" && cpack -B "$root/package") >"$build/package.log" || {
    cat "$build/package.log" >&2
    exit 1
}
package=$(ls "$root"/package/*.deb)
dpkg --info "$package"
apt-get install --simulate --quiet "$package" >"$build/package.log" || {
    cat "$build/package.log" >&2
    exit 1
}
dpkg -x "$package" "$root/system"
for file in bin/Zarn_install bin/make-distribution libexec/Zarn_tools/{xwsh,xconfirm,jot,tar}; do
    [ -x "$root/system/usr/$file" ] || {
        echo "the package lacks /usr/$file" >&2
        exit 1
    }
done
desktop_start "$build/desktop"
make_home "$root/home"
cd "$root/home"
HOME=$root/home "$root/system/usr/bin/Zarn_install" -noShell &
installer=$!
wait_for has_window "$window"
echo "The packaged installer opens its window."
