#include "vocabulary/VocabularyNotifications.h"

#include <QCoreApplication>
#include <QThread>

namespace sonvo {

VocabularyNotifications& VocabularyNotifications::instance()
{
    static VocabularyNotifications* unica = [] {
        auto* n = new VocabularyNotifications; // lives until the process ends
        if (QCoreApplication* app = QCoreApplication::instance(); app && n->thread() != app->thread())
            n->moveToThread(app->thread());
        return n;
    }();
    return *unica;
}

void VocabularyNotifications::postar(const QString& nome, const QVariantMap& userInfo)
{
    VocabularyNotifications& n = instance();
    if (QThread::currentThread() == n.thread()) {
        emit n.notificacao(nome, userInfo);
        return;
    }
    QMetaObject::invokeMethod(&n, [nome, userInfo] { emit instance().notificacao(nome, userInfo); }, Qt::QueuedConnection);
}

} // namespace sonvo
