#pragma once

#include <memory>

// Cooperative cancellation for coroutines on the main thread. The owner keeps
// the token and calls cancel(); the coroutine keeps a copy and checks
// isCancelled() after every co_await, writing nothing further once it is set.
class CancelToken {
public:
    CancelToken()
        : m_flag(std::make_shared<bool>(false)) {}

    void cancel() const { *m_flag = true; }
    bool isCancelled() const { return *m_flag; }

private:
    std::shared_ptr<bool> m_flag;
};
