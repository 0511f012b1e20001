// Owns the CLIPBOARD with the given formats, as another program would after a
// copy, and runs until it is ended.
//
//   wendle-clip-owner [--primary] [--hang] FORMAT=FILE...
//
// FORMAT is a Qt format name ("text/plain" is served as UTF8_STRING, STRING
// and TEXT; any other name as the target of that name). Prints "owned" once
// the clipboard is set. --primary owns the PRIMARY selection instead (what a
// program shows selected). --hang then stops handling events, as a program
// that hangs while it owns the clipboard: it answers no request any more.

#include <QApplication>
#include <QClipboard>
#include <QFile>
#include <QMimeData>

#include <cstdio>

#include <unistd.h>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    auto* data = new QMimeData;
    QClipboard::Mode mode = QClipboard::Clipboard;
    bool hang = false;
    for (const QString& argument : QApplication::arguments().mid(1)) {
        if (argument == QLatin1String("--primary")) {
            mode = QClipboard::Selection;
            continue;
        }
        if (argument == QLatin1String("--hang")) {
            hang = true;
            continue;
        }
        const qsizetype eq = argument.indexOf(QLatin1Char('='));
        QFile file(argument.mid(eq + 1));
        if (eq <= 0 || !file.open(QIODevice::ReadOnly)) {
            std::fprintf(stderr, "clip-owner: bad argument %s\n", qPrintable(argument));
            return 2;
        }
        data->setData(argument.left(eq), file.readAll());
    }
    QClipboard* clipboard = QApplication::clipboard();
    // Qt checks with the server that it owns the selection before it returns.
    clipboard->setMimeData(data, mode);
    std::printf("owned\n");
    std::fflush(stdout);
    if (hang) {
        // Still connected and still the owner, but deaf until it is ended.
        for (;;)
            pause();
    }
    return QApplication::exec();
}
