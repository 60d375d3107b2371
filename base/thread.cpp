#include "base/thread.h"

#include <pthread.h>

CThread::~CThread() {
    Join();
}

void* CThread::Entry(void* self) {
    static_cast<CThread*>(self)->m_body();
    return nullptr;
}

bool CThread::Start(std::function<void()> body, size_t stackBytes) {
    if (m_started) return false;
    m_body = std::move(body);
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    if (stackBytes) pthread_attr_setstacksize(&attr, stackBytes);
    pthread_t handle;
    const int rc = pthread_create(&handle, &attr, &CThread::Entry, this);
    pthread_attr_destroy(&attr);
    if (rc != 0) return false;
    m_handle = handle;
    m_started = true;
    return true;
}

void CThread::Join() {
    if (!m_started) return;
    if (IsCurrent()) {
        pthread_detach(static_cast<pthread_t>(m_handle));
    } else {
        pthread_join(static_cast<pthread_t>(m_handle), nullptr);
    }
    m_started = false;
}

bool CThread::IsCurrent() const {
    return m_started && pthread_equal(pthread_self(), static_cast<pthread_t>(m_handle));
}
