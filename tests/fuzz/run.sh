#!/usr/bin/env bash
# Runs every fuzz target of a build for SECONDS in all, each from the corpus that it writes itself, what it found new
# in earlier runs, and the inputs that once broke it (regressions/TARGET).  tests/fuzz/run.sh BUILD [SECONDS]
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
build=$(realpath "$1") seconds=${2:-60} jobs=$(nproc)
findings=$build/findings
# Shorter traces and a small quarantine: more inputs in the same time.
export ASAN_OPTIONS=malloc_context_size=8:quarantine_size_mb=8
mkdir -p "$findings"

fuzz() {  # PROGRAM SECONDS
    local program=$1 name corpus folders
    name=$(basename "$program" _fuzz) corpus=$build/corpus/$name
    mkdir -p "$corpus"
    "$program" --seeds "$corpus" >"$findings/$name.log" 2>&1 || { cat "$findings/$name.log" >&2; return 1; }
    folders=("$corpus")
    if [ -d "$here/regressions/$name" ]; then folders+=("$here/regressions/$name"); fi
    if "$program" "${folders[@]}" -max_total_time="$2" -max_len=16384 -timeout=20 -rss_limit_mb=2048 \
        -artifact_prefix="$findings/$name-" -print_final_stats=1 >>"$findings/$name.log" 2>&1; then
        echo "$name: $(awk '/number_of_executed_units/ {print $2}' "$findings/$name.log") inputs, nothing found"
    else
        tail -n 60 "$findings/$name.log" >&2
        echo "$name: something was found; the input is $findings/$name-*" >&2
        return 1
    fi
}
export -f fuzz
export here build findings

mapfile -t programs < <(find "$build/tests/fuzz" -maxdepth 1 -name '*_fuzz' -type f | sort)
each=$((seconds * jobs / ${#programs[@]}))
printf '%s\n' "${programs[@]}" | xargs -P "$jobs" -I{} bash -c "set -euo pipefail; fuzz {} $((each > 0 ? each : 1))"
