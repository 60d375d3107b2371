// Sound files made by sox for the tests, and sox's own reading of them.
#pragma once

#include <cstdio>
#include <cstdlib>
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
