#include "pigment/frame/ilLink.h"

#include <mutex>

const ilClassList ilLink::classList = {"ilLink", nullptr};

namespace {

struct ResetCallbackState {
    ilResetCallback fn = nullptr;
    void* arg = nullptr;
    int defaultFlags = 0;
};

ResetCallbackState& callbackState() {
    static ResetCallbackState state;
    return state;
}

// Images may be created on worker threads, so the list of all links has its own lock.
std::mutex& allLinksMutex() {
    static std::mutex m;
    return m;
}

ilList& allLinksList() {
    static ilList list;
    return list;
}

ilLinkEntry* entryOf(ilLinkItem* item) {
    return static_cast<ilLinkEntry*>(item);
}

}  // namespace

ilLink::ilLink() {
    joinAllLinks();
}

ilLink::ilLink(const ilLink& other)
    : status(other.status),
      depth(other.depth),
      altered(other.altered),
      setMask(other.setMask),
      allowedMask(other.allowedMask),
      disabledIndex(other.disabledIndex),
      enabled(other.enabled),
      seesDisabled(other.seesDisabled),
      relatedDelete(other.relatedDelete),
      relatedType(other.relatedType),
      resetCallbackFlags(other.resetCallbackFlags) {
    joinAllLinks();
}

ilLink& ilLink::operator=(const ilLink& other) {
    if (this == &other) return *this;
    status = other.status;
    depth = other.depth;
    altered = other.altered;
    setMask = other.setMask;
    allowedMask = other.allowedMask;
    disabledIndex = other.disabledIndex;
    enabled = other.enabled;
    seesDisabled = other.seesDisabled;
    relatedDelete = other.relatedDelete;
    relatedType = other.relatedType;
    resetCallbackFlags = other.resetCallbackFlags;
    return *this;
}

void ilLink::joinAllLinks() {
    resetCallbackFlags = callbackState().defaultFlags;
    allLinks.owner = this;
    std::lock_guard<std::mutex> lock(allLinksMutex());
    allLinksList().append(&allLinks);
}

void ilLink::sendEvent(int event) {
    ResetCallbackState& cb = callbackState();
    if (cb.fn) cb.fn(this, event, cb.arg);
}

ilLink::~ilLink() {
    deleteRelated(1);
    // Children lose their edge to this node and learn that their input changed.
    while (ilLinkItem* item = children.head()) {
        children.unlink(item);
        ilLink* child = entryOf(item)->link;
        delete entryOf(item);
        if (!child) continue;
        for (ilLinkItem* p = child->parents.head(); p; p = child->parents.getNext(p)) {
            if (entryOf(p)->link == this) {
                child->parents.unlink(p);
                delete entryOf(p);
                break;
            }
        }
        child->setAltered(ilAttrContents);
    }
    while (ilLinkItem* item = parents.head()) {
        parents.unlink(item);
        if (ilLink* parent = entryOf(item)->link) removeEntryTo(parent->children, this);
        delete entryOf(item);
    }
    if (callbackState().fn && (resetCallbackFlags & 1)) sendEvent(ilEventDeleted);
    std::lock_guard<std::mutex> lock(allLinksMutex());
    allLinksList().unlink(&allLinks);
}

void ilLink::reset() {
    deleteRelated(0);
}

void ilLink::removeEntryTo(ilIndexableList& list, ilLink* link) {
    for (ilLinkItem* item = list.head(); item; item = list.getNext(item)) {
        if (entryOf(item)->link == link) {
            list.unlink(item);
            delete entryOf(item);
            return;
        }
    }
}

ilLinkEntry* ilLink::findParentEntry(int index) {
    for (ilLinkItem* item = parents.head(); item; item = parents.getNext(item))
        if (entryOf(item)->index == index) return entryOf(item);
    return nullptr;
}

ilStatus ilLink::setParent(ilLink* parent, int index) {
    ilLinkEntry* entry = findParentEntry(index);
    if (entry) {
        if (entry->link == parent) return ilOK;
        if (entry->link) removeEntryTo(entry->link->children, this);
        entry->link = parent;
    } else {
        parents.append(new ilLinkEntry(parent, index));
    }
    if (parent) parent->children.append(new ilLinkEntry(this, 0));
    return setAltered(ilAttrContents);
}

ilStatus ilLink::addParent(ilLink* parent) {
    parents.append(new ilLinkEntry(parent, 0));
    if (parent) parent->children.append(new ilLinkEntry(this, 0));
    return setAltered(ilAttrContents);
}

ilStatus ilLink::removeParent(int index) {
    ilLinkEntry* entry = findParentEntry(index);
    if (!entry) return ilBadInputIndex;
    parents.unlink(entry);
    if (entry->link) removeEntryTo(entry->link->children, this);
    delete entry;
    return setAltered(ilAttrContents);
}

ilStatus ilLink::removeParent(ilLink* parent) {
    for (ilLinkItem* item = parents.head(); item; item = parents.getNext(item)) {
        ilLinkEntry* entry = entryOf(item);
        if (entry->link != parent) continue;
        parents.unlink(entry);
        if (parent) removeEntryTo(parent->children, this);
        delete entry;
        return setAltered(ilAttrContents);
    }
    return ilBadInputIndex;
}

ilLink* ilLink::getDirectParent(int index) {
    ilLinkEntry* entry = findParentEntry(index);
    return entry ? entry->link : nullptr;
}

ilLink* ilLink::getChild(int i) {
    ilLinkItem* item = children.findLink(i);
    return item ? entryOf(item)->link : nullptr;
}

ilLink* ilLink::skipDisabled(ilLink* parent) {
    if (seesDisabled || !parent || parent->enabled) return parent;
    return parent->getParent(parent->disabledIndex);
}

