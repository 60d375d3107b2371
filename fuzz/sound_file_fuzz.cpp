// Sound files come from anywhere: any bytes either open as KV5 or Wave with a
// header that stays inside the file, or are refused; frames of a file that
// opens read in every coding without touching memory outside the buffers.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

#include "signal/sound_file.h"
#include "signal/stream_wave.h"

namespace {

void CheckHeader(const uint8_t* data, size_t size) {
    CMemorySource source(data, size);
    SSoundHeader header;
    if (ReadSoundHeader(source, header) == 0) return;
    if (header.channels < 1 || header.channels > 256 || header.rate < 1) std::abort();
    if (header.dataOffset < 0 || header.dataLength < 0) std::abort();
    // A directory may claim more than a short file holds: then there are no samples.
    if (uint64_t(header.dataOffset) >= size
            ? header.dataLength != 0
            : uint64_t(header.dataLength) > size - uint64_t(header.dataOffset))
        std::abort();
    if (header.FrameBytes() <= 0) std::abort();
}

void ReadThroughFile(const uint8_t* data, size_t size) {
    const int fd = ::memfd_create("sound", 0);
    if (fd < 0) return;
    if (::write(fd, data, size) != static_cast<ssize_t>(size)) {
        ::close(fd);
        return;
    }
    CSoundFile file;
    if (file.Open(FromUtf8("/proc/self/fd/" + std::to_string(fd)), SFACCESS_READ) == 0) {
        CChannelSet channels;
        channels.Add(2);
        channels.Add(1);
        const long long frames = file.Frames();
        {
            CStreamWave wave(file, 0, frames, channels);
            for (int coding : {CODING_PCM16, CODING_PCM24, CODING_PCM32, CODING_FLOAT}) {
                int error = 0;
                std::unique_ptr<CSfio, CSfioCloser> sfio(
                    wave.CreateSfio(SFIO_READ | SFIO_REVERSED | coding, error, 7));
                if (!sfio) continue;
                long long total = 0;
                for (long long n; (n = sfio->Transfer()) > 0;) total += n;
                if (total != sfio->Length()) std::abort();
            }
        }
        if (file.Close() != 0) std::abort();
    }
    ::close(fd);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    CheckHeader(data, size);
    ReadThroughFile(data, size);
    return 0;
}
