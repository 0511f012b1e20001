#include "platform/linux/X11Platform.h"

#include "platform/linux/X11ClipboardKeeper.h"

#include <QGuiApplication>

X11Platform::X11Platform(std::unique_ptr<XConnection> connection)
    : m_connection(std::move(connection))
    , m_frontWindow(*m_connection)
    , m_hotKey(*m_connection)
    , m_keySender(*m_connection, m_frontWindow)
    , m_keyWatcher(*m_connection, &m_keySender.hold())
    , m_modifierState(*m_connection)
    , m_clipboard(*m_connection) {}

X11Platform::~X11Platform() = default;

std::unique_ptr<Platform> Platform::create(QString* error) {
    auto fail = [error](const QString& reason) {
        if (error)
            *error = reason;
        return nullptr;
    };
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        return fail(QStringLiteral("Wendle's desktop services need a running QGuiApplication."));
    const QString qpa = QGuiApplication::platformName();
    if (qpa != QLatin1StringView("xcb"))
        return fail(QStringLiteral("Wendle needs an X11 session (Qt's \"xcb\" platform), but runs "
                                   "on \"%1\". In a Wayland session, start it with "
                                   "QT_QPA_PLATFORM=xcb under XWayland.")
                        .arg(qpa));
    std::unique_ptr<XConnection> connection = XConnection::open(error);
    if (!connection)
        return nullptr;
    return std::make_unique<X11Platform>(std::move(connection));
}

std::optional<int> Platform::runHelper(int argc, char* argv[]) {
    if (argc == 2 && qstrcmp(argv[1], X11ClipboardKeeper::argument) == 0)
        return X11ClipboardKeeper::run(argc, argv);
    return std::nullopt;
}
