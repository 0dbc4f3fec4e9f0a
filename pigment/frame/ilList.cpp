#include "pigment/frame/ilList.h"

void ilList::insertAfter(ilLinkItem* item, ilLinkItem* where) {
    item->prev = where;
    item->next = where->next;
    where->next->prev = item;
    where->next = item;
}

void ilList::insertBefore(ilLinkItem* item, ilLinkItem* where) {
    item->next = where;
    item->prev = where->prev;
    where->prev->next = item;
    where->prev = item;
}

void ilList::unlink(ilLinkItem* item) {
    if (!item->isLinked()) return;
    item->prev->next = item->next;
    item->next->prev = item->prev;
    item->initLinks();
}

void ilList::appendList(ilList& other) {
    if (other.isEmpty()) return;
    ilLinkItem* first = other.sentinel.next;
    ilLinkItem* last = other.sentinel.prev;
    first->prev = sentinel.prev;
    sentinel.prev->next = first;
    last->next = &sentinel;
    sentinel.prev = last;
    other.sentinel.next = other.sentinel.prev = &other.sentinel;
}

void ilList::insertList(ilList& other) {
    if (other.isEmpty()) return;
    ilLinkItem* first = other.sentinel.next;
    ilLinkItem* last = other.sentinel.prev;
    last->next = sentinel.next;
    sentinel.next->prev = last;
    first->prev = &sentinel;
    sentinel.next = first;
    other.sentinel.next = other.sentinel.prev = &other.sentinel;
}

ilLinkItem* ilIndexableList::findLink(int i) {
    if (i < 0 || i >= length) return nullptr;
    if (i == 0) return head();
    if (i == length - 1) return tail();
    if (i == cachedIndex) return cachedItem;
    if (cachedIndex < 0) {
        cachedIndex = 0;
        cachedItem = head();
    }
    ilLinkItem* item;
    if (i > cachedIndex) {
        int fromCache = i - cachedIndex;
        int fromTail = length - 1 - i;
        if (fromCache >= fromTail) {
            item = tail();
            for (int k = 0; k < fromTail; ++k)
                item = item->prev;
        } else {
            item = cachedItem;
            for (int k = 0; k < fromCache; ++k)
                item = item->next;
        }
    } else {
        int fromCache = cachedIndex - i;
        if (i < fromCache) {
            item = head();
            for (int k = 0; k < i; ++k)
                item = item->next;
        } else {
            item = cachedItem;
            for (int k = 0; k < fromCache; ++k)
                item = item->prev;
        }
    }
    cachedItem = item;
    cachedIndex = i;
    return item;
}

void ilIndexableList::append(ilLinkItem* item) {
    ilList::append(item);
    ++length;
}

void ilIndexableList::insert(ilLinkItem* item) {
    ilList::insert(item);
    ++length;
    if (cachedIndex >= 0) ++cachedIndex;
}

void ilIndexableList::insertAt(int i, ilLinkItem* item) {
    if (i >= length) {
        append(item);
        return;
    }
    if (i < 0) i = 0;
    ilLinkItem* where = findLink(i);
    ilList::insertBefore(item, where);
    ++length;
    if (cachedIndex >= i) ++cachedIndex;
}

void ilIndexableList::unlink(ilLinkItem* item) {
    if (!item->isLinked()) return;
    ilList::unlink(item);
    --length;
    cachedIndex = -1;
    cachedItem = nullptr;
}

ilLinkItem* ilIndexableList::unlinkAt(int i) {
    ilLinkItem* item = findLink(i);
    if (item) unlink(item);
    return item;
}

bool ilIndexableList::isValid() const {
    int n = 0;
    const ilLinkItem* prev = &sentinel;
    for (const ilLinkItem* item = sentinel.next; item != &sentinel; item = item->next) {
        if (!item || item->prev != prev) return false;
        prev = item;
        if (++n > length) return false;
    }
    return n == length && sentinel.prev == prev;
}
