#pragma once

#include "llm/ChatStream.h"

#include <QList>
#include <QPointer>

// A model run the test plays by hand: it emits what the test tells it to and
// records whether the palette aborted it.
class FakeChatStream : public ChatStream {
    Q_OBJECT
public:
    QString instruction;
    QString text;
    bool aborted = false;
    bool over = false;

    void abort() override {
        aborted = true;
        over = true;
    }
    bool isOver() const override { return over; }

    void sendPiece(const QString& piece) { Q_EMIT this->piece(piece); }
    void finish() {
        over = true;
        Q_EMIT finished();
    }
    void fail(const ClientError& error) {
        over = true;
        Q_EMIT failed(error);
    }
};

// Makes FakeChatStreams and keeps track of them, also after the palette has
// deleted them.
class FakeStreams {
public:
    QList<QPointer<FakeChatStream>> made;
    QList<QString> instructions;
    QList<QString> texts;

    auto factory() {
        return [this](const QString& instruction, const QString& text) -> ChatStream* {
            auto* stream = new FakeChatStream;
            stream->instruction = instruction;
            stream->text = text;
            made.append(stream);
            instructions.append(instruction);
            texts.append(text);
            return stream;
        };
    }
    FakeChatStream* last() const { return made.isEmpty() ? nullptr : made.last().data(); }
};
