#include "settings/Preferences.h"

#include <QCoreApplication>
#include <QSettings>

namespace Preferences {

void applyIdentity() {
    QCoreApplication::setOrganizationName(QStringLiteral("Wendle"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("wendle.app"));
    QCoreApplication::setApplicationName(QStringLiteral("Wendle"));
    QCoreApplication::setApplicationVersion(QStringLiteral(WENDLE_VERSION));
}

QSettings& shared() {
    static QSettings* settings = new QSettings(QSettings::NativeFormat, QSettings::UserScope,
                                               QStringLiteral("Wendle"), QStringLiteral("Wendle"));
    return *settings;
}

} // namespace Preferences
