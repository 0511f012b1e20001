#include "platform/linux/X11ClipboardKeeper.h"

#include "platform/linux/X11Clipboard.h"
#include "platform/linux/XConnection.h"

#include <QClipboard>
#include <QCoreApplication>
#include <QCoroTask>
#include <QDir>
#include <QGuiApplication>
#include <QProcess>

#include <xcb/xcb.h>

#include <cstdlib>
#include <optional>

namespace X11ClipboardKeeper {

namespace {

xcb_connection_t* qtConnection() {
    auto* x11 = qApp ? qApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    return x11 ? x11->connection() : nullptr;
}

xcb_window_t selectionOwner(xcb_connection_t* connection, const char* selection) {
    if (!connection)
        return XCB_NONE;
    const auto atomCookie = xcb_intern_atom(connection, 0, uint16_t(qstrlen(selection)), selection);
    xcb_intern_atom_reply_t* atom = xcb_intern_atom_reply(connection, atomCookie, nullptr);
    if (!atom)
        return XCB_NONE;
    const auto ownerCookie = xcb_get_selection_owner(connection, atom->atom);
    std::free(atom);
    xcb_get_selection_owner_reply_t* owner =
        xcb_get_selection_owner_reply(connection, ownerCookie, nullptr);
    if (!owner)
        return XCB_NONE;
    const xcb_window_t window = owner->owner;
    std::free(owner);
    return window;
}

void quitSoon() {
    QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
}

// Reads the clipboard from `owner`, takes it over, and ends the keeper once
// another program has taken it.
QCoro::Task<> takeOver(X11Clipboard& clipboard, xcb_window_t owner) {
    const std::optional<ClipboardSnapshot> content = co_await clipboard.snapshot();
    // Nothing to keep; or another program took the clipboard while it was
    // read, and its content is the newer one.
    if (!content || content->isEmpty() || selectionOwner(qtConnection(), "CLIPBOARD") != owner) {
        quitSoon();
        co_return;
    }
    clipboard.restore(*content);
    QClipboard* qtClipboard = QGuiApplication::clipboard();
    if (!qtClipboard->ownsClipboard()) {
        quitSoon();
        co_return;
    }
    QObject::connect(qtClipboard, &QClipboard::changed, qApp, [qtClipboard](QClipboard::Mode mode) {
        if (mode == QClipboard::Clipboard && !qtClipboard->ownsClipboard())
            QCoreApplication::quit();
    });
}

} // namespace

bool managerRuns() {
    return selectionOwner(qtConnection(), "CLIPBOARD_MANAGER") != XCB_NONE;
}

bool start() {
    QProcess keeper;
    keeper.setProgram(QCoreApplication::applicationFilePath());
    keeper.setArguments({QString::fromLatin1(argument)});
    // It may live on long after this process: it holds on to no folder and
    // none of this process's output.
    keeper.setWorkingDirectory(QDir::rootPath());
    keeper.setStandardInputFile(QProcess::nullDevice());
    keeper.setStandardOutputFile(QProcess::nullDevice());
    keeper.setStandardErrorFile(QProcess::nullDevice());
    return keeper.startDetached();
}

int run(int argc, char* argv[]) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "xcb");
    QGuiApplication app(argc, argv);
    xcb_connection_t* connection = qtConnection();
    const xcb_window_t owner = selectionOwner(connection, "CLIPBOARD");
    if (owner == XCB_NONE)
        return 0;
    // The clipboard is read on a connection of our own, like Wendle's.
    const std::unique_ptr<XConnection> own = XConnection::open(nullptr);
    if (!own)
        return 1;
    X11Clipboard clipboard(*own);
    // Runs on from the event loop; the task's frame lives until it ends.
    takeOver(clipboard, owner);
    return QGuiApplication::exec();
}

} // namespace X11ClipboardKeeper
