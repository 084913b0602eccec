#!/usr/bin/env python3
"""Upload size and stop-to-text time of 30 s, 3 min and 20 min recordings through `sonvo transcrever`,
with the upload setting at WAV and at Opus,
against a loopback transcription server that reads the request at 10 Mbit/s (a home uplink).

    python3 bench/envio_longo.py CAMINHO_DO_SONVO [OUTRO_SONVO ...]

Each recording is speech-like (a tone half a second in every two) at the microphone's format,
48 kHz float mono. The time runs from the command's start to its text on standard output, so it
includes the encoding (and a process start, a few tens of milliseconds)."""
import http.server, json, math, os, struct, subprocess, sys, tempfile, threading, time

TAXA_BITS = 10_000_000
DURACOES = [("30 s", 30), ("3 min", 180), ("20 min", 1200)]


class Servidor(http.server.BaseHTTPRequestHandler):
    recebidos = []

    def do_POST(self):
        falta = int(self.headers.get("Content-Length", 0))
        inicio, lidos = time.monotonic(), 0
        while lidos < falta:
            bloco = self.rfile.read(min(65536, falta - lidos))
            if not bloco:
                break
            lidos += len(bloco)
            # Token bucket: never ahead of 10 Mbit/s since the first byte.
            adiantado = lidos * 8 / TAXA_BITS - (time.monotonic() - inicio)
            if adiantado > 0:
                time.sleep(adiantado)
        Servidor.recebidos.append(lidos)
        corpo = json.dumps({"text": "ditado longo"}).encode()
        self.send_response(200)
        self.send_header("Content-Type", "application/json")
        self.send_header("Content-Length", str(len(corpo)))
        self.end_headers()
        self.wfile.write(corpo)

    def log_message(self, *_):
        pass


def gravar_wav(caminho, segundos, taxa=48000):
    quadros = int(segundos * taxa)
    with open(caminho, "wb") as f:
        f.write(b"RIFF" + struct.pack("<I", 36 + quadros * 4) + b"WAVE")
        f.write(b"fmt " + struct.pack("<IHHIIHH", 16, 3, 1, taxa, taxa * 4, 4, 32))
        f.write(b"data" + struct.pack("<I", quadros * 4))
        um = [0.3 * math.sin(2 * math.pi * 330 * i / taxa) if i < taxa // 2 else 0.0 for i in range(2 * taxa)]
        bloco = struct.pack("<%df" % len(um), *um)
        for _ in range(quadros // (2 * taxa)):
            f.write(bloco)
        f.write(bloco[: (quadros % (2 * taxa)) * 4])


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    http_ = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Servidor)
    threading.Thread(target=http_.serve_forever, daemon=True).start()
    pasta = tempfile.mkdtemp()
    env = dict(os.environ, XDG_DATA_HOME=pasta + "/data", XDG_CONFIG_HOME=pasta + "/config",
               SONVO_LOG_FILE=pasta + "/log", SONVO_OPENAI_BASE_URL="http://127.0.0.1:%d" % http_.server_port)
    print("| Sonvo | envio | gravação | WAV | enviado | parar → texto |")
    print("|---|---|---|---|---|---|")
    for sonvo, envio, nome, segundos in [(s, e, n, d) for s in sys.argv[1:] for e in ("wav", "opus") for n, d in DURACOES]:
        subprocess.run([sonvo, "chave", "openai"], input=b"sk-bench", env=env, check=True, stdout=subprocess.DEVNULL)
        # A build without the setting says so and keeps its own behaviour.
        subprocess.run([sonvo, "servico", "envio", envio], env=env, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        wav = pasta + "/gravacao.wav"
        gravar_wav(wav, segundos)
        inicio = time.monotonic()
        r = subprocess.run([sonvo, "transcrever", wav], env=env, capture_output=True)
        tempo = time.monotonic() - inicio
        estado = r.stdout.decode().strip() or r.stderr.decode().strip()
        print("| %s | %s | %s | %.1f MB | %.2f MB | %.1f s%s |" % (
            os.path.basename(os.path.dirname(os.path.dirname(sonvo))) or sonvo, envio, nome,
            os.path.getsize(wav) / 1e6, Servidor.recebidos[-1] / 1e6 if Servidor.recebidos else 0, tempo,
            "" if r.returncode == 0 else " (%s)" % estado))
        os.remove(wav)
    http_.shutdown()


main()
