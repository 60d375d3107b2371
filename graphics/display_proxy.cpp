#include "graphics/display_proxy.h"

#include "graphics/display_requests.h"
#include "graphics/graph_requests.h"

long long CRequestProxy::Request(int code, void* data) {
    const long long a0 = m_block.args[0];
    m_block.Clear();
    m_block.args[0] = a0;
    m_block.data = data;
    GuiChannel::Request(m_slot, code, m_block);
    // The argument slots are the caller's to fill for the next request only.
    m_block.args[0] = 0;
    return m_block.result;
}

DisplayProxy::DisplayProxy(WindowSlotPtr slot)
    : CRequestProxy(std::move(slot)), m_layout(DR_GET_LAYOUT, DR_COMMIT_LAYOUT),
      m_settings(DR_GET_SETTINGS, DR_COMMIT_SETTINGS) {}

DisplayProxy::~DisplayProxy() {
    Finish();
}

void DisplayProxy::Finish() {
    if (m_finished) return;
    m_finished = true;
    m_layout.Commit(*this, m_apply);
    m_settings.Commit(*this, m_apply);
}

GraphProxy::GraphProxy(WindowSlotPtr slot)
    : CRequestProxy(std::move(slot)), m_settings(GR_GET_SETTINGS, GR_COMMIT_SETTINGS) {}

GraphProxy::~GraphProxy() {
    Finish();
}

void GraphProxy::Finish() {
    if (m_finished) return;
    m_finished = true;
    m_settings.Commit(*this, m_apply);
}
