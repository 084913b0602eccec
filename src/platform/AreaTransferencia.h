#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QCoroTask>

#include "platform/Janelas.h"

#include <chrono>
#include <optional>

namespace sonvo {

// The user's clipboard, saved whole so it can be put back after a paste.
struct ClipboardSnapshot {
    struct Item {
        QString type; // a MIME type, or the X11 target name
        QByteArray data;
        bool operator==(const Item&) const = default;
    };
    QList<QList<Item>> items; // X11 has one item; other systems may have several
    bool operator==(const ClipboardSnapshot&) const = default;
};

// CLIPBOARD, or the selection X11 terminals paste with Shift+Insert.
enum class Selecao { clipboard, primaria };

// The system clipboard (CLIPBOARD selection on X11) and, where there is one, the primary selection.
class AreaTransferencia {
public:
    static constexpr const char* tipoTransitorio = "org.nspasteboard.TransientType";
    static constexpr const char* tipoRestaurado = "org.nspasteboard.RestoredType";
    // What KDE's Klipper and other clipboard managers honour to leave an entry out.
    static constexpr const char* tipoDicaGerenciador = "x-kde-passwordManagerHint";

    virtual ~AreaTransferencia() = default;
    // Whether a format belongs in a snapshot: protocol targets, targets with side effects, X
    // resource handles, Qt's internal image format and the markers are left out.
    static bool tipoGuardado(const QString& tipo);
    // Sonvo's text under each of `tipos`; `transitorio` adds the markers that keep clipboard
    // managers from storing it.
    static QList<ClipboardSnapshot::Item> itensDoTexto(const QString& texto, bool transitorio, const QStringList& tipos);
    // A snapshot put back as one list, marked as restored: the first value of a type wins.
    static QList<ClipboardSnapshot::Item> itensRestaurados(const ClipboardSnapshot& s);
    static bool ehMarcador(const QString& tipo);

    // Whether the primary selection can be read and written; without it the calls for it do nothing.
    virtual bool temPrimaria() const { return false; }
    // Every format but the marker and protocol ones; nothing when the selection is empty.
    virtual std::optional<ClipboardSnapshot> instantaneo(Selecao selecao) = 0;
    // Replaces the contents with the text; `transitorio` also marks it so clipboard managers
    // don't keep it. Written to PRIMARY right after the clipboard, it is the same text: a read of
    // either counts for aguardarLeitura.
    virtual void escreverTexto(const QString& texto, bool transitorio, Selecao selecao) = 0;
    // Replaces the contents with the snapshot, marked as restored.
    virtual void restaurar(const ClipboardSnapshot& s, Selecao selecao) = 0;
    // Resolves when another application has fetched the text last written, or after `limite`.
    // True when it was fetched.
    virtual QCoro::Task<bool> aguardarLeitura(std::chrono::milliseconds limite) = 0;
    // The text selected in the application in front (PRIMARY on X11), only when that application
    // is the one holding the selection; nothing otherwise, or when it does not answer in time.
    virtual std::optional<QString> textoSelecionado(const AppJanela& frente) = 0;
};

} // namespace sonvo
