#include "host/drive/GpiodBackend.h"

#include <cerrno>
#include <cstring>
#include <system_error>
#include <unordered_map>

namespace Drive {

namespace {

std::string errorText(int error) {
  return std::strerror(error);
}

PinFault lineFault(std::size_t pin, unsigned offset, std::string const& chip, int error) {
  return {pin, error,
          "line " + std::to_string(offset) + " of GPIO chip '" + chip + "': " + errorText(error)};
}

}  // namespace

GpiodBackend::GpiodBackend(std::unique_ptr<GpioLines> lines) : lines_(std::move(lines)) {}

std::optional<std::size_t> GpiodBackend::chipIndex(PinClaim const& claim,
                                                   std::vector<PinFault>& faults) {
  std::string const& address = claim.address->chip;
  auto const known = chipByAddress_.find(address);
  if (known != chipByAddress_.end()) return known->second;
  try {
    chips_.push_back(lines_->openChip(address));
  } catch (std::system_error const& error) {
    int const code = error.code().value();
    faults.push_back({claim.pin, code, "GPIO chip '" + address + "': " + errorText(code)});
    return std::nullopt;
  }
  chipByAddress_.emplace(address, chips_.size() - 1);
  return chips_.size() - 1;
}

GpiodBackend::Groups GpiodBackend::resolve(std::vector<PinClaim> const& pins,
                                           std::vector<PinFault>& faults) {
  Groups groups;
  std::unordered_map<std::string, std::string> takenBy;  // "chip/offset" -> pin
  for (PinClaim const& claim : pins) {
    PinAddress const& address = *claim.address;
    std::optional<std::size_t> const found = chipIndex(claim, faults);
    if (!found) continue;
    std::size_t const chip = *found;
    unsigned offset = address.lineOffset.value_or(0);
    if (!address.lineOffset) {
      try {
        offset = chips_[chip]->lineOffset(address.lineName);
      } catch (std::system_error const& error) {
        faults.push_back({claim.pin, error.code().value(),
                          "no line '" + address.lineName + "' on GPIO chip '" + address.chip +
                              "': " + errorText(error.code().value())});
        continue;
      }
    }
    std::string const key = std::to_string(chip) + "/" + std::to_string(offset);
    auto const [other, fresh] = takenBy.emplace(key, address.pin);
    if (!fresh) {
      // A mistake in the map, not a line that someone else holds: no restart mends it.
      faults.push_back({claim.pin, EINVAL,
                        "line " + std::to_string(offset) + " of GPIO chip '" + address.chip +
                            "' is also pin '" + other->second + "'"});
      continue;
    }
    groups[{chip, address.activeLow}].push_back(
        {claim.pin, chip, offset, address.activeLow, claim.lit ? 1 : 0, &address.chip});
  }
  return groups;
}

std::vector<PinFault> GpiodBackend::check(std::vector<PinClaim> const& pins) {
  std::vector<PinFault> faults;
  for (auto const& [key, group] : resolve(pins, faults)) {
    for (Line const& line : group) {
      int error = 0;
      try {
        if (chips_[line.chip]->isLineUsed(line.offset)) error = EBUSY;
      } catch (std::system_error const& failure) {
        error = failure.code().value();
      }
      if (error != 0) faults.push_back(lineFault(line.pin, line.offset, *line.chipName, error));
    }
  }
  return faults;
}

std::vector<PinFault> GpiodBackend::claim(std::vector<PinClaim> const& pins) {
  std::vector<PinFault> faults;
  for (auto const& [key, group] : resolve(pins, faults)) requestGroup(group, faults);
  return faults;
}

void GpiodBackend::requestGroup(std::vector<Line> const& group, std::vector<PinFault>& faults) {
  for (std::size_t first = 0; first < group.size(); first += kLinesPerRequest) {
    std::vector<Line> const part(group.begin() + static_cast<std::ptrdiff_t>(first),
                                 group.begin() + static_cast<std::ptrdiff_t>(std::min(
                                                     group.size(), first + kLinesPerRequest)));
    int error = 0;
    if (requestLines(part, error)) continue;
    // One busy line refuses the whole request: find which, and drive the others together.
    std::vector<Line> usable;
    for (Line const& line : part) {
      int lineError = 0;
      if (!requestLines({line}, lineError)) {
        faults.push_back(lineFault(line.pin, line.offset, *line.chipName, lineError));
        continue;
      }
      requests_.pop_back();  // releases the line, to be requested with the others below
      usable.push_back(line);
    }
    for (Line const& line : usable) slots_[line.pin].claimed = false;
    if (!usable.empty() && !requestLines(usable, error)) {
      for (Line const& line : usable) faults.push_back({line.pin, error, errorText(error)});
    }
  }
}

bool GpiodBackend::requestLines(std::vector<Line> const& lines, int& error) {
  Request request;
  for (Line const& line : lines) {
    request.pins.push_back(line.pin);
    request.offsets.push_back(line.offset);
    request.values.push_back(line.value);
  }
  try {
    request.lines = chips_[lines.front().chip]->requestOutputs(
        request.offsets, lines.front().activeLow, request.values);
  } catch (std::system_error const& failure) {
    error = failure.code().value();
    return false;
  }
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (slots_.size() <= lines[i].pin) slots_.resize(lines[i].pin + 1);
    slots_[lines[i].pin] = {requests_.size(), i, true};
  }
  requests_.push_back(std::move(request));
  return true;
}

std::vector<PinFault> GpiodBackend::write(std::vector<PinWrite> const& writes) {
  std::vector<PinFault> faults;
  for (PinWrite const& write : writes) {
    if (write.pin >= slots_.size() || !slots_[write.pin].claimed) continue;
    Slot const& slot = slots_[write.pin];
    Request& request = requests_[slot.request];
    request.values[slot.index] = write.lit ? 1 : 0;
    if (!request.touched) touched_.push_back(slot.request);
    request.touched = true;
  }
  for (std::size_t index : touched_) {
    Request& request = requests_[index];
    request.touched = false;
    int error = 0;
    try {
      request.lines->setValues(request.values);
    } catch (std::system_error const& failure) {
      error = failure.code().value();
    }
    if (error != 0) {
      // The lines keep what they showed; the driver tries again at the next change.
      for (PinWrite const& write : writes) {
        Slot const& slot = write.pin < slots_.size() ? slots_[write.pin] : Slot{};
        if (!slot.claimed || slot.request != index) continue;
        request.values[slot.index] = write.lit ? 0 : 1;
        faults.push_back({write.pin, error, "GPIO write: " + errorText(error)});
      }
    }
  }
  touched_.clear();
  return faults;
}

}  // namespace Drive
