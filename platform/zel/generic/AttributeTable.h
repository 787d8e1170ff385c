// Zel::GenericIf::AttributeTable: the attributes that one class publishes to the generic
// interface, and the class's dispatch function, which performs a request on one of them by
// forwarding to the class's ordinary operations.
//
// A class's entries are indexed after its base class's: the first own index is the base table's
// end. A request carries an index; a table answers "not handled" for an index outside its own
// range, and the caller then asks the base class's table (Access.h does this walk).
//
// Writing a table (one file per class):
//
//   Reply dispatchMachine(PtrInterface& object, std::size_t position, Request const& request) {
//     auto& machine = objectAs<Machine>(object);
//     switch (position) { case 0: return Reply::of(machine.flashingState()); ... }
//     return Reply::notHandled();
//   }
//   AttributeTable const table(Machine::type(), {valueAttribute(...), ...}, &dispatchMachine);
//   TableRegistration const registration(table);
//
// The base class's table must be registered before the class's table is built: true for a base
// class of a library that the class's library links against, or earlier in the same file.
#pragma once

#include <cstddef>
#include <typeinfo>
#include <vector>

#include "platform/zel/NameMap.h"
#include "platform/zel/TypeNode.h"
#include "platform/zel/generic/Arguments.h"
#include "platform/zel/generic/AttributeInfo.h"
#include "platform/zel/generic/Value.h"

namespace Zel::GenericIf {

// One member of a keyed collection.
struct Member {
  Name key;
  Value value;
  friend bool operator==(Member const&, Member const&) = default;
};
using Members = std::vector<Member>;

// Wraps every member of a keyed collection, in the collection's order.
template <class V>
Members membersOf(NameMap<V> const& map) {
  Members members;
  members.reserve(map.size());
  for (auto member : map) members.push_back(Member{member.key, Value(member.value)});
  return members;
}

// The member under `key`, wrapped; empty when there is none.
template <class V>
Value memberOf(NameMap<V> const& map, Name const& key) {
  V const* member = map.find(key);
  return member ? Value(*member) : Value();
}

struct Request {
  Operation operation = Operation::get;
  std::size_t index = 0;
  // The addressed member of a collection; null for the attribute as a whole.
  Name const* key = nullptr;
  // set: the new value or the construction values; invoke: the arguments.
  Arguments const* arguments = nullptr;

  Arguments const& args() const noexcept;
  // The key; a request without one is refused with Zel::RangeException.
  Name const& requireKey() const;
};

struct Reply {
  bool handled = false;
  Value value;      // get: the value; set: the new value; del: the removed value
  Members members;  // iterate

  static Reply notHandled() { return Reply{}; }
  static Reply done() { return Reply{true, {}, {}}; }
  static Reply of(Value value) { return Reply{true, std::move(value), {}}; }
  static Reply of(Members members) { return Reply{true, {}, std::move(members)}; }
};

class AttributeTable {
 public:
  // Performs `request` on the attribute at `position` among the class's own entries.
  using Dispatch = Reply (*)(PtrInterface& object, std::size_t position, Request const& request);

  AttributeTable(TypeNode const& type, std::vector<AttributeInfo> entries, Dispatch dispatch);
  AttributeTable(AttributeTable const&) = delete;
  AttributeTable& operator=(AttributeTable const&) = delete;

  TypeNode const& type() const noexcept { return type_; }
  AttributeTable const* base() const noexcept { return base_; }
  std::size_t firstIndex() const noexcept { return firstIndex_; }
  std::size_t endIndex() const noexcept { return firstIndex_ + entries_.size(); }
  // The class's own entries in index order, unpublished positions included.
  std::vector<AttributeInfo> const& entries() const noexcept { return entries_; }
  // The class's own published entry of that name, or null.
  AttributeInfo const* find(Name const& name) const noexcept;

  // Not handled for an index outside the class's own range.
  Reply dispatch(PtrInterface& object, Request const& request) const;

 private:
  TypeNode const& type_;
  AttributeTable const* base_;
  std::size_t firstIndex_;
  std::vector<AttributeInfo> entries_;
  Dispatch dispatch_;
};

// The table of the type, or of its nearest base type that has one; null when none has.
AttributeTable const* attributeTableOf(TypeNode const* type) noexcept;
AttributeTable const* attributeTableOf(PtrInterface const& object) noexcept;

// Installs a table in its type's descriptor for as long as the registration lives.
class TableRegistration {
 public:
  explicit TableRegistration(AttributeTable const& table);
  ~TableRegistration();
  TableRegistration(TableRegistration const&) = delete;
  TableRegistration& operator=(TableRegistration const&) = delete;

 private:
  AttributeTable const& table_;
};

// The object as the class whose dispatch function runs; Zel::OperationNotSupportedException if
// it is not one.
[[noreturn]] void refuseObjectClass(PtrInterface const& object, std::type_info const& expected);
template <class T>
T& objectAs(PtrInterface& object) {
  T* typed = dynamic_cast<T*>(&object);
  if (!typed) refuseObjectClass(object, typeid(T));
  return *typed;
}

}  // namespace Zel::GenericIf
