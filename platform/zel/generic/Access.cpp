#include "platform/zel/generic/Access.h"

#include <string>

#include "platform/zel/Exception.h"

namespace Zel::GenericIf {

namespace {

// A table entry together with the most-derived table of the object, where dispatch starts.
struct Located {
  AttributeTable const* top;
  AttributeInfo const* entry;
};

std::vector<AttributeTable const*> tableChain(PtrInterface const& object) {
  std::vector<AttributeTable const*> chain;
  for (AttributeTable const* table = attributeTableOf(object); table; table = table->base()) {
    chain.push_back(table);
  }
  return chain;
}

std::string describeAttribute(PtrInterface const& object, Name const& attribute) {
  return "attribute '" + attribute.stdString() + "' of " + typeNameOf(object);
}

[[noreturn]] void refuse(std::string const& text) {
  throwOperationNotSupportedException(String(text));
}

Located locate(PtrInterface const& object, Name const& attribute) {
  AttributeTable const* top = attributeTableOf(object);
  for (AttributeTable const* table = top; table; table = table->base()) {
    if (AttributeInfo const* entry = table->find(attribute)) return Located{top, entry};
  }
  refuse("no " + describeAttribute(object, attribute));
}

// Refuses a request that the entry does not allow, or whose use of a key does not fit the kind
// of attribute, before anything is dispatched.
void check(PtrInterface const& object, AttributeInfo const& entry, Operation operation,
           bool hasKey) {
  if (!entry.allows(operation)) {
    refuse(describeAttribute(object, entry.name) + " does not allow " + toString(operation));
  }
  bool const isCollection = entry.kind == AttributeKind::collection;
  if (hasKey && !isCollection) {
    refuse(describeAttribute(object, entry.name) + " is not a collection: it has no members");
  }
  bool const needsKey = operation == Operation::get || operation == Operation::del;
  if (isCollection && needsKey && !hasKey) {
    refuse(describeAttribute(object, entry.name) + " is a collection: " + toString(operation) +
           " needs a member's key");
  }
}

Reply perform(PtrInterface const& object, Name const& attribute, Operation operation,
              Name const* key, Arguments const* arguments) {
  Located const at = locate(object, attribute);
  check(object, *at.entry, operation, key != nullptr);
  Request const request{operation, at.entry->index, key, arguments};
  // Reads go through the same dispatch as writes; the table entry has vouched that this one
  // only reads.
  PtrInterface& target = const_cast<PtrInterface&>(object);
  for (AttributeTable const* table = at.top; table; table = table->base()) {
    Reply reply = table->dispatch(target, request);
    if (!reply.handled) continue;
    // A collection without a member under the key answers with nothing, whatever the class's
    // own operation returns for it.
    if (key && reply.value.isObject() && !reply.value.asObject()) reply.value = Value();
    return reply;
  }
  refuse(describeAttribute(object, attribute) + " is not handled by its class");
}

}  // namespace

AttributeInfo const* attributeInfo(PtrInterface const& object, Name const& name) noexcept {
  for (AttributeTable const* table = attributeTableOf(object); table; table = table->base()) {
    if (AttributeInfo const* entry = table->find(name)) return entry;
  }
  return nullptr;
}

std::vector<AttributeInfo const*> attributeInfos(PtrInterface const& object) {
  std::vector<AttributeTable const*> const chain = tableChain(object);
  std::vector<AttributeInfo const*> infos;
  for (std::size_t level = chain.size(); level-- > 0;) {
    for (AttributeInfo const& entry : chain[level]->entries()) {
      if (!entry.isPublished()) continue;
      bool hidden = false;
      for (std::size_t derived = 0; derived < level && !hidden; ++derived) {
        hidden = chain[derived]->find(entry.name) != nullptr;
      }
      if (!hidden) infos.push_back(&entry);
    }
  }
  return infos;
}

AttributeInfo const* attributeForNotification(PtrInterface const& object,
                                              AttributeId notification) noexcept {
  if (notification == 0) return nullptr;
  for (AttributeTable const* table = attributeTableOf(object); table; table = table->base()) {
    for (AttributeInfo const& entry : table->entries()) {
      if (entry.notification == notification) return &entry;
    }
  }
  return nullptr;
}

Value get(PtrInterface const& object, Name const& attribute) {
  return perform(object, attribute, Operation::get, nullptr, nullptr).value;
}

Value get(PtrInterface const& object, Name const& attribute, Name const& key) {
  return perform(object, attribute, Operation::get, &key, nullptr).value;
}

Members iterate(PtrInterface const& object, Name const& attribute) {
  return perform(object, attribute, Operation::iterate, nullptr, nullptr).members;
}

Value set(PtrInterface& object, Name const& attribute, Value const& value) {
  Arguments const values{Argument(attribute, value)};
  return perform(object, attribute, Operation::set, nullptr, &values).value;
}

Value set(PtrInterface& object, Name const& attribute, Arguments const& values) {
  return perform(object, attribute, Operation::set, nullptr, &values).value;
}

Value set(PtrInterface& object, Name const& attribute, Name const& key, Value const& value) {
  Arguments const values{Argument(attribute, value)};
  return perform(object, attribute, Operation::set, &key, &values).value;
}

Value del(PtrInterface& object, Name const& attribute) {
  return perform(object, attribute, Operation::del, nullptr, nullptr).value;
}

Value del(PtrInterface& object, Name const& attribute, Name const& key) {
  return perform(object, attribute, Operation::del, &key, nullptr).value;
}

Value invoke(PtrInterface& object, Name const& procedure, Arguments const& arguments) {
  return perform(object, procedure, Operation::invoke, nullptr, &arguments).value;
}

PtrInterface& objectOf(Value const& value) {
  Ptr<PtrInterface> object = value.isObject() ? value.asObject() : nullptr;
  if (!object) {
    throwRangeException(("not an object: " + value.text()).c_str());
  }
  // The caller holds the value, and with it a reference to the object.
  return *object;
}

Value walk(PtrInterface const& root, std::string_view path) {
  Value current{Ptr<PtrInterface const>(&root)};
  std::vector<Name> steps;
  for (std::size_t start = 0; start <= path.size();) {
    std::size_t end = path.find('/', start);
    if (end == std::string_view::npos) end = path.size();
    if (end > start) steps.emplace_back(std::string(path.substr(start, end - start)));
    start = end + 1;
  }
  for (std::size_t step = 0; step < steps.size(); ++step) {
    PtrInterface const& object = objectOf(current);
    AttributeInfo const* entry = attributeInfo(object, steps[step]);
    if (entry && entry->kind == AttributeKind::collection) {
      if (step + 1 == steps.size()) {
        throwRangeException(("the path ends at the collection '" + steps[step].stdString() +
                             "': name one of its members")
                                .c_str());
      }
      current = get(object, steps[step], steps[step + 1]);
      ++step;
    } else {
      current = get(object, steps[step]);
    }
  }
  return current;
}

}  // namespace Zel::GenericIf
