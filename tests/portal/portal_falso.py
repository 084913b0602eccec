#!/usr/bin/python3
"""portal_falso.py [--recusar] [--recusar-atalhos] [--registro ARQ] [--tokens ARQ]: xdg-desktop-portal's RemoteDesktop
(version 2, keyboard only) and GlobalShortcuts (version 1) on the bus DBUS_SESSION_BUS_ADDRESS names; prints "pronto"
once it owns org.freedesktop.portal.Desktop. Calls, Responses, signals, errors and restore tokens (good once; across
restarts with persist_mode 2, kept in the --tokens file) are the real portal's. --recusar, --recusar-atalhos: the user
refuses the RemoteDesktop, the shortcuts dialog. SIGUSR1: the user revokes the permission. --registro: one JSON line
per call ("interface": "GlobalShortcuts" on those, BindShortcuts' "atalhos": id -> what was asked); "dialogo" false on
a Start a restore token spared it; "erro" on a refusal. A bound trigger_description is the desktop's own text, never
the client's: "LOGO+SHIFT+t" -> "Press Super+Shift+T", "" without a preferred_trigger. br.com.sonvo.PortalFalso on
the same path is the test's hand on the desktop: Ativar(s id), Desativar(s id) press, release the shortcut, and
Mudar(s id, s trigger_description) rebinds it, signalled to the owner of the latest open session that bound id."""
import argparse, json, os, re, signal, uuid  # noqa: E401

import dbus, dbus.service  # noqa: E401
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

RD, RAIZ = "org.freedesktop.portal.RemoteDesktop", "/org/freedesktop/portal/desktop"
GS, CONTROLE = "org.freedesktop.portal.GlobalShortcuts", "br.com.sonvo.PortalFalso"
ARGS, INVALIDO = "org.freedesktop.DBus.Error.InvalidArgs", "org.freedesktop.portal.Error.InvalidArgument"
TECLADO, TODOS = 1, 1 | 2 | 4
PROPRIEDADES = {RD: {"AvailableDeviceTypes": dbus.UInt32(TECLADO), "version": dbus.UInt32(2)},
                GS: {"version": dbus.UInt32(1)}}
MODIFICADORES = {"CTRL": "Ctrl", "ALT": "Alt", "SHIFT": "Shift", "NUM": "NumLock", "LOGO": "Super"}
OPCOES = {  # SelectDevices' options, checked in the real portal's order: the type, then the value
    "types": ("u", lambda v: v & ~TODOS and "Unsupported device type: %x" % (v & ~TODOS)),
    "restore_token": ("s", lambda v: not re.fullmatch(r"[0-9a-fA-F]{8}(-[0-9a-fA-F]{4}){3}-[0-9a-fA-F]{12}", v)
                      and "Restore token is not a valid UUID string"),
    "persist_mode": ("u", lambda v: v > 2 and "Invalid persist mode %x" % v)}


def tipo_de(valor):  # the D-Bus type a variant carried
    return dbus.lowlevel.Message.guess_signature(type(valor)(valor))


def descrever(gatilho):  # "LOGO+SHIFT+t" -> "Press Super+Shift+T"
    *mods, tecla = gatilho.split("+")
    return gatilho and "Press " + "+".join([MODIFICADORES.get(m, m) for m in mods] + [tecla[:1].upper() + tecla[1:]])


class Objeto(dbus.service.Object):
    TIPO, CHAVE = "request", "handle_token"  # at RAIZ/TIPO/SENDER/TOKEN

    def __init__(self, conexao, remetente, opcoes):
        self.caminho = f"{RAIZ}/{self.TIPO}/{remetente[1:].replace('.', '_')}/{opcoes.get(self.CHAVE, 't')}"
        super().__init__(conexao, self.caminho)

    def _message_cb(self, conexao, msg):  # refuses wrong argument types as GDBus does; dbus-python would not
        esperada = getattr(getattr(self, msg.get_member() or "", None), "_dbus_in_signature", None)
        recebida = msg.get_signature() or ""
        if esperada is None or recebida == esperada:  # an unknown method is dbus-python's to answer
            return super()._message_cb(conexao, msg)
        texto = f"Type of message, “({recebida})”, does not match expected type “({esperada})”"
        conexao.send_message(dbus.lowlevel.ErrorMessage(msg, ARGS, texto))


