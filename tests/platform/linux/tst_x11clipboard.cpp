// Snapshot and restore of the CLIPBOARD, compared byte for byte and target by
// target with what xclip reads: plain text, HTML with text, a PNG image, a
// GTK editor's copy, and the empty clipboard. Also the change count.

#include "X11TestSupport.h"

#include "DesktopTestMain.h"

#include <QBuffer>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QPainter>

namespace {

const QStringList metaTargets = {QStringLiteral("TARGETS"), QStringLiteral("MULTIPLE"),
                                 QStringLiteral("TIMESTAMP"), QStringLiteral("SAVE_TARGETS"),
                                 QStringLiteral("DELETE")};

QString clipOwner() {
    return QStringLiteral(WENDLE_CLIP_OWNER);
}

} // namespace

class TestX11Clipboard : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void plainText();
    void htmlWithText();
    void pngImage();
    void gtkEditorCopy();
    void emptyStaysEmpty();
    void changeCountFollowsEveryChange();

private:
    DesktopSession& desktop() { return DesktopSession::current(); }
    Clipboard& clipboard() { return m_platform->clipboard(); }
    // Every target the clipboard offers now (but the meta targets) with the
    // bytes xclip reads for it; targets xclip cannot read are left out.
    QMap<QString, QByteArray> readAllTargets();
    ClipboardSnapshot timedSnapshot(const char* what);
    // The clipboard's text as Wendle reads it (empty when none can be used).
    QString readText() { return QCoro::waitFor(clipboard().text()).text; }
    std::unique_ptr<X11Platform> m_platform;
};

void TestX11Clipboard::initTestCase() {
    QString error;
    m_platform = createX11Platform(&error);
    QVERIFY2(m_platform, qPrintable(error));
}

void TestX11Clipboard::cleanupTestCase() {
    m_platform.reset();
}

QMap<QString, QByteArray> TestX11Clipboard::readAllTargets() {
    QMap<QString, QByteArray> result;
    for (const QString& target : desktop().clipboardTargets()) {
        if (metaTargets.contains(target))
            continue;
        if (const auto bytes = desktop().clipboard(target))
            result.insert(target, *bytes);
    }
    return result;
}

ClipboardSnapshot TestX11Clipboard::timedSnapshot(const char* what) {
    QElapsedTimer timer;
    timer.start();
    const std::optional<ClipboardSnapshot> answer = QCoro::waitFor(clipboard().snapshot());
    if (!answer)
        qWarning("snapshot of %s: no answer", what);
    ClipboardSnapshot snapshot = answer.value_or(ClipboardSnapshot{});
    qsizetype bytes = 0;
    for (const auto& item : snapshot.items) {
        for (const auto& representation : item)
            bytes += representation.second.size();
    }
    qInfo("snapshot of %s: %.2f ms, %lld bytes in %lld formats", what, timer.nsecsElapsed() / 1e6,
          qlonglong(bytes), qlonglong(snapshot.items.value(0).size()));
    return snapshot;
}

void TestX11Clipboard::plainText() {
    const QByteArray text = QStringLiteral("héllo wörld ✓\n  second line ").toUtf8();
    QVERIFY(desktop().setClipboard(text));
    const ClipboardSnapshot snapshot = timedSnapshot("UTF8_STRING text");
    QCOMPARE(snapshot.items.size(), 1);
    QVERIFY(snapshot.items[0].contains({QStringLiteral("text/plain"), text}));
    QCOMPARE(readText(), QString::fromUtf8(text));

    clipboard().setText(QStringLiteral("in between"));
    QCOMPARE(desktop().clipboard(), std::optional<QByteArray>("in between"));
    clipboard().restore(snapshot);
    QCOMPARE(desktop().clipboard(QStringLiteral("UTF8_STRING")), std::optional<QByteArray>(text));
    QVERIFY(desktop().clipboardTargets().contains(QStringLiteral("UTF8_STRING")));
}

void TestX11Clipboard::htmlWithText() {
    const QString dir = desktop().tempPath();
    const QByteArray html = "<meta charset=\"utf-8\"><b>Bold</b> and <i>ünïcode</i>";
    const QByteArray text = "Bold and ünïcode";
    {
        QFile h(dir + QStringLiteral("/h.html"));
        QVERIFY(h.open(QIODevice::WriteOnly));
        h.write(html);
        QFile t(dir + QStringLiteral("/t.txt"));
        QVERIFY(t.open(QIODevice::WriteOnly));
        t.write(text);
    }
    QProcess* owner = desktop().start(
        clipOwner(), {QStringLiteral("text/html=") + dir + QStringLiteral("/h.html"),
                      QStringLiteral("text/plain=") + dir + QStringLiteral("/t.txt")});
    QVERIFY(owner);
    QVERIFY(DesktopSession::waitUntil(
        [&] { return desktop().clipboardTargets().contains(QStringLiteral("text/html")); }));
    const QMap<QString, QByteArray> before = readAllTargets();
    QCOMPARE(before.value(QStringLiteral("text/html")), html);
    QCOMPARE(before.value(QStringLiteral("UTF8_STRING")), text);

    const ClipboardSnapshot snapshot = timedSnapshot("HTML and text");
    clipboard().setText(QStringLiteral("in between"));
    // The owner ends: whatever comes back now comes from the snapshot.
    desktop().stop(owner);
    clipboard().restore(snapshot);
    QCOMPARE(readAllTargets(), before);
}

