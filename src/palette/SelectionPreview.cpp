#include "palette/SelectionPreview.h"

#include <QTextBoundaryFinder>

namespace SelectionPreview {

QString text(const QString& selection) {
    QString flat = selection;
    flat.replace(QLatin1Char('\n'), QLatin1Char(' '));

    // Count grapheme clusters, not UTF-16 units, so that an emoji or a letter
    // with combining marks counts once and is never cut in half.
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, flat);
    int count = 0;
    qsizetype cut = -1;
    while (finder.toNextBoundary() != -1) {
        ++count;
        if (count == maximumLength)
            cut = finder.position();
        if (count > maximumLength)
            return flat.left(cut) + QChar(0x2026);
    }
    return flat;
}

} // namespace SelectionPreview
