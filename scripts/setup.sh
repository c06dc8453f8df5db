#!/usr/bin/env bash
# Installs the Debian packages that a build needs; does nothing when they are there.
#   scripts/setup.sh          what the build, the tests and the demo need
#   scripts/setup.sh checks   the formatter and the linter as well
set -euo pipefail

packages=(
    g++ cmake ninja-build pkg-config
    liblua5.4-dev libbullet-dev libassimp-dev assimp-testmodels
    libtinygltf-dev nlohmann-json3-dev libcli11-dev libfmt-dev libcairo2-dev
    libgtest-dev libgmock-dev libbenchmark-dev
)
if [[ "${1:-}" == checks ]]; then
    packages+=(clang-format clang-tidy)
fi

if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
    echo "setup: no apt here; make sure that the counterparts of these Debian packages are installed:" >&2
    echo "setup:   ${packages[*]}" >&2
    exit 0
fi

# One question for all: what dpkg does not list as installed is missing. Virtual and unknown names count as missing too.
installed=$(dpkg-query -W -f '${Package} ${db:Status-Abbrev}\n' "${packages[@]}" 2>/dev/null | awk '$2 == "ii" { print $1 }' || true)
missing=()
for package in "${packages[@]}"; do
    grep -qxF -- "$package" <<<"$installed" || missing+=("$package")
done
if [[ ${#missing[@]} -eq 0 ]]; then
    exit 0
fi

as_root=()
if [[ $(id -u) -ne 0 ]]; then
    if ! command -v sudo >/dev/null; then
        echo "setup: not root and no sudo; ask an administrator for: apt-get install ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
fi
echo "setup: installing ${missing[*]}"
"${as_root[@]}" apt-get update -qq </dev/null
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" </dev/null
