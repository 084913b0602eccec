#!/usr/bin/env bash
# Installs what is missing, builds Sonvo and starts it in the system tray.
set -euo pipefail
raiz=$(cd "$(dirname "$0")/.." && pwd)
bash "$raiz/scripts/instalar-dependencias.sh"
cmake -S "$raiz" -B "$raiz/build/release" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DSONVO_BUILD_TESTS=OFF -DSONVO_BUILD_BENCH=OFF >/dev/null
cmake --build "$raiz/build/release" --target sonvo
exec "$raiz/build/release/src/sonvo" "$@"
