#!/usr/bin/env bash
# From the desktop's Activated (the GlobalShortcuts portal, faked) to the capture stream, in headless
# sway; bench/atalho_gravacao.sh gives the same figure for the X11 hotkey.
#   bash bench/atalho_portal.sh [BUILD] [RODADAS]     BUILD: build/bench by default
set -euo pipefail
repo=$(cd "$(dirname "$0")/.." && pwd)
build=$(realpath "${1:-$repo/build/bench}")
[[ -x $build/src/sonvo ]] || { echo "atalho_portal: falta $build/src/sonvo" >&2; exit 2; }
bash "$repo/tests/wayland/wayland.sh" run -- /usr/bin/python3 "$repo/bench/atalho_portal.py" "$build/src/sonvo" "$repo" "${2:-20}"
