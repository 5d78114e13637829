#pragma once

#include <array>
#include <cassert>
#include <cstddef>
#include <cstring>
#include <memory>
#include <type_traits>
#include <vector>

namespace dresk {

class RunLoop;

/// Root of everything that an event can carry.
class ZPObject {
  public:
    virtual ~ZPObject() = default;

  protected:
    ZPObject() = default;
    ZPObject(const ZPObject&) = default;
    ZPObject& operator=(const ZPObject&) = default;
};

/// One subscription: an observer, which is not kept alive, and a method of it that takes one
/// argument object, possibly null. Equal when observer and method are identical.
class ZPEventHandler {
  public:
    template <class Observer, class Argument>
    ZPEventHandler(Observer* observer, void (Observer::*selector)(Argument*))
        : observer_(observer), invoke_(&invokeAs<Observer, Argument>) {
        static_assert(std::is_base_of_v<ZPObject, Argument>);
        static_assert(sizeof selector <= sizeof selector_);
        std::memcpy(selector_.data(), &selector, sizeof selector);
    }

    void* observer() const { return observer_; }
    void operator()(ZPObject* argument) const { invoke_(*this, argument); }

    friend bool operator==(const ZPEventHandler&, const ZPEventHandler&) = default;

  private:
    template <class Observer, class Argument>
    static void invokeAs(const ZPEventHandler& handler, ZPObject* argument) {
        void (Observer::*selector)(Argument*) = nullptr;
        std::memcpy(&selector, handler.selector_.data(), sizeof selector);
        assert(argument == nullptr || dynamic_cast<Argument*>(argument) != nullptr);
        (static_cast<Observer*>(handler.observer_)->*selector)(static_cast<Argument*>(argument));
    }

    void* observer_;
    std::array<std::byte, 2 * sizeof(void*)> selector_{};
    void (*invoke_)(const ZPEventHandler&, ZPObject*);
};

/// A multicast event with its subscribers in order of subscription. It takes no lock: subscribe
/// and unsubscribe while no thread raises. An observer removes itself before it is destroyed.
class ZPEvent {
  public:
    /// `mainRunLoop` serves raiseOnMainThread and outlives the event; null where that is not used.
    explicit ZPEvent(RunLoop* mainRunLoop = nullptr) : mainRunLoop_(mainRunLoop) {}
    ZPEvent(const ZPEvent&) = delete;
    ZPEvent& operator=(const ZPEvent&) = delete;
    ~ZPEvent();

    /// Appends; the same pair added twice is called twice.
    template <class Observer, class Argument>
    void addObserver(std::type_identity_t<Observer>* observer,
                     void (Observer::*selector)(Argument*)) {
        handlers_.emplace_back(observer, selector);
    }
    /// Removes the first identical subscription; none is no error.
    template <class Observer, class Argument>
    void removeObserver(std::type_identity_t<Observer>* observer,
                        void (Observer::*selector)(Argument*)) {
        remove(ZPEventHandler(observer, selector));
    }

    /// Calls each observer in turn on the calling thread, allocating nothing.
    void raise(ZPObject* argument) const {
        for (const ZPEventHandler& handler : handlers_)
            handler(argument);
    }
    /// Posts each call to the main run loop and returns. The argument lives until the last call
    /// has run; an observer that has left meanwhile is not called.
    void raiseOnMainThread(const std::shared_ptr<ZPObject>& argument) const;

    const std::vector<ZPEventHandler>& handlers() const { return handlers_; }

  private:
    void remove(const ZPEventHandler& handler);

    RunLoop* mainRunLoop_;
    std::vector<ZPEventHandler> handlers_;
};

} // namespace dresk
