#!/usr/bin/env bash
# Configures and builds everything into build/.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake --preset default >/dev/null
cmake --build build -j"$(nproc)"
echo "built: $PWD/build/src/app/bom and $PWD/build/src/app/bomctl" >&2
echo "to call them by name: export PATH=\"$PWD/build/src/app:\$PATH\"" >&2
