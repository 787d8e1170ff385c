#include "platform/zel/generic/AttributeInfo.h"

namespace Zel::GenericIf {

char const* toString(AttributeKind kind) noexcept {
  switch (kind) {
    case AttributeKind::value:
      return "value";
    case AttributeKind::pointer:
      return "pointer";
    case AttributeKind::collection:
      return "collection";
    case AttributeKind::procedure:
      return "procedure";
  }
  return "unknown";
}

char const* toString(Operation operation) noexcept {
  switch (operation) {
    case Operation::get:
      return "get";
    case Operation::set:
      return "set";
    case Operation::del:
      return "delete";
    case Operation::invoke:
      return "invoke";
    case Operation::iterate:
      return "iterate";
  }
  return "unknown";
}

AttributeInfo valueAttribute(Name name, String typeName, Operations operations,
                             AttributeId notification) {
  AttributeInfo info;
  info.name = std::move(name);
  info.kind = AttributeKind::value;
  info.typeName = std::move(typeName);
  info.operations = operations;
  info.notification = notification;
  return info;
}

AttributeInfo pointerAttribute(Name name, String typeName, Operations operations,
                               std::vector<Parameter> constructionValues,
                               AttributeId notification) {
  AttributeInfo info =
      valueAttribute(std::move(name), std::move(typeName), operations, notification);
  info.kind = AttributeKind::pointer;
  info.parameters = std::move(constructionValues);
  return info;
}

AttributeInfo collectionAttribute(Name name, String memberTypeName, Operations operations,
                                  std::vector<Parameter> constructionValues,
                                  AttributeId notification) {
  AttributeInfo info =
      valueAttribute(std::move(name), std::move(memberTypeName), operations, notification);
  info.kind = AttributeKind::collection;
  info.parameters = std::move(constructionValues);
  return info;
}

AttributeInfo procedureAttribute(Name name, std::vector<Parameter> parameters) {
  AttributeInfo info;
  info.name = std::move(name);
  info.kind = AttributeKind::procedure;
  info.operations = {Operation::invoke};
  info.parameters = std::move(parameters);
  return info;
}

AttributeInfo unpublishedPosition() {
  return AttributeInfo{};
}

}  // namespace Zel::GenericIf
