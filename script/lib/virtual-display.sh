# A display that nobody looks at, for windows that have to be drawn; sourced, not run.
#
# display_start takes a free number and sets DISPLAY; the display ends with the script that started it.

display_start() {
    display_number=$(mktemp)
    Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp 3>"$display_number" >/dev/null 2>&1 &
    display_process=$!
    trap display_stop EXIT
    # The number is written when the display takes connections.
    display_tries=0
    while [ ! -s "$display_number" ]; do
        display_tries=$((display_tries + 1))
        if [ "$display_tries" -gt 600 ] || ! kill -0 "$display_process" 2>/dev/null; then
            echo "the virtual display does not start" >&2
            exit 1
        fi
        sleep 0.05
    done
    DISPLAY=:$(cat "$display_number")
    export DISPLAY
    rm -f "$display_number"
}

display_stop() {
    # The desktop goes before the display that it is drawn on.
    wineserver -k >/dev/null 2>&1 || true
    wineserver -w >/dev/null 2>&1 || true
    kill "$display_process" 2>/dev/null || true
}
