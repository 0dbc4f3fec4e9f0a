// A node of the lazily evaluated image graph: it knows its inputs and the nodes built on it,
// remembers what was altered, and re-evaluates itself through reset at the next read.
#pragma once

#include <cstdint>

#include "pigment/frame/ilClassList.h"
#include "pigment/frame/ilList.h"
#include "pigment/frame/ilTypes.h"

class ilLink;

// One edge of the graph: the node at the other end (null for an empty input) and, for a parent
// edge, the input number.
class ilLinkEntry : public ilLinkItem {
  public:
    ilLinkEntry(ilLink* link_, int index_) : link(link_), index(index_) {}
    ilLink* link;
    int index;
};

// Threads a node into the process-wide list of all links.
class ilLinkListItem : public ilLinkItem {
  public:
    ilLink* owner = nullptr;
};

typedef void (*ilResetCallback)(ilLink* link, int event, void* arg);

// Attribute bits of altered, setMask and allowedMask.
inline constexpr uint32_t ilAttrContents = 1;
inline constexpr uint32_t ilAttrEnabled = 2;
inline constexpr uint32_t ilAttrDataType = 4;
inline constexpr uint32_t ilAttrOrder = 8;
inline constexpr uint32_t ilAttrPageSize = 16;
inline constexpr uint32_t ilAttrXsize = 32;
inline constexpr uint32_t ilAttrYsize = 64;
inline constexpr uint32_t ilAttrCsize = 128;
inline constexpr uint32_t ilAttrZsize = 256;
inline constexpr uint32_t ilAttrCoordSpace = 512;
inline constexpr uint32_t ilAttrColorModel = 1024;
inline constexpr uint32_t ilAttrMinValue = 2048;
inline constexpr uint32_t ilAttrMaxValue = 4096;
inline constexpr uint32_t ilAttrScale = 8192;
inline constexpr uint32_t ilAttrFill = 16384;
inline constexpr uint32_t ilAttrCompression = 32768;
inline constexpr uint32_t ilAttrPageBorder = 131072;
inline constexpr uint32_t ilAttrSubImgConfig = 262144;

// Control bits that are never attributes.
inline constexpr uint32_t ilAlterNoPropagate = 1u << 29;  // in a mask: do not tell the children
inline constexpr uint32_t ilAlterPixelsOnly = 1u << 30;   // in a mask: only the pixels changed
inline constexpr uint32_t ilAlteredToldChildren = 1u << 30;
inline constexpr uint32_t ilAlteredInReset = 1u << 31;
inline constexpr uint32_t ilAllowedNeverReset = 1u << 31;

// Reset callback events.
enum ilResetEvent {
    ilEventAltered = 97,
    ilEventDeleted = 100,
    ilEventFirstReset = 105,
};

class ilLink {
  public:
    static const ilClassList classList;

    ilLink();
    // A copy takes the attributes and masks but no edges: it is a new, unconnected node.
    ilLink(const ilLink& other);
    ilLink& operator=(const ilLink& other);

    virtual int derivesFrom(const ilClassList* id) const { return classList.find(id); }
    virtual const char* getClassName(int n = 0) const { return classList.find(n); }
    virtual ~ilLink();
    virtual void reset();
    virtual void alterAction() {}
    virtual const char* getDefaultDescription() const { return "Link"; }

    // Graph edits.
    ilStatus setParent(ilLink* parent, int index);
    ilStatus addParent(ilLink* parent);
    ilStatus removeParent(int index);
    ilStatus removeParent(ilLink* parent);
    ilLink* getDirectParent(int index);
    ilLink* getParent(int index) { return skipDisabled(getDirectParent(index)); }
    ilLink* getChild(int i);
    int getNumParents() const { return parents.getLength(); }
    int getNumChildren() const { return children.getLength(); }

    // Enabling, and related children.
    ilStatus setEnabled(int flag);
    ilStatus setDisabledIndex(int index);
    void setRelatedType(int type, int seesDisabled_ = 0);
    ilLink* getRelatedChild(int type);
    int getRelatedDelete() const { return relatedDelete; }
    void setRelatedDelete(int flag) { relatedDelete = static_cast<uint8_t>(flag != 0); }
    int getRelatedType() const { return relatedType; }
    int isEnabled() const { return enabled; }
    int getDisabledIndex() const { return disabledIndex; }

    int getDepth() {
        resetCheck();
        return depth;
    }
    ilStatus getStatus() { return resetCheck(); }
    void clearStatus() { status = ilOK; }
    void clearSet(uint32_t mask) { setMask &= ~mask; }

    // The process-wide reset callback.
    static void setResetCallback(ilResetCallback fn, void* arg);
    static ilResetCallback getResetCallback();
    static void* getResetCallbackArg();
    static void setResetCallbackDefaultEnabled(int flags, int applyToAll);
    static int getResetCallbackDefaultEnabled();
    void enableResetCallback(int flags) { resetCallbackFlags = flags; }
    int isResetCallbackEnabled(int flag) const { return (resetCallbackFlags & flag) != 0; }

    void delayResetCheck() { altered |= ilAlteredInReset; }
    ilStatus resumeResetCheck() {
        altered &= ~ilAlteredInReset;
        return resetCheck();
    }

    // Marks this node and, unless told otherwise, its descendants; public because nodes of other
    // kinds mark each other (a canvas marks the seed it merged into).
    ilStatus setAltered(uint32_t mask);
    // Brings the node up to date: ancestors first, then reset, at most once per batch of changes.
    ilStatus resetCheck() {
        if ((altered & 0x3fffffffu) == 0 || (altered & ilAlteredInReset)) return status;
        return runReset();
    }

  protected:
    int isAltered(uint32_t mask) const { return (altered & mask) != 0; }
    int anyAltered() const { return (altered & 0x3fffffffu) != 0; }
    void resetAltered() { altered = 0; }
    void disableAltered() { altered |= ilAlteredInReset; }
    int inProgress() const { return (altered & ilAlteredInReset) != 0; }
    int isSet(uint32_t mask) const { return (setMask & mask) != 0; }
    void markSet(uint32_t mask) { setMask |= mask; }
    void setAllowed(uint32_t mask) { allowedMask |= mask; }
    void clearAllowed(uint32_t mask) { allowedMask &= ~mask; }
    int unalterable(uint32_t mask) const { return (allowedMask & mask) != mask; }
    void setStatus(ilStatus s) { status = s; }
    bool hasParent(const ilLink* link) const;
    int getMinIndex();
    int getMaxIndex();
    void deleteRelated(int force);
    ilLink* skipDisabled(ilLink* parent);
    void calcDepth();
    void mpLock() {}
    void mpUnlock() {}

    ilStatus status = ilOK;
    int depth = 0;
    ilIndexableList parents;
    ilIndexableList children;
    uint32_t altered = 1;
    uint32_t setMask = 0;
    uint32_t allowedMask = ilAllowedNeverReset | ilAttrEnabled | ilAttrContents;
    int disabledIndex = 0;
    uint8_t enabled = 1;
    uint8_t seesDisabled = 0;
    uint8_t relatedDelete = 0;
    int relatedType = -1;
    int resetCallbackFlags = 0;
    ilLinkListItem allLinks;

  private:
    ilStatus runReset();
    ilLinkEntry* findParentEntry(int index);
    static void removeEntryTo(ilIndexableList& list, ilLink* link);
    void joinAllLinks();
    void sendEvent(int event);
};
