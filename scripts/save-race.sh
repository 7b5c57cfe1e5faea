#!/usr/bin/env bash
# Two clients load the same BOM card and save it at the same moment, ROUNDS times per function
# lock mode; prints how often both saves went through (a lost update: must be 0).
#   bash scripts/save-race.sh [URL] [ROUNDS]     (default: a fresh SQLite demo account, 200)
set -euo pipefail
cd "$(dirname "$0")/.."
bomctl=./build/src/app/bomctl
[ -x "$bomctl" ] || bash scripts/build.sh >/dev/null
work=$(mktemp -d /tmp/bom-race.XXXXXX)
trap 'rm -rf "$work"' EXIT
url=${1:-sqlite:$work/race.db}
rounds=${2:-200}
export BOM_DB=$url BOM_USER=demo
"$bomctl" init "$url" --demo >/dev/null 2>&1 || true # an existing account is reused
id=$("$bomctl" list --where cpspcode=FR100 --format csv | awk -F, 'NR==2 {print $1}')
[ -n "$id" ] || { echo "no FR100 BOM in $url" >&2; exit 1; }

memo() { # card JSON on stdin, memo text as $1: the same card with another memo
  python3 -c 'import json,sys; c=json.load(sys.stdin)["card"]; c["header"]["cmemo"]=sys.argv[1]; print(json.dumps(c))' "$1"
}

printf '%-10s %7s %10s %9s %9s\n' "lock" "rounds" "both won" "one won" "none won"
for mode in shared exclusive; do
  "$bomctl" setting function-lock "$mode" >/dev/null 2>&1
  both=0 one=0 none=0
  for ((r = 1; r <= rounds; r++)); do
    card=$("$bomctl" show "$id" --json | tail -n 1)
    memo "A$r" <<<"$card" >"$work/a.json"
    memo "B$r" <<<"$card" >"$work/b.json"
    "$bomctl" save "$work/a.json" >/dev/null 2>"$work/a.err" & a=$!
    "$bomctl" save "$work/b.json" >/dev/null 2>"$work/b.err" & b=$!
    won=0
    wait "$a" && won=$((won + 1)) || true
    wait "$b" && won=$((won + 1)) || true
    case $won in 2) both=$((both + 1)) ;; 1) one=$((one + 1)) ;; *) none=$((none + 1)) ;; esac
  done
  printf '%-10s %7d %10d %9d %9d\n' "$mode" "$rounds" "$both" "$one" "$none"
done
"$bomctl" setting function-lock exclusive >/dev/null 2>&1
