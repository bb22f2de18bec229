# Shared by scripts that open the program: a simulated board and a virtual display, which go when
# the script ends. Sourced after common.sh; the caller sets "preset".
# shellcheck shell=bash

program=build/$preset/src/app/PivexGUI
board=build/$preset/src/simulator/pivex-board
work=$(mktemp -d)
children=()
cleanup() {
    [ ${#children[@]} -eq 0 ] || kill "${children[@]}" 2>/dev/null || true
    wait
    rm -rf "$work"
}
trap cleanup EXIT

# wait_for SECONDS COMMAND ...: until the command succeeds.
wait_for() {
    local tries=$(($1 * 10))
    shift
    until "$@" >/dev/null 2>&1; do
        [ $((tries--)) -gt 0 ] || return 1
        sleep 0.1
    done
}

# Sets "port" to the device of a fresh board with a few stored tests.
start_board() {
    rm -f "$work/board.out" "$work/board.log"
    "$board" --samples --log >"$work/board.out" 2>"$work/board.log" &
    children+=($!)
    wait_for 10 test -s "$work/board.out"
    port=$(head -n 1 "$work/board.out")
}

start_display() {
    Xvfb -displayfd 3 -screen 0 1280x900x24 -nolisten tcp 3>"$work/display" 2>/dev/null &
    children+=($!)
    wait_for 10 test -s "$work/display"
    DISPLAY=:$(cat "$work/display")
    export DISPLAY QT_QPA_PLATFORM=xcb
}

# board_was_asked COMMAND: for it, and for nothing else in the last two seconds.
board_was_asked() {
    grep -q "$1" "$work/board.log" &&
        [ $(($(date +%s) - $(stat -c %Y "$work/board.log"))) -ge 2 ]
}
