#include "DesktopSession.h"

#include "ChildProcess.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QProcessEnvironment>
#include <QThread>

#include <xcb/xcb.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

DesktopSession* currentSession = nullptr;

// The harness's own look at the X server, for readiness checks.
struct XLook {
    xcb_connection_t* c = nullptr;
    xcb_window_t root = XCB_NONE;

    explicit XLook(const QString& display) {
        c = xcb_connect(display.toLocal8Bit().constData(), nullptr);
        if (xcb_connection_has_error(c))
            return;
        root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    }
    ~XLook() { xcb_disconnect(c); }

    xcb_atom_t atom(const char* name) {
        xcb_intern_atom_reply_t* reply =
            xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, quint16(strlen(name)), name), nullptr);
        const xcb_atom_t value = reply ? reply->atom : xcb_atom_t(XCB_NONE);
        std::free(reply);
        return value;
    }
    xcb_window_t windowProperty(xcb_window_t window, xcb_atom_t property) {
        xcb_get_property_reply_t* reply = xcb_get_property_reply(
            c, xcb_get_property(c, 0, window, property, XCB_ATOM_WINDOW, 0, 1), nullptr);
        xcb_window_t value = XCB_NONE;
        if (reply && reply->format == 32 && xcb_get_property_value_length(reply) >= 4)
            value = *static_cast<xcb_window_t*>(xcb_get_property_value(reply));
        std::free(reply);
        return value;
    }
    // The live window manager's check window, or none.
    xcb_window_t windowManager() {
        const xcb_atom_t check = atom("_NET_SUPPORTING_WM_CHECK");
        const xcb_window_t wm = windowProperty(root, check);
        return wm != XCB_NONE && windowProperty(wm, check) == wm ? wm : xcb_window_t(XCB_NONE);
    }
    xcb_window_t selectionOwner(const char* selection) {
        xcb_get_selection_owner_reply_t* reply =
            xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, atom(selection)), nullptr);
        const xcb_window_t owner = reply ? reply->owner : xcb_window_t(XCB_NONE);
        std::free(reply);
        return owner;
    }
};

int fdAbove(int fd, int minimum) {
    // Kept clear of 0..3: the child's fd 3 is made with dup2, which is a no-op
    // (and keeps close-on-exec) if the source already is 3.
    const int moved = fcntl(fd, F_DUPFD_CLOEXEC, minimum);
    ::close(fd);
    return moved;
}

} // namespace

DesktopSession::DesktopSession(const Options& options)
    : m_options(options)
    , m_previous(currentSession) {
    currentSession = this;
    if (!m_temp.isValid()) {
        m_error = QStringLiteral("cannot create a temporary folder");
        return;
    }
    exportVariable("NO_AT_BRIDGE", "1"); // GTK programs would leave accessibility processes
    if (!startDisplay())
        return;
    if (options.keyring && !startKeyring())
        return;
    if (options.windowManager && !startWindowManager())
        return;
    if (options.trayHost && !startTrayHost())
        return;
}

DesktopSession::~DesktopSession() {
    stopPrograms();
    m_trayHost.reset();
    m_windowManager.reset();
    m_keyring.reset();
    m_bus.reset();
    m_xvfb.reset();
    for (auto it = m_savedEnvironment.rbegin(); it != m_savedEnvironment.rend(); ++it) {
        if (it->second)
            qputenv(it->first.constData(), *it->second);
        else
            qunsetenv(it->first.constData());
    }
    if (currentSession == this)
        currentSession = m_previous;
}

DesktopSession& DesktopSession::current() {
    Q_ASSERT_X(currentSession, "DesktopSession::current", "no desktop session");
    return *currentSession;
}

void DesktopSession::exportVariable(const char* name, const QByteArray& value) {
    const bool known = std::any_of(m_savedEnvironment.begin(), m_savedEnvironment.end(),
                                   [&](const auto& saved) { return saved.first == name; });
    if (!known) {
        std::optional<QByteArray> old;
        if (qEnvironmentVariableIsSet(name))
            old = qgetenv(name);
        m_savedEnvironment.emplace_back(QByteArray(name), old);
    }
    qputenv(name, value);
}

