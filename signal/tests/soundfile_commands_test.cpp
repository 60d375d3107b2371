#include <gtest/gtest.h>

#include "testsupport/macro_fixture.h"
#include "signal/register_signal.h"
#include "signal/tests/sound_test_util.h"

namespace {

class SoundFileCommands : public MacroTest {
protected:
    void SetUp() override {
        MacroTest::SetUp();
        RegisterSignalLayer();
    }
};

TEST_F(SoundFileCommands, LoadSelectsSegmentsTruncateAndUnload) {
    const std::string wav = TestPath("cmd.wav");
    ASSERT_TRUE(Sox("-n -r 16000 -c 1 -b 16 -e signed " + wav + " synth 0.5 sine 440"));
    const std::string copy = TestPath("cmd_copy.wav");
    ASSERT_TRUE(Sox(wav + " " + copy));
    const Text w = FromUtf8(wav), c = FromUtf8(copy);
    ASSERT_TRUE(Load(L"[MACRO T]\n"
                     L"SEGMENT 10%_+5\n"
                     L"SFNONE := $RC\n"
                     L"LOAD SOUNDFILE '" +
                     w +
                     L"'\n"
                     L"SFLOADRC := $RC\n"
                     L"SFSEG := SEGMENT 10%_+5\n"
                     L"SFSEG2 := SEGMENT 1s_2000 *\n"
                     L"SEGMENT /S nothing\n"
                     L"SFSEG3 := $RC\n"
                     L"SFSEG4 := SEGMENT 10%_+5 * 100\n"
                     L"SFTRUNCATE 100\n"
                     L"SFTR := $RC\n"
                     L"LOAD SOUNDFILE /W '" +
                     c +
                     L"'\n"
                     L"SFLOAD2 := $RC\n"
                     L"SFHEAD := $CSFH\n"
                     L"SFTR2 := SFTRUNCATE 10ms_+20ms\n"
                     L"SFHEAD2 := $CSFH\n"
                     L"UNLOAD SOUNDFILE '" +
                     c +
                     L"'\n"
                     L"SFUN := $RC\n"
                     L"SFCSF := $CSF\n"
                     L"UNLOAD SOUNDFILE /S '" +
                     c +
                     L"'\n"
                     L"SFUN2 := $RC\n"
                     L"LOAD SOUNDFILE /S '/nonexistent/x.wav'\n"
                     L"SFBAD := $RC\n"
                     L"LOAD MACROCODE '/nonexistent/x.kvs'\n"
                     L"SFCODE := $RC\n"));
    RunAndWait(L"T");
    EXPECT_EQ(Var(L"SFNONE"), L"243"); // percentages need a length
    EXPECT_EQ(Var(L"SFLOADRC"), L"0");
    EXPECT_EQ(Var(L"SFSEG"), L"800 805 5");
    EXPECT_EQ(Var(L"SFSEG2"), L"2000 16000 14000");
    EXPECT_EQ(Var(L"SFSEG3"), L"306");
    EXPECT_EQ(Var(L"SFSEG4"), L"10 15 5");
    EXPECT_EQ(Var(L"SFTR"), L"171"); // a file opened for reading is not cut
    EXPECT_EQ(Var(L"SFLOAD2"), L"0");
    EXPECT_EQ(Var(L"SFHEAD"), L"16000 1 8000 PCM16 Wave Write");
    EXPECT_EQ(Var(L"SFTR2"), L"320");
    EXPECT_EQ(Var(L"SFHEAD2"), L"16000 1 320 PCM16 Wave Write");
    EXPECT_EQ(Var(L"SFUN"), L"0");
    EXPECT_EQ(Var(L"SFCSF"), L"");
    EXPECT_EQ(Var(L"SFUN2"), L"312");
    EXPECT_EQ(Var(L"SFBAD"), L"316");
    EXPECT_EQ(Var(L"SFCODE"), L"455"); // code loading still reaches the macro layer
    // The truncated file is a proper Wave file for sox.
    EXPECT_EQ(SoxSamples(copy).size(), 320u);
}

TEST_F(SoundFileCommands, CreateKv5AndBinaryFromAMacro) {
    const Text kv5 = FromUtf8(FreshPath("made.kv5"));
    const Text raw = FromUtf8(TestPath("made.raw"));
    WriteBytes(ToUtf8(raw), std::vector<unsigned char>(400, 0));
    ASSERT_TRUE(Load(L"[MACRO T]\n"
                     L"LOAD SOUNDFILE /C '" +
                     kv5 +
                     L"' KV5 PCM16 2 11025\n"
                     L"A := $RC\n"
                     L"AH := $CSFH\n"
                     L"LOAD SOUNDFILE '" +
                     raw +
                     L"' BINARY FLOAT 2 48000 80\n"
                     L"B := $RC\n"
                     L"BH := $CSFH\n"
                     L"LOAD SOUNDFILE '" +
                     kv5 +
                     L"'\n"
                     L"C := $RC\n"
                     L"CH := $CSFH\n"
                     L"LOAD SOUNDFILE /C '" +
                     FromUtf8(FreshPath("x.kv5")) +
                     L"' KV5 FLOAT 1 8000\n"
                     L"D := $RC\n"
                     L"LOAD SOUNDFILE '" +
                     raw +
                     L"2' BINARY PCM16 1\n"
                     L"E := $RC\n"));
    RunAndWait(L"T");
    EXPECT_EQ(Var(L"A"), L"0");
    EXPECT_EQ(Var(L"AH"), L"11025 2 0 PCM16 KV5 Write");
    EXPECT_EQ(Var(L"B"), L"0");
    EXPECT_EQ(Var(L"BH"), L"48000 2 40 FLOAT Binary Read");
    EXPECT_EQ(Var(L"C"), L"0"); // already attached: selected again
    EXPECT_EQ(Var(L"CH"), L"11025 2 0 PCM16 KV5 Write");
    EXPECT_EQ(Var(L"D"), L"455");
    EXPECT_EQ(Var(L"E"), L"2");
}

} // namespace
