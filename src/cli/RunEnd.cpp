#include "cli/RunEnd.h"

RunEnd::RunEnd(ChatStream* stream) {
    connect(stream, &ChatStream::finished, this, [this] {
        m_finished = true;
        end();
    });
    connect(stream, &ChatStream::failed, this, [this](const ClientError& error) {
        m_error = error;
        end();
    });
}

void RunEnd::giveUp() {
    end();
}

void RunEnd::end() {
    if (m_over)
        return;
    m_over = true;
    Q_EMIT ended();
}
