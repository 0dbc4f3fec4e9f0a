// vl::vector: the library's contiguous array, a typed wrapper over std::vector.
// Positions are indices; insert and erase keep the order and answer the position they acted on.
#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>
#include <vector>

namespace vl {

template <class T>
class vector {
    // std::vector<bool> packs bits and could not hand out element pointers.
    static_assert(!std::is_same_v<T, bool>, "vl::vector<bool> is not supported");

  public:
    using value_type = T;
    using size_type = std::size_t;
    using iterator = typename std::vector<T>::iterator;
    using const_iterator = typename std::vector<T>::const_iterator;

    vector() = default;
    explicit vector(size_type n) : items(n) {}
    vector(size_type n, const T& value) : items(n, value) {}
    vector(std::initializer_list<T> init) : items(init) {}

    // Replaces the contents with a copy of other's.
    void copy(const vector& other) {
        if (this != &other) items = other.items;
    }
    // Destroys the elements but keeps the storage.
    void clear() { items.clear(); }
    // Destroys the elements and gives the storage back.
    void freeStorage() { std::vector<T>().swap(items); }
    void reserve(size_type n) { items.reserve(n); }
    // Grows with default-constructed elements or shrinks from the back.
    void setSize(size_type n) { items.resize(n); }
    void setSize(size_type n, const T& fill) { items.resize(n, fill); }

    void append(const T& value) { items.push_back(value); }
    void append(T&& value) { items.push_back(std::move(value)); }
    // Appends a default-constructed element and answers its address.
    T* appendAndReturnPtr() { return &items.emplace_back(); }
    // Appends a copy of value and answers the new element's address.
    T* appendAndAssignPtr(const T& value) { return &items.emplace_back(value); }

    // Inserts before position pos (size() appends) and answers pos.
    size_type insert(size_type pos, const T& value) {
        if (pos > items.size()) pos = items.size();
        items.insert(items.begin() + static_cast<std::ptrdiff_t>(pos), value);
        return pos;
    }
    // Inserts a copy of value at pos and answers the new element's address.
    T* insertAndAssignPtr(size_type pos, const T& value) { return &items[insert(pos, value)]; }
    // Removes count elements from pos and answers pos, now the position of the next element.
    size_type erase(size_type pos, size_type count = 1) {
        if (pos >= items.size()) return items.size();
        if (count > items.size() - pos) count = items.size() - pos;
        auto first = items.begin() + static_cast<std::ptrdiff_t>(pos);
        items.erase(first, first + static_cast<std::ptrdiff_t>(count));
        return pos;
    }
    iterator erase(const_iterator it) { return items.erase(it); }
    void eraseBack() {
        if (!items.empty()) items.pop_back();
    }

    size_type size() const { return items.size(); }
    bool empty() const { return items.empty(); }
    size_type capacity() const { return items.capacity(); }
    T& operator[](size_type i) { return items[i]; }
    const T& operator[](size_type i) const { return items[i]; }
    T& front() { return items.front(); }
    const T& front() const { return items.front(); }
    T& back() { return items.back(); }
    const T& back() const { return items.back(); }
    T* data() { return items.data(); }
    const T* data() const { return items.data(); }

    iterator begin() { return items.begin(); }
    iterator end() { return items.end(); }
    const_iterator begin() const { return items.begin(); }
    const_iterator end() const { return items.end(); }

    void swap(vector& other) noexcept { items.swap(other.items); }
    bool operator==(const vector& other) const { return items == other.items; }

    std::vector<T>& impl() { return items; }
    const std::vector<T>& impl() const { return items; }

  private:
    std::vector<T> items;
};

}  // namespace vl
