// Sound files made by sox for the tests, and sox's own reading of them.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

#include "base/text.h"

// A fresh folder of this test process under /tmp.
inline std::string TestFolder() {
    static const std::string folder = [] {
        std::string f = "/tmp/kvo_signal_test_" + std::to_string(::getpid());
        std::system(("rm -rf " + f + " && mkdir -p " + f).c_str());
        return f;
    }();
    return folder;
}

inline std::string TestPath(const std::string& name) {
    return TestFolder() + "/" + name;
}

// A path in the folder with no file behind it (tests may run repeatedly in one process).
inline std::string FreshPath(const std::string& name) {
    const std::string path = TestPath(name);
    std::remove(path.c_str());
    return path;
}

// Runs sox with the given arguments; true on success.
inline bool Sox(const std::string& args) {
    return std::system(("sox " + args + " 2>/dev/null").c_str()) == 0;
}

// Every sample of the file as sox reads it, interleaved, in full scale 1.0.
inline std::vector<double> SoxSamples(const std::string& path) {
    std::vector<double> out;
    FILE* pipe = ::popen(("sox '" + path + "' -t f64 - 2>/dev/null").c_str(), "r");
    if (!pipe) return out;
    double block[1024];
    size_t n;
    while ((n = std::fread(block, sizeof(double), 1024, pipe)) > 0) out.insert(out.end(), block, block + n);
    ::pclose(pipe);
    return out;
}

inline std::vector<unsigned char> FileBytes(const std::string& path) {
    std::vector<unsigned char> out;
    FILE* f = std::fopen(path.c_str(), "rb");
    if (!f) return out;
    int c;
    while ((c = std::fgetc(f)) != EOF) out.push_back(static_cast<unsigned char>(c));
    std::fclose(f);
    return out;
}

inline void WriteBytes(const std::string& path, const std::vector<unsigned char>& bytes) {
    FILE* f = std::fopen(path.c_str(), "wb");
    std::fwrite(bytes.data(), 1, bytes.size(), f);
    std::fclose(f);
}

inline uint32_t Le32(const std::vector<unsigned char>& b, size_t at) {
    return uint32_t(b[at]) | uint32_t(b[at + 1]) << 8 | uint32_t(b[at + 2]) << 16 | uint32_t(b[at + 3]) << 24;
}

// A Wave file with a dir5 chunk of `entries` x 20 bytes (+ `extra`) between fmt and data.
inline std::string WaveWithDir5(const std::string& name, int extra) {
    const std::string plain = TestPath("plain_" + name);
    Sox("-n -r 8000 -c 1 -b 16 -e signed -t wavpcm " + plain + " synth 0.1 sine 440");
    std::vector<unsigned char> b = FileBytes(plain);
    std::vector<unsigned char> dir(40 + extra, 0);
    dir[0] = 1;
    std::memcpy(&dir[1], "VOWEL   ", 8);
    std::memcpy(&dir[9], "A  ", 3);
    dir[12] = 100;
    dir[16] = 0x2C;
    dir[17] = 0x01; // 300
    dir[20] = 1;    // the last entry is the end whatever it says
    std::memcpy(&dir[21], "LOST", 4);
    std::vector<unsigned char> chunk = {'d', 'i', 'r', '5', static_cast<unsigned char>(dir.size()), 0, 0, 0};
    chunk.insert(chunk.end(), dir.begin(), dir.end());
    b.insert(b.begin() + 36, chunk.begin(), chunk.end());
    const std::string path = TestPath(name);
    WriteBytes(path, b);
    return path;
}
