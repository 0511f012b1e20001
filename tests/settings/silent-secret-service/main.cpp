// A Secret Service that takes the bus name and never answers a call, for
// testing that keychain calls give up instead of hanging.
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <cstdio>

class Silence : public QDBusVirtualObject {
public:
    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage&, const QDBusConnection&) override {
        return true; // taken, and no reply ever comes
    }
};

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    Silence silence;
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.registerVirtualObject(QStringLiteral("/"), &silence, QDBusConnection::SubPath) ||
        !bus.registerService(QStringLiteral("org.freedesktop.secrets"))) {
        std::fputs("cannot take org.freedesktop.secrets\n", stderr);
        return 1;
    }
    std::puts("ready");
    std::fflush(stdout);
    return app.exec();
}
