#pragma once

#include "llm/ChatStream.h"

#include <QObject>

#include <optional>

// The end of a chat run as one signal to await, whichever way it comes:
// finished, failed, or given up by the command itself.
class RunEnd : public QObject {
    Q_OBJECT
public:
    explicit RunEnd(ChatStream* stream);

    // Ends the wait without a result (the command stopped the run itself).
    void giveUp();

    bool isOver() const { return m_over; }
    bool finished() const { return m_finished; }
    const std::optional<ClientError>& error() const { return m_error; }

Q_SIGNALS:
    void ended();

private:
    void end();

    bool m_over = false;
    bool m_finished = false;
    std::optional<ClientError> m_error;
};
