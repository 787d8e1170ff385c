#include "host/drive/LibGpiodLines.h"

#include <gpiod.h>

#include <cerrno>
#include <system_error>

namespace Drive {

namespace {

constexpr char kConsumer[] = "pinlamp";

[[noreturn]] void throwLastError(int fallback) {
  throw std::system_error(errno != 0 ? errno : fallback, std::generic_category());
}

using ChipHandle = std::shared_ptr<gpiod_chip>;

class LibGpiodRequest final : public LineRequest {
 public:
  // Keeps the chip open: the bulk's lines belong to it.
  LibGpiodRequest(ChipHandle chip, gpiod_line_bulk const& bulk)
      : chip_(std::move(chip)), bulk_(bulk) {}
  ~LibGpiodRequest() override { gpiod_line_release_bulk(&bulk_); }

  void setValues(std::vector<int> const& values) override {
    errno = 0;
    if (gpiod_line_set_value_bulk(&bulk_, values.data()) != 0) {
      throwLastError(EIO);
    }
  }

 private:
  ChipHandle chip_;
  gpiod_line_bulk bulk_;
};

class LibGpiodChip final : public GpioChip {
 public:
  explicit LibGpiodChip(gpiod_chip* chip) : chip_(chip, &gpiod_chip_close) {}

  unsigned lineOffset(std::string const& name) override {
    errno = 0;
    gpiod_line* line = gpiod_chip_find_line(chip_.get(), name.c_str());
    if (!line) throwLastError(ENOENT);
    return gpiod_line_offset(line);
  }

  bool isLineUsed(unsigned offset) override {
    if (offset >= gpiod_chip_num_lines(chip_.get())) {
      throw std::system_error(EINVAL, std::generic_category());
    }
    errno = 0;
    gpiod_line* line = gpiod_chip_get_line(chip_.get(), offset);
    if (!line || gpiod_line_update(line) != 0) throwLastError(EIO);
    return gpiod_line_is_used(line);
  }

  std::unique_ptr<LineRequest> requestOutputs(std::vector<unsigned> const& offsets, bool activeLow,
                                              std::vector<int> const& values) override {
    if (offsets.size() > GPIOD_LINE_BULK_MAX_LINES) {
      throw std::system_error(E2BIG, std::generic_category());
    }
    gpiod_line_bulk bulk;
    gpiod_line_bulk_init(&bulk);
    for (unsigned offset : offsets) {
      errno = 0;
      gpiod_line* line = gpiod_chip_get_line(chip_.get(), offset);
      if (!line) throwLastError(EIO);
      gpiod_line_bulk_add(&bulk, line);
    }
    int const flags = activeLow ? GPIOD_LINE_REQUEST_FLAG_ACTIVE_LOW : 0;
    errno = 0;
    if (gpiod_line_request_bulk_output_flags(&bulk, kConsumer, flags, values.data()) != 0) {
      throwLastError(EIO);
    }
    return std::make_unique<LibGpiodRequest>(chip_, bulk);
  }

 private:
  ChipHandle chip_;
};

class LibGpiodLines final : public GpioLines {
 public:
  std::unique_ptr<GpioChip> openChip(std::string const& address) override {
    errno = 0;
    // Tries the number, the name, the path and the label in turn.
    gpiod_chip* opened = gpiod_chip_open_lookup(address.c_str());
    if (!opened) throwLastError(ENOENT);
    return std::make_unique<LibGpiodChip>(opened);
  }
};

}  // namespace

std::unique_ptr<GpioLines> libgpiodLines() {
  return std::make_unique<LibGpiodLines>();
}

}  // namespace Drive
