#include "platform/zel/generic/AttributeTable.h"

#include <string>

#include "platform/zel/Exception.h"

namespace Zel::GenericIf {

Arguments const& Request::args() const noexcept {
  static Arguments const none;
  return arguments ? *arguments : none;
}

Name const& Request::requireKey() const {
  if (!key) throwRangeException("this request needs the key of a collection member");
  return *key;
}

namespace {

// What the addressed entry calls the argument at `position`; empty when it names none.
Name argumentName(AttributeInfo const* attribute, std::size_t position) {
  if (!attribute) return Name();
  if (position < attribute->parameters.size()) return attribute->parameters[position].name;
  return position == 0 ? attribute->name : Name();
}

}  // namespace

Value const* Request::findArg(std::size_t position) const {
  return args().find(position, argumentName(attribute, position));
}

Value const& Request::arg(std::size_t position) const {
  return args().at(position, argumentName(attribute, position));
}

AttributeTable::AttributeTable(TypeNode const& type, Invoke invoke)
    : type_(type),
      base_(attributeTableOf(type.base())),
      firstIndex_(base_ ? base_->endIndex() : 0),
      invoke_(invoke) {}

void AttributeTable::add(AttributeInfo info, AnyPerform perform) {
  info.index = endIndex();
  entries_.push_back(std::move(info));
  performs_.push_back(perform);
}

AttributeInfo const* AttributeTable::find(Name const& name) const noexcept {
  if (name.empty()) return nullptr;  // unpublished positions have no name to be found by
  for (AttributeInfo const& entry : entries_) {
    if (entry.name == name) return &entry;
  }
  return nullptr;
}

Reply AttributeTable::dispatch(PtrInterface& object, Request const& request) const {
  if (request.index < firstIndex_ || request.index >= endIndex()) return Reply::notHandled();
  std::size_t const position = request.index - firstIndex_;
  Request addressed = request;
  addressed.attribute = &entries_[position];
  return invoke_(object, performs_[position], addressed);
}

AttributeTable const* attributeTableOf(TypeNode const* type) noexcept {
  for (; type; type = type->base()) {
    if (type->attributes()) return type->attributes();
  }
  return nullptr;
}

AttributeTable const* attributeTableOf(PtrInterface const& object) noexcept {
  return attributeTableOf(object.fwkType());
}

// Type descriptors are defined const, as their classes hand them out; the attribute table is the
// one part of a descriptor installed after the descriptor was made, by this registration only.
TableRegistration::TableRegistration(AttributeTable const& table) : table_(table) {
  table.type().attributesIs(&table);
}

TableRegistration::~TableRegistration() {
  if (table_.type().attributes() == &table_) {
    table_.type().attributesIs(nullptr);
  }
}

void refuseObjectClass(PtrInterface const& object, std::type_info const& expected) {
  throwOperationNotSupportedException(
      ("an object of type " + typeNameOf(object) + " cannot be handled as " + typeNameOf(expected))
          .c_str());
}

}  // namespace Zel::GenericIf
