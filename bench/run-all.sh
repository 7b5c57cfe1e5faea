#!/usr/bin/env bash
# Every benchmark on generated accounts, gathered in one table: figure, p50 and p95 in ms, the
# baseline's p50 with how many times faster we are (at our p95), the floor's p50 (the raw work
# through the same driver, same run) with how many times the floor our p95 is.
#   bash bench/run-all.sh [URL]
# URL: sqlite:PATH (default sqlite:/tmp/bom-bench.db) or postgresql://user@host:port/db; the
# accounts are made on first use next to it (-300k, shape tags) and reused afterwards. For a
# throwaway PostgreSQL server:
#   bash scripts/with-postgres.sh bash -c 'bash bench/run-all.sh "${BOM_TEST_PG_URL%/*}/benchdb"'
set -euo pipefail
cd "$(dirname "$0")/.."
url=${1:-sqlite:/tmp/bom-bench.db}
bash scripts/build.sh >/dev/null 2>&1 || bash scripts/build.sh
bin=build/bench
log=$(mktemp /tmp/bom-bench-log.XXXXXX)
rows=$(mktemp /tmp/bom-bench-rows.XXXXXX)
trap 'rm -f "$rows"' EXIT

sized() { # the account of $2 BOMs next to $1, named as the benchmarks name it
  case $1 in
    sqlite:*.db) echo "${1%.db}-$(($2 / 1000))k.db" ;;
    sqlite:*) echo "$1-$(($2 / 1000))k" ;;
    *) echo "$1_$(($2 / 1000))k" ;;
  esac
}

run() {
  echo "== $*" >>"$log"
  "$@" >>"$log" 2>&1 || echo "FAILED: $* (see $log)" >&2
}
run "$bin/save_bench" "$url"
run "$bin/validate_bench" "$url"
run "$bin/cycle_bench" "$url"
run "$bin/tree_bench" "$url"
run "$bin/structure_bench" "$url"
run "$bin/import_bench" "$url"
run "$bin/batch_bench" "$url"
run "$bin/variants_bench" "$url"
run "$bin/card_open_bench" "$url"
run "$bin/list_auth_bench" "$url" 100000
run "$bin/list_auth_bench" "$url" 300000
QT_QPA_PLATFORM=offscreen run "$bin/list_open_bench" "$url"
grep '^ROW' "$log" | cut -f2- >"$rows" || true

# Memory of the scriptable list over the 300,000-BOM account: the same in every output form.
big=$(sized "$url" 300000)
for form in "--format csv" "--json"; do
  # shellcheck disable=SC2086
  kb=$(/usr/bin/time -f '%M' ./build/src/app/bomctl list --db "$big" --user demo $form \
         2>&1 >/dev/null | tail -n 1)
  echo "memory: bomctl list $form over 300,000 BOMs: max resident $((kb / 1024)) MB" >>"$log"
done

{
  printf 'figure\tp50\tp95\tbaseline p50\tfaster than baseline\tfloor p50\tx floor\n'
  cat "$rows"
} | awk -F'\t' '{ printf "%-46s %9s %9s %13s %21s %10s %8s\n", $1, $2, $3, $4, $5, $6, $7 }'
grep '^memory:' "$log" || true
echo "(every line the benchmarks printed: $log)"
