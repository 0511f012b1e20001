// A tiny editor for end-to-end tests: a QPlainTextEdit that writes its whole
// text to a file after every change (atomically, so a reader never sees half
// of it), and once at start, which tells a test that it is up.
//
//   wendle-test-editor --file PATH [--text TEXT] [--select-all | --select START:END]
//                      [--title TITLE] [--busy-before-paste MS]
//
// Window title: TITLE (default "Wendle Test Editor"); WM_CLASS
// "wendle-test-editor" / "wendle-test-editor". With --busy-before-paste the
// editor is busy for MS milliseconds (its event loop stands still) whenever
// it gets the paste keystroke, before it asks for the clipboard, as a slow
// application is; it prints "busy" when that begins.

#include <QApplication>
#include <QCommandLineParser>
#include <QKeyEvent>
#include <QPlainTextEdit>
#include <QSaveFile>
#include <QTextCursor>
#include <QThread>

#include <cstdio>

namespace {

void save(const QString& path, const QString& text) {
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(text.toUtf8());
        file.commit();
    }
}

class Editor : public QPlainTextEdit {
public:
    int busyBeforePasteMs = 0;

protected:
    void keyPressEvent(QKeyEvent* event) override {
        if (busyBeforePasteMs > 0 && event->matches(QKeySequence::Paste)) {
            std::printf("busy\n");
            std::fflush(stdout);
            QThread::msleep(busyBeforePasteMs); // busy, on purpose
        }
        QPlainTextEdit::keyPressEvent(event);
    }
};

} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("wendle-test-editor"));

    QCommandLineParser parser;
    const QCommandLineOption fileOption(QStringLiteral("file"), QStringLiteral("Text file"),
                                        QStringLiteral("path"));
    const QCommandLineOption textOption(QStringLiteral("text"), QStringLiteral("Initial text"),
                                        QStringLiteral("text"));
    const QCommandLineOption selectAllOption(QStringLiteral("select-all"),
                                             QStringLiteral("Select the whole text"));
    const QCommandLineOption selectOption(QStringLiteral("select"),
                                          QStringLiteral("Select characters START to END"),
                                          QStringLiteral("start:end"));
    const QCommandLineOption titleOption(QStringLiteral("title"), QStringLiteral("Window title"),
                                         QStringLiteral("title"),
                                         QStringLiteral("Wendle Test Editor"));
    const QCommandLineOption busyOption(
        QStringLiteral("busy-before-paste"),
        QStringLiteral("Be busy for MS milliseconds on a paste keystroke"), QStringLiteral("ms"));
    parser.addOptions(
        {fileOption, textOption, selectAllOption, selectOption, titleOption, busyOption});
    parser.addHelpOption();
    parser.process(app);
    if (!parser.isSet(fileOption))
        parser.showHelp(2);
    const QString path = parser.value(fileOption);

    Editor editor;
    editor.busyBeforePasteMs = parser.value(busyOption).toInt();
    editor.setWindowTitle(parser.value(titleOption));
    editor.resize(600, 300);
    editor.setPlainText(parser.value(textOption));
    QTextCursor cursor = editor.textCursor();
    if (parser.isSet(selectAllOption)) {
        cursor.select(QTextCursor::Document);
    } else if (parser.isSet(selectOption)) {
        const QStringList range = parser.value(selectOption).split(QLatin1Char(':'));
        cursor.setPosition(range.value(0).toInt());
        cursor.setPosition(range.value(1).toInt(), QTextCursor::KeepAnchor);
    } else {
        cursor.movePosition(QTextCursor::End);
    }
    editor.setTextCursor(cursor);

    QObject::connect(&editor, &QPlainTextEdit::textChanged,
                     [&] { save(path, editor.toPlainText()); });
    editor.show();
    save(path, editor.toPlainText());
    return QApplication::exec();
}
