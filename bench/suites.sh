# shellcheck shell=bash disable=SC2154
# Makes suites of known sizes. Sourced by bench/run.

# Makes the suite $1 of $2 files with $3 bytes each, plus the files that every suite needs.
make_suite() {
    local suite=$place/suites/$1 name
    mkdir -p "$suite/Zarn_system"/{bin,resources,data} "$suite/subsystems"
    printf '#!/bin/sh\nexit 0\n' >"$suite/Zarn_system/bin/Zarn.install"
    chmod +x "$suite/Zarn_system/bin/Zarn.install"
    for name in textures materials projects models translatorsIn translators render pictures \
        translatorDev src; do
        mkdir "$suite/subsystems/$name"
        echo "$name" >"$suite/subsystems/$name/content"
    done
    # Base64 makes four letters of three random bytes, so the files can be compressed a little.
    head -c $(($2 * $3 * 3 / 4)) /dev/urandom | base64 -w 0 |
        split -a 5 -d -b "$3" - "$suite/Zarn_system/data/f"
}

# Makes a distribution with the installer and the suite $1 in the form $2: tar, gz or cdrom.
pack_suite() {
    local suite=$place/suites/$1 to=$place/distribution
    rm -rf "$to"
    mkdir "$to"
    ln "$place/bin/Zarn_install" "$to/Zarn_install"
    case $2 in
    tar) tar cf "$to/Zarn2.0.tar" -C "$suite" Zarn_system subsystems ;;
    gz) tar cf - -C "$suite" Zarn_system subsystems | gzip >"$to/Zarn2.0.tar.gz" ;;
    cdrom)
        cp -R "$suite/Zarn_system" "$to"
        cp -R "$suite/subsystems" "$to/Zarn_system"
        ;;
    esac
    [ "${as_user[0]}" = env ] || chown -R 12345 "$to"
}
