#include "platform/linux/PasteMimeData.h"

#include "platform/ClipboardMarkers.h"

#include <QMetaObject>

PasteMimeData::PasteMimeData(const QString& text) {
    setText(text);
    for (const auto& [format, value] : ClipboardMarkers::transientMarkers())
        setData(format, value);
}

bool PasteMimeData::carriesText(const QString& format) {
    // Qt serves UTF8_STRING, STRING, TEXT and text/plain;charset=utf-8 all
    // from "text/plain".
    return format.startsWith(QLatin1String("text/plain"));
}

QVariant PasteMimeData::retrieveData(const QString& format, QMetaType type) const {
    if (carriesText(format)) {
        auto* self = const_cast<PasteMimeData*>(this);
        QMetaObject::invokeMethod(
            self, [self, format] { Q_EMIT self->textFetched(format); }, Qt::QueuedConnection);
    }
    return QMimeData::retrieveData(format, type);
}
