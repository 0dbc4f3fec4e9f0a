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
        if (--count == 0) delete this;
    }
    int refs() const { return count; }

    mutable std::int32_t count;

  protected:
    TempReferenceCount() : count(0) {}
    // A copy is a new object: nobody refers to it yet.
    TempReferenceCount(const TempReferenceCount&) : count(0) {}
    // Assigning the contents of another object does not move its references.
    TempReferenceCount& operator=(const TempReferenceCount&) { return *this; }
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

// Holds one reference to a T (any class with ref and unref, normally over TempReferenceCount).
// Assignment takes the new reference before dropping the old one, so self-assignment is safe.
// A null pointer is allowed everywhere. A value parameter of this type is released by the callee.
template <class T>
class TempReference {
  public:
    TempReference() : ptr(nullptr) {}
    TempReference(T* p) : ptr(p) {  // NOLINT: a raw pointer hands its object over implicitly
        if (ptr) ptr->ref();
    }
    TempReference(const TempReference& other) : TempReference(other.ptr) {}
    TempReference(TempReference&& other) noexcept : ptr(other.ptr) { other.ptr = nullptr; }
    template <class U>
    TempReference(const TempReference<U>& other) : TempReference(other.get()) {}
    ~TempReference() {
        if (ptr) ptr->unref();
    }

    TempReference& operator=(T* p) {
        T* old = ptr;
        if (p) p->ref();
        ptr = p;
        if (old) old->unref();
        return *this;
    }
    TempReference& operator=(const TempReference& other) { return *this = other.ptr; }
    TempReference& operator=(TempReference&& other) noexcept {
        if (this != &other) {
            T* old = ptr;
            ptr = other.ptr;
            other.ptr = nullptr;
            if (old) old->unref();
        }
        return *this;
    }
    template <class U>
    TempReference& operator=(const TempReference<U>& other) {
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

// Holds one reference to a shared object (normally over ReferenceCount); same rules as
// TempReference.
template <class T>
class Reference {
  public:
    Reference() : ptr(nullptr) {}
    Reference(T* p) : ptr(p) {  // NOLINT: a raw pointer hands its object over implicitly
        if (ptr) ptr->ref();
    }
    Reference(const Reference& other) : Reference(other.ptr) {}
    Reference(Reference&& other) noexcept : ptr(other.ptr) { other.ptr = nullptr; }
    template <class U>
    Reference(const Reference<U>& other) : Reference(other.get()) {}
    ~Reference() {
        if (ptr) ptr->unref();
    }

    Reference& operator=(T* p) {
        T* old = ptr;
        if (p) p->ref();
        ptr = p;
        if (old) old->unref();
        return *this;
    }
    Reference& operator=(const Reference& other) { return *this = other.ptr; }
    Reference& operator=(Reference&& other) noexcept {
        if (this != &other) {
            T* old = ptr;
            ptr = other.ptr;
            other.ptr = nullptr;
            if (old) old->unref();
        }
        return *this;
    }
    template <class U>
    Reference& operator=(const Reference<U>& other) {
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

}  // namespace vl
