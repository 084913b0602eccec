#!/usr/bin/env bash
# From the end of the transcription to the text in a native application of the session, 20 rounds:
# on the X11 test desktop (tests/desktop/desktop.sh) and in headless sway (tests/wayland/wayland.sh),
# the target being the Qt text widget of the desktop tests (native Wayland in sway).
#   bash bench/colagem.sh [BUILD] [RODADAS]     BUILD: build/bench by default
set -euo pipefail
repo=$(cd "$(dirname "$0")/.." && pwd)
build=$(realpath "${1:-$repo/build/bench}")
rodadas=${2:-20}
sonvo=$build/src/sonvo alvo=$build/tests/desktop/sonvo_alvo_texto
for f in "$sonvo" "$alvo"; do [[ -x $f ]] || { echo "colagem: falta $f" >&2; exit 2; }; done
bash "$repo/tests/desktop/desktop.sh" run -- /usr/bin/python3 "$repo/bench/colagem.py" "$sonvo" "$alvo" "$rodadas"
bash "$repo/tests/wayland/wayland.sh" run -- /usr/bin/python3 "$repo/bench/colagem.py" "$sonvo" "$alvo" "$rodadas"
