# shellcheck shell=bash
# What the scripts beside this file share. Sourced; leaves the caller in the root of the repository.

cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 1

say() { printf '\n== %s\n' "$*"; }

fail()
{
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

# build PRESET [TARGET...] - configures and builds; all default targets when none is named.
build()
{
    local preset=$1 launcher=() targets=()
    shift
    if command -v ccache >/dev/null; then
        launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    fi
    if (($# > 0)); then
        targets=(--target "$@")
    fi
    cmake --preset "$preset" "${launcher[@]}" || fail "configuring preset $preset failed; see the messages above"
    cmake --build --preset "$preset" --parallel "$(nproc)" "${targets[@]}" ||
        fail "building preset $preset failed; see the messages above"
}
