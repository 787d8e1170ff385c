#include "platform/zel/generic/Value.h"

#include <cxxabi.h>

#include <cstdlib>
#include <limits>
#include <memory>
#include <ostream>
#include <sstream>

#include "platform/zel/Entity.h"
#include "platform/zel/Exception.h"
#include "platform/zel/Notifiee.h"
#include "platform/zel/TypeNode.h"

namespace Zel::GenericIf {

char const* toString(Value::Kind kind) noexcept {
  switch (kind) {
    case Value::Kind::empty:
      return "empty";
    case Value::Kind::boolean:
      return "bool";
    case Value::Kind::signedInteger:
      return "integer";
    case Value::Kind::unsignedInteger:
      return "unsigned integer";
    case Value::Kind::real:
      return "double";
    case Value::Kind::string:
      return "string";
    case Value::Kind::name:
      return "name";
    case Value::Kind::object:
      return "object";
    case Value::Kind::registered:
      return "registered";
  }
  return "unknown";
}

void Value::refuseKind(char const* expected) const {
  RegisteredValueBox const* box = registeredBox();
  std::string const given = box ? box->kindName() : toString(kind());
  throwRangeException(
      ("a " + given + " value was given where " + expected + " is expected").c_str());
}

RegisteredValueBox const* Value::registeredBox() const noexcept {
  auto const* box = std::get_if<Registered>(&data_);
  return box ? box->get() : nullptr;
}

bool operator==(Value const& a, Value const& b) {
  RegisteredValueBox const* boxA = a.registeredBox();
  RegisteredValueBox const* boxB = b.registeredBox();
  if (boxA || boxB) return boxA && boxB && boxA->equals(*boxB);
  return a.data_ == b.data_;
}

void Value::refuseObjectType(std::type_info const& expected) const {
  throwRangeException(("an object of type " + typeNameOf(*asObject()) + " was given where " +
                       typeNameOf(expected) + " is expected")
                          .c_str());
}

bool Value::asBool() const {
  if (auto const* b = std::get_if<bool>(&data_)) return *b;
  if (auto const* i = std::get_if<std::int64_t>(&data_)) return *i != 0;
  if (auto const* u = std::get_if<std::uint64_t>(&data_)) return *u != 0;
  refuseKind("a bool");
}

std::int64_t Value::asInt() const {
  if (auto const* i = std::get_if<std::int64_t>(&data_)) return *i;
  if (auto const* u = std::get_if<std::uint64_t>(&data_)) {
    if (*u <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
      return static_cast<std::int64_t>(*u);
    }
  }
  refuseKind("a signed 64-bit integer");
}

std::uint64_t Value::asUnsigned() const {
  if (auto const* u = std::get_if<std::uint64_t>(&data_)) return *u;
  if (auto const* i = std::get_if<std::int64_t>(&data_); i && *i >= 0) {
    return static_cast<std::uint64_t>(*i);
  }
  refuseKind("an unsigned integer");
}

std::uint32_t Value::asU32() const {
  std::uint64_t value = asUnsigned();
  if (value > std::numeric_limits<std::uint32_t>::max()) refuseKind("an unsigned 32-bit integer");
  return static_cast<std::uint32_t>(value);
}

double Value::asDouble() const {
  if (auto const* d = std::get_if<double>(&data_)) return *d;
  if (auto const* i = std::get_if<std::int64_t>(&data_)) return static_cast<double>(*i);
  if (auto const* u = std::get_if<std::uint64_t>(&data_)) return static_cast<double>(*u);
  refuseKind("a double");
}

String Value::asString() const {
  if (auto const* s = std::get_if<String>(&data_)) return *s;
  if (auto const* n = std::get_if<Name>(&data_)) return n->string();
  refuseKind("a string");
}

Name Value::asName() const {
  if (auto const* n = std::get_if<Name>(&data_)) return *n;
  if (auto const* s = std::get_if<String>(&data_)) return Name(*s);
  refuseKind("a name");
}

Ptr<PtrInterface> Value::asObject() const {
  if (auto const* object = std::get_if<Ptr<PtrInterface>>(&data_)) return *object;
  if (isEmpty()) return nullptr;
  refuseKind("an object");
}

std::string Value::text() const {
  std::ostringstream out;
  out << *this;
  return out.str();
}

std::ostream& operator<<(std::ostream& out, Value const& value) {
  switch (value.kind()) {
    case Value::Kind::empty:
      return out << "(none)";
    case Value::Kind::boolean:
      return out << (value.asBool() ? "true" : "false");
    case Value::Kind::signedInteger:
      return out << value.asInt();
    case Value::Kind::unsignedInteger:
      return out << value.asUnsigned();
    case Value::Kind::real:
      return out << value.asDouble();
    case Value::Kind::string:
    case Value::Kind::name: {
      String const text = value.asString();
      return out << (text.empty() ? String("\"\"") : text);
    }
    case Value::Kind::registered:
      value.registeredBox()->print(out);
      return out;
    case Value::Kind::object: {
      Ptr<PtrInterface> object = value.asObject();
      return out << (object ? referenceOf(*object) : std::string("(null)"));
    }
  }
  return out;
}

std::string typeNameOf(PtrInterface const& object) {
  if (TypeNode const* type = object.fwkType(); type && type != &Entity::type()) {
    return type->name().stdString();
  }
  return typeNameOf(typeid(object));
}

std::string typeNameOf(std::type_info const& type) {
  int status = 0;
  std::unique_ptr<char, void (*)(void*)> name(
      abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), std::free);
  return status == 0 && name ? std::string(name.get()) : std::string(type.name());
}

std::string referenceOf(PtrInterface const& object) {
  if (auto const* entity = dynamic_cast<Entity const*>(&object)) {
    std::ostringstream out;
    out << entity;
    return out.str();
  }
  if (auto const* reactor = dynamic_cast<NotifieeConstBase const*>(&object)) {
    std::ostringstream out;
    out << typeNameOf(object) << " on " << reactor->notifierBase();
    return out.str();
  }
  return typeNameOf(object);
}

}  // namespace Zel::GenericIf
