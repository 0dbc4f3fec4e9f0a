// Connection bookkeeping of signals and their clients. Both sides know each other, so either
// may die first; items being called are only marked and are freed after the call.
#include "pigment/base/vlSignal.h"

#include <algorithm>
#include <atomic>

namespace vlRTB {

namespace {
// Signals on different threads may connect at once; the ids must stay unique.
std::atomic<std::uint64_t> nextConnectionId{0};
}  // namespace

void SignalBase::connectionItem::unlock() {
    if (--locks == 0 && !connected) signal->erase(this);
}

SignalBase::SignalBase() {}

SignalBase::SignalBase(const SignalBase&) {}

SignalBase& SignalBase::operator=(const SignalBase&) {
    return *this;
}

SignalBase::~SignalBase() {
    disconnectAll();
    // Items still locked belong to a call in progress, which is a fault of the caller; free
    // them anyway rather than leak.
    for (connectionItem* item : items) {
        delete item->function;
        delete item;
    }
}

Connection SignalBase::addCallback(FunctionBase* function, SignalClient* client) {
    if (!function) return Connection();
    auto* item = new connectionItem{function, client, this, ++nextConnectionId, 0, true};
    items.push_back(item);
    if (client) client->links.push_back({this, item->id});
    return Connection(item->id);
}

void SignalBase::drop(connectionItem* item) {
    item->connected = false;
    if (item->client) item->client->forget(this, item->id);
    item->client = nullptr;
    if (item->locks == 0) erase(item);
}

void SignalBase::erase(connectionItem* item) {
    auto it = std::find(items.begin(), items.end(), item);
    if (it != items.end()) items.erase(it);
    delete item->function;
    delete item;
}

bool SignalBase::disconnect(Connection connection) {
    for (connectionItem* item : items) {
        if (item->id == connection.value() && item->connected) {
            drop(item);
            return true;
        }
    }
    return false;
}

int SignalBase::disconnectInstance(const void* object) {
    int n = 0;
    const std::vector<connectionItem*> current = items;
    for (connectionItem* item : current) {
        if (item->connected && item->function->isInstance(object)) {
            drop(item);
            ++n;
        }
    }
    return n;
}

int SignalBase::disconnectGlobalFunction(GlobalFunction fn) {
    int n = 0;
    const std::vector<connectionItem*> current = items;
    for (connectionItem* item : current) {
        if (item->connected && item->function->isGlobalFunction(fn)) {
            drop(item);
            ++n;
        }
    }
    return n;
}

void SignalBase::disconnectAll() {
    const std::vector<connectionItem*> current = items;
    for (connectionItem* item : current) {
        if (item->connected) drop(item);
    }
}

Connection SignalBase::findInstance(const void* object) const {
    for (const connectionItem* item : items) {
        if (item->connected && item->function->isInstance(object)) return Connection(item->id);
    }
    return Connection();
}

Connection SignalBase::findGlobalFunction(GlobalFunction fn) const {
    for (const connectionItem* item : items) {
        if (item->connected && item->function->isGlobalFunction(fn)) return Connection(item->id);
    }
    return Connection();
}

bool SignalBase::isConnected(Connection connection) const {
    for (const connectionItem* item : items) {
        if (item->id == connection.value()) return item->connected;
    }
    return false;
}

int SignalBase::numConnections() const {
    int n = 0;
    for (const connectionItem* item : items)
        n += item->connected ? 1 : 0;
    return n;
}

SignalClient::~SignalClient() {
    // Each disconnect removes its link from this list, so take them from the back one by one.
    while (!links.empty()) {
        const Link link = links.back();
        if (!link.signal->disconnect(Connection(link.id))) links.pop_back();
    }
}

void SignalClient::forget(SignalBase* signal, std::uint64_t id) {
    auto it = std::find_if(links.begin(), links.end(),
                           [&](const Link& l) { return l.signal == signal && l.id == id; });
    if (it != links.end()) links.erase(it);
}

}  // namespace vlRTB
