// vl::HashTableImpl: an unordered table keyed by a 64-bit hash the caller computes, plus equality.
// A typed wrapper over std::unordered_map; Hash is a functor answering std::uint64_t for a key.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <unordered_map>
#include <utility>

namespace vl {

template <class K, class V, class Hash, class Eq = std::equal_to<K>>
class HashTableImpl {
    // Narrows the caller's 64-bit hash to what the standard table wants.
    struct Hasher {
        std::size_t operator()(const K& key) const {
            return static_cast<std::size_t>(static_cast<std::uint64_t>(Hash()(key)));
        }
    };

  public:
    using key_type = K;
    using mapped_type = V;
    using size_type = std::size_t;
    using iterator = typename std::unordered_map<K, V, Hasher, Eq>::iterator;
    using const_iterator = typename std::unordered_map<K, V, Hasher, Eq>::const_iterator;

    HashTableImpl() = default;
    ~HashTableImpl() = default;

    void copy(const HashTableImpl& other) {
        if (this != &other) items = other.items;
    }
    void clear() { items.clear(); }

    // The value under key, inserting a default-constructed one when absent.
    V& get(const K& key) { return items[key]; }
    // The value under key, or null when absent; never inserts.
    V* findNode(const K& key) {
        auto it = items.find(key);
        return it == items.end() ? nullptr : &it->second;
    }
    const V* findNode(const K& key) const {
        auto it = items.find(key);
        return it == items.end() ? nullptr : &it->second;
    }
    // Removes the entry for key; answers whether there was one.
    bool eraseKey(const K& key) { return items.erase(key) != 0; }

    size_type size() const { return items.size(); }
    bool empty() const { return items.empty(); }

    iterator begin() { return items.begin(); }
    iterator end() { return items.end(); }
    const_iterator begin() const { return items.begin(); }
    const_iterator end() const { return items.end(); }

  private:
    std::unordered_map<K, V, Hasher, Eq> items;
};

}  // namespace vl
