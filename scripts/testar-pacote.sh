#!/usr/bin/env bash
# Installs Sonvo's .deb in a clean Debian 12 chroot, with its Depends taken from Debian's archive,
# and starts the tray application there against an Xvfb of the host. Exits non-zero when any check
# fails. Needs root (chroot, mount) and the network (apt-get).
#   scripts/testar-pacote.sh [--dbus] [--sem-recomendados] [PACOTE.deb] [PASTA_DO_CHROOT]
# PACOTE.deb: default, the newest build/bench/sonvo_*.deb. PASTA_DO_CHROOT: default /tmp/deb12,
# created with debootstrap when missing. --dbus also installs the session bus in the chroot: the
# package does not depend on it (its Recommends bring it). --sem-recomendados installs only the
# Depends, as apt does with APT::Install-Recommends "false".
set -euo pipefail
repo=$(cd "$(dirname "$0")/.." && pwd)

com_dbus=0 recomendados=()
while [[ ${1:-} == --* ]]; do
  case $1 in
    --dbus) com_dbus=1 ;;
    --sem-recomendados) recomendados=(--no-install-recommends) ;;
    *) echo "uso: $0 [--dbus] [--sem-recomendados] [PACOTE.deb] [PASTA_DO_CHROOT]" >&2; exit 2 ;;
  esac
  shift
