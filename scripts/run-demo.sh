#!/usr/bin/env bash
# Builds the desktop program and opens it on the demo account (made on first use).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh
exec ./build/src/app/bom "$@"
