#!/usr/bin/env bash
# From the hotkey to a recording that captures, on the test desktop (tests/desktop/desktop.sh): for
# each press of Super+Shift+T, the time until the log's "[HotKey] trigger" line and until PulseAudio
# has the capture stream (the new source-output that lasts until the stop; PortAudio opens and
# drops one just before it).
#   bash bench/atalho_gravacao.sh [CAMINHO_DO_SONVO] [RODADAS]
# Default: build/bench/src/sonvo, 20 rounds.
set -euo pipefail
export LC_NUMERIC=C LC_COLLATE=C # decimal points for awk and sort, whatever the user's locale
repo=$(cd "$(dirname "$0")/.." && pwd)
sonvo=$(realpath "${1:-$repo/build/bench/src/sonvo}")
rodadas=${2:-20}
[[ -x $sonvo ]] || { echo "atalho_gravacao: $sonvo não existe ou não é executável" >&2; exit 2; }
for c in Xvfb xdotool pactl pulseaudio stdbuf; do
  command -v "$c" >/dev/null || { echo "atalho_gravacao: falta $c (scripts/instalar-dependencias.sh --testes)" >&2; exit 2; }
done

d=$(mktemp -d /tmp/sonvo-atalho.XXXXXX)
sonvo_pid= leitores=()
limpar() {
  set +e
  if [[ -n $sonvo_pid ]]; then
    kill "$sonvo_pid" 2>/dev/null
    for _ in $(seq 50); do kill -0 "$sonvo_pid" 2>/dev/null || break; sleep 0.1; done
    kill -9 "$sonvo_pid" 2>/dev/null
  fi
  ((${#leitores[@]})) && kill "${leitores[@]}" 2>/dev/null
  bash "$repo/tests/desktop/desktop.sh" down "$d/desktop"
  rm -rf "$d"
}
trap limpar EXIT
trap 'exit 143' INT TERM

bash "$repo/tests/desktop/desktop.sh" up "$d/desktop" >"$d/env"
. "$d/env"
# No key and no local recogniser: each stop fails at once, and the error state resets in 4 s. The
# closed port keeps a key found by mistake from reaching the network.
export XDG_DATA_HOME=$d/data XDG_CONFIG_HOME=$d/config SONVO_LOG_FILE=$d/log SONVO_OPENAI_BASE_URL=http://127.0.0.1:9

# Each line as it arrives, behind its arrival time in microseconds.
carimbar() { local l; while IFS= read -r l; do printf '%s %s\n' "${EPOCHREALTIME//[!0-9]/}" "$l"; done; }
mkfifo "$d/pa.fifo" "$d/log.fifo"
stdbuf -oL pactl subscribe >"$d/pa.fifo" 2>/dev/null & leitores+=($!)
carimbar <"$d/pa.fifo" >"$d/pa.ts" & leitores+=($!)

"$sonvo" >"$d/saida" 2>&1 & sonvo_pid=$!
# Ready once its tray icon (a window of the process's class) is there, as in bandeja_ocioso.sh.
for _ in $(seq 200); do
  xdotool search --classname '^sonvo$' >/dev/null 2>&1 && break
  kill -0 "$sonvo_pid" 2>/dev/null || { echo "atalho_gravacao: o Sonvo terminou ao iniciar" >&2; cat "$d/saida" "$d/log" >&2; exit 1; }
  sleep 0.05
done
xdotool search --classname '^sonvo$' >/dev/null 2>&1 || { echo "atalho_gravacao: o ícone do Sonvo não apareceu na bandeja em 10 s" >&2; exit 1; }
stdbuf -oL tail -n +1 -F "$SONVO_LOG_FILE" >"$d/log.fifo" 2>/dev/null & leitores+=($!)
carimbar <"$d/log.fifo" >"$d/log.ts" & leitores+=($!)
# The hotkeys are grabbed on the first turn of the event loop after the icon; the microphone probe
# runs 1.5 s after start. A person rarely dictates sooner.
sleep 2

novo_fluxo_depois() { # novo_fluxo_depois T: has a source-output appeared after T (µs)?
  awk -v t="$1" '$1 >= t && /Event .new. on source-output/ {achou = 1} END {exit !achou}' "$d/pa.ts"
}

echo "Sonvo: $sonvo; $rodadas rodadas de Super+Shift+T (gravar 1 s, parar, esperar 5 s)"
: >"$d/rodadas"
for ((i = 1; i <= rodadas; i++)); do
  t=$EPOCHREALTIME; t0=${t//[!0-9]/}
  xdotool key --delay 0 super+shift+t
  t=$EPOCHREALTIME; tx=${t//[!0-9]/}
  sleep 1
  # A stream late by more than the second still counts; the stop waits for it up to 5 s more.
  for _ in $(seq 50); do novo_fluxo_depois "$t0" && break; sleep 0.1; done
  t=$EPOCHREALTIME; t1=${t//[!0-9]/}
  xdotool key --delay 0 super+shift+t
  echo "$i $t0 $tx $t1" >>"$d/rodadas"
  printf '.'
  # Past the 4 s reset of the error state (and the 0.2 s debounce): each press starts from idle.
  sleep 5
done
echo
kill -0 "$sonvo_pid" 2>/dev/null || { echo "atalho_gravacao: o Sonvo terminou durante a medição" >&2; cat "$d/log" >&2; exit 1; }

# Per round, in ms: press → trigger line, press → the capture stream (the first new source-output
# of the window [press, stop) not removed before the stop), the gap between them, xdotool's run time.
awk '
  FILENAME == ARGV[1] { n++; r[n] = $1; t0[n] = $2; tx[n] = $3; t1[n] = $4; next }
  FILENAME == ARGV[2] { lt[++nl] = $1; ll[nl] = $0; next }
  { pt[++np] = $1; pl[np] = $0 }
  END {
    for (k = 1; k <= n; k++) {
      gat = "-"
      for (j = 1; j <= nl; j++)
        if (lt[j] >= t0[k] && lt[j] < t1[k] && ll[j] ~ /\[HotKey\] trigger/) { gat = (lt[j] - t0[k]) / 1000; break }
      delete removido
      for (j = 1; j <= np; j++)
        if (pt[j] >= t0[k] && pt[j] < t1[k] && pl[j] ~ /Event .remove. on source-output/) { split(pl[j], p, "#"); removido[p[2]] = 1 }
      fluxo = "-"
      for (j = 1; j <= np; j++)
        if (pt[j] >= t0[k] && pt[j] < t1[k] && pl[j] ~ /Event .new. on source-output/) {
          split(pl[j], p, "#"); if (!(p[2] in removido)) { fluxo = (pt[j] - t0[k]) / 1000; break }
        }
      entre = (gat == "-" || fluxo == "-") ? "-" : sprintf("%.1f", fluxo - gat)
      if (gat != "-") gat = sprintf("%.1f", gat)
      if (fluxo != "-") fluxo = sprintf("%.1f", fluxo)
      printf "%d %s %s %s %.1f\n", r[k], gat, fluxo, entre, (tx[k] - t0[k]) / 1000
    }
  }' "$d/rodadas" "$d/log.ts" "$d/pa.ts" >"$d/medidas"

printf '\n%-7s %15s %15s %17s %13s\n' "rodada" "tecla→trigger" "tecla→captura" "trigger→captura" "xdotool"
awk '{ printf "%-7s %12s ms %12s ms %14s ms %10s ms\n", $1, $2, $3, $4, $5 }' "$d/medidas"

estatisticas() { # estatisticas COLUNA TITULO FILTRO_AWK
  awk "$3 && \$$1 != \"-\" {print \$$1}" "$d/medidas" | sort -n | awk -v titulo="$2" '
    { v[++n] = $1 }
    END {
      if (!n) { printf "sem medidas: %s\n", titulo; exit }
      i50 = int(0.5 * n); if (i50 < 0.5 * n) i50++
      i90 = int(0.9 * n); if (i90 < 0.9 * n) i90++
      printf "n=%-3d p50=%6.1f  p90=%6.1f  máx=%6.1f ms   %s\n", n, v[i50], v[i90], v[n], titulo
    }'
}
echo
estatisticas 2 "tecla → linha '[HotKey] trigger' (todas)" 1
estatisticas 3 "tecla → fluxo de captura no PulseAudio (todas)" 1
estatisticas 2 "tecla → linha '[HotKey] trigger' (2..N)" '$1 > 1'
estatisticas 3 "tecla → fluxo de captura no PulseAudio (2..N)" '$1 > 1'
# The press is timed from xdotool's start: the figures above include its start-up.
estatisticas 4 "trigger → fluxo de captura (2..N)" '$1 > 1'
estatisticas 5 "duração do próprio 'xdotool key'" 1
faltas=$(awk '$2 == "-" || $3 == "-"' "$d/medidas" | wc -l)
if ((faltas)); then
  echo "Atenção: $faltas rodada(s) sem a linha do log ou sem o fluxo de captura."
  exit 1
fi
