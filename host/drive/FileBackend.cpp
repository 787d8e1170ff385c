#include "host/drive/FileBackend.h"

#include <cstring>

namespace Drive {

namespace {

char const* valueText(bool lit) noexcept {
  return lit ? "1\n" : "0\n";
}

}  // namespace

FileBackend::FileBackend(std::string valuesFile) : valuesFile_(std::move(valuesFile)) {}

std::vector<PinFault> FileBackend::claim(std::vector<PinClaim> const& pins) {
  std::vector<PinFault> faults;
  for (PinClaim const& claim : pins) {
    std::string const& path = claim.address->path;
    if (path.empty()) {
      if (sharedSlot_.size() <= claim.pin) sharedSlot_.resize(claim.pin + 1, 0);
      shared_.push_back({claim.pin, &claim.address->pin, claim.lit});
      sharedSlot_[claim.pin] = shared_.size();
      continue;
    }
    if (own_.size() <= claim.pin) own_.resize(claim.pin + 1);
    int error = own_[claim.pin].open(path, true);
    if (error == 0) error = own_[claim.pin].write(valueText(claim.lit));
    if (error != 0) {
      own_[claim.pin] = ValueFile{};
      faults.push_back({claim.pin, error, "file '" + path + "': " + std::strerror(error)});
    }
  }
  if (!shared_.empty()) {
    if (int error = writeValuesFile()) {
      for (Shared const& pin : shared_) {
        faults.push_back({pin.pin, error, "file '" + valuesFile_ + "': " + std::strerror(error)});
        sharedSlot_[pin.pin] = 0;
      }
      shared_.clear();
    }
  }
  return faults;
}

std::vector<PinFault> FileBackend::write(std::vector<PinWrite> const& writes) {
  std::vector<PinFault> faults;
  bool sharedWritten = false;
  for (PinWrite const& write : writes) {
    if (write.pin < sharedSlot_.size() && sharedSlot_[write.pin] != 0) {
      shared_[sharedSlot_[write.pin] - 1].lit = write.lit;
      sharedWritten = true;
      continue;
    }
    if (write.pin >= own_.size() || !own_[write.pin].isOpen()) continue;
    if (int error = own_[write.pin].write(valueText(write.lit))) {
      faults.push_back({write.pin, error, std::string("file write: ") + std::strerror(error)});
    }
  }
  if (!sharedWritten) return faults;
  if (int error = writeValuesFile()) {
    for (PinWrite const& write : writes) {
      if (write.pin >= sharedSlot_.size() || sharedSlot_[write.pin] == 0) continue;
      shared_[sharedSlot_[write.pin] - 1].lit = !write.lit;
      faults.push_back({write.pin, error, std::string("values file: ") + std::strerror(error)});
    }
  }
  return faults;
}

int FileBackend::writeValuesFile() {
  std::string text;
  text.reserve(shared_.size() * 16);
  for (Shared const& pin : shared_) {
    text += *pin.name;
    text += ' ';
    text += valueText(pin.lit);
  }
  return replaceFile(valuesFile_, text);
}

}  // namespace Drive
