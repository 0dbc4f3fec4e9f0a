// Intrusive, non-atomic reference counts and the smart pointers that hold them.
// Objects carry their own count; the pointers only call ref and unref on it.
#pragma once

#include <cstdint>
#include <utility>

namespace vl {

// The count the image family inherits beside ilLink. An object starts with no references and
// may live without any (on the stack, or through raw pointers); the first TempReference taken
// and dropped deletes a heap object through the virtual destructor.
class TempReferenceCount {
  public:
    virtual ~TempReferenceCount() {}

    void ref() const { ++count; }
    // Deletes the object when the last reference goes.
    void unref() const {
        if (--count == 0) destroy();
    }
    int refs() const { return count; }

    mutable std::int32_t count;

  protected:
    TempReferenceCount() : count(0) {}
    // A copy is a new object: nobody refers to it yet.
    TempReferenceCount(const TempReferenceCount&) : count(0) {}
    // Assigning the contents of another object does not move its references.
    TempReferenceCount& operator=(const TempReferenceCount&) { return *this; }

  private:
    // Out of line, so that the compiler deletes through the virtual destructor instead of
    // reasoning about the offset of this base inside a class it has inlined.
    void destroy() const;
};

// The count of objects that exist only as shared objects (stamps, paint operators, functions).
// Same rules as TempReferenceCount; unref and the special members live out of line.
class ReferenceCount {
  public:
    virtual ~ReferenceCount();

    void ref() const { ++count; }
    void unref() const;
    int refs() const { return count; }

    mutable std::int32_t count;

  protected:
    ReferenceCount();
    ReferenceCount(const ReferenceCount&);
    ReferenceCount& operator=(const ReferenceCount&);
};

// Holds one reference to a T (any class with ref and unref). Assignment takes the new reference
// before dropping the old one, so self-assignment is safe. A null pointer is allowed everywhere.
// Kind keeps the two holders below distinct types.
template <class T, int Kind>
class BasicReference {
  public:
    BasicReference() : ptr(nullptr) {}
    BasicReference(T* p) : ptr(p) {  // NOLINT: a raw pointer hands its object over implicitly
        if (ptr) ptr->ref();
    }
    BasicReference(const BasicReference& other) : BasicReference(other.ptr) {}
    BasicReference(BasicReference&& other) noexcept : ptr(other.ptr) { other.ptr = nullptr; }
    template <class U>
    BasicReference(const BasicReference<U, Kind>& other) : BasicReference(other.get()) {}
    ~BasicReference() {
        if (ptr) ptr->unref();
    }

    BasicReference& operator=(T* p) {
        T* old = ptr;
        if (p) p->ref();
        ptr = p;
        if (old) old->unref();
        return *this;
    }
    BasicReference& operator=(const BasicReference& other) { return *this = other.ptr; }
    BasicReference& operator=(BasicReference&& other) noexcept {
        if (this != &other) {
            T* old = ptr;
            ptr = other.ptr;
            other.ptr = nullptr;
            if (old) old->unref();
        }
        return *this;
    }
    template <class U>
    BasicReference& operator=(const BasicReference<U, Kind>& other) {
        return *this = other.get();
    }

    T* get() const { return ptr; }
    T* operator->() const { return ptr; }
    T& operator*() const { return *ptr; }
    operator T*() const { return ptr; }
    bool isNull() const { return ptr == nullptr; }

    // Hands the reference to the caller, who must unref it later; this pointer becomes null.
    T* release() {
        T* p = ptr;
        ptr = nullptr;
        return p;
    }
    // Drops the reference held, if any.
    void reset() { *this = static_cast<T*>(nullptr); }

  private:
    T* ptr;
};

// A reference to an object of the image family (over TempReferenceCount). A value parameter of
// this type is released by the callee; a returned one carries a reference the caller owns.
template <class T>
class TempReference : public BasicReference<T, 0> {
  public:
    using BasicReference<T, 0>::BasicReference;
    using BasicReference<T, 0>::operator=;
};

// A reference to an object that exists only as a shared object (over ReferenceCount).
template <class T>
class Reference : public BasicReference<T, 1> {
  public:
    using BasicReference<T, 1>::BasicReference;
    using BasicReference<T, 1>::operator=;
};

}  // namespace vl
