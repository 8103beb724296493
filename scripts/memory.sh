#!/bin/bash
# Installs, adds and removes through the window as the super-user and as an ordinary user, with the
# installer under valgrind. Fails on memory errors and leaks. scripts/memory.supp names the one leak
# to ignore: the toolkit's, when the pilot reads the widgets.
set -eu

cd "$(dirname "$0")/.."
. scripts/packages.sh
# shellcheck disable=SC2086
require_packages $zarn_build_packages $zarn_run_packages $zarn_test_packages $zarn_memory_packages
build_preset release
sample/pack build/release/distribution build/release/Zarn_install build/release/Zarn_tools

found=$PWD/build/memory
rm -rf "$found"
mkdir -m 1777 "$found"
export ZARN_MEDIA=${ZARN_MEDIA:-two}
export ZARN_UNDER="valgrind --vgdb=no --leak-check=full --errors-for-leak-kinds=definite --show-leak-kinds=definite
    --num-callers=30 --suppressions=$PWD/scripts/memory.supp --log-file=$found/%p
    --trace-children=no"
for person in user root; do
    tests/e2e/first_installation_run.sh build/release "$person"
    tests/e2e/later_run.sh build/release "$person"
done
# A child that became a command of the installer has no summary.
grep -rhoE "(definitely lost|ERROR SUMMARY): [0-9]+ [a-z]+" "$found" | sort | uniq -c
if bad=$(grep -rlE "ERROR SUMMARY: [1-9]" "$found"); then
    xargs cat <<<"$bad" >&2
    exit 1
fi
