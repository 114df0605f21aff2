#pragma once

// The root of every toolkit object, and the weak references between them.
//
// Toolkit objects are held by std::shared_ptr. UIKit's weak references (a view's superview, a
// control's targets, delegates declared weak) must also work while an object is still being
// constructed (a cell makes itself the target of its own buttons in its initialiser), when
// std::weak_ptr to it does not exist yet. So every object carries a liveness token: WeakRef<T>
// holds the address and a weak pointer to that token, and reads as null once the object is gone.

#include <memory>
#include <type_traits>

#include <vlq/Export.h>

namespace vlq::toolkit {

class VLQ_API NSObject : public std::enable_shared_from_this<NSObject> {
 public:
  NSObject() : alive_(std::make_shared<char>(0)) {}
  NSObject(const NSObject&) = delete;
  NSObject& operator=(const NSObject&) = delete;
  virtual ~NSObject() = default;

  // A strong reference to this object: an owning one when a shared_ptr owns it, otherwise (during
  // construction, or for an object that no shared_ptr owns) one that does not own it.
  template <class T = NSObject>
  std::shared_ptr<T> strongSelf() {
    static_assert(std::is_base_of_v<NSObject, T>);
    if (auto owner = weak_from_this().lock()) return std::static_pointer_cast<T>(owner);
    return std::shared_ptr<T>(std::shared_ptr<T>(), static_cast<T*>(this));
  }

 private:
  template <class T>
  friend class WeakRef;

  std::shared_ptr<char> alive_;
};

// A zeroing weak reference to a toolkit object.
template <class T>
class WeakRef {
 public:
  WeakRef() = default;
  WeakRef(std::nullptr_t) {}
  WeakRef(T* object) : object_(object) {  // NOLINT: converts like a pointer does
    if (object) alive_ = static_cast<NSObject*>(object)->alive_;
  }
  WeakRef(const std::shared_ptr<T>& object) : WeakRef(object.get()) {}  // NOLINT
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  WeakRef(const std::shared_ptr<U>& object) : WeakRef(static_cast<T*>(object.get())) {}  // NOLINT

  // The object while it lives (owning where a shared_ptr owns it), otherwise null.
  std::shared_ptr<T> lock() const {
    if (!object_ || alive_.expired()) return nullptr;
    return static_cast<NSObject*>(object_)->template strongSelf<T>();
  }
  // The address while the object lives, otherwise null; for identity tests.
  T* get() const { return alive_.expired() ? nullptr : object_; }
  explicit operator bool() const { return get() != nullptr; }

 private:
  T* object_ = nullptr;
  std::weak_ptr<char> alive_;
};

}  // namespace vlq::toolkit
