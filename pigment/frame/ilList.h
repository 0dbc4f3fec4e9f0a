// Intrusive doubly linked lists that the link graph is built from: a circular list whose header is
// its own sentinel, and an indexable variant that caches the last position looked up.
#pragma once

class ilLinkItem {
  public:
    ilLinkItem* next = nullptr;
    ilLinkItem* prev = nullptr;

    bool isLinked() const { return next && prev; }
    void initLinks() { next = prev = nullptr; }
};

// The header is the sentinel: an empty list points to itself, and head, tail, getNext and getPrev
// answer null at the sentinel so loops need no end marker. The list owns none of its items.
class ilList {
  public:
    ilList() { sentinel.next = sentinel.prev = &sentinel; }
    ilList(const ilList&) = delete;
    ilList& operator=(const ilList&) = delete;

    bool isEmpty() const { return sentinel.next == &sentinel; }
    ilLinkItem* head() const { return at(sentinel.next); }
    ilLinkItem* tail() const { return at(sentinel.prev); }
    ilLinkItem* getNext(const ilLinkItem* item) const { return at(item->next); }
    ilLinkItem* getPrev(const ilLinkItem* item) const { return at(item->prev); }

    void append(ilLinkItem* item) { insertBefore(item, &sentinel); }
    void insert(ilLinkItem* item) { insertAfter(item, &sentinel); }
    void insertAfter(ilLinkItem* item, ilLinkItem* where);
    void insertBefore(ilLinkItem* item, ilLinkItem* where);
    void unlink(ilLinkItem* item);
    // Splice all of other's items in, at the end or at the head; other is left empty.
    void appendList(ilList& other);
    void insertList(ilList& other);

  protected:
    ilLinkItem* at(ilLinkItem* item) const { return item == &sentinel ? nullptr : item; }
    ilLinkItem* end() { return &sentinel; }

    ilLinkItem sentinel;
};

// A list with a position cache, since inputs are looked up by position on every read and the same
// index recurs: head, tail and the last position are found in constant time.
class ilIndexableList : public ilList {
  public:
    int getLength() const { return length; }
    ilLinkItem* findLink(int i);

    void append(ilLinkItem* item);
    void insert(ilLinkItem* item);
    // Links before position i, or appends when i is at or past the length.
    void insertAt(int i, ilLinkItem* item);
    void appendAt(int i, ilLinkItem* item) { insertAt(i + 1, item); }
    void unlink(ilLinkItem* item);
    ilLinkItem* unlinkAt(int i);
    // Walks the list and checks length, links and end pointers; for diagnostics.
    bool isValid() const;

  private:
    ilLinkItem* cachedItem = nullptr;
    int cachedIndex = -1;
    int length = 0;
};