bool DesktopSession::startDisplay() {
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) {
        m_error = QStringLiteral("pipe: %1").arg(QString::fromLocal8Bit(strerror(errno)));
        return false;
    }
    const int readEnd = fdAbove(fds[0], 10);
    const int writeEnd = fdAbove(fds[1], 10);
    m_xvfb = std::make_unique<ChildProcess>();
    ChildProcess::Options xvfb;
    xvfb.notifyFd = writeEnd;
    xvfb.logFile = m_temp.filePath(QStringLiteral("xvfb.log"));
    const QString screen =
        QStringLiteral("%1x%2x24").arg(m_options.screen.width()).arg(m_options.screen.height());
    const bool started = m_xvfb->start(QStringLiteral("Xvfb"),
                                       {QStringLiteral("-displayfd"), QStringLiteral("3"),
                                        QStringLiteral("-screen"), QStringLiteral("0"), screen,
                                        QStringLiteral("-nolisten"), QStringLiteral("tcp")},
                                       xvfb);
    ::close(writeEnd);
    // Xvfb writes the display number it picked once it accepts clients.
    QByteArray number;
    QDeadlineTimer deadline(10000);
    while (started && !number.endsWith('\n') && !deadline.hasExpired()) {
        pollfd p{readEnd, POLLIN, 0};
        if (::poll(&p, 1, int(qMax<qint64>(1, deadline.remainingTime()))) <= 0)
            continue;
        char buffer[16];
        const ssize_t n = ::read(readEnd, buffer, sizeof buffer);
        if (n <= 0)
            break;
        number.append(buffer, n);
    }
    ::close(readEnd);
    if (!number.endsWith('\n')) {
        QFile log(xvfb.logFile);
        log.open(QIODevice::ReadOnly);
        m_error =
            QStringLiteral("Xvfb did not start: %1").arg(QString::fromLocal8Bit(log.readAll()));
        return false;
    }
    m_display = QLatin1Char(':') + QString::fromLatin1(number.trimmed());
    exportVariable("DISPLAY", m_display.toLocal8Bit());
    return true;
}

bool DesktopSession::startKeyring() {
    const QString runtime = m_temp.filePath(QStringLiteral("runtime"));
    const QString data = m_temp.filePath(QStringLiteral("keyring-data"));
    QDir().mkpath(runtime);
    QDir().mkpath(data);
    QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);

    m_bus = std::make_unique<ChildProcess>();
    ChildProcess::Options bus;
    bus.captureOutput = true;
    bus.logFile = m_temp.filePath(QStringLiteral("dbus.log"));
    if (!m_bus->start(QStringLiteral("dbus-daemon"),
                      {QStringLiteral("--session"), QStringLiteral("--nofork"),
                       QStringLiteral("--nopidfile"), QStringLiteral("--print-address=1")},
                      bus) ||
        !m_bus->waitForLine("unix:", 10000)) {
        m_error = QStringLiteral("dbus-daemon did not start");
        return false;
    }
    const QByteArray address = m_bus->output().split('\n').value(0).trimmed();
    exportVariable("DBUS_SESSION_BUS_ADDRESS", address);

    // A fresh keyring folder every time: an old keyring with another password
    // unlocks "fine" and then fails every read.
    m_keyring = std::make_unique<ChildProcess>();
    ChildProcess::Options keyring;
    keyring.input = "wendle-test";
    keyring.logFile = m_temp.filePath(QStringLiteral("keyring.log"));
    keyring.environment = {QStringLiteral("XDG_RUNTIME_DIR=") + runtime,
                           QStringLiteral("XDG_DATA_HOME=") + data};
    if (!m_keyring->start(QStringLiteral("gnome-keyring-daemon"),
                          {QStringLiteral("--foreground"), QStringLiteral("--unlock"),
                           QStringLiteral("--components=secrets")},
                          keyring)) {
        m_error = QStringLiteral("gnome-keyring-daemon did not start");
        return false;
    }
    // Ready when the Secret Service has its name on the bus.
    const bool ready = waitUntil(
        [] {
            const auto answer = ChildProcess::runToEnd(
                QStringLiteral("dbus-send"),
                {QStringLiteral("--session"), QStringLiteral("--print-reply=literal"),
                 QStringLiteral("--dest=org.freedesktop.DBus"), QStringLiteral("/"),
                 QStringLiteral("org.freedesktop.DBus.NameHasOwner"),
                 QStringLiteral("string:org.freedesktop.secrets")});
            return answer && answer->contains("true");
        },
        10000);
    if (!ready) {
        m_error = QStringLiteral("the keyring did not appear on the session bus");
        return false;
    }
    exportVariable("GNOME_KEYRING_CONTROL", (runtime + QStringLiteral("/keyring")).toLocal8Bit());
    return true;
}

bool DesktopSession::startWindowManager() {
    if (hasWindowManager())
        return true;
    XLook x(m_display);
    const xcb_window_t before = x.windowProperty(x.root, x.atom("_NET_SUPPORTING_WM_CHECK"));
    m_windowManager = std::make_unique<ChildProcess>();
    ChildProcess::Options options;
    options.logFile = m_temp.filePath(QStringLiteral("openbox.log"));
    if (!m_windowManager->start(QStringLiteral("openbox"), {QStringLiteral("--sm-disable")},
                                options)) {
        m_error = QStringLiteral("openbox did not start");
        return false;
    }
    // A dead window manager's properties stay on the root: wait for a new,
    // live check window.
    const bool ready = waitUntil(
        [&] {
            const xcb_window_t wm = x.windowManager();
            return wm != XCB_NONE && wm != before;
        },
        10000);
    if (!ready)
        m_error = QStringLiteral("openbox did not become ready");
    return ready;
}

