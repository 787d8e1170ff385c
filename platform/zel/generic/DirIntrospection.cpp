// The generic interface of Zel::Dir: its name and its entries, read by name. Directories are
// where a tool finds mounted and created entities, so they are walkable but not editable here.
#include "platform/zel/Dir.h"
#include "platform/zel/generic/AttributeTable.h"

namespace Zel::GenericIf {
namespace {

enum Position : std::size_t { name, entries };

Reply dispatchDir(PtrInterface& object, std::size_t position, Request const& request) {
  Dir& dir = objectAs<Dir>(object);
  switch (position) {
    case name:
      return Reply::of(dir.name());
    case entries:
      if (request.operation == Operation::iterate) return Reply::of(membersOf(dir.entries()));
      return Reply::of(memberOf(dir.entries(), request.requireKey()));
  }
  return Reply::notHandled();
}

AttributeTable const table(Dir::type(),
                           {
                               valueAttribute("name", "Zel::Name", {Operation::get}),
                               collectionAttribute("entries", "Zel::Entity",
                                                   {Operation::get, Operation::iterate}, {},
                                                   Dir::Attr::entry),
                           },
                           &dispatchDir);
TableRegistration const registration(table);

}  // namespace
}  // namespace Zel::GenericIf
