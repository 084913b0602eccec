#!/usr/bin/env bash
# Installs from Debian's packages whatever Sonvo needs and is missing. Idempotent and quiet when
# everything is already there. With --testes it also installs what the tests and benchmarks need.
set -euo pipefail

pacotes=(
  build-essential cmake ninja-build pkg-config
  qt6-base-dev qt6-qpa-plugins qcoro-qt6-dev libicu-dev
  libx11-dev libxtst-dev libxi-dev libxcb1-dev libxcb-xinput-dev qt6-svg-dev
  libwayland-dev libxkbcommon-dev qt6-wayland
  portaudio19-dev libasound2-plugins libpulse-dev libsndfile1-dev libcanberra-dev
  libcanberra-pulse sound-theme-freedesktop fonts-dejavu-core
)
if [[ "${1:-}" == "--testes" ]]; then
  pacotes+=(libgtest-dev libgmock-dev libbenchmark-dev
    xvfb openbox dbus dbus-daemon dunst trayer pulseaudio pulseaudio-utils x11-utils xdotool xclip espeak-ng sox
    xterm sway xwayland foot wl-clipboard wtype python3-gi gir1.2-gtk-3.0 python3-dbus)
fi

faltando=()
# Node.js (for the JSON Schema validator) may come from elsewhere with its own npm: ask for the
# commands, not for Debian's packages, which would conflict with it.
if [[ "${1:-}" == "--testes" ]]; then
  command -v node >/dev/null || faltando+=(nodejs)
  command -v npm >/dev/null || faltando+=(npm)
fi
for p in "${pacotes[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    faltando+=("$p")
  fi
done
[[ ${#faltando[@]} -eq 0 ]] && exit 0

echo "Instalando pacotes que faltam: ${faltando[*]}"
sudo=()
if [[ $(id -u) -ne 0 ]]; then
  if ! command -v sudo >/dev/null; then
    echo "Sonvo: é preciso ser root (ou ter sudo) para instalar: ${faltando[*]}" >&2
    exit 1
  fi
  sudo=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
"${sudo[@]}" apt-get update -qq
"${sudo[@]}" apt-get install -y -qq --no-install-recommends "${faltando[@]}" >/dev/null
