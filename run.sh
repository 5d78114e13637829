#!/bin/bash
# run.sh: from a bare Debian 12 to a running Dresk. Installs what is missing of packages.txt, builds
# the preset release and starts dresk on the present display. Where there is none it shows dresk at
# work on a virtual one: real key events type an abbreviation into an editor.
set -euo pipefail
cd "$(dirname "$0")"

tools/install-packages
# Users need no benchmarks; a folder that was configured for them keeps them.
[ -f build/release/CMakeCache.txt ] || cmake --preset release -DDRESK_BENCH=OFF >/dev/null

dresk=build/release/src/dresk/dresk
if [ -n "${DISPLAY:-}" ] && xprop -root _NET_SUPPORTING_WM_CHECK >/dev/null 2>&1; then
    cmake --build --preset release --target dresk
    echo "Dresk runs. Type sig and a space in any application; Control-C here ends it."
    exec "$dresk" "$@"
fi

cmake --build --preset release --target dresk desktop_demo
mkdir -p build/release/screenshots
exec tools/with-display build/release/tests/desktop/desktop_demo \
    build/release/screenshots/demo.png "sig " "$dresk"
