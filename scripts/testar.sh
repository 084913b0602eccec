#!/usr/bin/env bash
# Installs what is missing, builds everything with AddressSanitizer and UndefinedBehaviorSanitizer,
# and runs every test. Exits non-zero when anything fails.
set -euo pipefail
raiz=$(cd "$(dirname "$0")/.." && pwd)
build="$raiz/build/teste"
bash "$raiz/scripts/instalar-dependencias.sh" --testes
# The JSON Schema validator that checks request bodies against OpenAI's API description.
if [[ ! -d "$raiz/tests/esquema/node_modules/ajv" ]]; then
  (cd "$raiz/tests/esquema" && npm ci --no-audit --no-fund --silent)
fi
cmake -S "$raiz" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DSONVO_SANITIZE=ON >/dev/null
cmake --build "$build"
export ASAN_OPTIONS="detect_leaks=1:abort_on_error=0:halt_on_error=1"
export LSAN_OPTIONS="suppressions=$raiz/tests/lsan.supp:print_suppressions=0"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
ctest --test-dir "$build" --output-on-failure -j2
