#include "graphics/gui_channel.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QObject>
#include <QThread>
#include <mutex>
#include <unordered_map>

namespace {

// Blocks handed to the GUI thread and not yet taken up by it. A block is taken
// out of the map before it is served, so Close releases only blocks that no one
// serves, and a queued call that arrives after Close finds nothing to touch.
struct SPending {
    std::mutex lock;
    std::unordered_map<unsigned long long, SRequestBlock*> blocks;
    unsigned long long next = 0;
    bool open = false;
};

SPending& Channel() {
    static SPending pending;
    return pending;
}

// The object the queued calls are addressed to; it lives on the GUI thread.
QObject* Dispatcher() {
    static QObject* dispatcher = nullptr;
    if (!dispatcher && QCoreApplication::instance()) {
        dispatcher = new QObject(QCoreApplication::instance());
        dispatcher->setObjectName(QStringLiteral("kvo request channel"));
    }
    return dispatcher;
}

void Serve(const WindowSlotPtr& slot, int code, SRequestBlock& block) {
    if (!slot || slot->gone.load() || !slot->target) return;
    block.served = true;
    slot->target->ServeRequest(code, block);
}

} // namespace

namespace GuiChannel {

void Open() {
    Dispatcher();
    std::lock_guard hold(Channel().lock);
    Channel().open = true;
}

void Close() {
    SPending& p = Channel();
    std::lock_guard hold(p.lock);
    p.open = false;
    for (auto& [id, block] : p.blocks) {
        block->result = 0;
        block->event.Set();
    }
    p.blocks.clear();
}

bool IsOpen() {
    std::lock_guard hold(Channel().lock);
    return Channel().open;
}

size_t Pending() {
    std::lock_guard hold(Channel().lock);
    return Channel().blocks.size();
}

bool OnGuiThread() {
    QCoreApplication* app = QCoreApplication::instance();
    return app && QThread::currentThread() == app->thread();
}

bool Request(const WindowSlotPtr& slot, int code, SRequestBlock& block) {
    block.result = 0;
    block.served = false;
    block.event.Reset();
    if (!slot || slot->gone.load()) return false;
    if (OnGuiThread()) {
        Serve(slot, code, block);
        return block.served;
    }
    SPending& p = Channel();
    unsigned long long id;
    {
        std::lock_guard hold(p.lock);
        QObject* dispatcher = Dispatcher();
        if (!p.open || !dispatcher) return false;
        id = ++p.next;
        p.blocks.emplace(id, &block);
        const bool posted = QMetaObject::invokeMethod(
            dispatcher,
            [slot, code, id] {
                SRequestBlock* taken = nullptr;
                {
                    std::lock_guard inner(Channel().lock);
                    auto it = Channel().blocks.find(id);
                    if (it == Channel().blocks.end()) return;
                    taken = it->second;
                    Channel().blocks.erase(it);
                }
                Serve(slot, code, *taken);
                taken->event.Set();
            },
            Qt::QueuedConnection);
        if (!posted) {
            p.blocks.erase(id);
            return false;
        }
    }
    block.event.Wait();
    return block.served;
}

void Post(QObject* context, std::function<void()> work) {
    if (context) QMetaObject::invokeMethod(context, std::move(work), Qt::QueuedConnection);
}

} // namespace GuiChannel
