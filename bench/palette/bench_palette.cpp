// The palette road of the real `wendle` on a private X desktop (openbox,
// trayer), with the replaying model server:
//  - hot key to palette on screen with the selection: from the moment the
//    last key of Ctrl+Alt+Space is up (sent through XTest, server round trip
//    done) to the palette's window being mapped, in the Qt test editor and in
//    l3afpad, 50 runs each;
//  - Return to the replaced text in the Qt test editor (the file it writes
//    after every change, polled every millisecond), 20 runs;
//  - Wendle's resident memory when idle, and its wake-ups (context switches
//    of all its threads) over 20 idle seconds.

#include "DesktopSession.h"
#include "PaletteDesktop.h"
#include "X11Watch.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>

#include <algorithm>
#include <cstdio>

using namespace PaletteDesktop;
using namespace std::chrono_literals;

namespace {

constexpr int openRuns = 50;
constexpr int replaceRuns = 20;
constexpr int idleSeconds = 20;

double percentile(QList<double> values, double p) {
    std::sort(values.begin(), values.end());
    const qsizetype index = qMin(values.size() - 1, qsizetype(p * double(values.size() - 1) + 0.5));
    return values.at(index);
}

QString summary(const QList<double>& ms) {
    return QStringLiteral("median %1 ms, 95th percentile %2 ms (min %3, max %4, %5 runs)")
        .arg(percentile(ms, 0.5), 0, 'f', 1)
        .arg(percentile(ms, 0.95), 0, 'f', 1)
        .arg(percentile(ms, 0.0), 0, 'f', 1)
        .arg(percentile(ms, 1.0), 0, 'f', 1)
        .arg(ms.size());
}

int fail(const QString& what) {
    std::fprintf(stderr, "bench-palette: %s\n", qPrintable(what));
    return 1;
}

// Sum of a field over every thread of a process, from /proc.
qint64 threadSum(qint64 pid, const QByteArray& field) {
    qint64 sum = 0;
    const QDir tasks(QStringLiteral("/proc/%1/task").arg(pid));
    for (const QString& task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile status(tasks.filePath(task) + QStringLiteral("/status"));
        if (!status.open(QIODevice::ReadOnly))
            continue;
        for (const QByteArray& line : status.readAll().split('\n')) {
            if (line.startsWith(QByteArray(field + ':')))
                sum += line.mid(field.size() + 1).trimmed().toLongLong();
        }
    }
    return sum;
}

qint64 residentKilobytes(qint64 pid) {
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').value(0).toLongLong();
    }
    return -1;
}

qint64 wakeUps(qint64 pid) {
    return threadSum(pid, "voluntary_ctxt_switches") + threadSum(pid, "nonvoluntary_ctxt_switches");
}

// Opens and closes the palette over the focused window until `openRuns`
// runs have shown `text`; the time from the hot key's release to the palette
// being mapped. A run whose copy did not arrive in time (the palette shows
// the clipboard's text instead) is counted in `misses` and done again.
std::optional<QList<double>> openTimes(DesktopSession& desktop, X11Watch& x, const QString& text,
                                       int& misses) {
    QList<double> times;
    misses = 0;
    while (times.size() < openRuns && misses <= openRuns) {
        x.drain();
        if (!x.chord({"Control_L", "Alt_L", "space"}))
            return std::nullopt;
        QElapsedTimer clock;
        clock.start();
        if (!x.waitForPopup(true, 3s)) {
            std::fprintf(stderr, "bench-palette: no window was mapped\n");
            return std::nullopt;
        }
        const double ms = clock.nsecsElapsed() / 1e6;
        if (palette().value("selectedText").toString() == text)
            times.append(ms);
        else
            ++misses;
        x.chord({"Escape"});
        if (!desktop.waitUntil([] { return !paletteVisible(); }))
            return std::nullopt;
    }
    if (times.size() < openRuns)
        return std::nullopt;
    return times;
}

} // namespace

