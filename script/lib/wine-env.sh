# A steady Wine for tests and demonstrations; sourced, not run.
#
# The prefix is made once, and anew when this file changes, and kept under build/. Its home is a scratch folder, so that
# nothing links into the user's own; a crash ends the program instead of opening a window; its server stays up, so that a
# program starts in a tenth of a second. wine_start GRAPHICS makes it ready: "null" for windows that nobody sees, "x11"
# for windows on $DISPLAY.

wine_recipe=$(cd "$(dirname "$0")" && pwd)/lib/wine-env.sh
wine_root=$(cd "$(dirname "$0")/.." && pwd)/build
export WINEDEBUG=-all

wine_registry() {
    wine reg add "$1" /v "$2" /t REG_SZ /d "$3" /f
}

# Everything that could inherit the caller's output is kept off it: a server that holds a test's pipe open makes the test
# runner wait for ever.
wine_make_prefix() {
    if [ -e "$WINEPREFIX/system.reg" ]; then
        wineserver -k || true
        wineserver -w
        rm -rf "$WINEPREFIX"
        mkdir "$WINEPREFIX"
    fi
    wineserver -p
    wineboot --init
    wine reg add 'HKCU\Software\Wine\WineDbg' /v ShowCrashDialog /t REG_DWORD /d 0 /f
    wine_registry 'HKCU\Software\Wine\Drivers' Graphics "$1"
    if [ "$1" = x11 ]; then
        # Without a desktop of its own and without a window manager a dialog has no title bar and closes slowly.
        wine_registry 'HKCU\Software\Wine\Explorer' Desktop Default
        wine_registry 'HKCU\Software\Wine\Explorer\Desktops' Default 1024x768
        # Debian's Wine does not look where its fonts are installed: MS Sans Serif, Tahoma, and the title bar's symbols.
        cp /usr/share/wine/fonts/*.ttf /usr/share/wine/fonts/*.fon "$WINEPREFIX/drive_c/windows/Fonts/"
    fi
    wineserver -k
    wineserver -w
}

wine_start() {
    export WINEPREFIX="$wine_root/wine-$1"
    export HOME="$wine_root/wine-$1-home"
    mkdir -p "$WINEPREFIX" "$HOME"
    (
        flock 9
        if ! cmp -s "$wine_recipe" "$WINEPREFIX/recipe"; then
            wine_make_prefix "$1" 9>&- </dev/null >"$wine_root/wine-$1.log" 2>&1
            cp "$wine_recipe" "$WINEPREFIX/recipe"
        fi
        # The server outlives this shell and must not keep the lock.
        wineserver -p 9>&- </dev/null >/dev/null 2>&1 || true
        wine cmd /c exit 9>&- </dev/null >/dev/null 2>&1 || true
    ) 9>"$wine_root/wine-$1.lock"
}

# Runs a program and ends with its exit code; one in Python runs outside of Wine. The output comes through a file: Wine's desktop and services, which the
# first window starts and which stay, would otherwise keep the pipe of the test runner open, and it would wait for them.
# Now and then Wine loses a program at its very start and says 0; a test program that printed nothing has not run.
wine_run_quietly() {
    case $1 in *.py)
        wine_code=0
        python3 -B "$@" </dev/null || wine_code=$?
        exit "$wine_code"
        ;;
    esac
    wine_output=$(mktemp)
    for wine_try in 1 2 3; do
        wine_code=0
        wine "$@" </dev/null >"$wine_output" 2>&1 || wine_code=$?
        case $1 in
        *_test.exe) [ -s "$wine_output" ] && break ;;
        *) break ;;
        esac
        wine_code=96
    done
    cat "$wine_output"
    rm -f "$wine_output"
    exit "$wine_code"
}
