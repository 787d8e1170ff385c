// Pins in plain files, for simulation and tests: a file of its own holding "0" or "1", or a line
// "<pin> <value>" in the map's one file of all values.
//
// The file of all values is written whole once, at claim (a temporary file renamed over it), and
// from then on only in place: the pins and their order never change while the driver runs, so
// each value is one byte at a fixed offset and a latch writes just the bytes of the pins that
// changed. A turn then costs what changed, not what the map holds. What a reader sees: the names
// and the length of the file stay put; a value is one byte, so it is never torn; a latch's
// changes may be seen one pin at a time, as pins spread over several GPIO chips would be.
// The file is written through the descriptor opened at start: one put in its place by someone
// else is not written.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/drive/PinBackend.h"
#include "host/drive/ValueFile.h"

namespace Drive {

class FileBackend final : public PinBackend {
 public:
  explicit FileBackend(std::string valuesFile);

  Backend kind() const noexcept override { return Backend::file; }
  std::vector<PinFault> check(std::vector<PinClaim> const& pins) override;
  std::vector<PinFault> claim(std::vector<PinClaim> const& pins) override;
  std::vector<PinFault> write(std::vector<PinWrite> const& writes) override;

 private:
  // A pin of the values file, by the offset of its value byte.
  struct Shared {
    std::size_t pin;
    std::size_t offset;
  };
  // A value byte changed in `image_` and not yet in the file; `before` undoes it on failure.
  struct Change {
    std::size_t offset;
    std::size_t pin;
    char before;
  };
  void addShared(PinClaim const& claim);
  void writeChanges(std::vector<PinFault>& faults);

  std::string valuesFile_;
  std::vector<ValueFile> own_;           // by pin position
  ValueFile values_;                     // the file of all values, open from claim on
  std::string image_;                    // its content as written
  std::vector<Shared> shared_;           // in map order
  std::vector<std::size_t> sharedSlot_;  // by pin position: index in shared_ + 1, 0 for none
  std::vector<Change> changes_;          // of the latch being written, kept for its capacity
};

}  // namespace Drive
