// The slave form of a wave: a range of another wave object, read through it.
#pragma once

#include "signal/wave_object.h"

class CSlaveWave : public CWaveObject {
public:
    // Frames first..end of the master; the master stays in use while the slave lives.
    CSlaveWave(CWaveObject& master, long long first, long long end);
    ~CSlaveWave() override;
    bool IsValid() const override { return m_pMaster->IsValid(); }
    bool IsRunning() const override { return m_pMaster->IsRunning(); }
    long long Transfer(int flags, long long first, long long count, void* buffer) override;
    bool CanWrite() const override { return m_pMaster->CanWrite(); }

private:
    CWaveObject* m_pMaster;
};
