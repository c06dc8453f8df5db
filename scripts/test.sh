#!/usr/bin/env bash
# Sets up, builds and runs every test: first the release build, then the build under AddressSanitizer and
# UndefinedBehaviorSanitizer. scripts/test.sh [preset...] runs the named presets only.
set -euo pipefail
cd "$(dirname "$0")/.."

presets=("$@")
if [[ ${#presets[@]} -eq 0 ]]; then
    presets=(release sanitizers)
fi

scripts/setup.sh
for preset in "${presets[@]}"; do
    echo "== $preset: build"
    scripts/build.sh "$preset"
    echo "== $preset: tests"
    ctest --preset "$preset" -j "$(nproc)" </dev/null
done
