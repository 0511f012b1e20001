#pragma once

#include "DesktopSession.h"

#include <QApplication>
#include <QTest>

#include <cstdio>

// main() for a QtTest class that runs on a private desktop: the session
// (display, and what `options` asks for) comes up first, then the
// QApplication on its display; everything ends in reverse order.
// Inside the tests, DesktopSession::current() is the session.
#define WENDLE_DESKTOP_TEST_MAIN(TestClass, options)                                               \
    int main(int argc, char** argv) {                                                              \
        DesktopSession session(options);                                                           \
        if (!session.isReady()) {                                                                  \
            std::fprintf(stderr, "desktop session: %s\n", qPrintable(session.error()));            \
            return 1;                                                                              \
        }                                                                                          \
        int status = 0;                                                                            \
        {                                                                                          \
            QApplication app(argc, argv);                                                          \
            QTEST_SET_MAIN_SOURCE_PATH                                                             \
            TestClass test;                                                                        \
            status = QTest::qExec(&test, argc, argv);                                              \
            session.stopPrograms();                                                                \
        }                                                                                          \
        return status;                                                                             \
    }
