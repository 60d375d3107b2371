#include <gtest/gtest.h>

#include "testsupport/macro_fixture.h"
#include "signal/register_signal.h"
#include "signal/tests/sound_test_util.h"
#include "signal/wave_item.h"

namespace {

class WaveItem : public MacroTest {
protected:
    void SetUp() override {
        MacroTest::SetUp();
        RegisterSignalLayer();
    }
    CWaveObject* WaveOf(const Text& name) {
        CWaveItem* item = FindWaveItem(*Shell(), name);
        return item ? item->Wave() : nullptr;
    }
};

TEST_F(WaveItem, SequenceIsBuiltSectionBySectionAndRefusesBadArguments) {
    ASSERT_TRUE(Load(L"[MACRO T]\n"
                     L"NEW WAVE x /Q 2 0\n"
                     L"BADRATE := $RC\n"
                     L"NEW WAVE s /Q 2 8000\n"
                     L"s SIGNAL 0 Absolute 0 Tone 100ms 1000 0.5\n"
                     L"R1 := $RC\n"
                     L"s SIGNAL 10 End 2 Value 50 0.25\n"
                     L"s SIGNAL 0 Begin 1 Value 50 -0.25 /M\n"
                     L"s SIGNAL 0 * 0 Whistle 50\n"
                     L"BADSHAPE := $RC\n"
                     L"s SIGNAL 0 * 0 Tone\n"
                     L"SHORT := $RC\n"
                     L"s ENVELOPE 0 1 100% 0\n"
                     L"R2 := $RC\n"
                     L"s FMOD 5 10\n"
                     L"NOFM := $RC\n"
                     L"s WHISTLE\n"
                     L"BADCMD := $RC\n"
                     L"s END /E\n"
                     L"LEN := ~s[LENGTH]\n"
                     L"TYPE := ~s[!TYPE]\n"
                     L"CH := ~s[3]\n"
                     L"SIG := ~s[SIGNAL]\n"
                     L"LINE := '~s[]'\n"));
    RunAndWait(L"T");
    EXPECT_EQ(Var(L"BADRATE"), L"66");
    EXPECT_EQ(Var(L"R1"), L"0");
    EXPECT_EQ(Var(L"BADSHAPE"), L"95");
    EXPECT_EQ(Var(L"SHORT"), L"95");
    EXPECT_EQ(Var(L"R2"), L"0");
    EXPECT_EQ(Var(L"NOFM"), L"95"); // a constant has no frequency
    EXPECT_EQ(Var(L"BADCMD"), L"65");
    EXPECT_EQ(Var(L"LEN"), L"860");
    EXPECT_EQ(Var(L"TYPE"), L"Sequence");
    EXPECT_EQ(Var(L"CH"), L"2");
    EXPECT_EQ(Var(L"SIG"), L"3");
    EXPECT_EQ(Var(L"LINE"),
              L"type=Sequence, 8000Hz, 2 channels, 0s_0.1075s (0.1075s), Play, stopped position=0s (0%)");
    CWaveObject* wave = WaveOf(L"s");
    ASSERT_NE(wave, nullptr);
    int error = 0;
    std::unique_ptr<CSfio, CSfioCloser> sfio(wave->CreateSfio(SFIO_READ | CODING_PCM16, error, 860));
    ASSERT_EQ(sfio->Transfer(), 860);
    auto* s = static_cast<int16_t*>(sfio->Buffer());
    EXPECT_EQ(s[2 * 2], 16384); // the tone's peak, both channels
    EXPECT_EQ(s[2 * 2 + 1], 16384);
    EXPECT_EQ(s[2 * 805], 0); // the gap of 10 frames after the tone
    EXPECT_EQ(s[2 * 805 + 1], 0);
    EXPECT_EQ(s[2 * 815], -7372);    // channel 1: -0.25 fading out, 0.9 of it at frame 5
    EXPECT_EQ(s[2 * 815 + 1], 8192); // channel 2: the earlier section, untouched by the envelope
}

TEST_F(WaveItem, StreamsSlavesAndCopies) {
    const std::string source = TestPath("item_src.wav");
    ASSERT_TRUE(Sox("-n -r 8000 -c 2 -b 16 -e signed " + source + " synth 1 sine 300 sine 500"));
    const std::string target = TestPath("item_dst.wav");
    ASSERT_TRUE(Sox("-D -n -r 8000 -c 2 -b 16 -e signed " + target + " trim 0 1")); // silence, undithered
    ASSERT_TRUE(Load(L"[MACRO T]\n"
                     L"LOAD SOUNDFILE '" +
                     FromUtf8(source) +
                     L"'\n"
                     L"NEW WAVE a 1000_+4000\n"
                     L"ARC := $RC\n"
                     L"ALEN := ~a[LENGTH]\n"
                     L"ABEGIN := ~a[BEGIN]\n"
                     L"NEW WAVE one 0_100 2\n"
                     L"ONECH := ~one[CHANNELS]\n"
                     L"NEW WAVE bad 100_100\n"
                     L"BAD := $RC\n"
                     L"a SIGNAL 0 * 0 Tone 10 100\n"
                     L"NOSEQ := $RC\n"
                     L"NEW WAVE v /V a 2000 3000\n"
                     L"VLEN := ~v[LENGTH]\n"
                     L"NEW WAVE r /V /R a 0 500\n"
                     L"RLEN := ~r[LENGTH]\n"
                     L"NEW WAVE v2 /V a 3000 2000\n"
                     L"V2 := $RC\n"
                     L"NEW WAVE v3 /V nothing\n"
                     L"V3 := $RC\n"
                     L"DELETE a\n"
                     L"DELA := $RC\n"
                     L"LOAD SOUNDFILE /W '" +
                     FromUtf8(target) +
                     L"'\n"
                     L"NEW WAVE t 0_8000\n"
                     L"t COPY r 77\n"
                     L"COPYRC := $RC\n"
                     L"t COPY one\n"
                     L"COPYCH := $RC\n"
                     L"a COPY r\n"
                     L"READONLY := $RC\n"
                     L"DELETE t\n"));
    RunAndWait(L"T");
    EXPECT_EQ(Var(L"ARC"), L"0");
    EXPECT_EQ(Var(L"ALEN"), L"4000");
    EXPECT_EQ(Var(L"ABEGIN"), L"1000");
    EXPECT_EQ(Var(L"ONECH"), L"1");
    EXPECT_EQ(Var(L"BAD"), L"172");
    EXPECT_EQ(Var(L"NOSEQ"), L"60");
    EXPECT_EQ(Var(L"VLEN"), L"1000");
    EXPECT_EQ(Var(L"RLEN"), L"500");
    EXPECT_EQ(Var(L"V2"), L"210");
    EXPECT_EQ(Var(L"V3"), L"207");
    EXPECT_EQ(Var(L"DELA"), L"375"); // slaves still read it
    EXPECT_EQ(Var(L"COPYRC"), L"0");
    EXPECT_EQ(Var(L"COPYCH"), L"7");
    EXPECT_EQ(Var(L"READONLY"), L"167");
    // Frames 1000..1499 of the source are now the first 500 of the target.
    RunAndWait(L"UNLOAD SOUNDFILE '" + FromUtf8(target) + L"'");
    const std::vector<double> from = SoxSamples(source), to = SoxSamples(target);
    ASSERT_EQ(to.size(), 16000u);
    EXPECT_EQ(to[0], from[2000]);
    EXPECT_EQ(to[999], from[2999]);
    EXPECT_EQ(to[1000], 0.0);
}

TEST_F(WaveItem, PlaysOnTheSilentDeviceWithPositionAndEndMessages) {
    ASSERT_TRUE(Load(L"[MACRO T]\n"
                     L"NEW WAVE w /Q 1 8000\n"
                     L"w SIGNAL 0 * 0 Tone 0.5s 440 0.5\n"
                     L"w END\n"
                     L"w DEVICE Silent\n"
                     L"OUT := ~w[OUTDEVICES]\n"
                     L"NEW VALUE val\n"
                     L"w PLAY 4 1000 10 5 nothing\n"
                     L"NOVALUE := $RC\n"
                     L"w PLAY 4 1000 10 5 val\n"
                     L"P1 := $RC\n"
                     L"FIRST := ''\n"
                     L"#done := 0\n"
                     L"WHILE $#done == 0\n"
                     L"  MSG LOOP\n"
                     L"  IF '$FIRST' == '' THEN\n"
                     L"    FIRST := $#MSG\n"
                     L"  END\n"
                     L"  IF '$(WORD 2 $#MSG)' == 'EXIT' THEN\n"
                     L"    #done := 1\n"
                     L"    LAST := $#MSG\n"
                     L"  END\n"
                     L"END\n"
                     L"FIVE := ~w[POSITION]\n"
                     L"POSVALUE := ~val\n"
                     L"w PLAY 4 1000 0 20000\n"
                     L"OUTSIDE := $RC\n"
                     L"w PLAY\n"
                     L"DELETE w\n"
                     L"BUSY := $RC\n"
                     L"#runs := 0\n"
                     L"#done := 0\n"
                     L"WHILE $#done == 0\n"
                     L"  MSG LOOP\n"
                     L"  IF '$(WORD 2 $#MSG)' == 'RUN' THEN\n"
                     L"    #runs := INT $#runs + 1\n"
                     L"  ELSE\n"
                     L"    #done := 1\n"
                     L"    END2 := $#MSG\n"
                     L"  END\n"
                     L"END\n"
                     L"RUNS := $#runs\n"
                     L"PROG := ~w[PROGRESS]\n"));
    RunAndWait(L"T");
    EXPECT_EQ(Var(L"P1"), L"0");
    // The default device first, the silent one last and selected.
    EXPECT_EQ(Var(L"OUT").rfind(L"default (", 0), 0u) << Var(L"OUT");
    EXPECT_EQ(Var(L"OUT").size() - Var(L"OUT").rfind(L"silent device;*;"), 16u) << Var(L"OUT");
    EXPECT_EQ(Var(L"FIRST"), L"WAVE w RUN 5"); // frames 5 to 10, one short block
    EXPECT_EQ(Var(L"LAST"), L"WAVE w EXIT 5");
    EXPECT_EQ(Var(L"FIVE"), L"5");
    EXPECT_EQ(Var(L"NOVALUE"), L"4");
    EXPECT_EQ(Var(L"POSVALUE"), L"5");
    EXPECT_EQ(Var(L"OUTSIDE"), L"150");
    EXPECT_EQ(Var(L"BUSY"), L"375");
    EXPECT_EQ(Var(L"RUNS"), L"2"); // 0.5 s in blocks of rate / 4
    EXPECT_EQ(Var(L"END2"), L"WAVE w EXIT 4000");
    EXPECT_EQ(Var(L"PROG"), L"100");
}

TEST_F(WaveItem, NumbersGoIntoWavesAndRecordingTakesSilence) {
    const std::string path = TestPath("record.wav");
    ASSERT_TRUE(Sox("-D -n -r 8000 -c 1 -b 16 -e signed " + path + " synth 0.5 sine 300 gain -3"));
    ASSERT_TRUE(Load(L"[MACRO T]\n"
                     L"#n := EVAL Fill(4, 0.5, -0.25)\n"
                     L"NEW WAVE m /A 1 8000 10\n"
                     L"MLEN := ~m[LENGTH]\n"
                     L"m COPY $#n /W\n"
                     L"M1 := $RC\n"
                     L"m COPY $#n\n"
                     L"M2 := $RC\n"
                     L"NEW VALUE nums\n"
                     L"m COPY nums\n"
                     L"M3 := $RC\n"
                     L"NUMBERS := ~nums\n"
                     L"NEW WAVE q /Q 1 8000\n"
                     L"q SIGNAL 0 * 0 Table $#n\n"
                     L"Q1 := $RC\n"
                     L"q SIGNAL 0 * 0 Table $#n 3\n"
                     L"Q2 := $RC\n"
                     L"q SIGNAL 0 * 0 Wave m 0_+3\n"
                     L"Q3 := $RC\n"
                     L"QLEN := ~q[LENGTH]\n"
                     L"NEW WAVE e /A 1 8000 -1\n"
                     L"ENDLESS := $RC\n"
                     L"LOAD SOUNDFILE /W '" +
                     FromUtf8(path) +
                     L"'\n"
                     L"NEW WAVE r 1000_+2000\n"
                     L"r DEVICE /I Silent\n"
                     L"INSEL := ~r[INSELECTED]\n"
                     L"CAPS := ~r[INCAPS]\n"
                     L"r RECORD /3\n"
                     L"R24 := $RC\n"
                     L"r RECORD\n"
                     L"R1 := $RC\n"
                     L"#last := ''\n"
                     L"WHILE '$#last' == ''\n"
                     L"  MSG LOOP\n"
                     L"  IF '$(WORD 2 $#MSG)' == 'EXIT' THEN\n"
                     L"    #last := $#MSG\n"
                     L"  END\n"
                     L"END\n"
                     L"RLAST := $#last\n"
                     L"DELETE r\n"
                     L"UNLOAD SOUNDFILE '" +
                     FromUtf8(path) + L"'\n"));
    RunAndWait(L"T");
    EXPECT_EQ(Var(L"MLEN"), L"10");
    EXPECT_EQ(Var(L"M1"), L"0");
    EXPECT_EQ(Var(L"M2"), L"157"); // into tables once they exist
    EXPECT_EQ(Var(L"M3"), L"0");
    EXPECT_EQ(Var(L"NUMBERS"), L"0.5 0.25 0 -0.25 0 0 0 0 0 0");
    EXPECT_EQ(Var(L"Q1"), L"0");
    EXPECT_EQ(Var(L"Q2"), L"95"); // no fourth column
    EXPECT_EQ(Var(L"Q3"), L"0");
    EXPECT_EQ(Var(L"QLEN"), L"7");
    EXPECT_EQ(Var(L"ENDLESS"), L"157");
    EXPECT_EQ(Var(L"R24"), L"3"); // devices record 16 or 32 bits
    EXPECT_EQ(Var(L"R1"), L"0");
    EXPECT_EQ(Var(L"RLAST"), L"WAVE r EXIT 2000");
    EXPECT_NE(Var(L"INSEL"), L"0");
    EXPECT_EQ(Var(L"CAPS"),
              L"8000 11025 16000 22050 32000 44100 48000 PCM8 PCM16 PCM20 PCM24 PCM32 FLOAT 128");
    CWaveObject* q = WaveOf(L"q");
    ASSERT_NE(q, nullptr);
    float frames[7];
    ASSERT_EQ(q->Transfer(SFIO_READ | CODING_FLOAT, 0, 7, frames), 7);
    const float expected[7] = {0.5f, 0.25f, 0.0f, -0.25f, 0.5f, 0.25f, 0.0f};
    for (int i = 0; i < 7; ++i) EXPECT_EQ(frames[i], expected[i]) << i;
    // The recorded range is silence now, the rest is the tone.
    const std::vector<double> samples = SoxSamples(path);
    ASSERT_EQ(samples.size(), 4000u);
    EXPECT_EQ(samples[1000], 0.0);
    EXPECT_EQ(samples[2999], 0.0);
    EXPECT_NE(samples[3000 + 5], 0.0);
    EXPECT_NE(samples[999 - 5], 0.0);
}

} // namespace
