#include <QApplication>
#include <gtest/gtest.h>

// Widgets need a QApplication; the offscreen platform draws them without a display.
int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
