// The wave object below every wave item, and the SFIO: the one cursor through
// which code reads or writes samples of a wave object in a coding of its
// choice.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

#include "shell/rc_codes.h"
#include "signal/sample_coding.h"

constexpr int SFIO_CODING_MASK = 0xFF;
constexpr int SFIO_READ = 0x1000;
constexpr int SFIO_READWRITE = 0x3000;
constexpr int SFIO_ACCESS_MASK = 0x3000;
constexpr int SFIO_REVERSED = 0x4000;

enum EWaveKind : int { WAVE_STREAM = 1, WAVE_SEQUENCE = 2, WAVE_ADC = 3, WAVE_DAC = 4 };

class CSfio;

class CWaveObject {
public:
    explicit CWaveObject(int kind) : m_kind(kind) {}
    virtual ~CWaveObject() = default;
    CWaveObject(const CWaveObject&) = delete;
    CWaveObject& operator=(const CWaveObject&) = delete;

    virtual bool IsValid() const { return m_channels > 0 && m_rate > 0; }
    virtual bool IsRunning() const { return false; }
    // In seconds.
    virtual double GetLength() const { return m_rate > 0 ? double(GetFrames()) / m_rate : 0; }
    virtual void SetPlayRate(double rate) { m_playRate = rate; }
    virtual double GetRate() const { return m_rate; }
    virtual int GetChannels() const { return m_channels; }
    virtual const CChannelSet& GetChannelSet() const { return m_set; }
    virtual long long GetFrames() const { return m_end - m_begin; }
    virtual long long GetBegin() const { return m_begin; }
    virtual long long GetEnd() const { return m_end; }
    // Moves `count` frames at `first` (relative to the object) between the object and
    // `buffer`, interleaved in the coding of `flags`; writes with write access. The count
    // moved, or a negative answer when the object cannot.
    virtual long long Transfer(int /*flags*/, long long /*first*/, long long /*count*/, void* /*buffer*/) {
        return -100;
    }
    // Whether SFIOs with write access may be made.
    virtual bool CanWrite() const { return false; }
    // An SFIO over frames first..end (exclusive); a missing or bad pair means the whole
    // object. Null with `error` set on failure.
    CSfio* CreateSfio(int flags, int& error, long long bufferFrames, long long first = -1,
                      long long end = -1);

    void AddUser() { ++m_users; }
    void ReleaseUser() { --m_users; }
    int Users() const { return m_users.load(); }
    // Deletes the object when nobody uses it.
    bool TryDelete();
    int Kind() const { return m_kind; }

    std::recursive_mutex m_cs;

protected:
    std::atomic<int> m_users{0};
    int m_kind;
    double m_rate = 0;
    double m_playRate = 0;
    long long m_begin = 0;
    long long m_end = 0;
    int m_channels = 0;
    CChannelSet m_set;
};

class CSfio {
public:
    CSfio(CWaveObject& wave, int flags, long long first, long long end);
    ~CSfio();
    CSfio(const CSfio&) = delete;
    CSfio& operator=(const CSfio&) = delete;

    int Flags() const { return m_flags; }
    int Coding() const { return m_flags & SFIO_CODING_MASK; }
    int Channels() const { return m_channels; }
    long long First() const { return m_first; }
    long long End() const { return m_end; }
    long long Length() const { return m_end - m_first; }

    // Drops an owned buffer; allocates one unless `external` is given. Null on failure.
    void* SetBuffer(long long frames, void* external = nullptr);
    void* Buffer() const { return m_pBuffer; }
    long long BufferFrames() const { return m_bufferFrames; }
    // Ignored outside 0..length; answers the position in force.
    long long SetPosition(long long frame);
    long long GetPosition() const { return m_position; }
    // Up to a buffer of frames; 0 at the end, -99 without a buffer.
    long long Transfer();
    // One channel (0-based) between the buffer and the caller, in the SFIO's coding;
    // count 0 means the whole buffer. -100 for a bad channel or size.
    long long ChannelIn(void* samples, int channel, long long count) const;
    long long ChannelOut(const void* samples, int channel, long long count);
    // Frees the buffer and lets go of the wave object; the SFIO is deleted.
    void Close();

private:
    void ReverseFrames(long long frames);

    CWaveObject* m_pWave;
    int m_flags;
    int m_bytesPerSample;
    int m_channels;
    long long m_first;
    long long m_end;
    long long m_position = 0;
    uint8_t* m_pBuffer = nullptr;
    bool m_bOwnsBuffer = false;
    long long m_bufferFrames = 0;
};

// Closes an SFIO when it goes out of scope.
struct CSfioCloser {
    void operator()(CSfio* sfio) const {
        if (sfio) sfio->Close();
    }
};
