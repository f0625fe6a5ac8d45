#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and runs each over its seed corpus.
#   scripts/fuzz.sh            each target once over fuzz/corpus/<name> (-runs=0)
#   scripts/fuzz.sh SECONDS    each target for SECONDS, one after another
# Environment: TARKO_FUZZ_BUILD (build folder, default build-fuzz),
# TARKO_FUZZ_JOBS (ninja jobs, default 2), TARKO_FUZZERS (names, default all).
# New inputs go to <build>/fuzz-work/<name>, crashes to <build>/fuzz-artifacts/.
set -euo pipefail

root="$(cd "$(dirname "$0")/.." && pwd)"
build="${TARKO_FUZZ_BUILD:-$root/build-fuzz}"
jobs="${TARKO_FUZZ_JOBS:-2}"
seconds="${1:-}"

if [[ ! -f "$build/build.ninja" ]]; then
    CC=clang CXX=clang++ cmake -S "$root" -B "$build" -G Ninja \
        -DTARKO_BUILD_FUZZERS=ON -DTARKO_BUILD_TESTS=OFF -DTARKO_BUILD_EXAMPLES=OFF \
        -DTARKO_WERROR=OFF >/dev/null  # warnings are held to the gcc build; clang's extra ones only show
fi

if [[ -n "${TARKO_FUZZERS:-}" ]]; then
    names=(${TARKO_FUZZERS})
else
    names=()
    for src in "$root"/fuzz/*_fuzzer.cpp; do
        name="$(basename "$src" _fuzzer.cpp)"
        names+=("$name")
    done
fi
targets=()
for name in "${names[@]}"; do targets+=("fuzz_$name"); done
ninja -C "$build" -j"$jobs" "${targets[@]}"

mkdir -p "$build/fuzz-artifacts"
# Undefined behaviour stops a run like a crash, so that it leaves an artifact.
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-halt_on_error=1:print_stacktrace=1}"
status=0
for name in "${names[@]}"; do
    corpus="$root/fuzz/corpus/$name"
    mkdir -p "$corpus"
    exe="$build/fuzz/fuzz_$name"
    if [[ -z "$seconds" ]]; then
        echo "== $name: seed corpus"
        "$exe" -runs=0 -artifact_prefix="$build/fuzz-artifacts/$name-" "$corpus" || status=1
    else
        work="$build/fuzz-work/$name"
        mkdir -p "$work"
        echo "== $name: ${seconds}s"
        "$exe" -max_total_time="$seconds" -rss_limit_mb=2560 \
            -artifact_prefix="$build/fuzz-artifacts/$name-" "$work" "$corpus" || status=1
    fi
done
exit $status
