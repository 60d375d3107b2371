#include "signal/audio_engine.h"

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <portaudio.h>
#include <unistd.h>

#include "shell/message_codes.h"
#include "shell/rc_codes.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

namespace {

constexpr const wchar_t* kSilentName = L"silent device";

struct SDeviceLists {
    std::vector<SAudioDevice> lists[2]; // output, input
};

// PortAudio's ALSA back end reports every missing card on stderr; the lists are
// made quietly.
bool InitialisePortAudio() {
    static const bool ok = [] {
        const int saved = ::dup(2);
        const int null = ::open("/dev/null", O_WRONLY);
        if (null >= 0) ::dup2(null, 2);
        const bool initialised = Pa_Initialize() == paNoError;
        if (saved >= 0) {
            ::dup2(saved, 2);
            ::close(saved);
        }
        if (null >= 0) ::close(null);
        return initialised;
    }();
    return ok;
}

SAudioDevice SilentDevice() {
    SAudioDevice d;
    d.name = kSilentName;
    d.driver = L"silent";
    d.number = -2;
    d.inChannels = d.outChannels = 128;
    d.defaultRate = 44100;
    return d;
}

const SDeviceLists& Lists() {
    static const SDeviceLists lists = [] {
        SDeviceLists out;
        for (int input = 0; input < 2; ++input) {
            std::vector<SAudioDevice>& list = out.lists[input];
            std::vector<SAudioDevice> found;
            int fallback = -1;
            if (InitialisePortAudio()) {
                fallback = input ? Pa_GetDefaultInputDevice() : Pa_GetDefaultOutputDevice();
                const int count = Pa_GetDeviceCount();
                for (int i = 0; i < count; ++i) {
                    const PaDeviceInfo* info = Pa_GetDeviceInfo(i);
                    if (!info || (input ? info->maxInputChannels : info->maxOutputChannels) <= 0) continue;
                    SAudioDevice d;
                    d.name = FromUtf8(info->name ? info->name : "");
                    d.driver = L"PortAudio";
                    d.number = i;
                    d.inChannels = info->maxInputChannels;
                    d.outChannels = info->maxOutputChannels;
                    d.defaultRate = info->defaultSampleRate;
                    found.push_back(d);
                }
            }
            // The default device comes first: the system's default, else the silent one.
            SAudioDevice first = SilentDevice();
            for (const SAudioDevice& d : found)
                if (d.number == fallback) first = d;
            first.name = L"default (" + first.name + L")";
            list.push_back(first);
            list.insert(list.end(), found.begin(), found.end());
            list.push_back(SilentDevice());
        }
        return out;
    }();
    return lists;
}

PaSampleFormat PaFormat(int coding) {
    switch (coding) {
    case CODING_PCM8:
        return paUInt8;
    case CODING_PCM24:
        return paInt24;
    case CODING_PCM32:
        return paInt32;
    case CODING_FLOAT:
        return paFloat32;
    default:
        return paInt16;
    }
}

} // namespace

const std::vector<SAudioDevice>& AudioDevices(bool input) {
    return Lists().lists[input ? 1 : 0];
}

Text DeviceListText(bool input, int selected) {
    Text out;
    const auto& list = AudioDevices(input);
    for (size_t i = 0; i < list.size(); ++i) {
        out += Format(L"%s;", list[i].name.c_str());
        if (static_cast<int>(i) == selected) out += L"*;";
    }
    return out;
}

Text DeviceCapsText(bool input, int index) {
    const auto& list = AudioDevices(input);
    if (index < 0 || index >= static_cast<int>(list.size())) return Text();
    const SAudioDevice& d = list[static_cast<size_t>(index)];
    const int channels = input ? d.inChannels : d.outChannels;
    Text out;
    for (double rate : kCapsRates) {
        bool can = d.number == -2;
        if (!can && InitialisePortAudio()) {
            PaStreamParameters p{};
            p.device = d.number;
            p.channelCount = std::min(channels, 2);
            p.sampleFormat = paInt16;
            can =
                Pa_IsFormatSupported(input ? &p : nullptr, input ? nullptr : &p, rate) == paFormatIsSupported;
        }
        if (can) out += Format(L"%d ", static_cast<int>(rate));
    }
    out += L"PCM8 PCM16 PCM20 PCM24 PCM32 FLOAT ";
    out += Format(L"%d ", channels);
    return out;
}

CAudioEngine& CAudioEngine::Of(bool record) {
    static CAudioEngine engines[2];
    return engines[record ? 1 : 0];
}

CAudioEngine::~CAudioEngine() {
    Stop();
}

bool CAudioEngine::RunningFor(const void* source) const {
    std::lock_guard lock(m_lock);
    return m_state.load() == 2 && m_source == source;
}

