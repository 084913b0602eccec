#!/usr/bin/python3
"""alvo_gtk.py --saida ARQ [--app-id ID]: a GTK 3 text widget, the target of the Wayland tests' pastes, that rewrites
ARQ with its whole text on every change; ID is its app_id (default "Sonvo-alvo-gtk"). Prints "pronto" once shown."""
import argparse
import os

import gi
from gi.repository import GLib

args = argparse.ArgumentParser()
args.add_argument("--saida", required=True)
args.add_argument("--app-id", default="Sonvo-alvo-gtk")
opcoes = args.parse_args()
# GTK names the Wayland app_id and the X11 WM_CLASS after the program, when Gtk is imported.
GLib.set_prgname(opcoes.app_id)
os.environ.setdefault("GDK_BACKEND", "wayland")
gi.require_version("Gtk", "3.0")
from gi.repository import Gtk  # noqa: E402


def gravar(buffer):
    # Whole or not at all: a test reading ARQ never sees half a write.
    texto = buffer.get_text(buffer.get_start_iter(), buffer.get_end_iter(), True)
    with open(opcoes.saida + ".tmp", "w", encoding="utf-8") as f:
        f.write(texto)
    os.replace(opcoes.saida + ".tmp", opcoes.saida)


janela = Gtk.Window(title="Alvo " + opcoes.app_id)
janela.set_default_size(420, 160)
janela.connect("destroy", Gtk.main_quit)
editor = Gtk.TextView()
editor.get_buffer().connect("changed", gravar)
janela.add(editor)
janela.show_all()
print("pronto", flush=True)
Gtk.main()
