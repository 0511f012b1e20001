#include "palette/PaletteIcons.h"

#include <QHash>
#include <QIcon>
#include <QPainter>

// Outside any namespace, as Qt's macro requires.
static void initialiseResources() {
    Q_INIT_RESOURCE(wendle);
}

namespace PaletteIcons {

namespace {

void ensureResources() {
    static const bool done = [] {
        initialiseResources();
        return true;
    }();
    Q_UNUSED(done);
}

// Freedesktop names that show the same idea, tried in order.
const QHash<QString, QStringList>& themeNames() {
    static const QHash<QString, QStringList> names{
        {QStringLiteral("text.quote"), {QStringLiteral("format-text-blockquote-symbolic")}},
        {QStringLiteral("text.cursor"),
         {QStringLiteral("insert-text-symbolic"), QStringLiteral("insert-text")}},
        {QStringLiteral("exclamationmark.triangle.fill"),
         {QStringLiteral("dialog-warning-symbolic"), QStringLiteral("dialog-warning")}},
        {QStringLiteral("wand.and.stars"), {}},
    };
    return names;
}

QIcon iconFor(const QString& name) {
    ensureResources();
    for (const QString& themeName : themeNames().value(name)) {
        if (QIcon::hasThemeIcon(themeName))
            return QIcon::fromTheme(themeName);
    }
    return QIcon(QStringLiteral(":/icons/%1.svg").arg(name));
}

} // namespace

QPixmap symbol(const QString& name, int size, const QColor& colour, qreal devicePixelRatio) {
    const int pixels = qRound(size * devicePixelRatio);
    QPixmap shape = iconFor(name).pixmap(QSize(pixels, pixels));
    QPixmap tinted(pixels, pixels);
    tinted.fill(Qt::transparent);
    QPainter painter(&tinted);
    painter.drawPixmap(QRect(0, 0, pixels, pixels), shape);
    // Keep the shape, replace its colours: symbols take the colour of the
    // text next to them.
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(tinted.rect(), colour);
    painter.end();
    tinted.setDevicePixelRatio(devicePixelRatio);
    return tinted;
}

QString appIconPath() {
    ensureResources();
    return QStringLiteral(":/wendle.svg");
}

} // namespace PaletteIcons
