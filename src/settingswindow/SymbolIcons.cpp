#include "settingswindow/SymbolIcons.h"

#include <QHash>
#include <QPainter>

// The drawings live in this static library; their registration has to be
// pulled in explicitly, or the linker leaves it out.
static void registerDrawings() {
    static const bool registered = [] {
        Q_INIT_RESOURCE(settings_icons);
        return true;
    }();
    Q_UNUSED(registered);
}

namespace {

QIcon sourceIcon(const QString& symbol) {
    for (const QString& name : SymbolIcons::themeNames(symbol)) {
        if (QIcon::hasThemeIcon(name))
            return QIcon::fromTheme(name);
    }
    registerDrawings();
    return QIcon(SymbolIcons::bundledPath(symbol));
}

} // namespace

namespace SymbolIcons {

QStringList themeNames(const QString& symbol) {
    static const QHash<QString, QStringList> names{
        {QStringLiteral("cpu"), {QStringLiteral("cpu"), QStringLiteral("hwinfo")}},
        {QStringLiteral("list.bullet"),
         {QStringLiteral("view-list-bullet-symbolic"), QStringLiteral("view-list-bullet"),
          QStringLiteral("format-list-unordered")}},
        {QStringLiteral("text.badge.plus"),
         {QStringLiteral("insert-text-symbolic"), QStringLiteral("insert-text")}},
        {QStringLiteral("gearshape"),
         {QStringLiteral("emblem-system-symbolic"), QStringLiteral("configure"),
          QStringLiteral("preferences-system")}},
        {QStringLiteral("checkmark.circle.fill"),
         {QStringLiteral("emblem-ok-symbolic"), QStringLiteral("emblem-checked")}},
        {QStringLiteral("exclamationmark.triangle.fill"),
         {QStringLiteral("dialog-warning-symbolic"), QStringLiteral("data-warning")}},
        {QStringLiteral("minus.circle"), {QStringLiteral("action-unavailable-symbolic")}},
        {QStringLiteral("plus"), {QStringLiteral("list-add-symbolic"), QStringLiteral("list-add")}},
        {QStringLiteral("minus"),
         {QStringLiteral("list-remove-symbolic"), QStringLiteral("list-remove")}},
        {QStringLiteral("arrow.up"), {QStringLiteral("go-up-symbolic"), QStringLiteral("go-up")}},
        {QStringLiteral("arrow.down"),
         {QStringLiteral("go-down-symbolic"), QStringLiteral("go-down")}},
        {QStringLiteral("magnifyingglass"),
         {QStringLiteral("edit-find-symbolic"), QStringLiteral("system-search-symbolic"),
          QStringLiteral("edit-find")}},
    };
    return names.value(symbol);
}

QString bundledPath(const QString& symbol) {
    return QStringLiteral(":/settings-icons/") + symbol + QStringLiteral(".svg");
}

bool fromTheme(const QString& symbol) {
    for (const QString& name : themeNames(symbol)) {
        if (QIcon::hasThemeIcon(name))
            return true;
    }
    return false;
}

QPixmap pixmap(const QString& symbol, const QColor& color, int size, qreal devicePixelRatio) {
    QPixmap shape = sourceIcon(symbol).pixmap(QSize(size, size), devicePixelRatio);
    if (shape.isNull())
        return shape;
    // Keep the drawing's coverage, replace its colour: theme icons come in
    // the theme's own colour, the bundled drawings in black.
    QPainter painter(&shape);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(QRect(QPoint(0, 0), shape.size() / shape.devicePixelRatio()), color);
    painter.end();
    return shape;
}

QIcon icon(const QString& symbol, const QColor& color) {
    QIcon result;
    for (const int size : {16, 20, 24, 32}) {
        for (const qreal ratio : {1.0, 2.0})
            result.addPixmap(pixmap(symbol, color, size, ratio));
    }
    return result;
}

} // namespace SymbolIcons
