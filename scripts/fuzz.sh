#!/usr/bin/env bash
# Builds the libFuzzer targets (preset fuzz: clang, -fsanitize=fuzzer,address,undefined) and runs
# each for SECONDS (default 30) on its seeds in fuzz/corpus/TARGET; what a run finds goes to
# build-fuzz/corpus/TARGET, so the committed seeds stay as they are. Empty seed directories are
# filled from the demo account by bomctl (the normal build's, else the fuzz build's). Inputs
# that crash are left as crash-* in build-fuzz/.
#   bash scripts/fuzz.sh [SECONDS] [TARGET…]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-30}
shift || true
targets=("$@")
[ ${#targets[@]} -gt 0 ] ||
  targets=(fuzz_rowset_xml fuzz_card_json fuzz_import_csv fuzz_import_xlsx fuzz_bomctl_args)

bomctl=build/src/app/bomctl
empty() { [ -z "$(ls -A "fuzz/corpus/$1" 2>/dev/null)" ]; }
needs_seeds() {
  local target
  for target in "${targets[@]}"; do
    empty "$target" && return 0
  done
  return 1
}

seed() {
  [ -x "$bomctl" ] || return 0
  # The fuzz build's bomctl leaks what a one-shot process never frees; that is no finding here.
  export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=0}
  local dir db
  dir=$(mktemp -d)
  db="sqlite:$dir/demo.db"
  "$bomctl" init "$db" --demo >/dev/null
  local ids
  ids=$("$bomctl" list --db "$db" --user demo --json |
        jq -r 'select(.type=="result") | .rows[]?.iautoid' | head -8)
  local n=0 id
  if empty fuzz_card_json || empty fuzz_rowset_xml; then
    mkdir -p fuzz/corpus/fuzz_card_json fuzz/corpus/fuzz_rowset_xml
    for id in $ids; do
      n=$((n + 1))
      "$bomctl" show "$id" --db "$db" --user demo --json |
        jq -c 'select(.type=="result") | .card' >"fuzz/corpus/fuzz_card_json/demo-$n.json"
      "$bomctl" show "$id" --format xml --db "$db" --user demo --json |
        jq -r 'select(.type=="result") | .xml' >"$dir/card.xml"
      csplit -s -z -f "fuzz/corpus/fuzz_rowset_xml/demo-$n-" "$dir/card.xml" '/^<xml /' '{*}' ||
        cp "$dir/card.xml" "fuzz/corpus/fuzz_rowset_xml/demo-$n.xml"
    done
  fi
  # Spreadsheets as `import` reads them: cards in its layout, and a list.
  local kind
  for kind in csv xlsx; do
    empty "fuzz_import_$kind" || continue
    mkdir -p "fuzz/corpus/fuzz_import_$kind"
    n=0
    for id in $(head -3 <<<"$ids"); do
      n=$((n + 1))
      "$bomctl" export card "$id" "--$kind" "fuzz/corpus/fuzz_import_$kind/card-$n.$kind" \
        --db "$db" --user demo >/dev/null
    done
    "$bomctl" export list "--$kind" "fuzz/corpus/fuzz_import_$kind/list.$kind" \
      --db "$db" --user demo >/dev/null
  done
  # Command lines, one NUL-separated argv a file, on the demo account's BOMs.
  if empty fuzz_bomctl_args; then
    local out=fuzz/corpus/fuzz_bomctl_args first
    mkdir -p "$out"
    first=$(head -1 <<<"$ids")
    printf '%s\0' list --where cpspcode=01 --columns cinvname --format csv --db "$db" \
      --user demo --json >"$out/list"
    printf '%s\0' --db="$db" --user demo show "$first" --format xml >"$out/show"
    printf '%s\0' edit card.json --header cversion=2 --line 1 ibaseqty=3 --add-line 01001 \
      --answer y,n,c --json >"$out/edit"
    printf '%s\0' batch modify --boms "$first" --set ibaseqty=2 --dry-run --yes >"$out/batch"
    printf '%s\0' export explode "$first" --levels 2 --summary --xlsx out.xlsx --no >"$out/export"
    printf '%s\0' --json init "$db" --generate 50 --depth 3 --seed 7 >"$out/init"
  fi
  rm -rf "$dir"
}

[ -d build-fuzz ] || cmake --preset fuzz >/dev/null
build=("${targets[@]}")
if needs_seeds && [ ! -x "$bomctl" ]; then
  bomctl=build-fuzz/src/app/bomctl
  build+=(bomctl)
fi
nice -n 10 cmake --build build-fuzz -j2 --target "${build[@]}"
needs_seeds && seed
status=0
for target in "${targets[@]}"; do
  mkdir -p "fuzz/corpus/$target" "build-fuzz/corpus/$target"
  (cd build-fuzz && "./fuzz/$target" -max_total_time="$seconds" -print_final_stats=1 \
     "corpus/$target" "../fuzz/corpus/$target") || status=1
done
exit $status
