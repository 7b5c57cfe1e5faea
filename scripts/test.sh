#!/usr/bin/env bash
# Builds everything and runs every test on SQLite and on a throwaway PostgreSQL server.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh
export QT_QPA_PLATFORM=offscreen
bash scripts/with-postgres.sh ctest --test-dir build --output-on-failure -j2 --timeout 600
