#!/usr/bin/env bash
# A headless desktop for Sonvo's desktop tests: Xvfb, openbox, a session D-Bus, dunst, trayer and
# PulseAudio with a virtual microphone "vmic" (what is played into the sink "vsink" is captured
# from it).
#   desktop.sh run -- COMMAND...   brings it up, runs COMMAND inside, takes it down; COMMAND's status
#   desktop.sh up DIR              brings it up with its state in DIR; prints the environment to source
#   desktop.sh down DIR            takes down what `up DIR` started
# Exits 77 (skipped) when Xvfb is not installed.
set -u
. "$(dirname "${BASH_SOURCE[0]}")/../support/microfone_virtual.sh"

falhar() { echo "desktop.sh: $*" >&2; [[ -n ${D:-} && -f $D/log ]] && tail -n 40 "$D/log" >&2; return 1; }

esperar() { # esperar DESCRIPTION COMMAND...: up to 10 s for COMMAND to succeed
  local descricao=$1; shift
  for _ in $(seq 100); do "$@" >/dev/null 2>&1 && return 0; sleep 0.1; done
  falhar "$descricao não subiu"
}

up() {
  D=$1
  mkdir -p "$D/xdg/pulse" "$D/home" && chmod 700 "$D/xdg" && : >"$D/pids" && : >"$D/log" || return 1
  export XDG_RUNTIME_DIR=$D/xdg HOME=$D/home
  fundo() { "$@" >>"$D/log" 2>&1 & echo $! >>"$D/pids"; }

  # The server picks a free display number and writes it to fd 3.
  exec 3>"$D/display"
  fundo Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp -noreset
  exec 3>&-
  esperar "Xvfb" test -s "$D/display" || return 1
  export DISPLAY=:$(tr -d '[:space:]' <"$D/display")
  esperar "Xvfb" xprop -root || return 1

  fundo openbox --sm-disable
  export DBUS_SESSION_BUS_ADDRESS=unix:path=$XDG_RUNTIME_DIR/bus
  fundo dbus-daemon --session --nofork --nopidfile --address="$DBUS_SESSION_BUS_ADDRESS"
  esperar "o D-Bus da sessão" test -S "$XDG_RUNTIME_DIR/bus" || return 1
  esperar "o openbox" sh -c 'xprop -root _NET_SUPPORTING_WM_CHECK | grep -q window' || return 1

  if command -v dunst >/dev/null; then
    # dunst's context menu ("dunstctl context") asks this chooser, as it would ask dmenu: it answers
    # the line that contains the text the test wrote to $XDG_RUNTIME_DIR/dunst-escolha.
    cat >"$D/escolher.sh" <<'EOS'
#!/bin/sh
escolha=$(cat "$XDG_RUNTIME_DIR/dunst-escolha" 2>/dev/null)
grep -F -- "$escolha" | head -n 1
EOS
    chmod +x "$D/escolher.sh"
    printf '[global]\n mouse_left_click = do_action, close_current\n dmenu = %s\n' "$D/escolher.sh" >"$D/dunstrc"
    fundo dunst -config "$D/dunstrc"
    esperar "o dunst" dunstctl is-paused || return 1
  fi
  if command -v trayer >/dev/null; then
    fundo trayer --edge top --align right --widthtype request --height 24 --SetDockType true
    esperar "o trayer" xprop -root _NET_SYSTEM_TRAY_S0 || true # only some tests need a tray
  fi

  if command -v pulseaudio >/dev/null; then
    export PULSE_SERVER=unix:$XDG_RUNTIME_DIR/pulse/native
    subir_microfone "$D" "$XDG_RUNTIME_DIR" || return 1
  fi

  {
    for v in DISPLAY XDG_RUNTIME_DIR HOME DBUS_SESSION_BUS_ADDRESS PULSE_SERVER; do
      [[ -n ${!v:-} ]] && echo "export $v=${!v}"
    done
    echo "export QT_QPA_PLATFORM=xcb NO_AT_BRIDGE=1"
  } >"$D/env"
}

down() {
  local D=$1 p s
  [[ -f $D/pids ]] || return 0
  for p in $(tac "$D/pids"); do kill "$p" 2>/dev/null; done
  for p in $(tac "$D/pids"); do
    for _ in $(seq 30); do
      s=$(ps -o stat= -p "$p" 2>/dev/null)
      [[ -z $s || ${s:0:1} == Z ]] && break # a zombie is gone: its parent reaps it
      sleep 0.1
    done
    kill -9 "$p" 2>/dev/null
  done
  rm -rf "$D"
}

case ${1:-} in
  up) up "$2" || { down "$2"; exit 1; }; cat "$2/env" ;;
  down) down "$2" ;;
  run)
    shift; [[ ${1:-} == -- ]] && shift
    command -v Xvfb >/dev/null || { echo "desktop.sh: Xvfb não instalado; testes de desktop pulados" >&2; exit 77; }
    D=$(mktemp -d /tmp/sonvo-desktop.XXXXXX)
    trap 'down "$D"' EXIT
    trap 'exit 143' INT TERM
    up "$D" || exit 1
    . "$D/env"
    # In the background so that a time-out's TERM still takes the desktop down.
    "$@" & filho=$!
    trap 'kill "$filho" 2>/dev/null; exit 143' INT TERM
    wait "$filho"
    ;;
  *) echo "uso: $0 run -- COMANDO... | up DIR | down DIR" >&2; exit 2 ;;
esac
