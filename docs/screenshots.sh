#!/usr/bin/env bash
# Makes the README's screenshots of the five windows in docs/: the device console after a search
# (console.png), the record viewer on a downloaded record with its signature (viewer.png), the value entry
# dialog (input-form.png), the record data file editor (editor.png) and the upload text editor (form1.png).
#
#   docs/screenshots.sh [BUILD_FOLDER]      (default: build; run ./build.sh first)
#
# The program runs on a virtual X display (Xvfb) against the emulated tablet (velmora-sim, its 25 sample
# records) in a ports folder of its own, and is driven with xdotool as a user would: search, type a company
# name, download to a temporary file, view it, open a record data file in the editor and a text file in the
# upload text editor. Each window is saved with ImageMagick's `import -window`. Installs xvfb, xdotool and imagemagick when they are missing.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
docs=$PWD/docs
for program in velmora velmora-sim; do
    [ -x "$build/$program" ] || { echo "$build/$program is missing: run ./build.sh first" >&2; exit 1; }
done

missing=()
for package in xvfb xdotool imagemagick; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
done
if [ ${#missing[@]} -gt 0 ]; then
    as_root=()
    [ "$(id -u)" -eq 0 ] || as_root=(sudo)
    "${as_root[@]}" apt-get update -qq
    DEBIAN_FRONTEND=noninteractive "${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

work=$(mktemp -d)
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    wait 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT

# A display of its own: the first free number from 91 on.
display=91
while [ -e "/tmp/.X11-unix/X$display" ] || [ -e "/tmp/.X$display-lock" ]; do display=$((display + 1)); done
Xvfb ":$display" -screen 0 1600x1200x24 -nolisten tcp >"$work/xvfb.log" 2>&1 &
pids+=($!)
export DISPLAY=":$display"
for _ in $(seq 300); do xdotool getdisplaygeometry >/dev/null 2>&1 && break; sleep 0.1; done
xdotool getdisplaygeometry >/dev/null 2>&1 || { cat "$work/xvfb.log" >&2; echo "screenshots: Xvfb did not start" >&2; exit 1; }

mkdir -p "$work/ports" "$work/config" "$work/home"
"$build/velmora-sim" --ports "$work/ports" --tablet 1 --log "$work/received.log" >"$work/sim.log" 2>&1 &
pids+=($!)
for _ in $(seq 100); do [ -e "$work/ports/COM1" ] && break; sleep 0.1; done

# The program as a user starts it, with the upload text editor beside the console; its settings (the file
# dialogs' last folder) and home in the temporary folder.
VELMORA_PORTS="$work/ports" XDG_CONFIG_HOME="$work/config" HOME="$work/home" QT_QPA_PLATFORM=xcb \
    "$build/velmora" --text-uploader >"$work/velmora.log" 2>&1 &
velmora=$!
pids+=("$velmora")

fail() {
    echo "screenshots: $*" >&2
    local kept=${TMPDIR:-/tmp}/velmora-screenshots-failed
    mkdir -p "$kept"
    cp "$work/received.log" "$kept/" 2>/dev/null || true
    echo "windows shown (each saved as $kept/<id>.png):" >&2
    for id in $(xdotool search --onlyvisible --name . 2>/dev/null); do
        echo "  $id $(xdotool getwindowname "$id" 2>/dev/null)" >&2
        import -window "$id" "$kept/$id.png" 2>/dev/null || true
    done
    cat "$work/velmora.log" >&2
    exit 1
}

# The id of the visible window whose title is exactly $1, waiting up to 20 s for it.
window() {
    local id
    for _ in $(seq 200); do
        id=$(xdotool search --onlyvisible --name "^$(sed 's/[][\.*^$/]/\\&/g' <<<"$1")\$" 2>/dev/null | tail -n 1)
        [ -n "$id" ] && { echo "$id"; return; }
        kill -0 "$velmora" 2>/dev/null || fail "the program ended while waiting for \"$1\""
        sleep 0.1
    done
    fail "no window \"$1\""
}

# Waits until the window titled $1 has gone.
gone() {
    for _ in $(seq 200); do
        xdotool search --onlyvisible --name "^$1\$" >/dev/null 2>&1 || return 0
        sleep 0.1
    done
    fail "the window \"$1\" did not close"
}

# Clicks the control whose centre is at $2,$3 (pixels) in window $1.
click() {
    xdotool windowactivate --sync "$1" 2>/dev/null || xdotool windowfocus --sync "$1"
    xdotool mousemove --window "$1" "$2" "$3" click 1
}

# Types $2 into window $1, then presses the keys that follow (through the XTEST extension, as a keyboard
# does: the program sees real key presses).
type_into() {
    local id=$1 text=$2
    shift 2
    xdotool windowfocus --sync "$id"
    [ -z "$text" ] || xdotool type --delay 20 "$text"
    [ $# -eq 0 ] || xdotool key --delay 50 "$@"
}

# Answers a file dialog titled $1 with the path $2.
answer_file_dialog() {
    local dialog
    dialog=$(window "$1")
    sleep 0.5 # the dialog's file name box takes the focus once the folder is listed
    type_into "$dialog" "$2" Return
    gone "$1"
}

# Presses Enter on the message box titled $1.
answer_box() {
    local box
    box=$(window "$1")
    sleep 0.3
    type_into "$box" "" Return
    gone "$1"
}

# Presses Enter on the message box titled $1, or on an "ERROR" box if that comes first (then fails).
answer_either() {
    local id
    for _ in $(seq 400); do
        if id=$(xdotool search --onlyvisible --name "^$1\$" 2>/dev/null | tail -n 1) && [ -n "$id" ]; then
            answer_box "$1"
            return 0
        fi
        if id=$(xdotool search --onlyvisible --name '^ERROR$' 2>/dev/null | tail -n 1) && [ -n "$id" ]; then
            echo "screenshots: an ERROR box instead of \"$1\"; trying again" >&2
            answer_box ERROR
            return 1
        fi
        sleep 0.1
    done
    fail "neither \"$1\" nor ERROR"
}

# The colour of one pixel of window $1, as ImageMagick prints it ("#00FF00" ...).
pixel() { import -window "$1" -crop "1x1+$2+$3" +repage txt:- 2>/dev/null | grep -o '#[0-9A-F]\{6\}' | head -n 1; }

# Saves window $1 as docs/$2. The windows are placed so that none covers another (the display has no
# window manager and keeps no hidden contents), and the window is raised first.
shot() {
    xdotool windowraise "$1"
    sleep 0.5 # the last repaint
    import -window "$1" "$docs/$2"
    echo "docs/$2: $(identify -format '%wx%h' "$docs/$2")"
}

# Positions: the designed places of the controls, in twips / 15 = pixels, at their centres.
console=$(window "Lumacor Velmora LT Uploader/Downloader Tool")
form1=$(window "Lumacor Uploader")
xdotool windowmove --sync "$console" 20 20
xdotool windowmove --sync "$form1" 700 20

# The console after a search that found the tablet on port 1: the square turns green.
click "$console" 179 256
for _ in $(seq 200); do
    colour=$(pixel "$console" 76 245)
    [ "$colour" != "" ] && [ "${colour:3:2}" \> "A0" ] && [ "${colour:1:2}" \< "60" ] && break
    sleep 0.1
done
shot "$console" console.png

# The value entry dialog of "Set &Company Name", with a name typed, then OK. A device step that ends in the
# "Cannot make connection" box is answered and tried again, up to three times.
for attempt in 1 2 3; do
    click "$console" 84 60
    input=$(window "Set Company Name")
    type_into "$input" "Lumacor Field Services"
    shot "$input" input-form.png
    click "$input" 186 80 # OK
    answer_either UPDATE && break
    [ "$attempt" -lt 3 ] || fail "the company name was not set"
done

# Download the tablet's 25 records into a temporary file.
for attempt in 1 2 3; do
    click "$console" 508 60
    answer_either STATUS && break
    [ "$attempt" -lt 3 ] || fail "the download did not complete"
done
answer_file_dialog "Save As" "$work/records.vlm"
for _ in $(seq 100); do [ -s "$work/records.vlm" ] && break; sleep 0.1; done
[ -s "$work/records.vlm" ] || fail "the download wrote no file"

# View it: the viewer on record 1, which has a signature.
click "$console" 508 92
answer_file_dialog "Open" "$work/records.vlm"
viewer=$(window "Lumacor Velmora LT VLM File Viewer")
xdotool windowmove --sync "$viewer" 20 360
shot "$viewer" viewer.png

# The record data file editor showing the first record of a record data file (its lines: twelve named
# fields, 99 numbered ones, an empty line; CR LF).
{
    for field in "Maria Jensen" "1402 Harbor View Road" "Suite 210" "Portland" "OR" "97205-1123" \
        "(503) 555-0142" "Deliver to the loading dock" "INV-20417" "Net 30" "Route 7"; do
        printf '%s\r\n' "$field"
    done
    printf '\r\n'
    for number in $(seq 99); do
        if [ "$number" -le 3 ]; then printf 'Pallet %s\r\n' "$number"; else printf '\r\n'; fi
    done
    printf '\r\n'
} >"$work/customers.txt"
click "$console" 292 92
editor=$(window "Lumacor Velmora LT Uploader")
xdotool windowmove --sync "$editor" 700 480
click "$editor" 157 24 # Open File
answer_file_dialog "Open" "$work/customers.txt"
shot "$editor" editor.png

# The upload text editor with a text file loaded.
printf 'Maria Jensen\r\n1402 Harbor View Road\r\nPortland, OR 97205\r\n' >"$work/note.txt"
click "$form1" 239 356 # Load From File
answer_file_dialog "Open" "$work/note.txt"
shot "$form1" form1.png
