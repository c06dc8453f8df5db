#!/usr/bin/env bash
# What tests cannot see: formatting, include directions, headers that stand alone, exported symbols, lint.
#   scripts/check.sh          everything
#   scripts/check.sh NAME...  some of: format includes headers symbols tidy
# Every check runs; the exit code says whether all of them passed.
set -uo pipefail
cd "$(dirname "$0")/.."

checks=("$@")
if [[ ${#checks[@]} -eq 0 ]]; then
    checks=(format includes headers symbols tidy)
fi

sources() { git ls-files -- '*.h' '*.c' '*.cpp'; }

# An empty list would let every check pass.
if [[ -z "$(sources)" ]]; then
    echo "check: git lists no sources here; run this in a git checkout that you own" >&2
    exit 1
fi

check_format()
{
    local file status=0
    while read -r file; do
        if ! clang-format "$file" | cmp -s - "$file"; then
            echo "$file: not as clang-format writes it; run clang-format -i $file"
            status=1
        fi
    done < <(sources)
    return $status
}

check_includes()
{
    scripts/check_includes.sh
}

# Each public header alone, as C11 and as C++17, with the warnings that we give our users no reason to see.
check_headers()
{
    local header status=0
    for header in limbrex/limbrex.h limbrex/limbrex_debug.h plugin/limbrex_plugin.h; do
        echo "#include \"$header\"" | cc -x c -std=c11 -Wall -Wextra -Wpedantic -Werror -fsyntax-only -I. - || status=1
        echo "#include \"$header\"" | c++ -x c++ -std=c++17 -Wall -Wextra -Wpedantic -Werror -fsyntax-only -I. - || status=1
    done
    return $status
}

# The plugin shows get_plugin_api and nothing else; the shared library shows its operations and nothing else.
check_symbols()
{
    local plugin library shown status=0
    scripts/build.sh release limbrex_plugin limbrex_shared >/dev/null || return 1
    plugin=$(find build/release/lib* -name liblimbrex_plugin.so)
    shown=$(nm -D --defined-only "$plugin" | awk '{ print $NF }')
    if [[ "$shown" != get_plugin_api ]]; then
        echo "$plugin should show get_plugin_api alone, shows: ${shown//$'\n'/ }"
        status=1
    fi
    library=$(find build/release/lib* -name liblimbrex.so)
    shown=$(nm -D --defined-only "$library" | awk '{ print $NF }')
    if [[ -z "$shown" ]] || grep -qv '^LBX' <<<"$shown"; then
        echo "$library should show LBX... alone, shows: ${shown//$'\n'/ }"
        status=1
    fi
    return $status
}

check_tidy()
{
    # What games ship with: library and plugin. The linter reads the compile commands of the release build.
    cmake --preset release >/dev/null || return 1
    local log status=0
    log=$(mktemp)
    run-clang-tidy -quiet -j "$(nproc)" -p build/release "^$PWD/(limbrex|plugin|resources|contexts|constraints|debug)/" \
        >"$log" 2>/dev/null </dev/null || status=1
    sed -e 's/\x1b\[[0-9;]*m//g' "$log" | grep -vE '^clang-tidy|^[0-9]+ warnings|^Suppressed|^Use -header-filter|^$'
    rm -f "$log"
    return $status
}

failed=()
for check in "${checks[@]}"; do
    start=$SECONDS
    if "check_$check"; then
        echo "check $check: passed ($((SECONDS - start)) s)"
    else
        echo "check $check: FAILED ($((SECONDS - start)) s)"
        failed+=("$check")
    fi
done
if [[ ${#failed[@]} -gt 0 ]]; then
    echo "failed checks: ${failed[*]}"
    exit 1
fi
