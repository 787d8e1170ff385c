// One mount request: the path of an entity in the central database, the registered type name of
// the entity there, and the mode ("r": read-only; "wi": a directory the agent writes into).
#pragma once

#include "platform/zel/String.h"

namespace Statedb {

class Mount {
 public:
  Mount(Zel::String path, Zel::String typeName, Zel::String mode)
      : path_(std::move(path)), typeName_(std::move(typeName)), mode_(std::move(mode)) {}

  Zel::String const& path() const noexcept { return path_; }
  Zel::String const& typeName() const noexcept { return typeName_; }
  Zel::String const& mode() const noexcept { return mode_; }
  bool isWritable() const noexcept { return mode_.view().find('w') != std::string_view::npos; }

  friend bool operator==(Mount const&, Mount const&) = default;

 private:
  Zel::String path_;
  Zel::String typeName_;
  Zel::String mode_;
};

enum MountStatus {
  mountSuccess_,
  mountFailure_,
};

char const* toString(MountStatus status) noexcept;

}  // namespace Statedb
