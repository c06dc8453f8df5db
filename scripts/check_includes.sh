#!/usr/bin/env bash
# Includes point downward only. Each line of the table names a folder and what its files may include: folders (trailing
# slash) or single headers; every folder may include itself. Paths are rooted at the tree, and no two files include each other
# in a circle.
set -euo pipefail
cd "$(dirname "$0")/.."

read -r -d '' rules <<'TABLE' || true
limbrex/math/
limbrex/model/     limbrex/math/ limbrex/limbrex.h limbrex/limbrex_debug.h
limbrex/solvers/   limbrex/model/ limbrex/math/ limbrex/limbrex.h limbrex/limbrex_debug.h
limbrex/
resources/         limbrex/math/ limbrex/limbrex.h plugin/limbrex_plugin.h
contexts/          debug/rig_drawing.h constraints/ resources/ limbrex/math/ limbrex/limbrex.h plugin/limbrex_plugin.h
constraints/       debug/debug_shapes.h debug/rig_drawing.h contexts/ resources/ limbrex/math/ limbrex/limbrex.h plugin/limbrex_plugin.h
debug/             contexts/ constraints/ resources/ limbrex/math/ limbrex/limbrex.h limbrex/limbrex_debug.h plugin/limbrex_plugin.h
plugin/            debug/ contexts/ constraints/ resources/ limbrex/math/ limbrex/limbrex.h
host/              limbrex/limbrex.h limbrex/limbrex_debug.h plugin/limbrex_plugin.h
tools/             host/ resources/compiled_character.h limbrex/limbrex.h limbrex/limbrex_debug.h plugin/limbrex_plugin.h
bench/             tests/support/ tools/ host/ resources/compiled_character.h limbrex/limbrex.h limbrex/limbrex_debug.h plugin/limbrex_plugin.h
tests/limbrex/     tests/support/ limbrex/math/ limbrex/solvers/ limbrex/limbrex.h limbrex/limbrex_debug.h
tests/plugin/      tests/support/ host/ contexts/ constraints/ debug/ resources/ limbrex/math/ limbrex/limbrex.h limbrex/limbrex_debug.h plugin/limbrex_plugin.h
tests/             tools/ host/ limbrex/math/ resources/compiled_character.h limbrex/limbrex.h limbrex/limbrex_debug.h plugin/limbrex_plugin.h
TABLE

git ls-files -- '*.h' '*.c' '*.cpp' '*.inc' | xargs -r grep -nE '^[[:space:]]*#[[:space:]]*include[[:space:]]*"' /dev/null | awk -v rules="$rules" '
BEGIN {
    count = split(rules, lines, "\n")
    for (i = 1; i <= count; ++i) {
        words = split(lines[i], word, " ")
        folder[i] = word[1]
        for (j = 1; j <= words; ++j) allowed[i, j] = word[j]
        size[i] = words
    }
}
function begins(text, prefix) { return substr(text, 1, length(prefix)) == prefix }
function may_include(file, target,    i, j) {
    for (i = 1; i <= count; ++i) {                 # the first folder that holds the file decides
        if (!begins(file, folder[i])) continue
        for (j = 1; j <= size[i]; ++j) {
            if (allowed[i, j] ~ /\/$/ ? begins(target, allowed[i, j]) : target == allowed[i, j]) return 1
        }
        return 0
    }
    return 1
}
{
    split($0, part, ":")
    file = part[1]; line = part[2]
    target = $0; sub(/^[^"]*"/, "", target); sub(/".*$/, "", target)
    if ((getline ignored < target) < 0) { print file ":" line ": \"" target "\" is no path from the root of the tree"; bad = 1; next }
    close(target)
    if (!may_include(file, target)) { print file ":" line ": may not include \"" target "\""; bad = 1 }
    edge[++edges] = file " " target
    out[file] = out[file] " " target
}
# Files are white, then grey while their includes are walked, then black; meeting a grey file closes a circle.
function walk(file,    n, next_files, i) {
    colour[file] = "grey"
    n = split(out[file], next_files, " ")
    for (i = 1; i <= n; ++i) {
        if (colour[next_files[i]] == "grey") { print file ": includes \"" next_files[i] "\", which leads back to it"; bad = 1 }
        else if (colour[next_files[i]] == "") walk(next_files[i])
    }
    colour[file] = "black"
}
END {
    for (file in out) if (colour[file] == "") walk(file)
    exit bad
}'