done
deb=${1:-$(ls -t "$repo"/build/bench/sonvo_*.deb 2>/dev/null | head -n 1 || true)}
raiz=${2:-/tmp/deb12}
[[ -n $deb && -f $deb ]] || { echo "testar-pacote: pacote .deb não encontrado (gere com: cpack -G DEB em build/bench)" >&2; exit 2; }
deb=$(realpath "$deb")
[[ $(id -u) -eq 0 ]] || { echo "testar-pacote: é preciso ser root (chroot e mount)" >&2; exit 2; }
# On the host: the X server, a panel's tray to embed the icon, and the tools that look at windows.
faltam=()
command -v Xvfb >/dev/null || faltam+=(xvfb)
command -v trayer >/dev/null || faltam+=(trayer)
command -v xwininfo >/dev/null && command -v xprop >/dev/null || faltam+=(x11-utils)
command -v debootstrap >/dev/null || [[ -x $raiz/usr/bin/apt-get ]] || faltam+=(debootstrap)
if ((${#faltam[@]})); then
  echo "Instalando no host: ${faltam[*]}"
  apt-get update -qq && apt-get install -y -qq "${faltam[@]}" >/dev/null
fi

# A non-root user inside the chroot: Sonvo runs as one on a real desktop.
usuario=teste
t=/tmp/sonvo-pacote # inside the chroot
host_t=$raiz$t
montados=() xvfb= trayer= sonvo_pid= processo=
resultados=() falhas=0

ok() { resultados+=("  OK     $1"); echo "OK: $1"; }
falhou() {
  resultados+=("  FALHOU $1"); falhas=$((falhas + 1))
  echo "FALHOU: $1" >&2
  [[ -n ${2:-} ]] && printf '%s\n' "$2" | sed 's/^/    | /' >&2
  return 0
}
resumo() {
  echo
  echo "===== Resumo: $(basename "$deb") em Debian 12 ($raiz) ====="
  printf '%s\n' "${resultados[@]}"
  if ((falhas)); then echo "Resultado: $falhas verificação(ões) falharam."; else echo "Resultado: tudo certo."; fi
}

montar() { # montar ALVO MOUNT-ARGS...: mounts once, remembers it for the clean-up
  local alvo=$1; shift
  mkdir -p "$alvo"
  mountpoint -q "$alvo" && return 0
  mount "$@" "$alvo"
  montados+=("$alvo")
}
limpar() {
  local i p
  set +e
  [[ -n $processo ]] && kill "$processo" 2>/dev/null
  [[ -n $sonvo_pid ]] && kill "$sonvo_pid" 2>/dev/null
  # What the session bus started inside the chroot would keep the mounts busy.
  for p in $(pgrep -u "$(chroot "$raiz" id -u "$usuario" 2>/dev/null || echo 999999)" 2>/dev/null || true); do
    [[ $(readlink "/proc/$p/root" 2>/dev/null) == "$(realpath "$raiz")" ]] && kill "$p" 2>/dev/null
  done
  [[ -n $trayer ]] && kill "$trayer" 2>/dev/null
  [[ -n $xvfb ]] && kill "$xvfb" 2>/dev/null
  sleep 0.3
  for ((i = ${#montados[@]} - 1; i >= 0; i--)); do
    umount "${montados[i]}" 2>/dev/null || umount -l "${montados[i]}" 2>/dev/null || true
  done
}
trap limpar EXIT
trap 'exit 143' INT TERM

# ---- the chroot ----
if [[ ! -x $raiz/usr/bin/apt-get ]]; then
  echo "Criando um Debian 12 mínimo em $raiz (alguns minutos)…"
  debootstrap --variant=minbase bookworm "$raiz" http://deb.debian.org/debian >/tmp/testar-pacote-debootstrap.log 2>&1 ||
    { tail -n 20 /tmp/testar-pacote-debootstrap.log >&2; echo "testar-pacote: o debootstrap falhou" >&2; exit 1; }
fi
cp -L /etc/resolv.conf "$raiz/etc/resolv.conf"
# No service of a package may start inside the chroot.
printf '#!/bin/sh\nexit 101\n' >"$raiz/usr/sbin/policy-rc.d"
chmod +x "$raiz/usr/sbin/policy-rc.d"
montar "$raiz/proc" -t proc proc
montar "$raiz/sys" -t sysfs sysfs
montar "$raiz/dev" --bind /dev
montar "$raiz/dev/pts" --bind /dev/pts
na_raiz() { chroot "$raiz" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@"; }

# ---- installation ----
# A Sonvo left by an earlier run goes first, with what it pulled in: the Depends are resolved anew.
if na_raiz dpkg-query -W -f='${Status}' sonvo 2>/dev/null | grep -q "install ok installed"; then
  echo "Removendo o Sonvo de uma execução anterior…"
  na_raiz apt-get purge -y -qq sonvo >/dev/null
  na_raiz apt-get autoremove --purge -y -qq >/dev/null
fi
cp "$deb" "$raiz/tmp/"
echo "Instalando $(basename "$deb") no chroot (apt-get resolve as dependências)…"
log_apt=/tmp/testar-pacote-apt.log
if na_raiz sh -c "apt-get update && apt-get install -y ${recomendados[*]} /tmp/$(basename "$deb")" >"$log_apt" 2>&1; then
  ok "apt-get install${recomendados[*]:+ ${recomendados[*]}} resolveu as dependências e instalou o pacote ($(grep -m1 -o '[0-9]* newly installed' "$log_apt" | cut -d' ' -f1) pacotes novos; $(grep -m1 -o 'After this operation, .*' "$log_apt" || echo 'tamanho ?'))"
else
  falhou "apt-get install do pacote (log: $log_apt)" "$(tail -n 25 "$log_apt")"
  resumo; exit 1
fi
if ((com_dbus)); then
  na_raiz apt-get install -y -qq dbus >>"$log_apt" 2>&1 || falhou "instalar o dbus no chroot" "$(tail -n 10 "$log_apt")"
fi

lista=$(na_raiz dpkg -L sonvo)
for f in /usr/bin/sonvo /usr/share/applications/sonvo.desktop /usr/share/icons/hicolor/scalable/apps/sonvo.svg \
  /etc/xdg/autostart/sonvo.desktop; do
  if grep -qx "$f" <<<"$lista" && [[ -e $raiz$f ]]; then ok "dpkg -L sonvo lista $f"; else falhou "dpkg -L sonvo não lista $f" "$lista"; fi
done
tamanho_instalado=$(na_raiz dpkg -s sonvo | sed -n 's/^Installed-Size: //p')
faltam_libs=$(na_raiz ldd /usr/bin/sonvo | grep 'not found' || true)
[[ -z $faltam_libs ]] && ok "ldd /usr/bin/sonvo: todas as bibliotecas encontradas" || falhou "bibliotecas ausentes" "$faltam_libs"

# ---- the command line, as the user ----
na_raiz id -u "$usuario" >/dev/null 2>&1 || na_raiz useradd -m -s /bin/sh "$usuario"
rm -rf "$host_t"
mkdir -p "$host_t/home" "$host_t/xdg"
chmod 700 "$host_t/xdg"
na_raiz chown -R "$usuario:$usuario" "$t"
como_usuario() {
  chroot "$raiz" setpriv --reuid="$usuario" --regid="$usuario" --init-groups env -i PATH=/usr/bin:/bin LANG=C.UTF-8 HOME=$t/home \
    XDG_RUNTIME_DIR=$t/xdg SONVO_LOG_FILE=$t/log "$@"
}

set +e
ajuda=$(como_usuario sonvo --help 2>&1); rc=$?
set -e
if [[ $rc -eq 0 ]] && grep -q "ditado em português do Brasil" <<<"$ajuda" && grep -q "^Uso:" <<<"$ajuda"; then
  ok "sonvo --help sai com 0 e imprime a ajuda em português"
else
  falhou "sonvo --help (saída $rc)" "$ajuda"
fi

set +e
sem_tela=$(como_usuario sonvo 2>&1); rc=$?
set -e
if [[ $rc -ne 0 ]] && grep -q "precisa de uma sessão gráfica" <<<"$sem_tela"; then
  ok "sonvo sem DISPLAY sai com $rc e explica que precisa de uma sessão gráfica"
else
  falhou "sonvo sem DISPLAY (saída $rc)" "$sem_tela"
fi

# ---- the tray application, for real ----
exec 3>"$host_t/display"
Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp >"$host_t/xvfb.log" 2>&1 & xvfb=$!
exec 3>&-
for _ in $(seq 100); do [[ -s $host_t/display ]] && break; sleep 0.1; done
[[ -s $host_t/display ]] || { falhou "o Xvfb não subiu" "$(cat "$host_t/xvfb.log")"; resumo; exit 1; }
export DISPLAY=:$(tr -d '[:space:]' <"$host_t/display")
montar "$raiz/tmp/.X11-unix" --bind /tmp/.X11-unix
# A panel's tray on the host's side: the icon is embedded in it as on a desktop. Without one Qt
# creates no icon window at all.
trayer --edge top --align right --widthtype request --height 24 >"$host_t/trayer.log" 2>&1 & trayer=$!
for _ in $(seq 100); do xprop -root _NET_SYSTEM_TRAY_S0 2>/dev/null | grep -q window && break; sleep 0.1; done

if na_raiz test -x /usr/bin/dbus-run-session; then
  barramento=(dbus-run-session --)
  echo "Iniciando o Sonvo em $DISPLAY com um D-Bus de sessão (dbus-run-session)…"
else
  barramento=()
  echo "Iniciando o Sonvo em $DISPLAY sem D-Bus de sessão (o pacote não depende do dbus e o chroot não o tem)…"
  resultados+=("  NOTA   sem D-Bus de sessão no chroot: o Sonvo foi iniciado sem ele")
fi
como_usuario DISPLAY="$DISPLAY" QT_QPA_PLATFORM=xcb "${barramento[@]}" sonvo >"$host_t/saida" 2>&1 & processo=$!

boot=
for _ in $(seq 100); do
  boot=$(grep -m1 '^=== Sonvo BOOT pid=' "$host_t/log" 2>/dev/null || true)
  [[ -n $boot ]] && break
  kill -0 "$processo" 2>/dev/null || break
  sleep 0.1
done
if [[ -n $boot ]]; then
  sonvo_pid=$(sed -n 's/^=== Sonvo BOOT pid=\([0-9]*\).*/\1/p' <<<"$boot")
  ok "o log ($t/log no chroot) tem a linha de início: $boot"
else
  falhou "em 10 s o log não teve a linha '=== Sonvo BOOT pid='" "$(cat "$host_t/saida" "$host_t/log" 2>/dev/null)"
fi

if [[ -n $sonvo_pid ]]; then
  sleep 3
  if kill -0 "$sonvo_pid" 2>/dev/null; then
    ok "o processo (pid $sonvo_pid) continua vivo 3 s depois"
  else
    falhou "o Sonvo terminou em menos de 3 s" "$(cat "$host_t/saida" "$host_t/log" 2>/dev/null)"
  fi

  # Qt marks each of its windows with the process's pid.
  janelas=()
  for w in $(xwininfo -root -tree | awk '$1 ~ /^0x/ {print $1}'); do
    [[ $(xprop -id "$w" _NET_WM_PID 2>/dev/null) == *" = $sonvo_pid" ]] && janelas+=("$w")
  done
  icone=$(xwininfo -root -tree | grep '("sonvo" "Sonvo")' | head -n 1 || true)
  if [[ -n $icone ]]; then
    w=$(awk '{print $1}' <<<"$icone")
    pai=$(xwininfo -id "$w" -tree | sed -n 's/^ *Parent window id: \(0x[0-9a-f]*\).*/\1/p')
    raiz_x=$(xwininfo -root | sed -n 's/.*Window id: \(0x[0-9a-f]*\).*/\1/p')
    if [[ -n $pai && $pai != "$raiz_x" ]]; then
      ok "ícone na bandeja: janela $w de classe sonvo/Sonvo, embutida na bandeja (pai $pai)"
    else
      falhou "a janela do ícone ($w) não foi embutida na bandeja" "$icone"
    fi
  else
    falhou "nenhuma janela de classe sonvo/Sonvo (o ícone da bandeja) no servidor X" \
      "$(xwininfo -root -tree | head -n 40)"
  fi
  if ((${#janelas[@]})); then
    ok "o Sonvo criou ${#janelas[@]} janela(s) no X (_NET_WM_PID=$sonvo_pid): ${janelas[*]}"
  else
    falhou "nenhuma janela com _NET_WM_PID=$sonvo_pid" "$(xwininfo -root -tree | head -n 40)"
  fi
  echo "--- log do Sonvo no chroot ---"
  sed 's/^/    /' "$host_t/log"
  if grep -q "controle remoto indisponível" "$host_t/log"; then
    echo "Nota: sem D-Bus de sessão, 'sonvo alternar' e o aviso de segunda instância não funcionam."
  fi
  kill "$sonvo_pid" 2>/dev/null || true
  for _ in $(seq 50); do kill -0 "$sonvo_pid" 2>/dev/null || break; sleep 0.1; done
  if kill -0 "$sonvo_pid" 2>/dev/null; then falhou "o Sonvo não terminou com SIGTERM em 5 s"; else ok "o Sonvo terminou com SIGTERM"; fi
  sonvo_pid=
fi

echo
echo "Tamanho do .deb: $(stat -c %s "$deb") bytes; Installed-Size: $tamanho_instalado KiB"
resumo
((falhas == 0))
