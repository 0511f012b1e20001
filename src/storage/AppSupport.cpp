#include "storage/AppSupport.h"

#include <QDir>
#include <QStandardPaths>

namespace AppSupport {

QString folder() {
    // GenericDataLocation rather than AppDataLocation: the latter would nest
    // the organisation and application names ("Wendle/Wendle").
    const QStringList roots =
        QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation);
    if (roots.isEmpty())
        qFatal("No per-user data folder is known on this system");
    const QString path = QDir(roots.first()).filePath(QStringLiteral("Wendle"));
    QDir().mkpath(path);
    return path;
}

QString fileURL(const QString& name) {
    return QDir(folder()).filePath(name);
}

} // namespace AppSupport
