#include "graphics/graphics_layer.h"

#include "graphics/display_item.h"
#include "graphics/ds_file.h"
#include "graphics/graph_item.h"
#include "graphics/sp_display.h"

namespace {

// Makes display windows on the GUI thread.
class CDisplayFactory : public IRequestTarget {
public:
    void ServeRequest(int code, SRequestBlock& block) override {
        if (code != DR_CREATE) return;
        auto& create = *static_cast<SDisplayCreate*>(block.data);
        QWidget* parent = nullptr;
        if (create.parent && !create.parent->gone && create.parent->target)
            parent = dynamic_cast<QWidget*>(create.parent->target);
        auto* display = new CSPDisplay(create, parent);
        create.slot = display->Slot();
    }
};

} // namespace

WindowSlotPtr& DisplayFactorySlot() {
    static WindowSlotPtr slot = [] {
        static CDisplayFactory factory;
        auto s = std::make_shared<SWindowSlot>();
        s->target = &factory;
        return s;
    }();
    return slot;
}

void RegisterGraphicsLayer() {
    static CDisplayKind displays;
    static CGraphKind graphs;
    GuiChannel::Open();
    DisplayFactorySlot();
    CDSFile::RemoveStale();
    CItemKindRegistry::Register(&displays);
    CItemKindRegistry::Register(&graphs);
}

void CloseGraphicsLayer() {
    GuiChannel::Close();
}
