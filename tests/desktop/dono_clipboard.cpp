// Another client that owns the CLIPBOARD selection, for the desktop tests.
//   sonvo_dono_clipboard TIPO=ARQUIVO...   serves each file's bytes under its type, through Qt
//   sonvo_dono_clipboard --primaria TIPO=ARQUIVO...   the same, as the owner of PRIMARY
//   sonvo_dono_clipboard --mudo            takes the selection and never answers a request
// Prints "pronto" once it owns the selection and lives until it is killed.
#include <QByteArray>
#include <QClipboard>
#include <QFile>
#include <QGuiApplication>
#include <QMimeData>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <unistd.h>
#include <xcb/xcb.h>

namespace {

int mudo()
{
    xcb_connection_t* c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(c))
        return 1;
    const xcb_screen_t* tela = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    const xcb_window_t janela = xcb_generate_id(c);
    xcb_create_window(c, XCB_COPY_FROM_PARENT, janela, tela->root, 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, 0, nullptr);
    auto* atomo = xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, 9, "CLIPBOARD"), nullptr);
    if (!atomo)
        return 1;
    xcb_set_selection_owner(c, janela, atomo->atom, XCB_CURRENT_TIME);
    auto* dono = xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, atomo->atom), nullptr);
    const bool ok = dono && dono->owner == janela;
    std::free(dono);
    std::free(atomo);
    if (!ok)
        return 1;
    std::puts("pronto");
    std::fflush(stdout);
    // Never reads the connection again: every SelectionRequest stays unanswered.
    for (;;)
        pause();
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 2 && std::strcmp(argv[1], "--mudo") == 0)
        return mudo();

    QGuiApplication app(argc, argv);
    const bool primaria = argc > 1 && std::strcmp(argv[1], "--primaria") == 0;
    const QClipboard::Mode modo = primaria ? QClipboard::Selection : QClipboard::Clipboard;
    auto* dados = new QMimeData;
    for (int i = primaria ? 2 : 1; i < argc; ++i) {
        const QByteArray arg(argv[i]);
        const qsizetype igual = arg.indexOf('=');
        if (igual <= 0) {
            std::fprintf(stderr, "argumento inválido: %s\n", argv[i]);
            return 2;
        }
        QFile f(QString::fromLocal8Bit(arg.mid(igual + 1)));
        if (!f.open(QIODevice::ReadOnly))
            return 2;
        dados->setData(QString::fromLatin1(arg.left(igual)), f.readAll());
    }
    QGuiApplication::clipboard()->setMimeData(dados, modo);
    if (!(primaria ? QGuiApplication::clipboard()->ownsSelection() : QGuiApplication::clipboard()->ownsClipboard()))
        return 1;
    std::puts("pronto");
    std::fflush(stdout);
    return app.exec();
}
