#pragma once

#include <pthread.h>

/// The calling thread cannot be cancelled while this exists. For waits: a thread that is cancelled
/// in one of the C++ library's may end the process.
class NoCancelScope
{
public:
    NoCancelScope() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_before); }
    ~NoCancelScope() { pthread_setcancelstate(m_before, nullptr); }
    NoCancelScope(const NoCancelScope &) = delete;
    NoCancelScope &operator=(const NoCancelScope &) = delete;

private:
    int m_before = 0;
};
