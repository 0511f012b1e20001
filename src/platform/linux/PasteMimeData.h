#pragma once

#include <QMimeData>

// The clipboard content of one paste: the text, plus whatever marker formats
// ask clipboard managers to leave it out of their history. Qt asks it for its
// data whenever a program requests a target of the selection, so it can tell
// when the paste target has fetched the text.
class PasteMimeData : public QMimeData {
    Q_OBJECT
public:
    explicit PasteMimeData(const QString& text);

    // The data formats that carry the text (not the markers).
    static bool carriesText(const QString& format);

Q_SIGNALS:
    // The text was handed out under `format`. Queued: whoever reacts (by
    // replacing the clipboard) does so after Qt has sent the data, never
    // while Qt is still reading this object.
    void textFetched(const QString& format);

protected:
    QVariant retrieveData(const QString& format, QMetaType type) const override;
};