int CAudioEngine::Start(const SAudioRequest& request) {
    if (!request.wave || !request.wave->IsValid()) return RC_INVALID_ARGUMENT;
    if (request.record && request.coding != CODING_PCM16 && request.coding != CODING_PCM32)
        return RC_TOO_MANY_ARGUMENTS;
    const auto& list = AudioDevices(request.record);
    if (request.device >= 0 && request.device < static_cast<int>(list.size())) {
        const SAudioDevice& device = list[static_cast<size_t>(request.device)];
        if (device.number >= 0) {
            PaStreamParameters p{};
            p.device = device.number;
            p.channelCount = request.wave->GetChannels();
            p.sampleFormat = PaFormat(request.coding);
            if (Pa_IsFormatSupported(request.record ? &p : nullptr, request.record ? nullptr : &p,
                                     request.wave->GetRate()) != paFormatIsSupported)
                return RC_INVALID_OPTION;
        }
    }
    std::unique_lock lock(m_lock);
    if (m_state.load() == 2) return RC_DEVICE_NOT_READY_SILENT;
    if (m_thread.joinable()) m_thread.join();
    const int access = request.record ? SFIO_READWRITE : SFIO_READ;
    int error = 0;
    std::unique_ptr<CSfio, CSfioCloser> sfio(
        request.wave->CreateSfio(access | CODING_FLOAT | (request.reversed ? SFIO_REVERSED : 0), error,
                                 request.blockFrames, request.begin, request.end));
    if (!sfio) return error == RC_SFIO_WITHOUT_SOUNDFILE ? RC_NO_SFIO_BUFFER : RC_INVALID_ARGUMENT;
    m_stop = false;
    m_position = 0;
    m_length = sfio->Length();
    m_source = request.source;
    m_state = 2;
    m_thread = std::thread(&CAudioEngine::Run, this, request, std::move(sfio));
    return 0;
}

void CAudioEngine::Stop(void* source) {
    std::thread running;
    {
        std::lock_guard lock(m_lock);
        if (source && m_source != source) return;
        m_stop = true;
        if (m_thread.joinable() && m_thread.get_id() != std::this_thread::get_id())
            running = std::move(m_thread);
    }
    // The thread takes the lock once more on its way out.
    if (running.joinable()) running.join();
}

void CAudioEngine::Post(const SAudioRequest& request, uint32_t code, long long param) {
    if (!request.env) return;
    // Whoever stops the engine may hold the environment lock while it waits for this
    // thread (a shell that ends with its items): then the message is not needed.
    for (;;) {
        std::unique_lock lock(request.env->Lock(), std::try_to_lock);
        if (lock.owns_lock()) {
            if (CShell* shell = request.env->FindShell(request.shellId))
                shell->Post(request.source, code, static_cast<intptr_t>(param));
            return;
        }
        if (m_stop.load()) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void CAudioEngine::Run(SAudioRequest request, std::unique_ptr<CSfio, CSfioCloser> sfio) {
    const auto& list = AudioDevices(request.record);
    const SAudioDevice device =
        list.at(request.device >= 0 && request.device < static_cast<int>(list.size()) ? request.device : 0);
    const int channels = sfio->Channels();
    const double rate = request.wave->GetRate();
    const long long block = sfio->BufferFrames();
    // The engine's own block, lent to the SFIO: a short last block of a recording is
    // handed over by lending a shorter view of it.
    std::vector<float> ownBlock(static_cast<size_t>(block * channels));
    float* frames = ownBlock.data();
    sfio->SetBuffer(block, frames);
    std::vector<uint8_t> deviceBlock(static_cast<size_t>(block * channels * 4));
    PaStream* stream = nullptr;
    if (device.number >= 0) {
        PaStreamParameters p{};
        p.device = device.number;
        p.channelCount = channels;
        p.sampleFormat = PaFormat(request.coding);
        // The ring of blocks is the device's buffer: all blocks but the one being filled.
        const double ring = double(std::max(1, request.blocks - 1) * block) / rate;
        const PaDeviceInfo* info = Pa_GetDeviceInfo(device.number);
        p.suggestedLatency =
            std::max(ring, request.record ? info->defaultLowInputLatency : info->defaultLowOutputLatency);
        if (Pa_OpenStream(&stream, request.record ? &p : nullptr, request.record ? nullptr : &p, rate,
                          static_cast<unsigned long>(block), paNoFlag, nullptr, nullptr) != paNoError ||
            Pa_StartStream(stream) != paNoError) {
            if (stream) Pa_CloseStream(stream);
            stream = nullptr;
        }
    }
    const auto start = std::chrono::steady_clock::now();
    long long done = 0;
    while (!m_stop.load()) {
        long long n;
        if (request.record) {
            n = std::min(block, sfio->Length() - sfio->GetPosition());
            if (n <= 0) break;
            if (stream) {
                Pa_ReadStream(stream, deviceBlock.data(), static_cast<unsigned long>(n));
                ConvertSamples(request.coding, deviceBlock.data(), 0, 1, CODING_FLOAT, frames, 0, 1,
                               static_cast<size_t>(n * channels));
            } else {
                std::fill(frames, frames + n * channels, 0.0f);
            }
            sfio->SetBuffer(n, frames);
            const long long written = sfio->Transfer();
            sfio->SetBuffer(block, frames);
            if (written <= 0) break;
        } else {
            n = sfio->Transfer();
            if (n <= 0) break;
            if (request.gain != 1.0f)
                for (long long i = 0; i < n * channels; ++i) frames[i] *= request.gain;
            if (stream) {
                // The last block is filled up with silence.
                std::fill(frames + n * channels, frames + block * channels, 0.0f);
                ConvertSamples(CODING_FLOAT, frames, 0, 1, request.coding, deviceBlock.data(), 0, 1,
                               static_cast<size_t>(block * channels));
                Pa_WriteStream(stream, deviceBlock.data(), static_cast<unsigned long>(block));
            }
        }
        done += n;
        if (!stream) {
            // The silent device keeps time by the clock.
            std::this_thread::sleep_until(start + std::chrono::duration<double>(double(done) / rate));
        }
        m_position = done;
        Post(request, MSG_DEVICE_RUN, done);
        if (n < block) break;
    }
    if (stream) {
        Pa_StopStream(stream);
        Pa_CloseStream(stream);
    }
    sfio.reset();
    {
        std::lock_guard lock(m_lock);
        m_state = 1;
    }
    Post(request, MSG_DEVICE_EXIT, done);
}
