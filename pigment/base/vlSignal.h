// vlRTB signals: a SignalBase keeps a list of wrapped callables (FunctionBase) and calls them on
// emit; a SignalClient receiver drops its connections when it is destroyed.
#pragma once

#include <cstdint>
#include <type_traits>
#include <vector>

namespace vlRTB {

class SignalBase;
class SignalClient;

// Any free function, cast to one type so connections can be found by their target.
using GlobalFunction = void (*)();

// A wrapped callable. The two tests let a signal find connections by target.
class FunctionBase {
  public:
    virtual ~FunctionBase() {}
    // True when the callable calls into object.
    virtual bool isInstance(const void* object) const {
        (void)object;
        return false;
    }
    // True when the callable is the free function fn.
    virtual bool isGlobalFunction(GlobalFunction fn) const {
        (void)fn;
        return false;
    }
};

// A callable taking one argument.
template <class Arg>
class FunctionArg : public FunctionBase {
  public:
    virtual void call(Arg arg) = 0;
};

// Calls (object->*method)(arg).
template <class Arg, class Class>
class FunctionArgMember : public FunctionArg<Arg> {
  public:
    using Method = void (Class::*)(Arg);
    FunctionArgMember(Class* obj, Method m) : object(obj), method(m) {}
    void call(Arg arg) override { (object->*method)(arg); }
    bool isInstance(const void* target) const override {
        return static_cast<const void*>(object) == target;
    }
    Class* instance() const { return object; }

  private:
    Class* object;
    Method method;
};

// Calls fn(arg).
template <class Arg>
class FunctionArgGlobal : public FunctionArg<Arg> {
  public:
    using Function = void (*)(Arg);
    explicit FunctionArgGlobal(Function f) : fn(f) {}
    void call(Arg arg) override { fn(arg); }
    bool isGlobalFunction(GlobalFunction target) const override {
        return reinterpret_cast<GlobalFunction>(fn) == target;
    }

  private:
    Function fn;
};

// Names one connection of one signal. Ids are never reused, so a stale handle is harmless.
class Connection {
  public:
    Connection() : id(0) {}
    explicit Connection(std::uint64_t value) : id(value) {}
    bool isValid() const { return id != 0; }
    std::uint64_t value() const { return id; }
    bool operator==(const Connection& other) const { return id == other.id; }

  private:
    std::uint64_t id;
};

// The list of callbacks. Calls go over a snapshot whose items are locked, so a callback may
// disconnect itself or others (or destroy its client) while the signal calls: a disconnected
// item is skipped and freed when its last lock goes. Connections added during a call are not
// called by it. A signal must not be destroyed from one of its own callbacks. Single-threaded.
class SignalBase {
  public:
    struct connectionItem {
        FunctionBase* function;  // owned
        SignalClient* client;    // may be null
        SignalBase* signal;
        std::uint64_t id;
        int locks;
        bool connected;

        // Keeps the item (and its function) alive while it is being called.
        void lock() { ++locks; }
        // Frees a disconnected item when the last lock goes.
        void unlock();
    };

    SignalBase();
    // A copy starts with no connections; assignment leaves the connections alone.
    SignalBase(const SignalBase&);
    SignalBase& operator=(const SignalBase&);
    // Drops every connection and tells their clients.
    virtual ~SignalBase();

    // Takes ownership of function. When client is given, the connection goes when it is
    // destroyed. A null function is refused with an invalid connection.
    Connection addCallback(FunctionBase* function, SignalClient* client);
    // Answers whether the connection was live here.
    bool disconnect(Connection connection);
    // Disconnects every connection whose function calls into object; answers how many.
    int disconnectInstance(const void* object);
    int disconnectGlobalFunction(GlobalFunction fn);
    void disconnectAll();

    Connection findInstance(const void* object) const;
    Connection findGlobalFunction(GlobalFunction fn) const;
    bool isConnected(Connection connection) const;
    int numConnections() const;

  protected:
    // Calls invoke(FunctionBase&) for each live connection, in the order they were added.
    template <class Invoke>
    void callEach(Invoke&& invoke) {
        std::vector<connectionItem*> snapshot;
        snapshot.reserve(items.size());
        for (connectionItem* item : items) {
            if (item->connected) {
                item->lock();
                snapshot.push_back(item);
            }
        }
        for (connectionItem* item : snapshot) {
            if (item->connected) invoke(*item->function);
        }
        for (connectionItem* item : snapshot)
            item->unlock();
    }

  private:
    friend class SignalClient;
    void drop(connectionItem* item);
    void erase(connectionItem* item);

    std::vector<connectionItem*> items;
};

// A signal whose callbacks take one argument.
template <class Arg>
class Signal : public SignalBase {
  public:
    // Connects (object->*method)(arg). When Class is a SignalClient the connection ends with it.
    template <class Class>
    Connection connect(Class* object, void (Class::*method)(Arg)) {
        SignalClient* client = nullptr;
        if constexpr (std::is_base_of_v<SignalClient, Class>) client = object;
        return addCallback(new FunctionArgMember<Arg, Class>(object, method), client);
    }
    Connection connect(void (*fn)(Arg)) {
        return addCallback(new FunctionArgGlobal<Arg>(fn), nullptr);
    }
    // Calls every live callback with arg.
    void emit(Arg arg) {
        callEach([&](FunctionBase& f) { static_cast<FunctionArg<Arg>&>(f).call(arg); });
    }
};

// Base of receivers: remembers the connections made for it and ends them on destruction.
class SignalClient {
  public:
    SignalClient() {}
    // A copy is a new receiver without connections.
    SignalClient(const SignalClient&) {}
    SignalClient& operator=(const SignalClient&) { return *this; }
    virtual ~SignalClient();

    int numClientConnections() const { return static_cast<int>(links.size()); }

  private:
    friend class SignalBase;
    struct Link {
        SignalBase* signal;
        std::uint64_t id;
    };
    void forget(SignalBase* signal, std::uint64_t id);

    std::vector<Link> links;
};

}  // namespace vlRTB
