// vl::list: the library's doubly linked list, a typed wrapper over std::list.
// Element addresses stay valid while other elements come and go.
#pragma once

#include <cstddef>
#include <list>
#include <utility>

namespace vl {

template <class T>
class list {
  public:
    using value_type = T;
    using size_type = std::size_t;
    using iterator = typename std::list<T>::iterator;
    using const_iterator = typename std::list<T>::const_iterator;

    list() = default;
    list(std::initializer_list<T> init) : items(init) {}

    // Replaces the contents with a copy of other's.
    void copy(const list& other) {
        if (this != &other) items = other.items;
    }
    void clear() { items.clear(); }

    void append(const T& value) { items.push_back(value); }
    void append(T&& value) { items.push_back(std::move(value)); }
    void prepend(const T& value) { items.push_front(value); }
    void prepend(T&& value) { items.push_front(std::move(value)); }
    // Removing from an empty list does nothing.
    void eraseFront() {
        if (!items.empty()) items.pop_front();
    }
    void eraseBack() {
        if (!items.empty()) items.pop_back();
    }
    // Inserts before it and answers the new element's position.
    iterator insert(const_iterator it, const T& value) { return items.insert(it, value); }
    // Removes the element at it and answers the position of the next.
    iterator erase(const_iterator it) { return items.erase(it); }

    size_type size() const { return items.size(); }
    bool empty() const { return items.empty(); }
    T& front() { return items.front(); }
    const T& front() const { return items.front(); }
    T& back() { return items.back(); }
    const T& back() const { return items.back(); }

    iterator begin() { return items.begin(); }
    iterator end() { return items.end(); }
    const_iterator begin() const { return items.begin(); }
    const_iterator end() const { return items.end(); }

    void swap(list& other) noexcept { items.swap(other.items); }
    bool operator==(const list& other) const { return items == other.items; }

    std::list<T>& impl() { return items; }
    const std::list<T>& impl() const { return items; }

  private:
    std::list<T> items;
};

}  // namespace vl