void TestX11Clipboard::pngImage() {
    QImage image(120, 80, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        painter.fillRect(10, 10, 60, 40, QColor(200, 40, 90, 180));
        painter.drawEllipse(50, 20, 60, 50);
    }
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    QVERIFY(image.save(&buffer, "PNG"));

    QVERIFY(desktop().setClipboard(png, QStringLiteral("image/png")));
    const ClipboardSnapshot snapshot = timedSnapshot("a PNG image");
    QCOMPARE(snapshot.items.size(), 1);
    for (const auto& [format, bytes] : snapshot.items[0])
        QVERIFY2(format != QStringLiteral("application/x-qt-image"), "Qt's synthetic image kept");
    clipboard().setText(QStringLiteral("in between"));
    clipboard().restore(snapshot);
    QCOMPARE(desktop().clipboard(QStringLiteral("image/png")), std::optional<QByteArray>(png));
    QVERIFY(desktop().clipboardTargets().contains(QStringLiteral("image/png")));
}

void TestX11Clipboard::gtkEditorCopy() {
    const QString file = desktop().tempPath() + QStringLiteral("/gtk.txt");
    {
        QFile f(file);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("GTK text: grüße, 1 2 3");
    }
    QProcess* gtk = desktop().start(QStringLiteral("l3afpad"), {file});
    QVERIFY(gtk);
    const quint64 window =
        desktop().findWindowByName(QStringLiteral("gtk.txt"), DesktopSession::programStartMs);
    QVERIFY(window);
    QVERIFY(desktop().activate(window));
    QVERIFY(desktop().setClipboard("before"));
    QVERIFY(desktop().key(QStringLiteral("ctrl+a ctrl+c")));
    QVERIFY(DesktopSession::waitUntil([&] {
        return desktop().clipboard() == std::optional<QByteArray>("GTK text: grüße, 1 2 3");
    }));
    const QMap<QString, QByteArray> before = readAllTargets();
    qInfo() << "l3afpad offers" << desktop().clipboardTargets();

    const ClipboardSnapshot snapshot = timedSnapshot("a GTK editor's copy");
    clipboard().setText(QStringLiteral("in between"));
    // The editor ends: whatever comes back now comes from the snapshot.
    desktop().stop(gtk);
    clipboard().restore(snapshot);
    const QMap<QString, QByteArray> after = readAllTargets();
    QStringList differing;
    for (auto it = before.cbegin(); it != before.cend(); ++it) {
        if (after.value(it.key()) != it.value())
            differing.append(it.key());
    }
    // Qt reads and serves UTF8_STRING, STRING, TEXT and a bare "text/plain"
    // as one format: GTK's bare "text/plain" (ASCII with \u escapes) comes
    // back as the UTF-8 text. Everything else is the same, byte for byte.
    QCOMPARE(differing, QStringList{QStringLiteral("text/plain")});
    QCOMPARE(after.value(QStringLiteral("text/plain")), after.value(QStringLiteral("UTF8_STRING")));
    for (const QString& target :
         {QStringLiteral("GTK_TEXT_BUFFER_CONTENTS"),
          QStringLiteral("application/x-gtk-text-buffer-rich-text"), QStringLiteral("UTF8_STRING"),
          QStringLiteral("COMPOUND_TEXT"), QStringLiteral("text/plain;charset=utf-8")})
        QVERIFY2(before.contains(target) && after.value(target) == before.value(target),
                 qPrintable(target));
}

void TestX11Clipboard::emptyStaysEmpty() {
    // An owner that ends leaves the clipboard without one.
    QVERIFY(desktop().setClipboard("short-lived"));
    desktop().stopPrograms();
    QVERIFY(DesktopSession::waitUntil([&] { return desktop().clipboardTargets().isEmpty(); }));
    const ClipboardSnapshot empty = timedSnapshot("an empty clipboard");
    QVERIFY(empty.isEmpty());
    QCOMPARE(readText(), QString());

    clipboard().setText(QStringLiteral("filled"));
    QCOMPARE(desktop().clipboard(), std::optional<QByteArray>("filled"));
    clipboard().restore(empty);
    QVERIFY(desktop().clipboardTargets().isEmpty());
    QCOMPARE(desktop().clipboard(), std::nullopt);
    QCOMPARE(readText(), QString());
}

void TestX11Clipboard::changeCountFollowsEveryChange() {
    const quint64 start = clipboard().changeCount();
    QVERIFY(desktop().setClipboard("external"));
    QVERIFY(DesktopSession::waitUntil([&] { return clipboard().changeCount() > start; }));
    const quint64 afterExternal = clipboard().changeCount();
    clipboard().setText(QStringLiteral("ours"));
    QVERIFY(clipboard().changeCount() > afterExternal);
    const quint64 afterOurs = clipboard().changeCount();
    QVERIFY(desktop().setClipboard("external again"));
    QVERIFY(DesktopSession::waitUntil([&] { return clipboard().changeCount() > afterOurs; }));
    // Reading changes nothing.
    const quint64 settledCount = clipboard().changeCount();
    QCOMPARE(readText(), QStringLiteral("external again"));
    timedSnapshot("a settled clipboard");
    QCOMPARE(clipboard().changeCount(), settledCount);
}

WENDLE_DESKTOP_TEST_MAIN(TestX11Clipboard, (DesktopSession::Options{.windowManager = true}))

#include "tst_x11clipboard.moc"