bool ilLink::hasParent(const ilLink* link) const {
    for (ilLinkItem* item = parents.head(); item; item = parents.getNext(item))
        if (entryOf(item)->link == link) return true;
    return false;
}

int ilLink::getMinIndex() {
    int m = -1;
    for (ilLinkItem* item = parents.head(); item; item = parents.getNext(item))
        if (m < 0 || entryOf(item)->index < m) m = entryOf(item)->index;
    return m;
}

int ilLink::getMaxIndex() {
    int m = -1;
    for (ilLinkItem* item = parents.head(); item; item = parents.getNext(item))
        if (entryOf(item)->index > m) m = entryOf(item)->index;
    return m;
}

ilStatus ilLink::setEnabled(int flag) {
    uint8_t value = flag != 0;
    if (value == enabled || unalterable(ilAttrEnabled)) return ilOK;
    enabled = value;
    if (enabled) resetCheck();
    return setAltered(ilAlterPixelsOnly | ilAttrEnabled);
}

ilStatus ilLink::setDisabledIndex(int index) {
    bool changed = index != disabledIndex;
    disabledIndex = index;
    if (changed && !enabled) return setAltered(ilAlterPixelsOnly);
    return ilOK;
}

void ilLink::setRelatedType(int type, int seesDisabled_) {
    relatedType = type;
    seesDisabled = static_cast<uint8_t>(seesDisabled_ != 0);
    ilLink* parent = getDirectParent(0);
    // -1 marks a node that is no related child, so it never displaces anything.
    if (!parent || type == -1) return;
    // One related child of a type per parent. The walk goes on by position after a deletion, as it
    // always has, and so may pass over the child that moved into the freed place.
    for (int i = 0; i < parent->getNumChildren(); ++i) {
        ilLink* child = parent->getChild(i);
        if (child && child != this && child->relatedType == type) delete child;
    }
}

ilLink* ilLink::getRelatedChild(int type) {
    for (ilLinkItem* item = children.head(); item; item = children.getNext(item)) {
        ilLink* child = entryOf(item)->link;
        if (child && child->relatedType == type) return child;
    }
    return nullptr;
}

void ilLink::deleteRelated(int force) {
    int i = 0;
    while (i < getNumChildren()) {
        ilLink* child = getChild(i);
        if (child && child->relatedType != -1 &&
            (force || (child->relatedDelete && !child->inProgress()))) {
            delete child;  // the child's destructor removes its entry here
            continue;
        }
        ++i;
    }
}

void ilLink::setResetCallback(ilResetCallback fn, void* arg) {
    callbackState().fn = fn;
    callbackState().arg = arg;
}

ilResetCallback ilLink::getResetCallback() {
    return callbackState().fn;
}
void* ilLink::getResetCallbackArg() {
    return callbackState().arg;
}

void ilLink::setResetCallbackDefaultEnabled(int flags, int applyToAll) {
    callbackState().defaultFlags = flags;
    if (!applyToAll) return;
    std::lock_guard<std::mutex> lock(allLinksMutex());
    ilList& list = allLinksList();
    for (ilLinkItem* item = list.head(); item; item = list.getNext(item))
        static_cast<ilLinkListItem*>(item)->owner->resetCallbackFlags = flags;
}

int ilLink::getResetCallbackDefaultEnabled() {
    return callbackState().defaultFlags;
}

ilStatus ilLink::setAltered(uint32_t mask) {
    if (mask == 0) return ilOK;
    uint32_t attributes = mask;
    if (mask & (ilAlterNoPropagate | ilAlterPixelsOnly)) {
        attributes = mask & ~(ilAlterNoPropagate | ilAlterPixelsOnly);
        if (attributes == 0) attributes = ilAttrContents;
    }
    if ((attributes & allowedMask) != attributes) return ilUnsupported;
    setMask |= attributes;
    if (!(mask & ilAlterPixelsOnly)) {
        if (altered == 0) alterAction();
        altered |= attributes;
    } else if ((resetCallbackFlags & 2) && callbackState().fn && altered == 0) {
        sendEvent(ilEventAltered);
    }
    // A node whose children were told is not walked again until it has been reset; a disabled
    // node keeps telling, since it cannot serve as a cut-off.
    if (((altered & ilAlteredToldChildren) && enabled) || (mask & ilAlterNoPropagate) ||
        (altered & ilAlteredInReset))
        return ilOK;
    if (altered != 0) altered |= ilAlteredToldChildren;
    for (ilLinkItem* item = children.head(); item; item = children.getNext(item)) {
        ilLink* child = entryOf(item)->link;
        if (!child) continue;
        if (attributes == ilAttrEnabled && child->seesDisabled) continue;
        child->setAltered(ilAttrContents);
    }
    return ilOK;
}

void ilLink::calcDepth() {
    int d = 0;
    for (ilLinkItem* item = parents.head(); item; item = parents.getNext(item)) {
        ilLink* parent = skipDisabled(entryOf(item)->link);
        if (!parent) continue;
        parent->resetCheck();
        if (parent->depth + 1 > d) d = parent->depth + 1;
    }
    depth = d;
}

ilStatus ilLink::runReset() {
    altered |= ilAlteredInReset;
    calcDepth();
    reset();
    altered = 0;
    if (callbackState().fn && (resetCallbackFlags & 3)) {
        if (allowedMask & ilAllowedNeverReset)
            sendEvent(ilEventFirstReset);
        else if (resetCallbackFlags & 2)
            sendEvent(ilEventAltered);
    }
    allowedMask &= ~ilAllowedNeverReset;
    return status;
}
