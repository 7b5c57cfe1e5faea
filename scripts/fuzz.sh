#!/usr/bin/env bash
# Builds the libFuzzer targets (preset fuzz: clang, -fsanitize=fuzzer,address,undefined) and runs
# each for SECONDS (default 30) on its corpus in fuzz/corpus/TARGET, seeded from the demo
# account by the normal build's bomctl. Inputs that crash are left as crash-* in build-fuzz/.
#   bash scripts/fuzz.sh [SECONDS] [TARGET…]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-30}
shift || true
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=(fuzz_rowset_xml fuzz_card_json)

seed() {
  local bomctl=build/src/app/bomctl
  [ -x "$bomctl" ] || return 0
  [ -n "$(ls -A fuzz/corpus/fuzz_card_json 2>/dev/null)" ] && return 0
  mkdir -p fuzz/corpus/fuzz_card_json fuzz/corpus/fuzz_rowset_xml
  local dir
  dir=$(mktemp -d)
  "$bomctl" init "sqlite:$dir/demo.db" --demo >/dev/null
  local n=0
  for id in $("$bomctl" list --db "sqlite:$dir/demo.db" --user demo --json |
              jq -r 'select(.type=="result") | .rows[]?.iautoid' | head -8); do
    n=$((n + 1))
    "$bomctl" show "$id" --db "sqlite:$dir/demo.db" --user demo --json |
      jq -c 'select(.type=="result") | .card' >"fuzz/corpus/fuzz_card_json/demo-$n.json"
    "$bomctl" show "$id" --format xml --db "sqlite:$dir/demo.db" --user demo --json |
      jq -r 'select(.type=="result") | .xml' >"$dir/card.xml"
    csplit -s -z -f "fuzz/corpus/fuzz_rowset_xml/demo-$n-" "$dir/card.xml" '/^<xml /' '{*}' ||
      cp "$dir/card.xml" "fuzz/corpus/fuzz_rowset_xml/demo-$n.xml"
  done
  rm -rf "$dir"
}

seed
[ -d build-fuzz ] || cmake --preset fuzz >/dev/null
nice -n 10 cmake --build build-fuzz -j2 --target "${targets[@]}"
status=0
for target in "${targets[@]}"; do
  mkdir -p "fuzz/corpus/$target"
  (cd build-fuzz && "./fuzz/$target" -max_total_time="$seconds" -print_final_stats=1 \
     "../fuzz/corpus/$target") || status=1
done
exit $status
