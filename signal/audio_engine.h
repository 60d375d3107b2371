// Playing and recording: one engine a direction, each with its own thread
// that moves blocks between an SFIO and a device. Devices are those of
// PortAudio plus a built-in silent device that plays into nothing and records
// silence, paced in real time, so that machines without a sound card play too.
#pragma once

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "base/text.h"
#include "signal/wave_object.h"

class CShellEnv;

struct SAudioDevice {
    Text name;
    Text driver;     // "PortAudio", "silent"
    int number = -1; // the device number of its driver; -1 for the default device
    int inChannels = 0;
    int outChannels = 0;
    double defaultRate = 0;
};

// Capability flags of a device: one bit a rate from 0x10000 up.
constexpr unsigned CAPS_RATE_FIRST = 0x10000;
constexpr double kCapsRates[] = {8000, 11025, 16000, 22050, 32000, 44100, 48000};

// The device lists: the default device first, the silent device last.
const std::vector<SAudioDevice>& AudioDevices(bool input);
// "name;" for every device, the selected one followed by "*;".
Text DeviceListText(bool input, int selected);
// "8000 11025 ... PCM16 PCM24 ... 2 ": what a device can, in the words of the status keys.
Text DeviceCapsText(bool input, int index);

// A request to one engine.
struct SAudioRequest {
    bool record = false;
    CWaveObject* wave = nullptr; // kept in use for the length of the run
    int device = 0;              // index in the list
    int coding = CODING_PCM16;
    bool reversed = false;
    long long begin = 0, end = 0;
    long long blockFrames = 0;
    int blocks = 4;
    float gain = 1.0f;
    CShellEnv* env = nullptr;
    Text shellId;           // the shell told of positions and the end
    void* source = nullptr; // the item named in those messages
};

class CAudioEngine {
public:
    // The engine of a direction, for the process.
    static CAudioEngine& Of(bool record);
    ~CAudioEngine();

    // 0, or 4 (invalid wave), 5 (device will not open), 437 (busy).
    int Start(const SAudioRequest& request);
    // Ends a run of `source` (any run with null); waits for the thread.
    void Stop(void* source = nullptr);
    // 0 no thread, 1 idle, 2 running, 4 closing.
    int State() const { return m_state.load(); }
    bool RunningFor(const void* source) const;
    long long Position() const { return m_position.load(); }
    long long Length() const { return m_length.load(); }

private:
    void Run(SAudioRequest request, std::unique_ptr<CSfio, CSfioCloser> sfio);
    void Post(const SAudioRequest& request, uint32_t code, long long param);

    mutable std::mutex m_lock;
    std::thread m_thread;
    std::atomic<int> m_state{0};
    std::atomic<bool> m_stop{false};
    std::atomic<long long> m_position{0};
    std::atomic<long long> m_length{0};
    void* m_source = nullptr;
};