int main(int argc, char** argv) {
    DesktopSession desktop(DesktopSession::Options{.windowManager = true, .trayHost = true});
    if (!desktop.isReady())
        return fail(desktop.error());
    QApplication app(argc, argv);
    X11Watch x;
    if (!x.isOpen())
        return fail(QStringLiteral("no X connection"));

    const quint16 port = freePort();
    if (!port || !writeSettings(port) ||
        !startModelServer(desktop, port, QStringLiteral("ollama_chat_stream_basic.txt"), 0))
        return fail(QStringLiteral("the model server did not start"));
    QProcess* wendle = startWendle(desktop);
    if (!wendle)
        return fail(QStringLiteral("wendle did not start"));
    const qint64 pid = wendle->processId();

    // Idle first, as after a login: memory and wake-ups. These spans of idle
    // time are what is measured; no event marks their end.
    QTest::qWait(3000);
    const qint64 idleRss = residentKilobytes(pid);
    const qint64 before = wakeUps(pid);
    QTest::qWait(idleSeconds * 1000);
    const double idleWakeUps = double(wakeUps(pid) - before) / idleSeconds;

    const QString sentence = QStringLiteral("Their going to the park tomorow, weather permitting.");
    auto editor = desktop.startEditor({.text = sentence, .selectAll = true});
    if (!editor || !desktop.activate(editor->window) || !desktop.mouseMove(300, 200))
        return fail(QStringLiteral("the test editor did not start"));
    int qtMisses = 0;
    const auto qtTimes = openTimes(desktop, x, sentence, qtMisses);
    if (!qtTimes)
        return fail(QStringLiteral("the palette did not open over the Qt editor"));

    // Return to the replaced text; the sentence typed again and selected
    // before each run, once the previous Replace has restored the clipboard.
    const QByteArray clipboardBefore = "the clipboard before";
    QList<double> replaceTimes;
    for (int run = 0; run < replaceRuns; ++run) {
        if (run > 0) {
            if (!desktop.key(QStringLiteral("ctrl+a")) || !desktop.type(sentence) ||
                !desktop.waitUntil([&] { return editor->text() == sentence; }) ||
                !desktop.key(QStringLiteral("ctrl+a")))
                return fail(QStringLiteral("typing into the editor failed"));
        }
        if (!desktop.setClipboard(clipboardBefore))
            return fail(QStringLiteral("cannot set the clipboard"));
        x.chord({"Control_L", "Alt_L", "space"});
        if (!desktop.waitUntil(&paletteVisible))
            return fail(QStringLiteral("the palette did not open"));
        x.chord({"1"});
        if (!desktop.waitUntil([] { return phase() == QStringLiteral("done"); }))
            return fail(QStringLiteral("the run did not finish"));
        x.chord({"Return"});
        QElapsedTimer clock;
        clock.start();
        if (!desktop.waitUntil([&] { return editor->text() == basicReply; }))
            return fail(QStringLiteral("the selection was not replaced"));
        replaceTimes.append(clock.nsecsElapsed() / 1e6);
        // The Replace sequence ends by putting the clipboard back.
        if (!desktop.waitUntil([&] { return desktop.clipboard() == clipboardBefore; }))
            return fail(QStringLiteral("the clipboard was not restored"));
    }
    desktop.stop(editor->process);

    // l3afpad, a GTK editor.
    const QString file = desktop.tempPath() + QStringLiteral("/bench.txt");
    {
        QFile f(file);
        if (!f.open(QIODevice::WriteOnly))
            return fail(QStringLiteral("cannot write the GTK editor's file"));
        f.write(sentence.toUtf8());
    }
    QProcess* gtk = desktop.start(QStringLiteral("l3afpad"), {file});
    const quint64 gtkWindow = desktop.findWindowByName(QStringLiteral("bench.txt"), 10000);
    if (!gtk || !gtkWindow || !desktop.activate(gtkWindow) ||
        !desktop.key(QStringLiteral("ctrl+a")))
        return fail(QStringLiteral("l3afpad did not start"));
    int gtkMisses = 0;
    const auto gtkTimes = openTimes(desktop, x, sentence, gtkMisses);
    if (!gtkTimes)
        return fail(QStringLiteral("the palette did not open over l3afpad"));
    const qint64 usedRss = residentKilobytes(pid);

    std::printf("bench-palette: hot key released -> palette on screen, Qt test editor: %s; "
                "%d copies missed\n",
                qPrintable(summary(*qtTimes)), qtMisses);
    std::printf("bench-palette: hot key released -> palette on screen, l3afpad: %s; "
                "%d copies missed\n",
                qPrintable(summary(*gtkTimes)), gtkMisses);
    std::printf("bench-palette: Return -> replaced text in the Qt test editor: %s\n",
                qPrintable(summary(replaceTimes)));
    std::printf("bench-palette: idle resident memory %.1f MB; after %d palettes %.1f MB\n",
                idleRss / 1024.0, 2 * openRuns + replaceRuns, usedRss / 1024.0);
    std::printf("bench-palette: idle wake-ups (context switches, all threads) %.2f per second "
                "over %d s\n",
                idleWakeUps, idleSeconds);
    return 0;
}
