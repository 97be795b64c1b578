# shellcheck shell=bash
# Sourced by scripts that work in named stages. Each runs a command into a log of its own and
# prints one line; the first that fails shows its log and ends the script.

log_dir=build/log
mkdir -p "$log_dir"

# stage NAME COMMAND...
stage()
{
    local name=$1 start=$SECONDS
    shift
    stage_log=$log_dir/${name// /-}.log
    printf '%-34s' "$name"
    if "$@" >"$stage_log" 2>&1 </dev/null; then
        printf 'ok %5d s\n' $((SECONDS - start))
    else
        printf 'FAILED %d s, %s:\n\n' $((SECONDS - start)) "$stage_log"
        # Passed tests, and the commands behind a build's lines, only hide what went wrong.
        grep -v ' Passed \|^ *Start *[0-9]*:\|^\[[0-9/]*\] ' "$stage_log" | tail -n 200
        exit 1
    fi
}

# build_preset PRESET [ARGUMENT OF THE BUILD]...
build_preset()
{
    cmake --preset "$1" && cmake --build --preset "$@"
}
