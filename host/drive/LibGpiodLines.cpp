#include "host/drive/LibGpiodLines.h"

#include <gpiod.h>

#include <cerrno>
#include <unordered_map>

namespace Drive {

namespace {

constexpr char kConsumer[] = "pinlamp";

int lastError() noexcept {
  return errno != 0 ? errno : EIO;
}

class LibGpiodLines final : public GpioLines {
 public:
  ~LibGpiodLines() override {
    for (auto& bulk : requests_) {
      if (bulk.num_lines != 0) gpiod_line_release_bulk(&bulk);
    }
    for (gpiod_chip* chip : chips_) gpiod_chip_close(chip);
  }

  int openChip(std::string const& address, std::size_t& chip) override {
    auto const known = byAddress_.find(address);
    if (known != byAddress_.end()) {
      chip = known->second;
      return 0;
    }
    errno = 0;
    // Tries the number, the name, the path and the label in turn.
    gpiod_chip* opened = gpiod_chip_open_lookup(address.c_str());
    if (!opened) return errno != 0 ? errno : ENOENT;
    chip = chips_.size();
    chips_.push_back(opened);
    byAddress_.emplace(address, chip);
    return 0;
  }

  int findLine(std::size_t chip, std::string const& name, unsigned& offset) override {
    errno = 0;
    gpiod_line* line = gpiod_chip_find_line(chips_[chip], name.c_str());
    if (!line) return errno != 0 ? errno : ENOENT;
    offset = gpiod_line_offset(line);
    return 0;
  }

  int checkLine(std::size_t chip, unsigned offset) override {
    if (offset >= gpiod_chip_num_lines(chips_[chip])) return EINVAL;
    errno = 0;
    gpiod_line* line = gpiod_chip_get_line(chips_[chip], offset);
    if (!line || gpiod_line_update(line) != 0) return lastError();
    return gpiod_line_is_used(line) ? EBUSY : 0;
  }

  int request(std::size_t chip, std::vector<unsigned> const& offsets, bool activeLow,
              std::vector<int> const& values, std::size_t& request) override {
    if (offsets.size() > GPIOD_LINE_BULK_MAX_LINES) return E2BIG;
    gpiod_line_bulk bulk;
    gpiod_line_bulk_init(&bulk);
    for (unsigned offset : offsets) {
      gpiod_line* line = gpiod_chip_get_line(chips_[chip], offset);
      if (!line) return lastError();
      gpiod_line_bulk_add(&bulk, line);
    }
    int const flags = activeLow ? GPIOD_LINE_REQUEST_FLAG_ACTIVE_LOW : 0;
    if (gpiod_line_request_bulk_output_flags(&bulk, kConsumer, flags, values.data()) != 0) {
      return lastError();
    }
    request = requests_.size();
    requests_.push_back(bulk);
    return 0;
  }

  int setValues(std::size_t request, std::vector<int> const& values) override {
    errno = 0;
    if (gpiod_line_set_value_bulk(&requests_[request], values.data()) != 0) return lastError();
    return 0;
  }

  void release(std::size_t request) override {
    gpiod_line_bulk& bulk = requests_[request];
    if (bulk.num_lines == 0) return;
    gpiod_line_release_bulk(&bulk);
    bulk.num_lines = 0;
  }

 private:
  std::vector<gpiod_chip*> chips_;
  std::unordered_map<std::string, std::size_t> byAddress_;
  std::vector<gpiod_line_bulk> requests_;
};

}  // namespace

std::unique_ptr<GpioLines> libgpiodLines() {
  return std::make_unique<LibGpiodLines>();
}

}  // namespace Drive
