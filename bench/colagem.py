#!/usr/bin/python3
"""From the end of the transcription to the text in another application, inside a desktop session
(run by bench/colagem.sh). A loopback server answers the transcription; its clock starts when the
answer is written, and stops when the target application's file holds one more copy of the text.
    colagem.py SONVO ALVO RODADAS   (ALVO: the Qt text widget of the desktop tests)"""
import http.server, os, statistics, subprocess, sys, tempfile, threading, time  # noqa: E401

sonvo, alvo, rodadas = sys.argv[1], sys.argv[2], int(sys.argv[3])
FRASE = "medindo a chegada do texto ditado"
fins = []


class Servidor(http.server.BaseHTTPRequestHandler):
    def do_POST(self):
        self.rfile.read(int(self.headers.get("Content-Length", 0)))
        corpo = ('{"text":"%s"}' % FRASE).encode()
        self.send_response(200)
        self.send_header("Content-Type", "application/json")
        self.send_header("Content-Length", str(len(corpo)))
        self.end_headers()
        self.wfile.write(corpo)
        self.wfile.flush()
        fins.append(time.monotonic())

    def log_message(self, *_):
        pass


http_ = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Servidor)
threading.Thread(target=http_.serve_forever, daemon=True).start()
pasta = tempfile.mkdtemp()
env = dict(os.environ, XDG_DATA_HOME=pasta + "/data", XDG_CONFIG_HOME=pasta + "/config", SONVO_LOG_FILE=pasta + "/log",
           SONVO_OPENAI_BASE_URL="http://127.0.0.1:%d" % http_.server_port)
subprocess.run([sonvo, "chave", "openai"], input=b"sk-bench", env=env, check=True, stdout=subprocess.DEVNULL)
subprocess.run([sonvo, "config", "hasOnboarded", "true"], env=env, check=True, stdout=subprocess.DEVNULL)
bandeja = subprocess.Popen([sonvo], env=env)
saida = pasta + "/alvo"
# The target native to the session: xcb on X11, wayland in a Wayland session.
nativo = "wayland" if os.environ.get("XDG_SESSION_TYPE") == "wayland" else "xcb"
janela = subprocess.Popen([alvo, "--saida", saida, "--classe", "alvo-bench"], env=dict(env, QT_QPA_PLATFORM=nativo),
                          stdout=subprocess.DEVNULL)
# A tone in the virtual microphone: a silent recording would not be sent at all.
subprocess.run(["sox", "-n", "-r", "48000", "-c", "2", pasta + "/tom.wav", "synth", "600", "sine", "300", "vol", "0.2"], check=True)
tom = subprocess.Popen(["paplay", "-d", "vsink", pasta + "/tom.wav"])
time.sleep(3)  # the tray up, the target in front


def copias():
    try:
        return open(saida, encoding="utf-8").read().count(FRASE)
    except OSError:
        return 0


tempos = []
try:
    for i in range(rodadas):
        subprocess.run([sonvo, "alternar"], env=env, check=True)
        time.sleep(0.5)
        subprocess.run([sonvo, "alternar"], env=env, check=True)
        limite = time.monotonic() + 10
        while copias() <= i and time.monotonic() < limite:
            time.sleep(0.0005)
        if copias() <= i:
            sys.exit("colagem: o texto não chegou na rodada %d (log em %s)" % (i + 1, env["SONVO_LOG_FILE"]))
        tempos.append((time.monotonic() - fins[-1]) * 1000)
        time.sleep(1.2)  # the clipboard restored and the pills gone before the next one
finally:
    bandeja.terminate()
    janela.terminate()
    tom.terminate()
print("%s: %d rodadas, fim da transcrição até o texto no alvo: p50 %.1f ms, max %.1f ms"
      % (os.environ.get("XDG_SESSION_TYPE") or "x11", len(tempos), statistics.median(tempos), max(tempos)))
