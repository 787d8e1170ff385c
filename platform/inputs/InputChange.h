// How another agent changes one of the agent's input entities. The kinds carry the names the
// host's script language gives its commands, so that a change reads the same whichever database
// carried it.
#pragma once

namespace Inputs {

enum class InputChange {
  set,      // the published entity is changed in place (a new one is built when there is none)
  replace,  // a new entity, built from the change alone, takes the published one's place
  remove,   // the entity goes
};

}  // namespace Inputs
