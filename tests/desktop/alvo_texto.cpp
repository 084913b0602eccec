// A text widget of another client, the target of the desktop tests' pastes.
//   sonvo_alvo_texto --saida ARQ [--classe CLASSE] [--terminal] [--atraso MS] [--selecao TEXTO]
// Writes the widget's whole text to ARQ on every change, and one line per Ctrl+V or
// Ctrl+Shift+V to ARQ.teclas with the clipboard's formats at that moment. --classe sets the
// WM_CLASS class and the Wayland app_id; --terminal behaves like a terminal (Ctrl+Shift+V
// pastes, Ctrl+V types "^V"); --atraso makes it a slow application that fetches the clipboard MS
// milliseconds after the paste keys; --selecao starts with TEXTO in the widget, all of it
// selected and offered as the PRIMARY selection, as a user's selection is.
#include <QApplication>
#include <QClipboard>
#include <QFile>
#include <QKeyEvent>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QSaveFile>
#include <QStringList>
#include <QThread>

#include <cstdio>

namespace {

QString g_saida;
bool g_terminal = false;
int g_atrasoMs = 0;

void anotarTecla(const QString& tecla)
{
    QStringList linha{tecla};
    if (const QMimeData* m = QGuiApplication::clipboard()->mimeData()) {
        for (const QString& f : m->formats())
            linha << f;
        linha << QStringLiteral("dica=") + QString::fromUtf8(m->data(QStringLiteral("x-kde-passwordManagerHint")));
    }
    QFile f(g_saida + QStringLiteral(".teclas"));
    if (f.open(QIODevice::Append))
        f.write(linha.join(QLatin1Char(' ')).toUtf8() + '\n');
}

class Editor : public QPlainTextEdit {
protected:
    void keyPressEvent(QKeyEvent* e) override
    {
        const auto mods = e->modifiers() & (Qt::ControlModifier | Qt::ShiftModifier | Qt::MetaModifier | Qt::AltModifier);
        if (e->key() == Qt::Key_V && mods == (Qt::ControlModifier | Qt::ShiftModifier)) {
            anotarTecla(QStringLiteral("Ctrl+Shift+V"));
            if (g_terminal)
                paste();
            return;
        }
        if (e->key() == Qt::Key_V && mods == Qt::ControlModifier) {
            if (g_atrasoMs > 0)
                QThread::msleep(static_cast<unsigned long>(g_atrasoMs)); // busy with something else
            anotarTecla(QStringLiteral("Ctrl+V"));
            if (g_terminal) {
                insertPlainText(QStringLiteral("^V"));
                return;
            }
        }
        QPlainTextEdit::keyPressEvent(e);
    }
};

} // namespace

int main(int argc, char** argv)
{
    QString classe = QStringLiteral("Sonvo-alvo");
    QString selecao;
    for (int i = 1; i < argc; ++i) {
        const QString a = QString::fromLocal8Bit(argv[i]);
        if (a == QLatin1String("--saida") && i + 1 < argc)
            g_saida = QString::fromLocal8Bit(argv[++i]);
        else if (a == QLatin1String("--classe") && i + 1 < argc)
            classe = QString::fromLocal8Bit(argv[++i]);
        else if (a == QLatin1String("--terminal"))
            g_terminal = true;
        else if (a == QLatin1String("--atraso") && i + 1 < argc)
            g_atrasoMs = QString::fromLocal8Bit(argv[++i]).toInt();
        else if (a == QLatin1String("--selecao") && i + 1 < argc)
            selecao = QString::fromLocal8Bit(argv[++i]);
    }
    if (g_saida.isEmpty())
        return 2;
    // WM_CLASS class: the application name; Wayland app_id: the desktop file name.
    QCoreApplication::setApplicationName(classe);
    QGuiApplication::setDesktopFileName(classe);
    QApplication app(argc, argv);
    Editor janela;
    janela.setWindowTitle(QStringLiteral("Alvo ") + classe);
    janela.resize(420, 160);
    if (!selecao.isEmpty()) {
        janela.setPlainText(selecao);
        janela.selectAll();
        QGuiApplication::clipboard()->setText(selecao, QClipboard::Selection);
    }
    QObject::connect(&janela, &QPlainTextEdit::textChanged, [&] {
        QSaveFile f(g_saida);
        if (f.open(QIODevice::WriteOnly)) {
            f.write(janela.toPlainText().toUtf8());
            f.commit();
        }
    });
    janela.show();
    std::puts("pronto");
    std::fflush(stdout);
    return app.exec();
}
