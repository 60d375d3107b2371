// The WAVE item: how a macro names a signal. It holds one wave object (a
// stream of a sound file, a generated sequence, a device buffer or a slave
// range of another wave) and the audio settings of the item.
#pragma once

#include "items/shell_item.h"
#include "signal/wave_object.h"

class CWaveItem : public CShellItem {
public:
    CWaveItem(CShellEnv* env, CWaveObject* wave);
    ~CWaveItem() override;
    void Describe(Text& out) override;

    CWaveObject* Wave() const { return m_pWave; }
    // True while an SFIO or a slave uses the wave, or the item plays or records.
    bool Busy() const;

    int m_inDevice = 0;
    int m_outDevice = 0;
    float m_gain = 1.0f;
    int m_blocks = 4;
    long long m_blockFrames = 0;
    bool m_lastRecord = false;
    bool m_everStarted = false;
    Text m_valueItem; // a VALUE item told the position when a run ends
    // The master item of a slave, kept alive for as long as the slave.
    CShellItem* m_pMaster = nullptr;

private:
    CWaveObject* m_pWave;
};

class CWaveKind : public CShellItemKind {
public:
    CWaveKind() : CShellItemKind(KIND_WAVE, L"WAVE", L"W", false) {}
    int Create(CShell& shell, const Text& name, CWords& args, COptions& options, void*& object) override;
    int CheckDelete(CShell& shell, void* object, bool silent) override;
    int Status(CShell& shell, void* object, const std::vector<Text>& args, Text& out) override;
    void Notify(CShell& shell, void* object, SMessage& message) override;

protected:
    int SetItem(CShell& shell, CShellItem& item, const Text& name, CWords& args, COptions& options,
                Text& result) override;
};

// The SET sub-commands, in wave_commands.cpp.
int WaveSet(CShell& shell, CWaveItem& item, CWords& args, COptions& options, Text& result);
// The wave object of a WAVE item named `name` in the shell, or null.
CWaveItem* FindWaveItem(CShell& shell, TextView name);

void RegisterWaveKind();
// The SET table of waves, for KVOCONSTANTS and HELP.
void RegisterWaveCommands();
