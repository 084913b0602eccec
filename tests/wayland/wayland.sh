#!/usr/bin/env bash
# A headless Wayland session for Sonvo's Wayland tests: sway (wlroots headless backend, Xwayland
# enabled), a session D-Bus, dunst and PulseAudio with a virtual microphone "vmic" (what is played
# into the sink "vsink" is captured from it).
#   wayland.sh run -- COMMAND...      brings it up, runs COMMAND inside, takes it down; COMMAND's status
#   wayland.sh run DIR -- COMMAND...  runs COMMAND inside the session that `up DIR` brought up
#   wayland.sh up DIR                 brings it up with its state in DIR; prints its variables (DIR/env)
#   wayland.sh down DIR               takes down what `up DIR` started
#   wayland.sh terminal ARQ           inside the session: foot (app_id "foot") running a program that
#                                     appends every byte its raw tty gets to ARQ, created once ready
# sway refuses to run as root: run by root, the session belongs to the user sonvo-teste (created
# when missing), otherwise to whoever runs this. COMMAND runs as that user with the session's
# variables plus the caller's ASAN_OPTIONS, LSAN_OPTIONS, UBSAN_OPTIONS, GTEST_* and SONVO_*;
# TMPDIR is a fresh directory it owns. Exits 77 (skipped) when sway is not installed.
set -u
. "$(dirname "${BASH_SOURCE[0]}")/../support/microfone_virtual.sh"
if ((EUID == 0)); then U=sonvo-teste; else U=$(id -un); fi

falhar() { echo "wayland.sh: $*" >&2; [[ -n ${D:-} && -f $D/log ]] && tail -n 40 "$D/log" >&2; return 1; }

esperar() { # esperar DESCRIPTION COMMAND...: up to 10 s for COMMAND, run in the session, to succeed
  local descricao=$1; shift
  for _ in $(seq 100); do "${SESSAO[@]}" "$@" >/dev/null 2>&1 && return 0; sleep 0.1; done
  falhar "$descricao não subiu"
}

sessao() { # sessao DIR: SESSAO runs a command as the session user, with DIR/env and the pass-through
  local v vars
  mapfile -t vars <"$1/env"
  for v in $(compgen -e); do [[ $v =~ ^((A|L|UB)SAN_OPTIONS|SONVO_.*|GTEST_.*)$ ]] && vars+=("$v=${!v}"); done
  SESSAO=(env -i "${vars[@]}")
  if ((EUID == 0)); then SESSAO=(setpriv --reuid="$(id -u "$U")" --regid="$(id -g "$U")" --init-groups -- "${SESSAO[@]}"); fi
}

up() {
  D=$1
  local x=$1/xdg sock=
  if ((EUID == 0)); then id -u "$U" >/dev/null 2>&1 || useradd -M "$U" || return 1; fi
  mkdir -p "$x/pulse" "$D/home" "$D/tmp" && chmod 755 "$D" && chmod 700 "$x" && : >"$D/pids" && : >"$D/log" || return 1
  chown -R "$U:" "$x" "$D/home" "$D/tmp" || return 1
  # Xwayland puts its socket there; sway starts it when the first X11 client connects.
  [[ -d /tmp/.X11-unix ]] || install -d -m 1777 /tmp/.X11-unix
  printf '%s\n' "HOME=$D/home" "USER=$U" "LOGNAME=$U" "PATH=/usr/local/bin:/usr/bin:/bin" "LANG=C.UTF-8" \
    "TMPDIR=$D/tmp" "XDG_RUNTIME_DIR=$x" "DBUS_SESSION_BUS_ADDRESS=unix:path=$x/bus" \
    "XDG_SESSION_TYPE=wayland" "XDG_CURRENT_DESKTOP=sway" "NO_AT_BRIDGE=1" >"$D/env"
  sessao "$D"
  fundo() { "${SESSAO[@]}" "$@" >>"$D/log" 2>&1 & echo $! >>"$D/pids"; }

  # A bus without service directories: D-Bus starts nothing (no stray portal, no second dunst).
  printf '%s\n' "<busconfig><type>session</type><listen>unix:path=$x/bus</listen><policy context=\"default\">" \
    '<allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/></policy></busconfig>' >"$D/bus.conf"
  fundo dbus-daemon --nofork --nopidfile --config-file="$D/bus.conf"
  esperar "o D-Bus da sessão" test -S "$x/bus" || return 1

  if command -v pulseaudio >/dev/null; then
    echo "PULSE_SERVER=unix:$x/pulse/native" >>"$D/env" && sessao "$D"
    subir_microfone "$D" "$x" || return 1
  fi

  printf '%s\n' 'output HEADLESS-1 resolution 1280x800' 'xwayland enable' 'focus_follows_mouse no' >"$D/sway.conf"
  fundo env WLR_BACKENDS=headless WLR_LIBINPUT_NO_DEVICES=1 WLR_RENDERER=pixman sway -c "$D/sway.conf"
  for _ in $(seq 100); do
    sock=$(compgen -G "$x/sway-ipc.*.sock" | head -n 1); [[ -n $sock ]] && break; sleep 0.1
  done
  [[ -n $sock ]] || { falhar "o sway não subiu"; return 1; }
  echo "SWAYSOCK=$sock" >>"$D/env" && sessao "$D"
  # The variables sway gives the programs it starts: WAYLAND_DISPLAY, and DISPLAY of its Xwayland.
  "${SESSAO[@]}" swaymsg exec "printenv >$x/sway.env" >/dev/null
  esperar "o sway" test -s "$x/sway.env" || return 1
  grep -E '^(WAYLAND_DISPLAY|DISPLAY)=' "$x/sway.env" >>"$D/env" && sessao "$D"
  grep -q '^WAYLAND_DISPLAY=' "$D/env" || { falhar "o sway não deu WAYLAND_DISPLAY"; return 1; }
  if command -v xprop >/dev/null; then esperar "o Xwayland" xprop -root || return 1; fi

  if command -v dunst >/dev/null; then
    fundo dunst
    esperar "o dunst" dunstctl is-paused || return 1
  fi
  cat "$D/env"
}

