// Snippet expansion by the real `wendle` on a private X desktop, with 1,000
// snippets in the store:
//  - the time from the abbreviation's last key arriving in the Qt test editor
//    to the expansion being in the editor (both seen in the file the editor
//    writes after every change, polled about every millisecond);
//  - Wendle's whole CPU time per key press (X events, keyboard layout, the
//    engine), from /proc while xdotool types text that expands nothing.

#include "DesktopSession.h"
#include "SnippetDesktop.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>

#include <algorithm>
#include <cstdio>

using namespace SnippetDesktop;

namespace {

constexpr int rounds = 40;
constexpr int typedKeys = 3000;

// CPU time of all of a process's threads so far, in seconds, from the
// scheduler's nanosecond account (the first field of each thread's
// schedstat).
double processCpuSeconds(qint64 pid) {
    const QDir tasks(QStringLiteral("/proc/%1/task").arg(pid));
    double seconds = 0;
    for (const QString& task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile stat(tasks.filePath(task) + QStringLiteral("/schedstat"));
        if (stat.open(QIODevice::ReadOnly))
            seconds += stat.readAll().split(' ').value(0).toDouble() / 1e9;
    }
    return seconds;
}

double percentile(QList<double> values, double p) {
    std::sort(values.begin(), values.end());
    const qsizetype index = qMin(values.size() - 1, qsizetype(p * double(values.size() - 1) + 0.5));
    return values.at(index);
}

int fail(const char* what) {
    std::fprintf(stderr, "bench-snippet-latency: %s\n", what);
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    DesktopSession desktop(DesktopSession::Options{.windowManager = true, .trayHost = true});
    if (!desktop.isReady())
        return fail(qPrintable(desktop.error()));
    QApplication app(argc, argv);

    QList<QPair<QString, QString>> snippets;
    for (int i = 0; i < 999; ++i)
        snippets.append({QStringLiteral(";s%1x").arg(i), QStringLiteral("expansion %1").arg(i)});
    snippets.append({QStringLiteral(";sig"), signature});
    if (!writeUserFiles(snippets, true))
        return fail("cannot write the settings and snippets");
    QProcess* wendle = startWendle(desktop);
    if (!wendle)
        return fail("wendle did not start its snippet engine");
    const auto editor = desktop.startEditor({});
    if (!editor || !desktop.activate(editor->window))
        return fail("the test editor did not start");

    // Another program's clipboard, which every expansion puts back.
    const ClipboardContent clipboardBefore;
    if (!ownClipboard(desktop, clipboardBefore))
        return fail("cannot set the clipboard");
    QList<double> latencies;
    for (int round = 0; round < rounds; ++round) {
        if (!desktop.key(QStringLiteral("ctrl+a")) || !desktop.key(QStringLiteral("BackSpace")) ||
            !desktop.waitUntil([&] { return editor->text().isEmpty(); }) ||
            !desktop.type(QStringLiteral(";si")) ||
            !desktop.waitUntil([&] { return editor->text() == QStringLiteral(";si"); }))
            return fail("typing into the editor failed");
        // The last key is sent without waiting, so that its arrival in the
        // editor is seen by the same polling as the expansion.
        QProcess lastKey;
        lastKey.start(QStringLiteral("xdotool"), {QStringLiteral("key"), QStringLiteral("g")});
        QElapsedTimer clock;
        clock.start();
        qint64 keyAt = -1;
        qint64 expandedAt = -1;
        desktop.waitUntil([&] {
            const QString text = editor->text();
            if (keyAt < 0 && text.endsWith(QStringLiteral(";sig")))
                keyAt = clock.nsecsElapsed();
            if (text == signature)
                expandedAt = clock.nsecsElapsed();
            return expandedAt >= 0;
        });
        lastKey.waitForFinished(3000);
        if (keyAt < 0 || expandedAt < 0)
            return fail("no expansion");
        latencies.append(double(expandedAt - keyAt) / 1e6);
        // The expansion ends by putting the clipboard back.
        if (!clipboardHolds(desktop, clipboardBefore, 5000))
            return fail("the clipboard was not restored");
    }

    // CPU per key press: typing text without any abbreviation, with snippet
    // expansion on and then off (Wendle then watches no keys), and the same
    // stretch of time without typing.
    QString text;
    const QString words = QStringLiteral("the quick brown fox jumps over the lazy dog; ");
    while (text.size() < typedKeys)
        text += words;
    text.truncate(typedKeys);
    const qint64 pid = wendle->processId();
    qint64 typingMs = 0;
    const auto cpuPerKey = [&](bool typing) -> double {
        desktop.activate(editor->window);
        desktop.key(QStringLiteral("ctrl+a"));
        desktop.key(QStringLiteral("BackSpace"));
        desktop.waitUntil([&] { return editor->text().isEmpty(); });
        const double start = processCpuSeconds(pid);
        QElapsedTimer clock;
        clock.start();
        if (typing) {
            desktop.run(
                QStringLiteral("xdotool"),
                {QStringLiteral("type"), QStringLiteral("--delay"), QStringLiteral("1"), text}, {},
                120000);
            if (!desktop.waitUntil([&] { return editor->text() == text; }, 30000)) {
                std::fprintf(stderr, "typed %lld characters, the editor shows %lld\n",
                             qint64(text.size()), qint64(editor->text().size()));
                return -1;
            }
            typingMs = clock.elapsed();
        } else {
            // As long as the typing took: the span is what is measured, no
            // event marks its end.
            desktop.waitUntil([] { return false; }, int(typingMs));
        }
        return (processCpuSeconds(pid) - start) / typedKeys * 1e6;
    };
    const double watching = cpuPerKey(true);
    const double idle = cpuPerKey(false);
    if (!switchSnippets(desktop, false))
        return fail("cannot switch snippets off in the settings window");
    const double notWatching = cpuPerKey(true);
    if (watching < 0 || notWatching < 0)
        return fail("the typed text did not arrive intact");

    std::printf("Snippet expansion in the Qt test editor, real wendle, 1000 snippets, %d rounds:\n",
                rounds);
    std::printf("  last key in the editor -> expansion in the editor: median %.1f ms, "
                "95th percentile %.1f ms, min %.1f ms, max %.1f ms (target: within 150 ms)\n",
                percentile(latencies, 0.5), percentile(latencies, 0.95), percentile(latencies, 0.0),
                percentile(latencies, 1.0));
    std::printf("  wendle's CPU per key press, all threads, typing %d keys in %lld ms: %.1f us "
                "with snippets on, %.1f us with snippets off (the watcher's and engine's share: "
                "%.1f us); idle over the same time: %.1f us per key\n",
                typedKeys, typingMs, watching, notWatching, watching - notWatching, idle);
    desktop.stopPrograms();
    return 0;
}
