// The per-thread queue of posted triples (code, source, parameter). Every
// message between threads travels this way: a shell's thread, an SPU's
// thread and each audio thread own one. A message may carry an owned payload
// (a text, a table of dropped files, ...) that the queue frees if the message
// is never taken.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>

#include "base/text.h"

struct SPayload {
    virtual ~SPayload() = default;
};

struct STextPayload : SPayload {
    explicit STextPayload(Text t) : text(std::move(t)) {}
    Text text;
};

struct SMessage {
    uint32_t code = 0;
    void* source = nullptr;
    intptr_t param = 0;
    std::unique_ptr<SPayload> payload;
};

class CMessageQueue {
public:
    // False once the queue is closed.
    bool Post(SMessage message);
    bool Post(uint32_t code, void* source, intptr_t param, std::unique_ptr<SPayload> payload = {}) {
        return Post(SMessage{code, source, param, std::move(payload)});
    }
    // With `block`, waits until a message is there (or the queue is closed);
    // without, takes one only if one is waiting. True when `out` was filled.
    bool Receive(SMessage& out, bool block);
    // Waits at most `milliseconds`.
    bool ReceiveFor(SMessage& out, unsigned milliseconds);
    // Refuse further posts and wake a blocked receiver; waiting messages stay.
    void Close();
    bool Closed() const;
    size_t Size() const;
    void Clear();

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_ready;
    std::deque<SMessage> m_messages;
    int m_waiting = 0;
    bool m_closed = false;
};
