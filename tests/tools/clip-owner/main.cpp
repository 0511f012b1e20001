// Owns the CLIPBOARD with the given formats, as another program would after a
// copy, and runs until it is ended.
//
//   wendle-clip-owner FORMAT=FILE...
//
// FORMAT is a Qt format name ("text/plain" is served as UTF8_STRING, STRING
// and TEXT; any other name as the target of that name). Prints "owned" once
// the clipboard is set.

#include <QApplication>
#include <QClipboard>
#include <QFile>
#include <QMimeData>

#include <cstdio>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    auto* data = new QMimeData;
    for (const QString& argument : QApplication::arguments().mid(1)) {
        const qsizetype eq = argument.indexOf(QLatin1Char('='));
        QFile file(argument.mid(eq + 1));
        if (eq <= 0 || !file.open(QIODevice::ReadOnly)) {
            std::fprintf(stderr, "clip-owner: bad argument %s\n", qPrintable(argument));
            return 2;
        }
        data->setData(argument.left(eq), file.readAll());
    }
    QClipboard* clipboard = QApplication::clipboard();
    clipboard->setMimeData(data, QClipboard::Clipboard);
    std::printf("owned\n");
    std::fflush(stdout);
    return QApplication::exec();
}
