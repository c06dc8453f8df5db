#!/usr/bin/env bash
# Builds one preset: scripts/build.sh [release|debug|sanitizers] [target...]
set -euo pipefail
cd "$(dirname "$0")/.."

preset=${1:-release}
shift || true
# Configuring again is cheap and notices new folders; its chatter matters only when it fails.
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! cmake --preset "$preset" >"$log" 2>&1; then
    cat "$log" >&2
    exit 1
fi
cmake --build --preset "$preset" ${1:+--target "$@"}
