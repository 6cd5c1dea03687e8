#!/bin/bash
# run-short.sh SECONDS [FOLDER]: runs every fuzz target in FOLDER (build/asan/tests/fuzz) for so many seconds, one at a time, over a
# copy of its seeds. Ends with the first finding, whose input stays in the current folder.
set -euo pipefail
seconds=${1:?usage: run-short.sh SECONDS [FOLDER]}
here=$(cd "$(dirname "$0")" && pwd)
folder=${2:-$here/../../build/asan/tests/fuzz}
targets=("$folder"/*_fuzz)
[ -x "${targets[0]}" ] || { echo "No fuzz target in $folder; build the target \"fuzzers\" first." >&2; exit 2; }
scratch=$(mktemp -d -p /dev/shm 2>/dev/null || mktemp -d)
trap 'rm -rf "$scratch"' EXIT

for target in "${targets[@]}"; do
    name=$(basename "$target" _fuzz)
    mkdir "$scratch/$name"
    echo "$name, $seconds seconds"
    # What a target leaves in the temporary directory goes with the scratch folder.
    TMPDIR=$scratch "$target" -max_total_time="$seconds" -rss_limit_mb=4096 -timeout=25 -verbosity=0 \
        -print_final_stats=1 "$scratch/$name" "$here/corpus/$name" 2>&1 | { grep -vE '^stat::(new|slowest)' || true; }
done
