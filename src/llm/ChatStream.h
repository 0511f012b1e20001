#pragma once

#include "llm/ClientError.h"

#include <QObject>
#include <QString>

// One model run in flight: emits the reply's text pieces in arrival order,
// then exactly one of finished() or failed(). abort(), or destroying the
// object, cancels the request; after that nothing more is emitted.
class ChatStream : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
    ~ChatStream() override = default;

    virtual void abort() = 0;
    // True once finished() or failed() was emitted, or after abort().
    virtual bool isOver() const = 0;

Q_SIGNALS:
    void piece(const QString& text);
    void finished();
    void failed(const ClientError& error);
};
