#!/usr/bin/env bash
# Installs what is missing, then runs all checks, one after the other, each with its seconds. A test that hangs is cut by its
# own limit; a step that takes half an hour is cut and fails. Ends with a line "N passed, N failed" that counts the tests
# of all builds, and each other step as one.
set -uo pipefail
cd "$(dirname "$0")/.."
tools/setup.sh check || exit

limit=1800
passed=0
failed=0
mkdir -p build/logs

# step NAME COMMAND...: the output goes to a log of the step, and to the terminal when the step fails.
step() {
    local name=$1 log begin status
    shift
    log=build/logs/${name// /-}.log
    begin=$SECONDS
    timeout --kill-after=10 $limit "$@" >"$log" 2>&1
    status=$?
    printf '%-28s %4d s  %s\n' "$name" $((SECONDS - begin)) "$([ $status -eq 0 ] && echo ok || echo FAILED)"
    [ $status -eq 124 ] && echo "  cut after $limit s"
    [ $status -eq 0 ] || tail -n 60 "$log"
    return $status
}

count() {
    if [ "$1" -eq 0 ]; then passed=$((passed + 1)); else failed=$((failed + 1)); fi
}

# count_tests LOG STATUS: adds what ctest's summary says.
count_tests() {
    local summary bad all
    summary=$(grep -E '^[0-9]+% tests passed, ' "$1" | tail -n 1)
    if [ -z "$summary" ]; then
        count 1
        return
    fi
    bad=$(sed -E 's/.*passed, ([0-9]+) tests failed.*/\1/' <<<"$summary")
    all=$(sed -E 's/.*out of ([0-9]+)$/\1/' <<<"$summary")
    passed=$((passed + all - bad))
    failed=$((failed + bad))
    [ "$2" -eq 0 ] || [ "$bad" -gt 0 ] || failed=$((failed + 1))
}

# check_build PRESET TARGET [CTEST OPTIONS...]
check_build() {
    local preset=$1 target=$2
    shift 2
    if ! step "configure $preset" cmake --preset "$preset"; then
        count 1
        return
    fi
    step "build $preset libraries" cmake --build "build/$preset" --target orvex orvex-virtual &&
        step "build $preset tests" cmake --build "build/$preset" --target "$target"
    local status=$?
    count $status
    [ $status -eq 0 ] || return
    step "test $preset" ctest --test-dir "build/$preset" --output-on-failure --no-tests=error --timeout 600 -j2 "$@"
    count_tests "build/logs/test-$preset.log" $?
}

export TZ=UTC
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_stack_use_after_return=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}

step "format" make --no-print-directory format-check
count $?
check_build release all
check_build asan all
check_build tsan threaded_tests -L threaded

echo
tools/test-share.sh | tail -n 1
tools/house.py
count $?
tools/library-size.sh build/release/library/liborvex.so
count $?

echo
echo "$passed passed, $failed failed"
[ $failed -eq 0 ] && [ $passed -gt 0 ]
