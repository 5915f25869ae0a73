#!/bin/bash
# Writes tests/support/baseline_runs.txt: what the minimiser of commit 18a0562 reaches in
# the runs of tests/support/script_runs.hpp, and with how many evaluations. To be run
# again when that list changes.
set -euo pipefail
commit=18a0562
here=$(cd "$(dirname "$0")/.." && pwd)
work=$(mktemp -d)
trap 'git -C "$here" worktree remove --force "$work/tree"; rm -rf "$work"' EXIT
git -C "$here" worktree add --quiet --detach "$work/tree" "$commit"
cmake -S "$work/tree" -B "$work/build" -G Ninja -DCMAKE_BUILD_TYPE=Release >"$work/log"
cmake --build "$work/build" --target zavo >>"$work/log"
c++ -O2 -std=c++20 -ffp-contract=off -I"$here" -I"$here/core" "$here/bench/list_runs.cpp" \
    "$work/build/ext/libzavo.a" -o "$work/list_runs"
{
    echo "# Runs of the minimiser of commit $commit: evaluations, value reached, problem."
    echo "# Written by bench/baseline.sh."
    "$work/list_runs"
} >"$here/tests/support/baseline_runs.txt"
