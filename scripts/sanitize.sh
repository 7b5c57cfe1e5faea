#!/usr/bin/env bash
# Builds everything with AddressSanitizer and UndefinedBehaviorSanitizer (preset asan, into
# build-asan/) and runs every test on SQLite and on a throwaway PostgreSQL server. Any memory
# error, leak or undefined behaviour ends the process that hit it, and the script prints every
# report and fails.
#   bash scripts/sanitize.sh [CTEST ARGS…]
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake --preset asan >/dev/null
nice -n 10 cmake --build build-asan -j2

# Reports go to files, not to stderr, and fail the process too: a bomctl a test expects to fail
# would otherwise hide its report behind the exit code the test waits for.
logs="$PWD/build-asan/sanitizer-logs"
rm -rf "$logs" && mkdir -p "$logs"
export ASAN_OPTIONS="detect_leaks=1:halt_on_error=1:check_initialization_order=1:log_path=$logs/asan"
export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1:log_path=$logs/ubsan"
export LSAN_OPTIONS="suppressions=$PWD/tests/sanitizers/lsan.supp:print_suppressions=0"
export QT_QPA_PLATFORM=offscreen
status=0
bash scripts/with-postgres.sh ctest --test-dir build-asan --output-on-failure -j2 --timeout 900 \
  "$@" || status=$?
# A bomctl the crash loop kills during its exit-time leak check leaves only "Unable to get
# registers from thread", which is no finding; every report has an ERROR or SUMMARY line.
if [ -n "$(ls -A "$logs")" ]; then
  echo "sanitizer output (in $logs):" >&2
  cat "$logs"/* >&2
  if grep -q -E 'ERROR: |runtime error|SUMMARY: ' "$logs"/*; then status=1; fi
fi
exit "$status"
