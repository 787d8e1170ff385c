// Pins in plain files, for simulation and tests: a file of its own holding "0" or "1", or a line
// "<pin> <value>" in the map's one file of all values, replaced whole at each latch that changes
// any of them so that a reader never sees half a latch.
#pragma once

#include <string>
#include <vector>

#include "host/drive/PinBackend.h"
#include "host/drive/ValueFile.h"

namespace Drive {

class FileBackend final : public PinBackend {
 public:
  explicit FileBackend(std::string valuesFile);

  Backend kind() const noexcept override { return Backend::file; }
  std::vector<PinFault> claim(std::vector<PinClaim> const& pins) override;
  std::vector<PinFault> write(std::vector<PinWrite> const& writes) override;

 private:
  struct Shared {
    std::size_t pin;
    std::string const* name;
    bool lit;
  };
  int writeValuesFile();

  std::string valuesFile_;
  std::vector<ValueFile> own_;           // by pin position
  std::vector<Shared> shared_;           // in map order
  std::vector<std::size_t> sharedSlot_;  // by pin position: index in shared_ + 1, 0 for none
};

}  // namespace Drive
