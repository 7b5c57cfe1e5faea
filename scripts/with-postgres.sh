#!/usr/bin/env bash
# Runs a command with a throwaway PostgreSQL server on 127.0.0.1 (temporary data folder, free
# port, stopped at exit) and BOM_TEST_PG_URL pointing at it. As root, the server runs as the
# unprivileged user "postgres".
set -euo pipefail
bindir=$(ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -V | tail -n 1)
[ -x "$bindir/initdb" ] || { echo "PostgreSQL server binaries not found" >&2; exit 3; }
data=$(mktemp -d /tmp/bom-pg.XXXXXX)
port=$(python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])' 2>/dev/null \
       || echo $((20000 + RANDOM % 20000)))
as_server=()
if [ "$(id -u)" -eq 0 ]; then
  chown postgres "$data"
  as_server=(runuser -u postgres --)
fi
stop() {
  "${as_server[@]}" "$bindir/pg_ctl" -D "$data/db" -m immediate stop >/dev/null 2>&1 || true
  rm -rf "$data"
}
trap stop EXIT
"${as_server[@]}" "$bindir/initdb" -D "$data/db" -U bom --auth=trust -E UTF8 --locale=C.UTF-8 >/dev/null
"${as_server[@]}" "$bindir/pg_ctl" -D "$data/db" -l "$data/log" -w \
  -o "-h 127.0.0.1 -p $port -k $data -c fsync=off -c max_connections=200" start >/dev/null
export BOM_TEST_PG_URL="postgresql://bom@127.0.0.1:$port/postgres"
"$@"