class Pedido(Objeto):
    @dbus.service.signal("org.freedesktop.portal.Request", signature="ua{sv}")
    def Response(self, codigo, resultados):
        pass


class Sessao(Objeto):
    TIPO, CHAVE = "session", "session_handle_token"
    iniciada, restaurada, tipos, persistir = False, False, None, 0

    def __init__(self, portal, remetente, opcoes, atalhos=None):  # a GlobalShortcuts one's: id -> description, trigger
        super().__init__(portal.conexao, remetente, opcoes)
        self.portal, self.dono, self.atalhos, portal.sessoes[self.caminho] = portal, remetente, atalhos, self

    def fechar(self, avisar=True):  # the real portal announces the closings the client did not ask for
        del self.portal.sessoes[self.caminho]
        if avisar:
            self.Closed({})
        self.remove_from_connection()

    @dbus.service.method("org.freedesktop.portal.Session", in_signature="", out_signature="")
    def Close(self):
        self.portal.registrar({"metodo": "Close", "sessao": self.caminho})
        self.fechar(avisar=False)

    @dbus.service.signal("org.freedesktop.portal.Session", signature="a{sv}")
    def Closed(self, detalhes):
        pass


class Atalhos(dbus.service.Object):  # GlobalShortcuts; dbus-python finds a method by name and interface along the MRO
    def lista(self, s):
        return dbus.Array([(i, dict(p)) for i, p in s.atalhos.items()], signature="(sa{sv})")  # as they are now

    @dbus.service.method(GS, in_signature="a{sv}", out_signature="o", sender_keyword="remetente")
    def CreateSession(self, opcoes, remetente):
        s = Sessao(self, remetente, opcoes, atalhos={})
        self.registrar({"interface": "GlobalShortcuts", "metodo": "CreateSession", "sessao": s.caminho})
        return self.responder(remetente, opcoes, 0, {"session_handle": s.caminho})

    @dbus.service.method(GS, in_signature="oa(sa{sv})sa{sv}", out_signature="o", sender_keyword="remetente")
    def BindShortcuts(self, sessao, atalhos, janela, opcoes, remetente):
        pedidos = {str(i): {c: str(p[c]) for c in ("description", "preferred_trigger") if c in p} for i, p in atalhos}
        linha = {"interface": "GlobalShortcuts", "metodo": "BindShortcuts", "sessao": sessao, "atalhos": pedidos}
        for i, p in atalhos:  # checked before the session, as the real portal does
            errada = next((c for c in ("description", "preferred_trigger") if c in p and tipo_de(p[c]) != "s"), None)
            if not i or errada:
                self.registrar(linha, INVALIDO, f"Expected type 's' for option '{errada}', got '{tipo_de(p[errada])}'"
                               if i else "Unexpected empty shortcut id")
        s = self.sessao(linha, remetente, atalhos=True)
        if self.opcoes.recusar_atalhos:  # the user cancelled: nothing bound
            return self.registrar(dict(linha, resposta=1)) or self.responder(remetente, opcoes, 1, {})
        s.atalhos = {i: {"description": p.get("description", ""), "trigger_description":
                         descrever(p.get("preferred_trigger", ""))} for i, p in pedidos.items()}
        self.registrar(dict(linha, resposta=0))
        return self.responder(remetente, opcoes, 0, {"shortcuts": self.lista(s)})

    def vinculou(self, id):  # the latest open session that bound id
        s = next((s for s in reversed(self.sessoes.values()) if id in (s.atalhos or {})), None)
        return s or self.registrar(None, "org.freedesktop.DBus.Error.Failed", f"No open session bound “{id}”")

    def emitir(self, s, nome, assinatura, *argumentos):  # to the session's owner alone, as the real portal does
        sinal = dbus.lowlevel.SignalMessage(RAIZ, GS, nome)
        sinal.set_destination(s.dono)
        sinal.append(dbus.ObjectPath(s.caminho), *argumentos, signature=assinatura)
        self.conexao.send_message(sinal)

    def pressionar(self, id, nome):  # stamped in milliseconds, of an undefined base
        self.emitir(self.vinculou(id), nome, "osta{sv}", id, dbus.UInt64(GLib.get_monotonic_time() // 1000), {})

    @dbus.service.method(CONTROLE, in_signature="s", out_signature="")
    def Ativar(self, id):
        self.pressionar(id, "Activated")

    @dbus.service.method(CONTROLE, in_signature="s", out_signature="")
    def Desativar(self, id):
        self.pressionar(id, "Deactivated")

    @dbus.service.method(CONTROLE, in_signature="ss", out_signature="")
    def Mudar(self, id, texto):  # all the session's shortcuts, that one with its new trigger_description
        s = self.vinculou(id)
        s.atalhos[id]["trigger_description"] = texto
        self.emitir(s, "ShortcutsChanged", "oa(sa{sv})", self.lista(s))


class Portal(Objeto, Atalhos):
    def __init__(self, conexao, opcoes):
        dbus.service.Object.__init__(self, conexao, RAIZ)
        self.conexao, self.opcoes, self.sessoes = conexao, opcoes, {}  # tokens: token -> its connection, None: any
        self.tokens = dict.fromkeys(open(opcoes.tokens).read().split()) if os.path.exists(opcoes.tokens or "") else {}

    def responder(self, remetente, opcoes, codigo, resultados):
        pedido = Pedido(self.conexao, remetente, opcoes)  # answers once the method has returned, as the real one
        GLib.idle_add(lambda: pedido.Response(dbus.UInt32(codigo), dbus.Dictionary(resultados, signature="sv"))
                      or pedido.remove_from_connection())
        return pedido.caminho

    def registrar(self, linha, erro=None, texto=None):  # then refuses the call with erro, if given
        if self.opcoes.registro and linha is not None:
            print(json.dumps(dict(linha, **({"erro": erro} if erro else {})), ensure_ascii=False),
                  file=open(self.opcoes.registro, "a", encoding="utf-8"), flush=True)
        if erro:
            raise dbus.exceptions.DBusException(texto, name=erro)

    def guardar_tokens(self):
        if self.opcoes.tokens:
            print(*(t for t, dono in self.tokens.items() if dono is None), sep="\n", file=open(self.opcoes.tokens, "w"))

    def revogar(self):  # SIGUSR1: sessions closed, restore tokens void
        list(map(Sessao.fechar, list(self.sessoes.values())))
        self.tokens.clear()
        return self.guardar_tokens() or True

    def sessao(self, linha, remetente, aceita=bool, erro=None, atalhos=False):  # of the caller's, of the interface's
        s = self.sessoes.get(linha["sessao"])
        if s is None or s.dono != remetente or (s.atalhos is not None) != atalhos:
            self.registrar(linha, "org.freedesktop.DBus.Error.AccessDenied", "Invalid session")
        if not aceita(s):
            self.registrar(linha, "org.freedesktop.DBus.Error.Failed", erro)
        return s

    @dbus.service.method(RD, in_signature="a{sv}", out_signature="o", sender_keyword="remetente")
    def CreateSession(self, opcoes, remetente):
        s = Sessao(self, remetente, opcoes)
        self.registrar({"metodo": "CreateSession", "sessao": s.caminho})
        return self.responder(remetente, opcoes, 0, {"session_handle": s.caminho})  # a string, as the real one

    @dbus.service.method(RD, in_signature="oa{sv}", out_signature="o", sender_keyword="remetente")
    def SelectDevices(self, sessao, opcoes, remetente):
        linha = {"metodo": "SelectDevices", "sessao": sessao, **{c: opcoes[c] for c in OPCOES if c in opcoes}}
        s = self.sessao(linha, remetente, lambda s: not s.iniciada and s.tipos is None, "Invalid state")
        for chave, (tipo, problema) in OPCOES.items():
            recebido = chave in opcoes and tipo_de(opcoes[chave])
            if chave in opcoes and (recebido != tipo or problema(opcoes[chave])):
                self.registrar(linha, INVALIDO, problema(opcoes[chave])
                               if recebido == tipo else f"Expected type '{tipo}' for option '{chave}', got '{recebido}'")
        token = opcoes.get("restore_token")  # one the fake did not issue, or spent, is ignored: the user is asked
        s.restaurada = self.tokens.get(token, 0) in (None, remetente)
        self.tokens.pop(token if s.restaurada else None, None)
        self.guardar_tokens()
        s.tipos, s.persistir = int(opcoes.get("types", TODOS)), int(opcoes.get("persist_mode", 0))
        self.registrar(linha)
        return self.responder(remetente, opcoes, 0, {})

    @dbus.service.method(RD, in_signature="osa{sv}", out_signature="o", sender_keyword="remetente")
    def Start(self, sessao, janela, opcoes, remetente):
        linha = {"metodo": "Start", "sessao": sessao}
        s = self.sessao(linha, remetente, lambda s: not s.iniciada, "Can only start once")
        aceito = s.restaurada or not self.opcoes.recusar
        self.registrar(dict(linha, dialogo=not s.restaurada, resposta=0 if aceito else 1))
        s.iniciada, resultados = aceito, {"devices": dbus.UInt32((s.tipos or 0) & TECLADO)} if aceito else {}
        if not aceito:  # the real portal closes the session then, after the Response
            GLib.idle_add(s.fechar, priority=GLib.PRIORITY_LOW)
        elif s.persistir:
            token = resultados["restore_token"] = str(uuid.uuid4())
            self.tokens[token] = None if s.persistir == 2 else remetente
            self.guardar_tokens()
        return self.responder(remetente, opcoes, 0 if aceito else 1, resultados)

    def teclado(self, remetente, **linha):
        self.sessao(linha, remetente, lambda s: s.iniciada and (s.tipos or 0) & TECLADO,
                    "Session is not allowed to call NotifyKeyboard methods")
        self.registrar(linha)

    @dbus.service.method(RD, in_signature="oa{sv}iu", out_signature="", sender_keyword="remetente")
    def NotifyKeyboardKeycode(self, sessao, opcoes, keycode, state, remetente):
        self.teclado(remetente, metodo="NotifyKeyboardKeycode", sessao=sessao, keycode=keycode, state=state)


    @dbus.service.method(dbus.PROPERTIES_IFACE, in_signature="ss", out_signature="v")
    def Get(self, interface, nome):  # dbus-python has no properties of its own
        existe = nome in PROPRIEDADES.get(interface, {})
        return PROPRIEDADES[interface][nome] if existe else self.registrar(None, ARGS, f"No such property “{nome}”")


argumentos = argparse.ArgumentParser()
for opcao in "--recusar", "--recusar-atalhos", "--registro", "--tokens":
    argumentos.add_argument(opcao, action="store_true" if opcao.startswith("--recusar") else "store")
barramento = dbus.SessionBus(mainloop=DBusGMainLoop())
portal = Portal(barramento, argumentos.parse_args())
GLib.unix_signal_add(GLib.PRIORITY_DEFAULT, signal.SIGUSR1, portal.revogar)
nome = dbus.service.BusName("org.freedesktop.portal.Desktop", barramento, do_not_queue=True)
print("pronto", flush=True)
GLib.MainLoop().run()
