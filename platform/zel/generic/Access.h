// The generic interface proper: reading and driving any framework object's attributes by name,
// without knowing its C++ type. The attribute is found through the object's type descriptor
// (fwkType()), in the class's table first and then in its base classes' tables, so a class's
// entry hides a base entry of the same name.
//
// Every operation is checked against the attribute's table entry before anything happens. A
// refused request (an unknown name, an operation the entry does not allow such as a set of a
// read-only attribute, an invocation of a value or a delete of a value, or a key given to or
// missing from the wrong kind of attribute) raises Zel::OperationNotSupportedException; a value
// of the wrong kind, or a missing argument, raises Zel::RangeException. Either way the object is
// left unchanged.
//
//   Value state = get(*machine, "flashingState");
//   invoke(*machine, "handleClockTimeout");
//   for (Member const& m : iterate(*reactor, "gpioLedStateMachine")) ...
//   set(*agent, "configReactor", {gpioDir, ledDir, pinDir});
//   Value pin = walk(*agent, "configReactor/gpioLedStateMachine/Led1/corvelGpioLedConfig/"
//                            "gpioYellow/Y1/value");
#pragma once

#include <string_view>
#include <vector>

#include "platform/zel/Entity.h"
#include "platform/zel/Name.h"
#include "platform/zel/PtrInterface.h"
#include "platform/zel/generic/Arguments.h"
#include "platform/zel/generic/AttributeInfo.h"
#include "platform/zel/generic/AttributeTable.h"
#include "platform/zel/generic/Value.h"

namespace Zel::GenericIf {

// --- describing ---------------------------------------------------------------------------

// The entry that a request for `name` reaches, or null.
AttributeInfo const* attributeInfo(PtrInterface const& object, Name const& name) noexcept;
// Every published attribute of the object: its base classes' first, each class's in index order,
// without the base entries that a class hides.
std::vector<AttributeInfo const*> attributeInfos(PtrInterface const& object);
// The attribute whose changes an entity notifies with `notification`, or null.
AttributeInfo const* attributeForNotification(PtrInterface const& object,
                                              AttributeId notification) noexcept;

// --- operations ---------------------------------------------------------------------------

// A value or pointer attribute.
Value get(PtrInterface const& object, Name const& attribute);
// One member of a collection; empty when there is none under the key.
Value get(PtrInterface const& object, Name const& attribute, Name const& key);
// Every member of a collection, as key and wrapped member, in the collection's order. The result
// is a copy: members may come and go while a tool walks it.
Members iterate(PtrInterface const& object, Name const& attribute);

// Sets a value or pointer attribute; returns the attribute's new value.
Value set(PtrInterface& object, Name const& attribute, Value const& value);
// Sets an attribute from several values: the construction values of an instantiating setter
// (such as a pointer attribute whose object is built from them, or a collection member whose key
// follows from them). Returns the attribute's (or the new member's) value.
Value set(PtrInterface& object, Name const& attribute, Arguments const& values);
// Sets one member of a collection; returns the member's new value.
Value set(PtrInterface& object, Name const& attribute, Name const& key, Value const& value);

// Deletes a pointer attribute; returns what it held.
Value del(PtrInterface& object, Name const& attribute);
// Deletes one member of a collection; returns what the operation returns (the removed member,
// or what it stood for), empty for an unknown key.
Value del(PtrInterface& object, Name const& attribute, Name const& key);

// Calls a procedure with its arguments (by name or position, see Arguments.h).
Value invoke(PtrInterface& object, Name const& procedure, Arguments const& arguments = {});

// --- walking ------------------------------------------------------------------------------

// The object that a wrapped value points to; Zel::RangeException for any other value and for a
// null pointer.
PtrInterface& objectOf(Value const& value);
// Follows a slash-separated path of attribute names from `root`: a pointer attribute leads to
// its object, a collection takes the next component as the member's key. Returns the value at
// the end ("" returns the root itself). Each step is a get, refused as get is.
Value walk(PtrInterface const& root, std::string_view path);

}  // namespace Zel::GenericIf
