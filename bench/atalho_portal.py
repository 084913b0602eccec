#!/usr/bin/python3
"""From the desktop's Activated (GlobalShortcuts portal) to the capture stream, inside a Wayland session
(run by bench/atalho_portal.sh): the fake portal presses "ditado", and the clock stops when PulseAudio
has the new source-output that lasts until the stop (PortAudio opens and drops one just before it).
No key and no local recogniser: each stop fails at once and the error state resets in 4 s.
    atalho_portal.py SONVO FONTES RODADAS"""
import os, re, statistics, subprocess, sys, tempfile, threading, time  # noqa: E401

sonvo, fontes, rodadas = sys.argv[1], sys.argv[2], int(sys.argv[3])
pasta = tempfile.mkdtemp()
env = dict(os.environ, XDG_DATA_HOME=pasta + "/data", XDG_CONFIG_HOME=pasta + "/config", SONVO_LOG_FILE=pasta + "/log",
           SONVO_OPENAI_BASE_URL="http://127.0.0.1:9")
eventos = []  # (time, "new"|"remove", index)


def ouvir():
    pa = subprocess.Popen(["pactl", "subscribe"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, env=env)
    for linha in pa.stdout:
        m = re.match(r"Event '(new|remove)' on source-output #(\d+)", linha)
        if m:
            eventos.append((time.monotonic(), m.group(1), m.group(2)))


threading.Thread(target=ouvir, daemon=True).start()
portal = subprocess.Popen(["/usr/bin/python3", fontes + "/tests/portal/portal_falso.py"], env=env, stdout=subprocess.PIPE)
portal.stdout.readline()  # "pronto"
subprocess.run([sonvo, "config", "hasOnboarded", "true"], env=env, check=True, stdout=subprocess.DEVNULL)
bandeja = subprocess.Popen([sonvo], env=env)


def apertar():
    subprocess.run(["dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.portal.Desktop",
                    "/org/freedesktop/portal/desktop", "br.com.sonvo.PortalFalso.Ativar", "string:ditado"],
                   env=env, check=True, stdout=subprocess.DEVNULL)


time.sleep(3)  # bound, and the microphone probed 1.5 s after start
tempos = []
try:
    for _ in range(rodadas):
        t0 = time.monotonic()
        apertar()
        time.sleep(1)
        t1 = time.monotonic()
        apertar()
        removidos = {i for t, e, i in eventos if t0 <= t < t1 and e == "remove"}
        novos = [t for t, e, i in eventos if t0 <= t < t1 and e == "new" and i not in removidos]
        if novos:
            tempos.append((novos[0] - t0) * 1000)
        time.sleep(5)
finally:
    bandeja.terminate()
    portal.terminate()
if not tempos:
    sys.exit("atalho_portal: nenhuma captura começou (log em %s)" % env["SONVO_LOG_FILE"])
tempos.sort()
print("portal GlobalShortcuts: %d rodadas, Activated até a captura: p50 %.1f ms, p90 %.1f ms, max %.1f ms"
      % (len(tempos), statistics.median(tempos), tempos[int(0.9 * (len(tempos) - 1))], tempos[-1]))
