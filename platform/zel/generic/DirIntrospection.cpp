// The generic interface of Zel::Dir: its name and its entries, read by name. Directories are
// where a tool finds mounted and created entities, so they are walkable but not editable here.
#include "platform/zel/Dir.h"
#include "platform/zel/generic/AttributeTable.h"

namespace Zel::GenericIf {
namespace {

AttributeTable const table(Dir::type(),
                           Rows<Dir>{
                               {valueAttribute("name", "Zel::Name", {Operation::get}),
                                [](Dir& dir, Request const&) { return Reply::of(dir.name()); }},
                               {collectionAttribute("entries", "Zel::Entity",
                                                    {Operation::get, Operation::iterate}, {},
                                                    Dir::Attr::entry),
                                [](Dir& dir, Request const& request) {
                                  if (request.operation == Operation::iterate)
                                    return Reply::of(membersOf(dir.entries()));
                                  return Reply::of(memberOf(dir.entries(), request.requireKey()));
                                }},
                           });
TableRegistration const registration(table);

}  // namespace
}  // namespace Zel::GenericIf
