// The Sequence wave object: sections of generated signal placed on a time
// line, each with its own shape and a chain of transformations. Sections are
// generated when first read; END /E renders the whole sequence once.
#pragma once

#include <vector>

#include "signal/wave_object.h"

enum ESignalShape : int {
    SHAPE_PAUSE,
    SHAPE_VALUE,
    SHAPE_RECTANGLE,
    SHAPE_TRIANGLE,
    SHAPE_NOISE,
    SHAPE_TONE,
    SHAPE_SEGMENT,
    SHAPE_WAVE,
    SHAPE_TABLE,
    SHAPE_LPSYN,
};

enum ETransform : int { TRANSFORM_ENVELOPE, TRANSFORM_FILTER, TRANSFORM_AMOD, TRANSFORM_FMOD };

// Waveforms of modulators.
enum EModShape : int { MOD_SINE, MOD_RECTANGLE, MOD_TRIANGLE, MOD_SAWTOOTH, MOD_SAMPLES };

struct STransform {
    int type = 0;
    int mode = 0;               // per type: interpolation, filter kind, modulator shape
    std::vector<double> args;   // ENVELOPE: frame, gain pairs; others: frequency, depth ...
    std::vector<float> samples; // a modulator taken from a wave item
};

struct SSection {
    long long begin = 0;
    long long length = 0;
    int channel = 0; // 0 for all
    int shape = SHAPE_PAUSE;
    std::vector<double> args;  // the shape's numbers, durations in frames
    std::vector<float> source; // Segment, Wave, Table: the samples taken over
    bool mix = false;
    bool normalize = false;
    bool reverse = false;
    std::vector<STransform> transforms;
};

class CSequenceWave : public CWaveObject {
public:
    CSequenceWave(int channels, double rate);
    long long Transfer(int flags, long long first, long long count, void* buffer) override;
    bool CanWrite() const override { return false; }

    void AddSection(SSection section);
    // The last section, or null.
    SSection* LastSection() { return m_sections.empty() ? nullptr : &m_sections.back(); }
    const std::vector<SSection>& Sections() const { return m_sections; }
    // The last section changed: it is generated anew when read.
    void Invalidate();
    // Renders every section once; reads then come from memory.
    void Render();
    bool Rendered() const { return m_bRendered; }

    // The samples of one section (for tests and for rendering).
    static std::vector<float> Generate(const SSection& section, double rate);

private:
    const std::vector<float>& SectionSamples(size_t index);
    void Mix(long long first, long long count, float* frames);

    std::vector<SSection> m_sections;
    std::vector<std::vector<float>> m_cache;
    std::vector<bool> m_cached;
    std::vector<float> m_rendered;
    bool m_bRendered = false;
};
