#include "DesktopTestMain.h"
#include "SnippetDesktop.h"

using namespace SnippetDesktop;

// Wendle expanding snippets in l3afpad, a GTK editor: another toolkit's
// paste, read back from the file the editor saves.
class TestSnippetsGtk : public QObject {
    Q_OBJECT
private:
    DesktopSession& desktop() { return DesktopSession::current(); }
    std::optional<GtkEditor> m_editor;
    int m_files = 0;

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(writeUserFiles({{";sig", signature}, {";addr", address}}, true));
        QVERIFY(startWendle(desktop()));
    }

    void init() {
        m_editor = startGtkEditor(desktop(), QStringLiteral("gtk-%1.txt").arg(++m_files));
        QVERIFY(m_editor);
        QVERIFY(desktop().activate(m_editor->window));
    }

    void cleanup() {
        if (m_editor)
            desktop().stop(m_editor->process);
        m_editor.reset();
    }

    void typedAbbreviationBecomesTheExpansionAndTheClipboardStays() {
        const ClipboardContent before;
        QVERIFY(ownClipboard(desktop(), before));
        QVERIFY(desktop().activate(m_editor->window));
        QVERIFY(desktop().type(QStringLiteral("Hello ;sig")));
        // The expansion goes over the clipboard, which then holds the old
        // content again; only then is the editor asked to save.
        QVERIFY(DesktopSession::waitUntil(
            [&] { return desktop().clipboard() == signature.toUtf8(); }, 3000));
        QVERIFY(clipboardHolds(desktop(), before, 3000));
        QVERIFY(gtkEditorSaves(desktop(), *m_editor, QStringLiteral("Hello ") + signature));
    }

    void backspaceWhileTypingStillExpands() {
        QVERIFY(desktop().type(QStringLiteral(";si")));
        QVERIFY(desktop().key(QStringLiteral("BackSpace")));
        QVERIFY(desktop().type(QStringLiteral("ig")));
        QVERIFY(gtkEditorSaves(desktop(), *m_editor, signature));
    }

    void typingOnRightAfterTheAbbreviation_data() { typingOnRows(); }

    void typingOnRightAfterTheAbbreviation() {
        // What is typed during the expansion waits for it, in order.
        QFETCH(int, delayMs);
        QVERIFY(typeSlowly(desktop(), typedOn, delayMs));
        QVERIFY2(gtkEditorSaves(desktop(), *m_editor, typedOnResult),
                 qPrintable(m_editor->saved()));
    }

    void capitalsDoNotExpand() {
        QVERIFY(desktop().type(QStringLiteral(";SIG ;addr")));
        QVERIFY2(gtkEditorSaves(desktop(), *m_editor, QStringLiteral(";SIG ") + address),
                 qPrintable(m_editor->saved()));
    }
};

WENDLE_DESKTOP_TEST_MAIN(TestSnippetsGtk,
                         (DesktopSession::Options{.windowManager = true, .trayHost = true}))
#include "tst_snippets_gtk.moc"
