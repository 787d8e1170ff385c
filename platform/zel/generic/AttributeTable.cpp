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

AttributeTable::AttributeTable(TypeNode const& type, std::vector<AttributeInfo> entries,
                               Dispatch dispatch)
    : type_(type),
      base_(attributeTableOf(type.base())),
      firstIndex_(base_ ? base_->endIndex() : 0),
      entries_(std::move(entries)),
      dispatch_(dispatch) {
  for (std::size_t position = 0; position < entries_.size(); ++position) {
    entries_[position].index = firstIndex_ + position;
  }
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
  return dispatch_(object, request.index - firstIndex_, request);
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
