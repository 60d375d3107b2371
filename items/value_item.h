// The VALUE item: a small holder of one input and one output of the SPU
// engine, with an optional timer that posts TIMER messages to its shell. It
// is a plain object, not a CShellItem: it is never shared or locked.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "base/text.h"
#include "numeric/matrix.h"

class CShell;

class CShellValue {
public:
    explicit CShellValue(CShell& shell);
    ~CShellValue();
    CShellValue(const CShellValue&) = delete;
    CShellValue& operator=(const CShellValue&) = delete;

    // The output's data: a text or numbers.
    enum EDataType { DATA_NONE = 0, DATA_STRING = 1, DATA_NUMBER = 2, DATA_VECTOR = 3, DATA_ARRAY = 4 };

    // Starts (or restarts) the timer with the stored timeout and delay; stops it.
    void StartTimer();
    void StopTimer();

    std::mutex m_lock; // guards the data against the timer thread and readers
    EDataType m_type = DATA_NONE;
    Text m_text;
    Matrix m_value;
    bool m_bDataOnly = false;
    Text m_input; // the name of the output the input is connected to
    int m_timeout = 100;
    int m_delay = 0;
    bool m_bTimer = false;
    std::chrono::steady_clock::time_point m_created;
    std::chrono::steady_clock::time_point m_lastTick;

    // The value as text: the string, a scalar by "%.20lg", else the numbers joined by blanks.
    Text DataText();

private:
    void TimerMain(uint64_t generation);
    CShell& m_shell;
    std::thread m_timer;
    std::condition_variable m_wake;
    uint64_t m_generation = 0;
    bool m_stop = false;
};

// Registers the VALUE item kind.
void RegisterValues();
