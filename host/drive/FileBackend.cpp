#include "host/drive/FileBackend.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace Drive {

namespace {

// Changes this close go in one write together with the unchanged bytes between them: copying a
// few hundred bytes costs less than another system call, and LEDs that flash together sit
// together in the map.
constexpr std::size_t kBridge = 256;

char const* valueText(bool lit) noexcept {
  return lit ? "1\n" : "0\n";
}

char valueByte(bool lit) noexcept {
  return lit ? '1' : '0';
}

}  // namespace

FileBackend::FileBackend(std::string valuesFile) : valuesFile_(std::move(valuesFile)) {}

std::vector<PinFault> FileBackend::check(std::vector<PinClaim> const& pins) {
  std::vector<PinFault> faults;
  int const sharedError = checkReplaceable(valuesFile_);
  for (PinClaim const& claim : pins) {
    std::string const& path = claim.address->path;
    if (path.empty() && sharedError != 0) {
      faults.push_back(
          {claim.pin, sharedError, "file '" + valuesFile_ + "': " + std::strerror(sharedError)});
    } else if (int error = path.empty() ? 0 : checkWritable(path, true)) {
      faults.push_back({claim.pin, error, "file '" + path + "': " + std::strerror(error)});
    }
  }
  return faults;
}

std::vector<PinFault> FileBackend::claim(std::vector<PinClaim> const& pins) {
  std::vector<PinFault> faults;
  for (PinClaim const& claim : pins) {
    std::string const& path = claim.address->path;
    if (path.empty()) {
      addShared(claim);
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
    if (int error = replaceFile(valuesFile_, image_, values_)) {
      for (Shared const& pin : shared_) {
        faults.push_back({pin.pin, error, "file '" + valuesFile_ + "': " + std::strerror(error)});
        sharedSlot_[pin.pin] = 0;
      }
      shared_.clear();
      image_.clear();
      values_ = ValueFile{};
    }
  }
  return faults;
}

void FileBackend::addShared(PinClaim const& claim) {
  if (sharedSlot_.size() <= claim.pin) sharedSlot_.resize(claim.pin + 1, 0);
  image_ += claim.address->pin;
  image_ += ' ';
  shared_.push_back({claim.pin, image_.size()});
  image_ += valueText(claim.lit);
  sharedSlot_[claim.pin] = shared_.size();
}

std::vector<PinFault> FileBackend::write(std::vector<PinWrite> const& writes) {
  std::vector<PinFault> faults;
  for (PinWrite const& write : writes) {
    if (write.pin < sharedSlot_.size() && sharedSlot_[write.pin] != 0) {
      std::size_t const offset = shared_[sharedSlot_[write.pin] - 1].offset;
      changes_.push_back({offset, write.pin, image_[offset]});
      image_[offset] = valueByte(write.lit);
      continue;
    }
    if (write.pin >= own_.size() || !own_[write.pin].isOpen()) continue;
    if (int error = own_[write.pin].write(valueText(write.lit))) {
      faults.push_back({write.pin, error, std::string("file write: ") + std::strerror(error)});
    }
  }
  if (!changes_.empty()) writeChanges(faults);
  return faults;
}

void FileBackend::writeChanges(std::vector<PinFault>& faults) {
  std::sort(changes_.begin(), changes_.end(),
            [](Change const& x, Change const& y) { return x.offset < y.offset; });
  std::string_view const image = image_;
  std::size_t first = 0;
  for (std::size_t i = 1; i <= changes_.size(); ++i) {
    if (i < changes_.size() && changes_[i].offset - changes_[i - 1].offset <= kBridge) continue;
    std::size_t const begin = changes_[first].offset;
    std::size_t const end = changes_[i - 1].offset + 1;
    if (int error = values_.writeAt(begin, image.substr(begin, end - begin))) {
      // The file holds what it held: so does the image, and the next change writes again.
      for (std::size_t j = first; j < i; ++j) {
        image_[changes_[j].offset] = changes_[j].before;
        faults.push_back(
            {changes_[j].pin, error, std::string("values file: ") + std::strerror(error)});
      }
    }
    first = i;
  }
  changes_.clear();
}

}  // namespace Drive
