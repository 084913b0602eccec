#!/usr/bin/env bash
# Whole-process figures of the tray application, on the test desktop (tests/desktop/desktop.sh):
# from process start to the tray icon's window, resident memory once idle, and wake-ups while idle
# (context switches of all its threads over 10 s).
#   bash tests/desktop/desktop.sh run -- bash bench/bandeja_ocioso.sh build/bench/src/sonvo
set -euo pipefail
sonvo=${1:?uso: bandeja_ocioso.sh CAMINHO_DO_SONVO}
d=$(mktemp -d)
trap 'kill "$pid" 2>/dev/null; rm -rf "$d"' EXIT
export XDG_DATA_HOME=$d/data XDG_CONFIG_HOME=$d/config SONVO_LOG_FILE=$d/log

inicio=$(date +%s%N)
"$sonvo" & pid=$!
# Qt's tray icon is a window of the process's class, embedded by the tray host.
until xdotool search --classname '^sonvo$' >/dev/null 2>&1; do sleep 0.002; done
fim=$(date +%s%N)
echo "início → ícone na bandeja: $(( (fim - inicio) / 1000000 )) ms"

sleep 5
trocas() { cat /proc/"$pid"/task/*/status | awk '/ctxt_switches/ {s += $2} END {print s}'; }
echo "memória residente ociosa: $(awk '/VmRSS/ {print $2 " kB"}' /proc/"$pid"/status)"
antes=$(trocas); sleep 10; depois=$(trocas)
echo "trocas de contexto em 10 s ocioso (todas as threads): $((depois - antes))"
echo "threads: $(ls /proc/"$pid"/task | wc -l)"
