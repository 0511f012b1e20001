#pragma once

#include <QCoroSignal>
#include <QCoroTask>
#include <QTimer>

#include <functional>

// A yes/no question put to the user (a permission alert), answered when the
// test decides. Until then it stays open: whoever asked is suspended, and
// nothing blocks the event loop.
class PendingQuestion {
public:
    int asked = 0;
    // Runs when the question is asked, before any answer.
    std::function<void()> onAsked;

    // The prompt to install: asks this question.
    std::function<QCoro::Task<bool>()> prompt() {
        return [this]() -> QCoro::Task<bool> {
            ++asked;
            m_open = true;
            if (onAsked)
                onAsked();
            co_await qCoro(&m_answered, &QTimer::timeout);
            m_open = false;
            co_return m_answer;
        };
    }

    bool isOpen() const { return m_open; }

    // The user's choice: true for the first button ("Continue"). It reaches
    // the asker on the next turn of the event loop.
    void answer(bool yes) {
        m_answer = yes;
        m_answered.setSingleShot(true);
        m_answered.start(0);
    }

    // A prompt whose answer is given at once, without a turn of the loop.
    static std::function<QCoro::Task<bool>()> answeredAtOnce(bool yes) {
        return [yes]() -> QCoro::Task<bool> { co_return yes; };
    }

private:
    QTimer m_answered;
    bool m_answer = false;
    bool m_open = false;
};
