// Reading the CLIPBOARD and PRIMARY never waits on their owner: an owner
// that never answers makes a read give up within its limit while the event
// loop keeps running; large data arrives in pieces (INCR); PRIMARY counts
// only as what the focused program shows selected; a password manager's
// secret is never read as text, but a snapshot keeps it byte for byte.

#include "X11TestSupport.h"

#include "DesktopTestMain.h"
#include "platform/linux/X11SelectionReader.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTimer>

namespace {

// The clipboard test tool with `formats` (format, bytes) written to files.
QProcess* startOwner(DesktopSession& desktop, const QList<QPair<QString, QByteArray>>& formats,
                     const QStringList& options = {}) {
    static int files = 0;
    QStringList arguments = options;
    for (const auto& [format, bytes] : formats) {
        const QString path = desktop.tempPath() + QStringLiteral("/reads-%1").arg(++files);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            return nullptr;
        arguments.append(format + QLatin1Char('=') + path);
    }
    QProcess* owner = desktop.start(QStringLiteral(WENDLE_CLIP_OWNER), arguments);
    if (!owner ||
        !DesktopSession::waitUntil([&] { return desktop.output(owner).contains("owned"); }))
        return nullptr;
    return owner;
}

const QByteArray password = "correct horse battery staple";

} // namespace

class TestX11ClipboardReads : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() {
        QString error;
        m_platform = createX11Platform(&error);
        QVERIFY2(m_platform, qPrintable(error));
    }
    void cleanupTestCase() { m_platform.reset(); }
    void cleanup() { desktop().stopPrograms(); }

    void anOwnerThatNeverAnswersIsGivenUpOnWithoutBlocking() {
        QProcess* owner = startOwner(
            desktop(), {{QStringLiteral("text/plain"), QByteArray("held by a hung program")}},
            {QStringLiteral("--hang")});
        QVERIFY(owner);

        // A timer keeps firing while the reads wait.
        int ticks = 0;
        QTimer ticker;
        connect(&ticker, &QTimer::timeout, [&] { ++ticks; });
        ticker.start(20);
        QElapsedTimer clock;
        clock.start();
        const std::optional<ClipboardSnapshot> snapshot = QCoro::waitFor(clipboard().snapshot());
        const qint64 snapshotMs = clock.restart();
        const ClipboardText text = QCoro::waitFor(clipboard().text());
        const qint64 textMs = clock.elapsed();
        qInfo("gave up on the hung owner after %lld ms (snapshot) and %lld ms (text), %d ticks",
              qlonglong(snapshotMs), qlonglong(textMs), ticks);

        QVERIFY(!snapshot);
        QCOMPARE(text, (ClipboardText{ClipboardText::Status::noAnswer, {}}));
        const qint64 limit = X11SelectionReader::defaultLimit.count();
        QVERIFY2(snapshotMs >= limit && snapshotMs < limit + 400,
                 qPrintable(QString::number(snapshotMs)));
        QVERIFY2(textMs >= limit && textMs < limit + 400, qPrintable(QString::number(textMs)));
        // 2 × 500 ms at one tick per 20 ms: most of the 50 ticks came.
        QVERIFY2(ticks >= 30, qPrintable(QString::number(ticks)));
    }

    void largeTextArrivesInPieces() {
        // xclip sends anything above about 1 MB through INCR.
        QByteArray large;
        for (int line = 0; large.size() < 3 * 1024 * 1024; ++line)
            large += "line " + QByteArray::number(line) + " of a long text, grüße\n";
        QVERIFY(desktop().setClipboard(large));
        QElapsedTimer clock;
        clock.start();
        const ClipboardText text = QCoro::waitFor(clipboard().text());
        qInfo("read %lld bytes in %lld ms", qlonglong(large.size()), qlonglong(clock.elapsed()));
        QCOMPARE(text.status, ClipboardText::Status::read);
        QVERIFY(text.text.toUtf8() == large);
        const std::optional<ClipboardSnapshot> snapshot = QCoro::waitFor(clipboard().snapshot());
        QVERIFY(snapshot);
        QVERIFY(snapshot->items.value(0).contains({QStringLiteral("text/plain"), large}));
    }

    void primaryIsTheFocusedProgramsSelection() {
        QVERIFY(desktop().setClipboard("on the clipboard"));
        auto editor = desktop().startEditor({.text = QStringLiteral("selected in an editor")});
        QVERIFY(editor);
        QVERIFY(desktop().focus(editor->window));
        // Qt editors take PRIMARY for what the user selects.
        QVERIFY(desktop().key(QStringLiteral("ctrl+a")));
        QVERIFY(DesktopSession::waitUntil([&] {
            return QCoro::waitFor(clipboard().primaryText()) ==
                   ClipboardText{ClipboardText::Status::read,
                                 QStringLiteral("selected in an editor")};
        }));
        QCOMPARE(QCoro::waitFor(clipboard().text()).text, QStringLiteral("on the clipboard"));

        // Another program takes PRIMARY: that is not what the focused
        // editor shows selected.
        QProcess* owner = startOwner(
            desktop(), {{QStringLiteral("text/plain"), QByteArray("selected elsewhere")}},
            {QStringLiteral("--primary")});
        QVERIFY(owner);
        QCOMPARE(QCoro::waitFor(clipboard().primaryText()), ClipboardText{});
    }

    void aSecretIsNeverReadAsTextButKeptByteForByte() {
        QProcess* owner =
            startOwner(desktop(), {{QStringLiteral("text/plain"), password},
                                   {QStringLiteral("x-kde-passwordManagerHint"), "secret"}});
        QVERIFY(owner);
        QCOMPARE(QCoro::waitFor(clipboard().text()),
                 (ClipboardText{ClipboardText::Status::secret, {}}));
        const std::optional<ClipboardSnapshot> snapshot = QCoro::waitFor(clipboard().snapshot());
        QVERIFY(snapshot);

        // The password manager ends: what comes back comes from the snapshot.
        clipboard().setText(QStringLiteral("in between"));
        desktop().stop(owner);
        clipboard().restore(*snapshot);
        QCOMPARE(desktop().clipboard(), std::optional<QByteArray>(password));
        QCOMPARE(desktop().clipboard(QStringLiteral("x-kde-passwordManagerHint")),
                 std::optional<QByteArray>("secret"));
        QCOMPARE(QCoro::waitFor(clipboard().text()).status, ClipboardText::Status::secret);
    }

    void otherSecretMarksAndOtherHintValues() {
        QProcess* concealed =
            startOwner(desktop(), {{QStringLiteral("text/plain"), password},
                                   {QStringLiteral("org.nspasteboard.ConcealedType"), ""}});
        QVERIFY(concealed);
        QCOMPARE(QCoro::waitFor(clipboard().text()).status, ClipboardText::Status::secret);
        desktop().stop(concealed);

        // The hint with another value marks nothing.
        QProcess* plain =
            startOwner(desktop(), {{QStringLiteral("text/plain"), QByteArray("not a secret")},
                                   {QStringLiteral("x-kde-passwordManagerHint"), "public"}});
        QVERIFY(plain);
        QCOMPARE(QCoro::waitFor(clipboard().text()),
                 (ClipboardText{ClipboardText::Status::read, QStringLiteral("not a secret")}));
    }

private:
    DesktopSession& desktop() { return DesktopSession::current(); }
    Clipboard& clipboard() { return m_platform->clipboard(); }
    std::unique_ptr<X11Platform> m_platform;
};

WENDLE_DESKTOP_TEST_MAIN(TestX11ClipboardReads, (DesktopSession::Options{}))

#include "tst_x11clipboardreads.moc"
