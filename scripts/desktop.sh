# A desktop of one's own: a private place, a virtual display with a window manager, and a user's
# hands on it. Sourced by ./run and by the whole runs of the tests.

# Runs this script again in a mount namespace of its own, so that a super-user's installation
# leaves the machine as it is: /usr/lib, /usr/sbin, /usr/share, /usr/local and /etc take
# changes that vanish with it, and /mnt and /tmp are empty. False when that is not allowed here.
enter_private_place() {
    [ "${ZARN_PRIVATE:-}" != yes ] || return 0
    [ "$(id -u)" = 0 ] && unshare -m true 2>/dev/null || return 1
    ZARN_PRIVATE=yes exec unshare -m --propagation private "$@"
}

make_place_private() {
    local project=$1 place name
    mount -t tmpfs -o mode=755 tmpfs /mnt
    mkdir /mnt/.layers /mnt/.project
    mount --rbind "$project" /mnt/.project
    for place in /usr/lib /usr/sbin /usr/share /usr/local /etc; do
        name=/mnt/.layers/${place//\//_}
        mkdir -p "$name/upper" "$name/work"
        chmod --reference="$place" "$name/upper"
        mount -t overlay overlay \
            -o "lowerdir=$place,upperdir=$name/upper,workdir=$name/work" "$place"
    done
    mount -t tmpfs -o mode=1777 tmpfs /tmp
    # The project may lie below one of them, and what is written there is to stay.
    mkdir -p "$project"
    mount --rbind /mnt/.project "$project"
}

# Starts a virtual display with mwm; sets DISPLAY. $1: folder for logs and screenshots.
desktop_start() {
    desktop_shots=$1
    mkdir -p "$desktop_shots"
    desktop_had_sockets=no
    [ ! -d /tmp/.X11-unix ] || desktop_had_sockets=yes
    local number=$desktop_shots/.display
    rm -f "$number"
    Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp 3>"$number" \
        >"$desktop_shots/xvfb.log" 2>&1 &
    desktop_server=$!
    trap desktop_stop EXIT
    for _ in $(seq 100); do
        [ ! -s "$number" ] || break
        sleep 0.1
    done
    [ -s "$number" ] || {
        echo "The virtual display does not start:" >&2
        cat "$desktop_shots/xvfb.log" >&2
        return 1
    }
    DISPLAY=:$(cat "$number")
    rm -f "$number"
    export DISPLAY
    unset XAUTHORITY
    mwm >"$desktop_shots/mwm.log" 2>&1 &
    sleep 1
}

desktop_stop() {
    kill "$desktop_server" 2>/dev/null || return 0
    wait "$desktop_server" 2>/dev/null || true
    rm -f "$desktop_shots/xvfb.log" "$desktop_shots/mwm.log"
    [ $desktop_had_sockets = yes ] || rmdir /tmp/.X11-unix 2>/dev/null || true
}

# Waits, 60 seconds at most, until a command succeeds.
wait_for() {
    local i
    for i in $(seq 300); do
        ! "$@" >/dev/null 2>&1 || return 0
        sleep 0.2
    done
    echo "waited in vain for: $*" >&2
    shot in-vain
    return 1
}

shot() { import -window root "$desktop_shots/$1.png"; }

# The visible window with exactly that title.
find_window() { xdotool search --onlyvisible --name "^$1\$" 2>/dev/null | tail -n 1 | grep .; }

has_window() { find_window "$1" >/dev/null; }

has_no_window() { ! has_window "$1"; }

# Moves the pointer to x,y inside a window; false while another window lies there.
point_at() {
    xdotool mousemove --window "$1" "$2" "$3"
    sleep 0.2
    xdotool getmouselocation --shell | grep -qx "WINDOW=$1"
}

# Clicks at x,y inside the window with that title.
click_at() {
    local window
    window=$(find_window "$1")
    wait_for point_at "$window" "$2" "$3"
    xdotool click 1
    sleep 0.3
}

# Where things are in the installer's window, by what a user sees there.
place_of() {
    case $1 in
    "Local Tape") echo 42 95 ;;
    "Remote Tape") echo 179 95 ;;
    "Tar File") echo 316 95 ;;
    "CD-ROM") echo 453 95 ;;
    device) echo 250 128 ;;
    "device Ok") echo 556 127 ;;
    Pinnet) echo 50 213 ;;
    Corvan) echo 160 213 ;;
    Lustrel) echo 300 213 ;;
    Ambrel) echo 445 213 ;;
    location) echo 250 277 ;;
    "location Ok") echo 556 276 ;;
    textures) echo 34 352 ;;
    materials) echo 34 378 ;;
    projects) echo 34 404 ;;
    models) echo 34 430 ;;
    translatorsIn) echo 234 352 ;;
    translators) echo 234 378 ;;
    render) echo 234 404 ;;
    pictures) echo 234 430 ;;
    translatorDev) echo 448 352 ;;
    src) echo 448 400 ;;
    Install) echo 61 518 ;;
    Remove) echo 178 518 ;;
    "Install Icon...") echo 304 517 ;;
    Exit) echo 553 518 ;;
    "icon Install") echo 68 338 ;;
    "icon Close") echo 185 338 ;;
    *)
        echo "there is no: $1" >&2
        return 1
        ;;
    esac
}

click() {
    local window="Zarn 2.0 Installation"
    case $1 in
    "icon "*) window="Install Icon" ;;
    esac
    # shellcheck disable=SC2046
    click_at "$window" $(place_of "$1")
}

# The pixel in the middle of a toggle.
toggle_colour() {
    local X Y x y
    eval "$(xdotool getwindowgeometry --shell "$(find_window "Zarn 2.0 Installation")" | grep '^[XY]=')"
    read -r x y <<<"$(place_of "$1")"
    import -window root -depth 8 -crop "1x1+$((X + x))+$((Y + y))" txt:- | grep -o '#[0-9A-F]\{6\}'
}

# Whether the toggle of a medium or a subsystem is on: it is filled with red.
is_on() { [ "$(toggle_colour "$1")" = "#FF0000" ]; }

is_off() {
    local colour
    colour=$(toggle_colour "$1") && [ "$colour" != "#FF0000" ]
}

brochure_is_aside() {
    local brochure X=0
    brochure=$(find_window "Installation will take a few minutes.*") || return 1
    xdotool windowmove "$brochure" 800 600
    sleep 0.3
    eval "$(xdotool getwindowgeometry --shell "$brochure" | grep '^X=')"
    [ "$X" -ge 800 ]
}

# The installer's first installation brings up the information window: whenever it is ready, over
# whatever is there by then.
begin_installation() {
    click Install
    wait_for brochure_is_aside
}

# Replaces the text of a field by typing.
enter_text() {
    click "$1"
    xdotool key ctrl+slash
    xdotool key BackSpace
    xdotool type --delay 20 "$2"
    sleep 0.3
}

# Answers the open question with its first or second button: the pointer gives it the keyboard.
answer() {
    wait_for has_window "Please confirm\.\.\."
    sleep 0.7
    click_at "Please confirm\.\.\." 150 15
    case $1 in
    first) xdotool key Return ;;
    second) xdotool key Right space ;;
    esac
    sleep 0.5
}

# Closes the information or error that is shown.
acknowledge() {
    wait_for has_window "$1"
    sleep 0.7
    click_at "$1" 150 15
    xdotool key Return
    wait_for has_no_window "$1"
}
