#include <QCoreApplication>
#include <gtest/gtest.h>

// Qt's networking and timers need an application object; each test drives its own event loop.
int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QCoreApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
