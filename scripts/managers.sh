#!/bin/bash
# Tests whether messages get the keyboard under each window manager. Prints one row for each manager
# and situation, and fails if any row fails.
#   scripts/managers.sh [--sheet FILE] [manager...]
#
# "none" means no window manager. --sheet writes one file with screenshots of a question under each
# manager, and on screens of several sizes and depths.
set -eu

sheet=
if [ "${1:-}" = --sheet ]; then
    sheet=$(realpath "$2")
    shift 2
fi
cd "$(dirname "$0")/.."
. scripts/packages.sh
# shellcheck disable=SC2086
require_packages $zarn_build_packages $zarn_run_packages $zarn_test_packages $zarn_manager_packages
build_preset release
sample/pack build/release/distribution build/release/Zarn_install build/release/Zarn_tools

shots=build/release/screenshots/managers_run-user
rm -rf "$shots"
status=0
ZARN_MANAGERS=${*:-mwm twm icewm openbox fluxbox xfwm4 metacity none} \
    ZARN_SCREENS=${sheet:+1024x768x8 1024x768x16 1024x768x24 800x600x24} \
    tests/e2e/managers_run.sh build/release user || status=$?
[ -z "$sheet" ] || cp "$shots/sheet.png" "$sheet"
exit $status
