#!/usr/bin/env bash
# Sets up, builds, and lets clips from Debian's assimp-testmodels obey every script of examples/scenes. Results go to out/.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
scripts/build.sh release

scenes=(examples/scenes/*.lua)
for scene in "${scenes[@]}"; do
    name=$(basename "$scene" .lua)
    echo
    echo "== $name"
    build/release/bin/limbrex run "$scene" --out "out/$name" </dev/null
done

echo
echo "Results:"
for scene in "${scenes[@]}"; do
    name=$(basename "$scene" .lua)
    echo "  out/$name/"
    echo "    filmstrip.png   moments side by side: the clip in grey, the solved pose in colour, goals marked"
    echo "    scene.glb       the animation, for any glTF viewer"
    echo "    metrics.json    how well each goal was met, and what it cost"
    [[ ! -f "out/$name/close_up.png" ]] || echo "    close_up.png    hands from near by"
done
