// A readable dump of any framework object through the generic interface alone: its attributes by
// name, one "name: value" line each, indented two spaces per level. Collections list their
// members by key; pointers to objects that have attributes of their own are followed, `depth`
// levels down. Each object is expanded once per dump, later mentions saying "shown above", except
// objects of plain values only (such as pins), which are shown wherever they are referenced.
// Procedures are not listed, nor an entity's name, which its reference already shows.
//
//   pinlamp (Pinlamp::Agent)
//     entityManager: Statedb::EntityManager
//     ...
//     configReactor: Pinlamp::ConfigReactor
//       gpioLedStateMachine:
//         Led1: Pinlamp::GpioLedStateMachine
//           name: Led1
//           flashingState: false
#pragma once

#include <iosfwd>

#include "platform/zel/PtrInterface.h"

namespace Zel::GenericIf {

inline constexpr int kDescribeDepth = 4;

void describe(std::ostream& out, PtrInterface const& object, int depth = kDescribeDepth);

}  // namespace Zel::GenericIf
