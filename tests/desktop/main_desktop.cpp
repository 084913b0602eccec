#include <QApplication>
#include <gtest/gtest.h>

// A real X client: the harness (desktop.sh) provides the display, window manager and the rest.
int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "xcb");
    // Our windows stand for Sonvo's own: WM_CLASS class "Sonvo".
    QCoreApplication::setApplicationName(QStringLiteral("Sonvo"));
    QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
