// Zel::GenericIf::AttributeInfo: one entry of a class's attribute table, describing an attribute
// to tools that do not know the class: its name, its kind, the type it holds, its index within
// the class (the class's own entries follow its base class's), the parameters of a procedure and
// the operations that a tool may perform on it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

#include "platform/zel/Entity.h"
#include "platform/zel/Name.h"
#include "platform/zel/String.h"

namespace Zel::GenericIf {

enum class AttributeKind : std::uint8_t {
  value,       // a plain value (bool, integer, Name, LightSetting, ...)
  pointer,     // a counted pointer to another framework object
  collection,  // members keyed by Zel::Name
  procedure,   // an operation of the class, invoked with arguments
};

enum class Operation : std::uint8_t { get, set, del, invoke, iterate };

// A set of operations.
class Operations {
 public:
  constexpr Operations() noexcept = default;
  constexpr Operations(std::initializer_list<Operation> operations) noexcept {
    for (Operation operation : operations) bits_ |= bit(operation);
  }
  constexpr bool allows(Operation operation) const noexcept { return bits_ & bit(operation); }
  constexpr bool empty() const noexcept { return bits_ == 0; }

 private:
  static constexpr std::uint8_t bit(Operation operation) noexcept {
    return static_cast<std::uint8_t>(1u << static_cast<unsigned>(operation));
  }
  std::uint8_t bits_ = 0;
};

struct Parameter {
  Name name;
  String typeName;
};

struct AttributeInfo {
  Name name;  // empty for a position that the class keeps without publishing it
  AttributeKind kind = AttributeKind::value;
  // The value's type, the pointee's type, a collection member's type; empty for a procedure.
  String typeName;
  Operations operations;
  // A procedure's parameters, or the construction values of an instantiating setter.
  std::vector<Parameter> parameters;
  // The identifier that the entity's change notifications carry for this attribute; 0 when its
  // changes are not notified.
  AttributeId notification = 0;
  // Set by the table: the position within the class, continuing the base class's indices.
  std::size_t index = 0;

  bool allows(Operation operation) const noexcept { return operations.allows(operation); }
  bool isPublished() const noexcept { return !name.empty(); }
};

char const* toString(AttributeKind kind) noexcept;
char const* toString(Operation operation) noexcept;

// Table-writing helpers: one line per attribute.
AttributeInfo valueAttribute(Name name, String typeName, Operations operations,
                             AttributeId notification = 0);
AttributeInfo pointerAttribute(Name name, String typeName, Operations operations,
                               std::vector<Parameter> constructionValues = {},
                               AttributeId notification = 0);
AttributeInfo collectionAttribute(Name name, String memberTypeName, Operations operations,
                                  std::vector<Parameter> constructionValues = {},
                                  AttributeId notification = 0);
AttributeInfo procedureAttribute(Name name, std::vector<Parameter> parameters = {});
// A position that the dispatch accepts without the class publishing what it stands for.
AttributeInfo unpublishedPosition();

}  // namespace Zel::GenericIf
