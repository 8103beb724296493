# Installs the Debian packages that the project needs. Sourced.

zarn_build_packages="g++ cmake make libmotif-dev libxt-dev libx11-dev libxpm-dev libgtest-dev libxtst-dev libxmu-dev"
zarn_run_packages="xterm csh mwm ncompress x11-utils xfonts-75dpi xfonts-100dpi xfonts-base openssh-client procps"
zarn_test_packages="xvfb xauth x11-xserver-utils xdotool imagemagick xorriso twm openbox"
zarn_manager_packages="icewm fluxbox xfwm4 metacity dbus-daemon"
zarn_memory_packages="valgrind libc6-dbg"
zarn_check_packages="git clang-format clang-tidy shellcheck"
zarn_package_packages="dpkg-dev lintian debootstrap"
zarn_bench_packages="strace xtrace"
zarn_mutation_packages="git python3"

# Installs the missing ones of the named packages, as root or through sudo.
require_packages() {
    local package missing=() sudo=()
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q ' installed$' ||
            missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    echo "Installing: ${missing[*]}"
    [ "$(id -u)" = 0 ] || sudo=(sudo)
    "${sudo[@]}" apt-get update -q
    "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -q --no-install-recommends "${missing[@]}"
}

# Configures and builds a preset from CMakePresets.json; further arguments are build targets.
build_preset() {
    local preset=$1
    shift
    mkdir -p build
    cmake --preset "$preset" >"build/$preset.log" 2>&1 || {
        cat "build/$preset.log"
        return 1
    }
    cmake --build --preset "$preset" -j"$(nproc)" ${1:+--target "$@"}
}