void DesktopSession::stopWindowManager() {
    m_windowManager.reset();
}

bool DesktopSession::hasWindowManager() const {
    return m_windowManager && m_windowManager->isRunning();
}

bool DesktopSession::startTrayHost() {
    if (m_trayHost && m_trayHost->isRunning())
        return true;
    m_trayHost = std::make_unique<ChildProcess>();
    ChildProcess::Options options;
    options.logFile = m_temp.filePath(QStringLiteral("trayer.log"));
    if (!m_trayHost->start(QStringLiteral("trayer"),
                           {QStringLiteral("--edge"), QStringLiteral("top"),
                            QStringLiteral("--align"), QStringLiteral("right"),
                            QStringLiteral("--widthtype"), QStringLiteral("request"),
                            QStringLiteral("--height"), QStringLiteral("24"),
                            QStringLiteral("--SetDockType"), QStringLiteral("true")},
                           options)) {
        m_error = QStringLiteral("trayer did not start");
        return false;
    }
    XLook x(m_display);
    const bool ready = waitUntil(
        [&] { return x.selectionOwner("_NET_SYSTEM_TRAY_S0") != XCB_NONE; }, programStartMs);
    if (!ready)
        m_error = QStringLiteral("trayer did not take the system tray selection");
    return ready;
}

void DesktopSession::stopTrayHost() {
    m_trayHost.reset();
}

QProcess* DesktopSession::start(const QString& program, const QStringList& arguments,
                                const QStringList& environment) {
    auto process = std::make_unique<QProcess>();
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const QString& entry : environment)
        env.insert(entry.section(QLatin1Char('='), 0, 0), entry.section(QLatin1Char('='), 1));
    process->setProcessEnvironment(env);
    const QString log = m_temp.filePath(
        QStringLiteral("%1-%2.log").arg(QFileInfo(program).fileName()).arg(++m_started));
    // Should the test crash, the program ends with it rather than linger.
    process->setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
    process->setStandardOutputFile(log);
    process->setStandardErrorFile(log, QIODevice::Append);
    process->start(program, arguments);
    if (!process->waitForStarted(10000))
        return nullptr;
    m_logs.insert(process.get(), log);
    m_processes.push_back(std::move(process));
    return m_processes.back().get();
}

QByteArray DesktopSession::output(QProcess* process) const {
    QFile log(m_logs.value(process));
    return log.open(QIODevice::ReadOnly) ? log.readAll() : QByteArray();
}

void DesktopSession::stop(QProcess* process) {
    const auto it = std::find_if(m_processes.begin(), m_processes.end(),
                                 [&](const auto& p) { return p.get() == process; });
    if (it == m_processes.end())
        return;
    if (process->state() != QProcess::NotRunning) {
        process->terminate();
        if (!waitUntil([&] { return process->state() == QProcess::NotRunning; }, 3000)) {
            process->kill();
            process->waitForFinished(3000);
        }
    }
    m_logs.remove(process);
    m_processes.erase(it);
}

void DesktopSession::stopPrograms() {
    while (!m_processes.empty())
        stop(m_processes.back().get());
}

std::optional<QByteArray> DesktopSession::run(const QString& program, const QStringList& arguments,
                                              const QByteArray& input, int timeoutMs) {
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForStarted(timeoutMs))
        return std::nullopt;
    if (!input.isEmpty())
        process.write(input);
    process.closeWriteChannel();
    // The event loop keeps turning: the command may ask this very process for
    // the clipboard.
    if (!waitUntil([&] { return process.state() == QProcess::NotRunning; }, timeoutMs)) {
        process.kill();
        process.waitForFinished(3000);
        return std::nullopt;
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return std::nullopt;
    return process.readAllStandardOutput();
}

bool DesktopSession::waitUntil(const std::function<bool()>& condition, int timeoutMs) {
    QDeadlineTimer deadline(timeoutMs);
    while (!condition()) {
        if (deadline.hasExpired())
            return condition();
        if (QCoreApplication::instance())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::usleep(1000);
    }
    return true;
}

QList<qint64> DesktopSession::processIds() const {
    QList<qint64> ids;
    for (const auto* child : {&m_xvfb, &m_windowManager, &m_trayHost, &m_bus, &m_keyring}) {
        if (*child && (*child)->pid() > 0)
            ids.append((*child)->pid());
    }
    for (const auto& process : m_processes) {
        if (process->processId() > 0)
            ids.append(process->processId());
    }
    return ids;
}
