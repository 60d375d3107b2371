#include "signal/slave_wave.h"

CSlaveWave::CSlaveWave(CWaveObject& master, long long first, long long end)
    : CWaveObject(master.Kind()), m_pMaster(&master) {
    m_rate = master.GetRate();
    m_channels = master.GetChannels();
    m_set = master.GetChannelSet();
    m_begin = first;
    m_end = end;
    master.AddUser();
}

CSlaveWave::~CSlaveWave() {
    std::lock_guard lock(m_pMaster->m_cs);
    m_pMaster->ReleaseUser();
}

long long CSlaveWave::Transfer(int flags, long long first, long long count, void* buffer) {
    if (first < 0 || count < 0) return -100;
    if (first + count > m_end - m_begin) count = m_end - m_begin - first;
    if (count <= 0) return 0;
    std::lock_guard lock(m_pMaster->m_cs);
    return m_pMaster->Transfer(flags, m_begin + first, count, buffer);
}
