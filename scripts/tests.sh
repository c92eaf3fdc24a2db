# Running the tests of a build folder. Sourced after setup.sh.

# runTests FOLDER [CTEST ARGS]: prints what failed with its output, and one line of summary.
runTests() {
    local folder=$1 log=$top/build/$1-tests.log seconds=$SECONDS
    shift
    say "Testing build/$folder ..."
    local status=0
    ctest --test-dir "$top/build/$folder" --output-on-failure --no-tests=error -j "$(nproc)" "$@" >"$log" 2>&1 || status=$?
    [ "$status" -eq 0 ] || grep -vE ' Passed +[0-9.]+ sec$|^ *Start +[0-9]+: |^Internal ctest|^Test project|tests passed|^Total' "$log" | tail -n 300
    grep -E '^[0-9]+% tests passed|^No tests were found' "$log" | sed "s/\$/ (build\/$folder, $((SECONDS - seconds)) s)/"
    return "$status"
}
