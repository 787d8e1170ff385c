// Zel::GenericIf::Arguments: the wrapped arguments of a generic request, each optionally named.
// A procedure's parameter is found by its name when an argument of that name was given, and
// otherwise by its position among the arguments, so a tool may write either
//   {{"led", led}, {"value", 1}}   or   {led, 1}
// The construction values of an instantiating setter (set of a pointer or a collection whose
// member is built from several values) are passed the same way.
#pragma once

#include <concepts>
#include <cstddef>
#include <initializer_list>
#include <vector>

#include "platform/zel/Name.h"
#include "platform/zel/generic/Value.h"

namespace Zel::GenericIf {

struct Argument {
  template <class T>
  requires std::constructible_from<Value, T&&> Argument(T&& value)
      : value(std::forward<T>(value)) {}
  Argument(Name name, Value value) : name(std::move(name)), value(std::move(value)) {}

  Name name;  // empty: positional
  Value value;
};

class Arguments {
 public:
  Arguments() = default;
  Arguments(std::initializer_list<Argument> arguments) : arguments_(arguments) {}

  Arguments& add(Argument argument) {
    arguments_.push_back(std::move(argument));
    return *this;
  }

  std::size_t size() const noexcept { return arguments_.size(); }
  bool empty() const noexcept { return arguments_.empty(); }
  Argument const& operator[](std::size_t index) const { return arguments_[index]; }
  auto begin() const noexcept { return arguments_.begin(); }
  auto end() const noexcept { return arguments_.end(); }

  // The argument named `name`, else the unnamed argument at `position`; null when neither.
  Value const* find(std::size_t position, Name const& name) const noexcept;
  // As find, but a missing argument is refused with Zel::RangeException.
  Value const& at(std::size_t position, Name const& name) const;

 private:
  std::vector<Argument> arguments_;
};

}  // namespace Zel::GenericIf
