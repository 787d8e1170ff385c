// Zel::GenericIf::AttributeTable: the attributes that one class publishes to the generic
// interface, one row each: what a tool is told about the attribute, and what a request on it
// does by forwarding to the class's ordinary operations. Writing both in one row keeps a name
// from drifting away from the accessor it stands for.
//
// A class's entries are indexed after its base class's: the first own index is the base table's
// end. A request carries an index; a table answers "not handled" for an index outside its own
// range, and the caller then asks the base class's table (Access.h does this walk).
//
// Writing a table (one file per class):
//
//   AttributeTable const table(Machine::type(), Rows<Machine>{
//       {valueAttribute("flashingState", "bool", {Operation::get}),
//        [](Machine& machine, Request const&) { return Reply::of(machine.flashingState()); }},
//       ...});
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
  // The addressed entry; the table fills it in before a row sees the request.
  AttributeInfo const* attribute = nullptr;

  Arguments const& args() const noexcept;
  // The argument at `position`, or the one named as the entry names it: a procedure's arguments
  // and a setter's construction values after the entry's parameters, a setter's single value
  // after the attribute itself. arg refuses a missing one with Zel::RangeException; findArg
  // answers null.
  Value const& arg(std::size_t position) const;
  Value const* findArg(std::size_t position) const;
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

// The object as the class whose rows run; Zel::OperationNotSupportedException if it is not one.
[[noreturn]] void refuseObjectClass(PtrInterface const& object, std::type_info const& expected);
template <class T>
T& objectAs(PtrInterface& object) {
  T* typed = dynamic_cast<T*>(&object);
  if (!typed) refuseObjectClass(object, typeid(T));
  return *typed;
}

// One row of the table of class T.
template <class T>
struct Row {
  AttributeInfo info;
  // Performs a request on the attribute; a captureless lambda converts to it.
  Reply (*perform)(T& object, Request const& request);
};

// A table's rows, named with their class, as the class cannot be deduced from braced rows.
template <class T>
using Rows = std::vector<Row<T>>;

class AttributeTable {
 public:
  template <class T>
  AttributeTable(TypeNode const& type, Rows<T> const& rows) : AttributeTable(type, &performAs<T>) {
    for (Row<T> const& row : rows) add(row.info, reinterpret_cast<AnyPerform>(row.perform));
  }
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
  // A row's perform function with its class erased; performAs<T> restores it. The rows of one
  // table all take the same class.
  using AnyPerform = void (*)();
  using Invoke = Reply (*)(PtrInterface& object, AnyPerform perform, Request const& request);

  template <class T>
  static Reply performAs(PtrInterface& object, AnyPerform perform, Request const& request) {
    auto const typed = reinterpret_cast<Reply (*)(T&, Request const&)>(perform);
    return typed(objectAs<T>(object), request);
  }

  AttributeTable(TypeNode const& type, Invoke invoke);
  void add(AttributeInfo info, AnyPerform perform);

  TypeNode const& type_;
  AttributeTable const* base_;
  std::size_t firstIndex_;
  std::vector<AttributeInfo> entries_;
  std::vector<AnyPerform> performs_;  // by position, beside entries_
  Invoke invoke_;
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

}  // namespace Zel::GenericIf
