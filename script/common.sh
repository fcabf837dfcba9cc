# Sourced by the scripts beside it: goes to the root of the tree and sets what all builds share.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# ccache reuses objects of a precompiled header only with these
export CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
# no byte code beside the checks
export PYTHONDONTWRITEBYTECODE=1
jobs=${KR_JOBS:-2}

# configure PRESET: quiet unless it fails
configure() {
    local log
    log=$(mktemp)
    if ! cmake --preset "$1" >"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        return 1
    fi
    rm -f "$log"
}

# build PRESET [TARGET...]
build() {
    local preset=$1
    shift
    configure "$preset"
    cmake --build --preset "$preset" -j "$jobs" ${@:+--target "$@"}
}

# Prints the comment at the head of a script, which is its help.
help_of() { sed -n '2,/^[^#]/{s/^# \{0,1\}//p}' "$1"; }
