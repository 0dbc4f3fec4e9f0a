// vl::map and vl::set: ordered associative containers, typed wrappers over std::map and std::set.
// Iteration runs in key order; a node's neighbours are reached with ++ and -- on the iterator.
#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <utility>

namespace vl {

// The default ordering: a < b.
template <class T>
struct less {
    bool operator()(const T& a, const T& b) const { return a < b; }
};

template <class K, class V, class C = vl::less<K>>
class map {
  public:
    using key_type = K;
    using mapped_type = V;
    using value_type = std::pair<const K, V>;
    using size_type = std::size_t;
    using iterator = typename std::map<K, V, C>::iterator;
    using const_iterator = typename std::map<K, V, C>::const_iterator;

    map() = default;
    explicit map(const C& compare) : items(compare) {}

    void copy(const map& other) {
        if (this != &other) items = other.items;
    }
    void clear() { items.clear(); }

    // Inserts (key, value) unless an equal key is present. Answers the element with that key
    // and whether it was inserted now.
    std::pair<iterator, bool> insertUnique(const K& key, const V& value) {
        return items.emplace(key, value);
    }
    iterator find(const K& key) { return items.find(key); }
    const_iterator find(const K& key) const { return items.find(key); }
    // The first element whose key is not before key.
    iterator lowerBound(const K& key) { return items.lower_bound(key); }
    const_iterator lowerBound(const K& key) const { return items.lower_bound(key); }
    // The value stored under key, inserting a default-constructed one when absent.
    V* getValuePtr(const K& key) { return &items[key]; }
    // The value under key, or null when absent; never inserts.
    V* findValuePtr(const K& key) {
        auto it = items.find(key);
        return it == items.end() ? nullptr : &it->second;
    }
    const V* findValuePtr(const K& key) const {
        auto it = items.find(key);
        return it == items.end() ? nullptr : &it->second;
    }
    bool contains(const K& key) const { return items.find(key) != items.end(); }
    // Removes the element at it and answers the next one in order.
    iterator erase(const_iterator it) { return items.erase(it); }
    // Removes the element with key; answers whether there was one.
    bool eraseKey(const K& key) { return items.erase(key) != 0; }

    size_type size() const { return items.size(); }
    bool empty() const { return items.empty(); }
    V& operator[](const K& key) { return items[key]; }

    iterator begin() { return items.begin(); }
    iterator end() { return items.end(); }
    const_iterator begin() const { return items.begin(); }
    const_iterator end() const { return items.end(); }

    void swap(map& other) noexcept { items.swap(other.items); }

    std::map<K, V, C>& impl() { return items; }
    const std::map<K, V, C>& impl() const { return items; }

  private:
    std::map<K, V, C> items;
};

template <class K, class C = vl::less<K>>
class set {
  public:
    using key_type = K;
    using value_type = K;
    using size_type = std::size_t;
    using iterator = typename std::set<K, C>::iterator;
    using const_iterator = typename std::set<K, C>::const_iterator;

    set() = default;
    explicit set(const C& compare) : items(compare) {}

    void copy(const set& other) {
        if (this != &other) items = other.items;
    }
    void clear() { items.clear(); }

    // Inserts key unless an equal one is present; answers the element and whether it is new.
    std::pair<iterator, bool> insertUnique(const K& key) { return items.insert(key); }
    iterator find(const K& key) const { return items.find(key); }
    iterator lowerBound(const K& key) const { return items.lower_bound(key); }
    bool contains(const K& key) const { return items.find(key) != items.end(); }
    iterator erase(const_iterator it) { return items.erase(it); }
    bool eraseKey(const K& key) { return items.erase(key) != 0; }

    size_type size() const { return items.size(); }
    bool empty() const { return items.empty(); }
    // The smallest element; the set must not be empty.
    const K& first() const { return *items.begin(); }

    iterator begin() const { return items.begin(); }
    iterator end() const { return items.end(); }

    void swap(set& other) noexcept { items.swap(other.items); }

    std::set<K, C>& impl() { return items; }
    const std::set<K, C>& impl() const { return items; }

  private:
    std::set<K, C> items;
};

}  // namespace vl
