# What the scripts share. Sourced, not run.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# One line about what goes on.
say() { printf '== %s\n' "$*"; }

# Runs a step whose output only matters when it fails.
quietly() {
    local log status=0
    log=$(mktemp)
    "$@" >"$log" 2>&1 || status=$?
    if [ "$status" -ne 0 ]; then
        cat "$log" >&2
        printf 'failed (%s): %s\n' "$status" "$*" >&2
    fi
    rm -f "$log"
    return "$status"
}

# Configures and builds a preset, or only the targets of it that are named.
build_preset() {
    local preset=$1
    shift
    say "building $preset${*:+ ($*)}"
    quietly cmake --preset "$preset"
    quietly cmake --build --preset "$preset" --parallel "$(nproc)" ${*:+--target "$@"}
}
