#include <QApplication>

#include <gtest/gtest.h>

/// What ThreadSanitizer cannot judge: the toolkit is not built with it, so the lock that orders a queued call's
/// posting and its delivery is invisible to it.
extern "C" Q_DECL_EXPORT const char *__tsan_default_suppressions();
extern "C" const char *__tsan_default_suppressions()
{
    return "race:QMetaCallEvent\nrace:QtPrivate::Q*SlotObject\nrace:invokeMethod<\n";
}

/// One application object for all tests of an executable, without a display.
int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    application.setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}
