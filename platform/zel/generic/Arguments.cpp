#include "platform/zel/generic/Arguments.h"

#include <string>

#include "platform/zel/Exception.h"

namespace Zel::GenericIf {

Value const* Arguments::find(std::size_t position, Name const& name) const noexcept {
  for (Argument const& argument : arguments_) {
    if (!name.empty() && argument.name == name) return &argument.value;
  }
  if (position < arguments_.size() && arguments_[position].name.empty()) {
    return &arguments_[position].value;
  }
  return nullptr;
}

Value const& Arguments::at(std::size_t position, Name const& name) const {
  Value const* value = find(position, name);
  if (!value) throwRangeException(("missing argument '" + name.stdString() + "'").c_str());
  return *value;
}

}  // namespace Zel::GenericIf