da_sessao() { # the processes of the session DIR: those whose XDG_RUNTIME_DIR is its own
  local p
  for p in $(pgrep -u "$U"); do
    tr '\0' '\n' 2>/dev/null <"/proc/$p/environ" | grep -qxF "XDG_RUNTIME_DIR=$1/xdg" && echo "$p"
  done
}

down() { # what `up` recorded, newest first, then whatever else runs in the session (Xwayland, clients)
  local d=$1 p
  [[ -f $d/pids ]] || return 0
  for p in $(tac "$d/pids"); do kill "$p" 2>/dev/null; done
  for _ in $(seq 30); do
    p=$(da_sessao "$d"); [[ -z $p ]] && break
    kill $p 2>/dev/null; sleep 0.1
  done
  p=$(da_sessao "$d"); [[ -n $p ]] && kill -9 $p 2>/dev/null
  rm -rf "$d"
}

case ${1:-} in
  up) up "$2" || { down "$2"; exit 1; } ;;
  down) down "$2" ;;
  terminal)
    exec foot python3 -c 'import os, sys, tty; tty.setraw(0); saida = os.open(sys.argv[1], os.O_WRONLY | os.O_CREAT | os.O_APPEND, 0o644)
for dados in iter(lambda: os.read(0, 4096), b""): os.write(saida, dados)' "$2" ;;
  run)
    shift
    if [[ -n ${1:-} && $1 != -- ]]; then
      sessao "$1"; shift; [[ ${1:-} == -- ]] && shift
      exec "${SESSAO[@]}" "$@"
    fi
    [[ ${1:-} == -- ]] && shift
    command -v sway >/dev/null || { echo "wayland.sh: sway não instalado; testes de Wayland pulados" >&2; exit 77; }
    D=$(mktemp -d /tmp/sonvo-wayland.XXXXXX)
    trap 'down "$D"' EXIT
    trap 'exit 143' INT TERM
    up "$D" >/dev/null || exit 1
    # A checkout under a private folder (mktemp -d makes them 0700): the session user may pass
    # through, to the repository and to the program, without reading anything else.
    for p in "$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)" "$(dirname "$(realpath -m "$(command -v "$1")")")"; do
      while [[ $p == /?* ]]; do "${SESSAO[@]}" test -x "$p" || chmod o+x "$p"; p=$(dirname "$p"); done
    done
    "${SESSAO[@]}" test -x "$(command -v "$1")" || { falhar "o usuário $U não consegue executar $1"; exit 1; }
    # In the background so that a time-out's TERM still takes the session down.
    "${SESSAO[@]}" "$@" & filho=$!
    trap 'kill "$filho" 2>/dev/null; exit 143' INT TERM
    wait "$filho"
    ;;
  *) echo "uso: $0 run [DIR] -- COMANDO... | up DIR | down DIR | terminal ARQ" >&2; exit 2 ;;
esac
