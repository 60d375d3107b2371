// Real sound for the tests: speech spoken by espeak-ng into a Wave file,
// read back through the program's own sound file layer as floats of its
// first channel, exactly as a graph reads a wave item.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "signal/sound_file.h"
#include "signal/stream_wave.h"

// The file is unlinked at once and read through the descriptor that stays open:
// nothing is left behind, however the test program ends.
inline std::string SpeechFile() {
    static const std::string path = [] {
        const std::string made = "/tmp/kvo_graphics_speech_" + std::to_string(::getpid()) + ".wav";
        const std::string cmd =
            "espeak-ng -w " + made +
            " 'Displays show sound: a waveform, a parameter track and a scatter of points.' "
            ">/dev/null 2>&1";
        if (std::system(cmd.c_str()) != 0) return std::string();
        const int fd = ::open(made.c_str(), O_RDONLY);
        ::unlink(made.c_str());
        return fd < 0 ? std::string() : "/proc/self/fd/" + std::to_string(fd);
    }();
    return path;
}

// The samples of a sound file's first channel; empty when it cannot be read.
inline std::vector<float> ReadFirstChannel(const std::string& path, double* rate = nullptr) {
    std::vector<float> out;
    CSoundFile file;
    if (path.empty() || file.Open(FromUtf8(path), SFKIND_WAVE | SFACCESS_READ) != 0) return out;
    if (rate) *rate = file.Rate();
    CChannelSet all;
    all.SetAll();
    {
        CStreamWave wave(file, 0, file.Frames(), all);
        int error = 0;
        std::unique_ptr<CSfio, CSfioCloser> sfio(wave.CreateSfio(SFIO_READ | CODING_FLOAT, error, 4096));
        if (!sfio) return out;
        std::vector<float> block(4096);
        for (long long n; (n = sfio->Transfer()) > 0;) {
            sfio->ChannelIn(block.data(), 0, n);
            out.insert(out.end(), block.begin(), block.begin() + n);
        }
    }
    file.Close();
    return out;
}
