#!/bin/bash
# Checks the form of the code: its format, the shell scripts, which folders call the system, and the
# C++ sources with clang-tidy.
#   scripts/check.sh
#
# clang-tidy takes seconds per source, so it checks only the files that differ from the commit in
# .ci/green, the last one that passed. No script writes that file: whoever merges a change after a
# green run updates it.
set -euo pipefail

cd "$(dirname "$0")/.."
. scripts/packages.sh

# shellcheck disable=SC2086 # the lists must be split into words
require_packages $zarn_build_packages $zarn_check_packages

# Includes new files that git does not track yet.
files() {
    git ls-files --cached --others --exclude-standard -- "$@" | while read -r file; do
        [ ! -f "$file" ] || echo "$file"
    done
}

check_format() {
    files '*.cc' '*.h' | xargs clang-format --dry-run -Werror
}

check_scripts() {
    local scripts sourced failed=0
    scripts=$(files | xargs awk 'FNR == 1 && /^#! *\/.*sh( |$)/ { print FILENAME } { nextfile }')
    sourced=$(files '*.sh' | grep -vxF "$scripts")
    xargs shellcheck -x -P SCRIPTDIR -P . <<<"$scripts" || failed=1
    # A sourced file shares variables with the scripts that source it.
    xargs shellcheck -x -P SCRIPTDIR -P . -s bash -e SC2034,SC2154 <<<"$sourced" || failed=1
    return "$failed"
}

# Only platform/, support/ and the programs in tools/ call the system.
check_layers() {
    ! git grep -nE '#include <(unistd\.h|fcntl\.h|sys/|pwd\.h|grp\.h|poll\.h|c?signal)' -- \
        builder motif engine ui startup
}

# The sources that differ from the last green commit or include a header that does.
sources_to_read() {
    local green changed more=
    green=$(cat .ci/green)
    # A shallow clone may lack that commit.
    git rev-parse -q --verify "$green^{commit}" >/dev/null || {
        files '*.cc'
        return
    }
    changed=$({
        git diff --name-only "$green" || return
        git ls-files --others --exclude-standard
    } | sort -u)
    if grep -qxE "\.clang-tidy|.*CMake(Lists\.txt|Presets\.json)" <<<"$changed"; then
        files '*.cc'
        return
    fi
    while [ "$changed" != "$more" ]; do
        more=$changed
        changed=$({
            echo "$more"
            files '*.cc' '*.h' |
                xargs grep -lf <(sed -n 's|.*/||; s|.*\.h$|[/"]&"|p' <<<"$more") || true
        } | sort -u)
    done
    grep -xF "$changed" <(files '*.cc') || [ $? = 1 ]
}

check_sources() {
    local sources
    sources=$(sources_to_read) || return
    [ -n "$sources" ] || return 0
    # clang can't read headers that g++ precompiled, so this build has none.
    cmake --preset release -B build/check -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON >build/check.log || {
        cat build/check.log
        return 1
    }
    xargs -P "$(nproc)" -n 1 clang-tidy -p build/check --quiet --warnings-as-errors='*' \
        <<<"$sources" 2>&1 | sed -E '/^[0-9]+ warnings? (generated|treated as error)/d'
}

mkdir -p build
failed=0
check_format || failed=1
check_scripts || failed=1
check_layers || failed=1
check_sources || failed=1
exit "$failed"
