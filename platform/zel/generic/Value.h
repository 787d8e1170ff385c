// Zel::GenericIf::Value: one wrapped value of the generic interface, as read from or handed to an
// attribute by name. It holds nothing (empty), a bool, a signed or unsigned 64-bit integer, a
// double, a String, a Name, a counted pointer to a framework object, or a value of a kind that
// a higher layer registered (the model's light settings, say): the framework prints and compares
// those without knowing their types.
//
// A layer registers a value type T by specialising `ValueKind<T>` with a `name` (the kind's
// readable name, used in refusals) and giving T an equality and an `operator<<`; `Value(T)`
// wraps it and `as<T>()` unwraps it.
//
// The generic interface does not carry constness: a pointer to a const entity is wrapped like any
// other, and the attribute tables alone decide what a tool may change.
//
// The unwrapping accessors convert where no information is lost (an integer to a double, a Name
// to a String, ...) and raise Zel::RangeException otherwise, so a request with a value of the
// wrong kind is refused before anything is changed.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <ostream>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <variant>

#include "platform/zel/Name.h"
#include "platform/zel/Ptr.h"
#include "platform/zel/PtrInterface.h"
#include "platform/zel/String.h"

namespace Zel::GenericIf {

// Specialised by the layer that owns a value type, with `static constexpr char const* name`.
template <class T>
struct ValueKind;

template <class T>
concept RegisteredValue = requires {
  { ValueKind<T>::name } -> std::convertible_to<char const*>;
};

// A registered value, boxed: immutable once made, so copies of a Value share it.
class RegisteredValueBox {
 public:
  virtual ~RegisteredValueBox() = default;
  virtual std::type_info const& type() const noexcept = 0;
  virtual char const* kindName() const noexcept = 0;
  virtual void print(std::ostream& out) const = 0;
  virtual bool equals(RegisteredValueBox const& other) const = 0;
};

template <RegisteredValue T>
class RegisteredValueOf final : public RegisteredValueBox {
 public:
  explicit RegisteredValueOf(T value) : value_(std::move(value)) {}
  T const& value() const noexcept { return value_; }
  std::type_info const& type() const noexcept override { return typeid(T); }
  char const* kindName() const noexcept override { return ValueKind<T>::name; }
  void print(std::ostream& out) const override { out << value_; }
  bool equals(RegisteredValueBox const& other) const override {
    auto const* same = dynamic_cast<RegisteredValueOf const*>(&other);
    return same && same->value_ == value_;
  }

 private:
  T value_;
};

class Value {
 public:
  enum class Kind : std::uint8_t {
    empty,
    boolean,
    signedInteger,
    unsignedInteger,
    real,
    string,
    name,
    object,
    registered,
  };

  Value() noexcept = default;
  Value(bool value) : data_(value) {}
  template <std::integral T>
  requires(!std::same_as<T, bool>) Value(T value) {
    if constexpr (std::is_signed_v<T>) {
      data_ = static_cast<std::int64_t>(value);
    } else {
      data_ = static_cast<std::uint64_t>(value);
    }
  }
  Value(double value) : data_(value) {}
  Value(String value) : data_(std::move(value)) {}
  Value(char const* text) : data_(String(text)) {}
  Value(std::string const& text) : data_(String(text)) {}
  Value(Name value) : data_(std::move(value)) {}
  template <RegisteredValue T>
  Value(T value) : data_(std::make_shared<RegisteredValueOf<T> const>(std::move(value))) {}
  // A null object pointer: what a pointer attribute reads while it points nowhere.
  Value(std::nullptr_t) : data_(Ptr<PtrInterface>()) {}
  template <class T>
  requires std::is_base_of_v<PtrInterface, std::remove_const_t<T>> Value(Ptr<T> const& object)
      : data_(Ptr<PtrInterface>(const_cast<std::remove_const_t<T>*>(object.ptr()))) {}

  Kind kind() const noexcept { return static_cast<Kind>(data_.index()); }
  bool isEmpty() const noexcept { return kind() == Kind::empty; }
  // True for an object pointer, null or not.
  bool isObject() const noexcept { return kind() == Kind::object; }

  // bool, or an integer (non-zero is true).
  bool asBool() const;
  // Any integer that fits.
  std::int64_t asInt() const;
  std::uint64_t asUnsigned() const;
  std::uint32_t asU32() const;
  // A double or any integer.
  double asDouble() const;
  // A String or a Name.
  String asString() const;
  Name asName() const;
  // A registered value of type T; a value of any other kind or type is refused.
  template <RegisteredValue T>
  T const& as() const {
    if (auto const* box = registeredBox()) {
      if (auto const* typed = dynamic_cast<RegisteredValueOf<T> const*>(box)) return typed->value();
    }
    refuseKind(ValueKind<T>::name);
  }
  // The object pointer; null for an empty value or a null pointer.
  Ptr<PtrInterface> asObject() const;
  // The object pointer cast to T (which may be const); null stays null, an object of another
  // type is refused.
  template <class T>
  Ptr<T> asPtr() const {
    Ptr<PtrInterface> object = asObject();
    if (!object) return nullptr;
    T* typed = dynamic_cast<T*>(object.ptr());
    if (!typed) refuseObjectType(typeid(T));
    return Ptr<T>(typed);
  }

  // The printed form: "true", "42", "Led1" ("" when empty), "[green steady]", an entity's full
  // name, a framework object's type name, "(null)" for a null pointer, "(none)" for no value.
  std::string text() const;

  friend bool operator==(Value const& a, Value const& b);
  // The boxed value of a registered kind; null for every other kind.
  RegisteredValueBox const* registeredBox() const noexcept;

 private:
  using Registered = std::shared_ptr<RegisteredValueBox const>;

  [[noreturn]] void refuseKind(char const* expected) const;
  [[noreturn]] void refuseObjectType(std::type_info const& expected) const;

  std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, String, Name,
               Ptr<PtrInterface>, Registered>
      data_;
};

char const* toString(Value::Kind kind) noexcept;
std::ostream& operator<<(std::ostream& out, Value const& value);

// The name under which an object's class is known: its registered type name, or the class's
// own (demangled) name for objects whose class has no type descriptor, such as reactors.
std::string typeNameOf(PtrInterface const& object);
// A C++ type's readable (demangled) name.
std::string typeNameOf(std::type_info const& type);
// An object's printed reference: an entity's full name; for a reactor, its class and the entity
// that it watches; for any other object, its type name.
std::string referenceOf(PtrInterface const& object);

}  // namespace Zel::GenericIf
