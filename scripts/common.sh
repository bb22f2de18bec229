# Shared by the scripts beside it: where the tree is, how it is configured and built.
# shellcheck shell=bash

set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

# build PRESET [TARGET ...]: configures once, then builds (everything, or the named targets).
build() {
    local preset=$1
    shift
    [ -f "build/$preset/build.ninja" ] || cmake --preset "$preset" >/dev/null
    if [ $# -gt 0 ]; then
        cmake --build --preset "$preset" --parallel "$(nproc)" --target "$@"
    else
        cmake --build --preset "$preset" --parallel "$(nproc)"
    fi
}
