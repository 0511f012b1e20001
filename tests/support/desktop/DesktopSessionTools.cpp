// What a test does on the desktop: keys, the pointer and windows through
// xdotool, the clipboard through xclip, screenshots through ImageMagick, and
// the test editor.

#include "DesktopSession.h"

#include <QFile>

std::optional<QByteArray> DesktopSession::xdotool(const QStringList& arguments) {
    return run(QStringLiteral("xdotool"), arguments);
}

bool DesktopSession::key(const QString& keys) {
    return xdotool(QStringList{QStringLiteral("key")} +
                   keys.split(QLatin1Char(' '), Qt::SkipEmptyParts))
        .has_value();
}

bool DesktopSession::keyDown(const QString& keys) {
    return xdotool(QStringList{QStringLiteral("keydown")} +
                   keys.split(QLatin1Char(' '), Qt::SkipEmptyParts))
        .has_value();
}

bool DesktopSession::keyUp(const QString& keys) {
    return xdotool(QStringList{QStringLiteral("keyup")} +
                   keys.split(QLatin1Char(' '), Qt::SkipEmptyParts))
        .has_value();
}

bool DesktopSession::type(const QString& text) {
    return xdotool({QStringLiteral("type"), QStringLiteral("--delay"), QStringLiteral("12"), text})
        .has_value();
}

bool DesktopSession::mouseMove(int x, int y, quint64 window) {
    QStringList arguments{QStringLiteral("mousemove")};
    if (window)
        arguments << QStringLiteral("--window") << QString::number(window);
    arguments << QString::number(x) << QString::number(y);
    return xdotool(arguments).has_value();
}

bool DesktopSession::click(int button, int repeat) {
    return xdotool({QStringLiteral("click"), QStringLiteral("--repeat"), QString::number(repeat),
                    QString::number(button)})
        .has_value();
}

quint64 DesktopSession::findWindow(const QString& kind, const QString& pattern, int timeoutMs) {
    quint64 found = 0;
    waitUntil(
        [&] {
            const auto out =
                run(QStringLiteral("xdotool"),
                    {QStringLiteral("search"), QStringLiteral("--onlyvisible"), kind, pattern});
            if (out)
                found = out->split('\n').value(0).trimmed().toULongLong();
            return found != 0;
        },
        timeoutMs);
    return found;
}

quint64 DesktopSession::findWindowByName(const QString& pattern, int timeoutMs) {
    return findWindow(QStringLiteral("--name"), pattern, timeoutMs);
}

quint64 DesktopSession::findWindowByClass(const QString& pattern, int timeoutMs) {
    return findWindow(QStringLiteral("--class"), pattern, timeoutMs);
}

bool DesktopSession::activate(quint64 window) {
    return xdotool({QStringLiteral("windowactivate"), QStringLiteral("--sync"),
                    QString::number(window)})
        .has_value();
}

bool DesktopSession::focus(quint64 window) {
    return xdotool(
               {QStringLiteral("windowfocus"), QStringLiteral("--sync"), QString::number(window)})
        .has_value();
}

quint64 DesktopSession::focusedWindow() {
    const auto out = xdotool({QStringLiteral("getwindowfocus")});
    return out ? out->trimmed().toULongLong() : 0;
}

std::optional<QByteArray> DesktopSession::clipboard(const QString& target) {
    return run(QStringLiteral("xclip"),
               {QStringLiteral("-o"), QStringLiteral("-selection"), QStringLiteral("clipboard"),
                QStringLiteral("-t"), target});
}

QStringList DesktopSession::clipboardTargets() {
    const auto out = clipboard(QStringLiteral("TARGETS"));
    if (!out)
        return {};
    return QString::fromLatin1(*out).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

bool DesktopSession::setClipboard(const QByteArray& bytes, const QString& target) {
    // -quiet keeps xclip in the foreground, so it stays ours to end.
    QProcess* xclip =
        start(QStringLiteral("xclip"),
              {QStringLiteral("-quiet"), QStringLiteral("-i"), QStringLiteral("-selection"),
               QStringLiteral("clipboard"), QStringLiteral("-t"), target});
    if (!xclip)
        return false;
    xclip->write(bytes);
    xclip->closeWriteChannel();
    return waitUntil(
        [&] {
            const auto out = clipboard(target);
            return out && *out == bytes;
        },
        5000);
}

bool DesktopSession::screenshot(const QString& path) {
    return run(QStringLiteral("import"), {QStringLiteral("-window"), QStringLiteral("root"), path})
        .has_value();
}

QString DesktopSession::Editor::text() const {
    QFile f(file);
    if (!f.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(f.readAll());
}

QString DesktopSession::editorProgram() {
    return QStringLiteral(WENDLE_TEST_EDITOR);
}

std::optional<DesktopSession::Editor> DesktopSession::startEditor(const EditorOptions& options) {
    Editor editor;
    editor.file = m_temp.filePath(QStringLiteral("editor-%1.txt").arg(m_started + 1));
    QStringList arguments{QStringLiteral("--file"), editor.file, QStringLiteral("--title"),
                          options.title};
    if (!options.text.isEmpty())
        arguments << QStringLiteral("--text") << options.text;
    if (options.selectAll)
        arguments << QStringLiteral("--select-all");
    else if (options.selectionStart >= 0 && options.selectionEnd >= 0)
        arguments << QStringLiteral("--select")
                  << QStringLiteral("%1:%2").arg(options.selectionStart).arg(options.selectionEnd);
    if (options.busyBeforePasteMs > 0)
        arguments << QStringLiteral("--busy-before-paste")
                  << QString::number(options.busyBeforePasteMs);
    editor.process = start(editorProgram(), arguments);
    if (!editor.process)
        return std::nullopt;
    editor.window =
        findWindowByName(QLatin1Char('^') + options.title + QLatin1Char('$'), programStartMs);
    if (!editor.window || !waitUntil([&] { return QFile::exists(editor.file); }, programStartMs)) {
        qWarning("test editor did not come up (window %llu, %s, exit code %d); its output: %s",
                 editor.window,
                 editor.process->state() == QProcess::Running ? "running" : "not running",
                 editor.process->exitCode(), output(editor.process).constData());
        stop(editor.process);
        return std::nullopt;
    }
    return editor;
}
